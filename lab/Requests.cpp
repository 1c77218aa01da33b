#include "lab/Requests.h"

#include "lab/Files.h"

#include <atomic>
#include <time.h>
#include <unistd.h>

namespace lab {

constexpr double kSecondsToAnswer = 30;

// A name that no other request of any process has.
static std::string RequestName()
{
    static std::atomic<unsigned> count{0};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::to_string(getpid()) + "." + std::to_string(++count) + "." + std::to_string(now.tv_nsec);
}

std::string AskInit(const TMachine& machine, const std::string& request, std::string* answer)
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
    std::string text;
    while ((text = machine.ReadText(reply)).empty()) {
        if (MonotonicSeconds() > deadline || !machine.IsRunning()) {
            machine.Remove("requests/" + name);
            return "the machine ended, or did not answer within " + std::to_string(static_cast<int>(kSecondsToAnswer)) +
                   " seconds";
        }
        const timespec pause{0, 200000};
        nanosleep(&pause, nullptr);
    }
    machine.Remove(reply);
    *answer = text.substr(0, text.find('\n'));
    return answer->rfind("error ", 0) == 0 ? answer->substr(6) : "";
}

}   // namespace lab
