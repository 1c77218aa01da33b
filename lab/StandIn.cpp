// Stands in for Apple's command-line tools: logs how it was run, then misbehaves as the machine folder tells, or does the
// tool's work. The machine's tools/bin links lead here; which tool it is, the path that was executed tells, since the
// caller is free to choose argv[0].

#include "lab/Files.h"
#include "lab/tools/Tool.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace lab;

static const std::string kTools = "/machine/tools/";

static void LogRun(const std::string& path, int argc, char** argv)
{
    char start[64];
    std::snprintf(start, sizeof start, "%.6f\t%d\t", MonotonicSeconds(), static_cast<int>(getpid()));
    std::string line = start + Escape(path);
    for (int i = 0; i < argc; ++i)
        line += "\t" + Escape(argv[i]);
    AppendToFile(kTools + "log", line + "\n");
}

static void Print(const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR)
            std::exit(1);
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

[[noreturn]] static void Hang()
{
    for (;;)
        pause();
}

[[noreturn]] static void DieOf(int number)
{
    const rlimit noCore{};
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(number, SIG_DFL);
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigprocmask(SIG_SETMASK, &unblocked, nullptr);
    raise(number);
    Hang();   // a signal that does not end a process leaves it here
}

static void Misbehave(const std::string& line)
{
    const std::string word = line.substr(0, line.find(' '));
    const std::string value = word.size() < line.size() ? line.substr(word.size() + 1) : "";
    if (word == "print")
        Print(Unescape(value));
    if (word == "print-file") {
        std::string text;
        ReadFile(value, &text);
        Print(text);
    }
    if (word == "fill")
        Print(std::string(std::strtoul(value.c_str(), nullptr, 10), 'x'));
    if (word == "hang")
        Hang();
    if (word == "signal")
        DieOf(std::atoi(value.c_str()));
    if (word == "exit")
        std::exit(std::atoi(value.c_str()));
}

// These do their work by the host's own program of the same name and arguments.
static bool IsHostTool(const std::string& tool)
{
    return tool == "ps" || tool == "cp" || tool == "rm";
}

// Returns only when that cannot be executed.
static int RunHostTool(const std::string& tool, char** argv)
{
    const std::string program = "/host/usr/bin/" + tool;
    execv(program.c_str(), argv);
    std::fprintf(stderr, "%s: cannot execute %s: %s\n", tool.c_str(), program.c_str(), std::strerror(errno));
    return 127;
}

int main(int argc, char** argv)
{
    const auto executed = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    const std::string path = executed ? executed : argv[0];
    const std::string tool = BaseName(path);
    LogRun(path, argc, argv);

    std::string behaviour;
    if (ReadFile(kTools + "behaviour/" + tool, &behaviour)) {
        for (const std::string& line : SplitLines(behaviour))
            Misbehave(line);
        return 0;
    }
    if (IsHostTool(tool))
        return RunHostTool(tool, argv);
    const tools::TWork work = tools::FindWork(tool);
    if (!work)
        return tools::Refuse(tool, "the lab cannot do this tool's work; labctl tool " + tool +
                                       " behave says what it does instead");
    TMachine machine;
    return work(machine, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
}
