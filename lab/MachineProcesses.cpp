// The part of a machine that needs it to run: what is asked of init.

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Requests.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace lab {

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

// Asks for something about a process. Returns an empty text and the process that the answer names, or what went wrong.
static std::string Ask(const TMachine& machine, const std::string& request, pid_t* process)
{
    std::string answer;
    const std::string error = AskInit(machine, request, &answer);
    if (error.empty() && process)
        *process = static_cast<pid_t>(std::atoi(answer.c_str() + 3));
    return error;
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
