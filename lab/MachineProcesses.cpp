// The part of a machine that needs it to run: what is asked of init.

#include "lab/Files.h"
#include "lab/Machine.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

namespace lab {

constexpr double kSecondsToAnswer = 30;

bool TMachine::IsRunning() const
{
    const int lock = open((fFolder + "/init.lock").c_str(), O_RDWR | O_CLOEXEC);
    if (lock < 0)
        return false;
    // Init holds it exclusively. Shared, since another may be looking as well.
    const bool held = flock(lock, LOCK_SH | LOCK_NB) != 0;
    close(lock);
    return held;
}

// A name that no other request of any process has.
static std::string RequestName()
{
    static std::atomic<unsigned> count{0};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::to_string(getpid()) + "." + std::to_string(++count) + "." + std::to_string(now.tv_nsec);
}

// Asks init and waits for its answer. Returns an empty text and the process it names, or what went wrong.
static std::string Ask(const TMachine& machine, const std::string& request, pid_t* process)
{
    if (!machine.IsRunning())
        return "the machine " + machine.Folder() + " is not running; lab/sandbox --folder " + machine.Folder() +
               " runs it";
    const std::string name = RequestName();
    const std::string error = machine.WriteText("requests/" + name, request);
    if (!error.empty())
        return error;

    const std::string reply = "replies/" + name;
    const double deadline = MonotonicSeconds() + kSecondsToAnswer;
    std::string answer;
    while ((answer = machine.ReadText(reply)).empty()) {
        if (MonotonicSeconds() > deadline || !machine.IsRunning()) {
            machine.Remove("requests/" + name);
            return "the machine ended, or did not answer within " + std::to_string(static_cast<int>(kSecondsToAnswer)) +
                   " seconds";
        }
        const timespec pause{0, 200000};
        nanosleep(&pause, nullptr);
    }
    machine.Remove(reply);
    answer = answer.substr(0, answer.find('\n'));
    if (answer.rfind("ok ", 0) != 0)
        return answer.substr(answer.find(' ') + 1);
    if (process)
        *process = static_cast<pid_t>(std::atoi(answer.c_str() + 3));
    return "";
}

// Adds a line to the request, unless the text would make two of it.
static bool AddLine(const std::string& word, const std::string& text, std::string* request)
{
    *request += word + " " + text + "\n";
    return text.find('\n') == std::string::npos;
}

std::string TMachine::Start(const TStart& start, pid_t* process)
{
    std::string request;
    bool whole = AddLine("start", start.name, &request);
    if (!start.path.empty())
        whole = AddLine("path", start.path, &request) && whole;
    for (const std::string& argument : start.arguments)
        whole = AddLine("arg", argument, &request) && whole;
    for (const std::string& variable : start.environment)
        whole = AddLine("env", variable, &request) && whole;
    if (!start.output.empty())
        whole = AddLine("output", start.output, &request) && whole;
    if (!whole)
        return "a name, path, argument or variable holds a line feed, which a request cannot carry";
    return Ask(*this, request, process);
}

std::string TMachine::Signal(pid_t process, int number)
{
    return Ask(*this, "signal " + std::to_string(process) + " " + std::to_string(number) + "\n", nullptr);
}

std::vector<TProcess> TMachine::Processes() const
{
    std::vector<TProcess> processes;
    for (const std::string& file : NamesInFolder(fFolder + "/processes")) {
        TProcess process;
        process.process = static_cast<pid_t>(std::atoi(file.c_str()));
        for (const std::string& line : SplitLines(ReadText("processes/" + file))) {
            if (line.rfind("name ", 0) == 0)
                process.name = line.substr(5);
            else if (line.rfind("state ", 0) == 0)
                process.state = line.substr(6);
        }
        processes.push_back(process);
    }
    std::sort(processes.begin(), processes.end(),
              [](const TProcess& left, const TProcess& right) { return left.process < right.process; });
    return processes;
}

}   // namespace lab
