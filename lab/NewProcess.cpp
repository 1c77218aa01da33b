#include "lab/NewProcess.h"

#include "lab/Files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lab {

static const std::string kIdleCopies = "/lab/idle";

static std::vector<char*> Pointers(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// In the child: what init changed for itself goes back to what a program expects.
static void RestoreSignals()
{
    for (int number = 1; number < NSIG; ++number)
        std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// In the child: a terminal's interrupt key is for the main command, not for init and the launcher around it.
static void TakeTerminal()
{
    if (!isatty(STDIN_FILENO))
        return;
    setpgid(0, 0);
    tcsetpgrp(STDIN_FILENO, getpid());   // while SIGTTOU is still blocked
}

static void RedirectTo(const std::string& output)
{
    setsid();
    const int input = open("/dev/null", O_RDONLY);
    const int result = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
    if (input < 0 || result < 0)
        return;
    dup2(input, STDIN_FILENO);
    dup2(result, STDOUT_FILENO);
    dup2(result, STDERR_FILENO);
    if (input > STDERR_FILENO)
        close(input);
    if (result > STDERR_FILENO)
        close(result);
}

[[noreturn]] static void Execute(const std::vector<std::string>& command, const TSurroundings& surroundings, int report)
{
    if (surroundings.isMain)
        TakeTerminal();
    else
        RedirectTo(surroundings.output);
    for (const std::string& variable : surroundings.environment)
        putenv(const_cast<char*>(variable.c_str()));
    RestoreSignals();

    const std::vector<std::string> words(command.begin() + 1, command.end());
    const std::vector<char*> arguments = Pointers(words);
    execve(command[0].c_str(), arguments.data(), environ);
    const int reason = errno;
    if (write(report, &reason, sizeof reason) < 0)
        _exit(126);
    _exit(127);
}

pid_t Spawn(const std::vector<std::string>& command, const TSurroundings& surroundings, int* reason)
{
    int report[2];
    *reason = 0;
    if (pipe2(report, O_CLOEXEC) != 0) {
        *reason = errno;
        return -1;
    }
    const pid_t process = fork();
    if (process == 0)
        Execute(command, surroundings, report[1]);
    if (process < 0)
        *reason = errno;
    close(report[1]);
    // Ends without a byte when the program was executed, so ps shows its name from here on.
    while (read(report[0], reason, sizeof *reason) < 0 && errno == EINTR) {
    }
    close(report[0]);
    if (*reason == 0)
        return process;
    if (process > 0)
        waitpid(process, nullptr, 0);
    return -1;
}

std::string FindProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return name;
    const char* const path = std::getenv("PATH");
    for (const std::string& folder : Split(path ? path : "", ':')) {
        const std::string candidate = folder + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return name;
}

std::string MakeIdleCopy(const std::string& name, std::string* error)
{
    const std::string copy = kIdleCopies + "/" + name;
    if (access(copy.c_str(), X_OK) == 0)
        return copy;
    std::string program;
    if (!ReadFile("/lab/bin/idle", &program))
        *error = SystemError("read", "/lab/bin/idle");
    else
        *error = ReplaceFile(copy, program);
    if (error->empty() && chmod(copy.c_str(), 0755) != 0)
        *error = SystemError("make executable", copy);
    return copy;
}

}   // namespace lab
