#include "tests/support/RunningProgram.h"

#include "tests/support/MachineTest.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

static std::string NewFileName(const char* what)
{
    static int number = 0;
    return "/private/var/tmp/" + std::to_string(getpid()) + "-" + std::to_string(++number) + "-" + what;
}

static void SendTo(int descriptor, const std::string& file)
{
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(opened, descriptor);
    close(opened);
}

static std::vector<char*> PointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

TRunningProgram::TRunningProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment)
    : fProcess(-1), fOutputFile(NewFileName("output")), fErrorFile(NewFileName("errors"))
{
    std::vector<std::string> arguments(command.begin() + 1, command.end());
    std::vector<std::string> variables = environment;
    const std::vector<char*> argv = PointersTo(arguments);
    fflush(nullptr);   // or the child would write it a second time
    fProcess = fork();
    if (fProcess != 0)
        return;
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    close(nothing);
    SendTo(STDOUT_FILENO, fOutputFile);
    SendTo(STDERR_FILENO, fErrorFile);
    for (std::string& variable : variables)
        putenv(variable.data());
    execv(command[0].c_str(), argv.data());
    fprintf(stderr, "cannot execute %s\n", command[0].c_str());
    _exit(127);
}

TRunningProgram::~TRunningProgram()
{
    if (IsRunning()) {
        Signal(SIGKILL);
        WaitForEnd();
    }
    unlink(fOutputFile.c_str());
    unlink(fErrorFile.c_str());
}

void TRunningProgram::Signal(int number) const
{
    kill(fProcess, number);
}

bool TRunningProgram::IsRunning()
{
    if (!fEnded && waitpid(fProcess, &fStatus, WNOHANG) == fProcess)
        fEnded = true;
    return !fEnded;
}

std::string TRunningProgram::WaitForEnd()
{
    if (!WaitUntil([this] { return !IsRunning(); }, 60))
        return "running";
    if (WIFSIGNALED(fStatus))
        return "killed " + std::to_string(WTERMSIG(fStatus));
    return "exited " + std::to_string(WEXITSTATUS(fStatus));
}

static std::string WholeFile(const std::string& file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

std::string TRunningProgram::Output() const
{
    return WholeFile(fOutputFile);
}

std::string TRunningProgram::Errors() const
{
    return WholeFile(fErrorFile);
}

std::string RunToEnd(const std::vector<std::string>& command, std::string* output, std::string* errors)
{
    TRunningProgram program(command);
    const std::string end = program.WaitForEnd();
    if (output != nullptr)
        *output = program.Output();
    if (errors != nullptr)
        *errors = program.Errors();
    return end;
}
