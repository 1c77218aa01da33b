// Process 1 of a machine: runs one main command, reaps whatever ends, and starts and signals what the machine folder asks.
//
// lab-init [--launcher DESCRIPTOR] [--error-to DESCRIPTOR] [--] [PROGRAM ARGUMENT...]
//
// --launcher is the reading end of a pipe: init ends, and with it the machine, when nobody can write to it any more.
// --error-to is the program's standard error.
//
// With a program, init ends when that does and with its status (128 and the signal's number when a signal ended it).
// SIGTERM, SIGINT and SIGHUP end every process, then init. The requests are described in README.md.

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Mounts.h"
#include "lab/NewProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace lab;

static const std::string kMachine = "/machine";
static const int kRequestSignal = SIGRTMIN;
constexpr double kSecondsToEnd = 2;   // between SIGTERM to all and the end of the machine

static std::string StateText(int status)
{
    if (WIFSIGNALED(status))
        return "killed " + std::to_string(WTERMSIG(status));
    return "exited " + std::to_string(WEXITSTATUS(status));
}

class TInit
{
public:
    // launcher  the reading end of the launcher's pipe, or -1
    explicit TInit(int launcher) : fLauncher(launcher) {}

    // Returns false, with a message printed, when the machine cannot run.
    bool Prepare();
    bool StartMain(const std::vector<std::string>& command);
    [[noreturn]] void Run();

private:
    void ServeRequests();
    std::string Serve(const std::vector<std::string>& lines);
    std::string ServeStart(const std::vector<std::string>& lines);
    static std::string ServeSignal(const std::string& words);
    void HandleSignal();
    void Reap();
    void Record(pid_t process, const std::string& state);
    int ExitStatus() const;

    int fLauncher;
    int fSignals = -1;
    bool fWatched = false;   // false: the system cannot watch a folder this way, so init looks often
    pid_t fMain = 0;
    int fMainStatus = 0;
    bool fMainEnded = false;
    bool fHasChildren = true;
    double fDeadline = 0;   // 0: nobody asked the machine to end
    std::map<pid_t, std::string> fNames;
    TMounts fMounts{kMachine};
};

// Whoever looks whether init lives holds the lock for a moment; so one refusal is no proof of a second init.
static bool LockMachine()
{
    const int lock = open((kMachine + "/init.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    for (int attempt = 0; lock >= 0 && attempt < 200; ++attempt) {
        if (flock(lock, LOCK_EX | LOCK_NB) == 0)
            return true;   // held, and the descriptor open, until init ends
        poll(nullptr, 0, 1);
    }
    return false;
}

// A machine that starts has no processes, whatever an earlier one left in the folder.
static void ClearFolders()
{
    for (const char* const name : {"requests", "replies", "processes", "objects", "claims"}) {
        const std::string folder = kMachine + "/" + name;
        MakeFolder(folder);
        for (const std::string& file : NamesInFolder(folder))
            unlink((folder + "/" + file).c_str());
    }
}

// Has a signal sent whenever a file appears in requests/. Not inotify: closing one takes the kernel some 15 milliseconds,
// which every run of a machine would wait for at its end.
static bool WatchRequests()
{
    const int folder = open((kMachine + "/requests").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return folder >= 0 && fcntl(folder, F_SETSIG, kRequestSignal) == 0 &&
           fcntl(folder, F_NOTIFY, DN_CREATE | DN_RENAME | DN_MULTISHOT) == 0;
}

bool TInit::Prepare()
{
    if (!LockMachine()) {
        std::fputs("lab-init: this machine folder is running already, or is not writable\n", stderr);
        return false;
    }
    ClearFolders();
    for (const std::string& line : fMounts.MountAtStart())
        std::fprintf(stderr, "lab-init: %s\n", line.c_str());

    sigset_t handled;
    sigemptyset(&handled);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGTTOU, kRequestSignal})
        sigaddset(&handled, number);
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    fSignals = signalfd(-1, &handled, SFD_CLOEXEC);
    fWatched = WatchRequests();
    return fSignals >= 0;
}

bool TInit::StartMain(const std::vector<std::string>& command)
{
    TSurroundings surroundings;
    surroundings.isMain = true;
    const std::string program = FindProgram(command[0]);
    int reason = 0;
    fMain = Spawn(CommandFor(program, {command.begin() + 1, command.end()}), surroundings, &reason);
    if (fMain < 0) {
        std::fprintf(stderr, "lab-init: cannot execute %s: %s\n", program.c_str(), std::strerror(reason));
        return false;
    }
    fNames[fMain] = BaseName(program);
    Record(fMain, "running");
    return true;
}

void TInit::Record(pid_t process, const std::string& state)
{
    ReplaceFile(kMachine + "/processes/" + std::to_string(process),
                "name " + fNames[process] + "\nstate " + state + "\n");
}

void TInit::ServeRequests()
{
    for (const std::string& name : NamesInFolder(kMachine + "/requests")) {
        const std::string file = kMachine + "/requests/" + name;
        std::string request;
        if (!ReadFile(file, &request))
            continue;
        // Gone before the answer appears, so that the asker finds the folder as it was.
        unlink(file.c_str());
        ReplaceFile(kMachine + "/replies/" + name, Serve(SplitLines(request)) + "\n");
    }
}

std::string TInit::Serve(const std::vector<std::string>& lines)
{
    const std::string word = lines.empty() ? "" : lines[0].substr(0, lines[0].find(' ') + 1);
    if (word == "start ")
        return ServeStart(lines);
    if (word == "signal ")
        return ServeSignal(lines[0].substr(7));
    if (word == "mount " || word == "unmount " || word == "rename ")
        return fMounts.Serve(lines);
    return "error a request begins with start, signal, mount, unmount or rename";
}

std::string TInit::ServeStart(const std::vector<std::string>& lines)
{
    const std::string name = lines[0].substr(6);
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos)
        return "error a process's name is a file's name without a slash, not \"" + name + "\"";

    TSurroundings surroundings;
    std::string path;
    std::vector<std::string> arguments;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string word = lines[i].substr(0, lines[i].find(' '));
        const std::string value = lines[i].size() > word.size() ? lines[i].substr(word.size() + 1) : "";
        if (word == "path")
            path = value;
        else if (word == "arg")
            arguments.push_back(value);
        else if (word == "env")
            surroundings.environment.push_back(value);
        else if (word == "output")
            surroundings.output = value;
        else
            return "error a start is followed by path, arg, env and output, not by \"" + word + "\"";
    }

    std::string error;
    if (path.empty())
        path = MakeIdleCopy(name, &error);
    if (!error.empty())
        return "error " + error;
    int reason = 0;
    const pid_t process = Spawn(CommandFor(path, arguments), surroundings, &reason);
    if (process < 0)
        return "error cannot execute " + path + ": " + std::strerror(reason);
    fNames[process] = name;
    Record(process, "running");
    return "ok " + std::to_string(process);
}

std::string TInit::ServeSignal(const std::string& words)
{
    int process = 0;
    int number = 0;
    if (std::sscanf(words.c_str(), "%d %d", &process, &number) != 2 || process <= 0)
        return "error a signal needs a process and a number, not \"" + words + "\"";
    if (kill(process, number) != 0)
        return "error cannot send signal " + std::to_string(number) + " to process " + std::to_string(process) + ": " +
               std::strerror(errno);
    return "ok " + std::to_string(process);
}

void TInit::HandleSignal()
{
    signalfd_siginfo signal{};
    if (read(fSignals, &signal, sizeof signal) != static_cast<ssize_t>(sizeof signal))
        return;
    const auto number = static_cast<int>(signal.ssi_signo);
    const bool endsMachine = number == SIGTERM || number == SIGINT || number == SIGHUP;
    if (!endsMachine || fDeadline > 0)
        return;
    fDeadline = MonotonicSeconds() + kSecondsToEnd;
    kill(-1, SIGTERM);
}

void TInit::Reap()
{
    for (;;) {
        int status = 0;
        const pid_t process = waitpid(-1, &status, WNOHANG);
        fHasChildren = process >= 0;
        if (process <= 0)
            return;
        if (process == fMain) {
            fMainStatus = status;
            fMainEnded = true;
        }
        if (fNames.count(process) != 0) {
            Record(process, StateText(status));
            fNames.erase(process);
        }
    }
}

int TInit::ExitStatus() const
{
    if (WIFSIGNALED(fMainStatus))
        return 128 + WTERMSIG(fMainStatus);
    return WEXITSTATUS(fMainStatus);
}

void TInit::Run()
{
    for (;;) {
        Reap();
        const bool ending = fDeadline > 0;
        if (fMainEnded || (ending && (!fHasChildren || MonotonicSeconds() > fDeadline)))
            _exit(ExitStatus());
        ServeRequests();
        pollfd waited[] = {{fSignals, POLLIN, 0}, {fLauncher, 0, 0}};
        poll(waited, 2, ending || !fWatched ? 10 : -1);
        if (waited[1].revents != 0)
            _exit(128 + SIGKILL);
        if (waited[0].revents != 0)
            HandleSignal();
    }
}

// Only what a program expects is inherited; the launcher's own descriptors end here.
static void TidyDescriptors(int launcher, int error)
{
    if (error > STDERR_FILENO)
        dup2(error, STDERR_FILENO);
    for (int descriptor = STDERR_FILENO + 1; descriptor < 256; ++descriptor) {
        if (descriptor == launcher)
            fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        else
            close(descriptor);
    }
}

// Takes "--NAME DESCRIPTOR" off the words' beginning; the other number when it does not stand there.
static int TakeDescriptor(const std::string& name, int otherwise, std::vector<std::string>* words)
{
    if (words->size() < 2 || (*words)[0] != name)
        return otherwise;
    const int descriptor = std::atoi((*words)[1].c_str());
    words->erase(words->begin(), words->begin() + 2);
    return descriptor;
}

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    const int launcher = TakeDescriptor("--launcher", -1, &words);
    const int error = TakeDescriptor("--error-to", STDERR_FILENO, &words);
    if (!words.empty() && words[0] == "--")
        words.erase(words.begin());
    TidyDescriptors(launcher, error);
    umask(022);

    TInit init(launcher);
    if (!init.Prepare())
        _exit(125);
    if (!words.empty() && !init.StartMain(words))
        _exit(127);
    init.Run();
}
