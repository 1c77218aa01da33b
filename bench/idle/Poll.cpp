// What one poll of an idle driver takes, and how much of it is the daemon's own: `poll CLIENTS POLLS`, in a simulated Mac.
//
// Prints a line of fields separated by commas: clients, polls, and in nanoseconds the median of a poll, of its calls to the
// driver and I/O Kit, and of what is left.

#include "bench/Child.h"
#include "bench/OutsideTime.h"
#include "bench/Sockets.h"
#include "bench/Statistics.h"
#include "tests/daemon/OpenedDaemonTool.h"

#include <cstdio>
#include <cstdlib>

// A tool with a started server, and so many clients of it. Both live as long as the process.
static TOpenedDaemonTool* ToolWithClients(unsigned clients)
{
    static const std::uint64_t kStep = 1000000;
    auto* const tool = new TOpenedDaemonTool;
    tool->fServer.reset(new TDriverEventServer);
    if (tool->fServer->Start() != 0)
        GiveUp("the event server does not start");
    for (unsigned i = 0; i < clients; ++i) {
        if (ConnectTo(kDriverEventSocketPath) == -1)
            GiveUp("a client cannot connect");
    }
    while (tool->fServer->ClientCount() < clients)
        SleepUntil(Now() + kStep);
    return tool;
}

int main(int count, char** words)
{
    if (count != 3)
        GiveUp("say poll CLIENTS POLLS");
    const auto clients = static_cast<unsigned>(atoi(words[1]));
    const int polls = atoi(words[2]);
    TOpenedDaemonTool* const tool = ToolWithClients(clients);

    std::vector<std::uint64_t> all;
    std::vector<std::uint64_t> outside;
    std::vector<std::uint64_t> ours;
    for (int i = 0; i < polls; ++i) {
        ForgetOutsideTimes();
        const std::uint64_t begin = Now();
        TDriverEventPoller::DrainDriverQueue(tool);
        all.push_back(Now() - begin);
        outside.push_back(gOutsideTimes.All());
        ours.push_back(all.back() - outside.back());
    }
    std::printf("%u,%d,%llu,%llu,%llu\n", clients, polls, static_cast<unsigned long long>(Quantile(all, 0.5)),
                static_cast<unsigned long long>(Quantile(outside, 0.5)),
                static_cast<unsigned long long>(Quantile(ours, 0.5)));
    // The accepting thread looks at the tool until the end.
    fflush(nullptr);
    _Exit(0);
}
