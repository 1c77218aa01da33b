#include "bench/Daemon.h"

#include "bench/Clocks.h"
#include "lab/Machine.h"

// Whether it has asked hfs.util about the RAID volume of the machine leopard, the last of its disks.
static bool HasLookedAtDisks(const lab::TMachine& machine)
{
    for (const lab::TToolRun& run : machine.ToolRuns()) {
        if (run.arguments.size() == 3 && run.arguments[1] == "-k" && run.arguments[2] == "disk2s3")
            return true;
    }
    return false;
}

void StartDaemon(TChild* daemon)
{
    static const std::uint64_t kStep = 20000000;
    static const int kSteps = 1500;
    lab::TMachine machine;
    lab::TStart login;
    login.name = "SystemUIServer";
    pid_t process = 0;
    const std::string failure = machine.Start(login, &process);
    if (!failure.empty())
        GiveUp(failure);

    daemon->Start({"/usr/local/sbin/halvorixd"});
    for (int i = 0; i < kSteps; ++i) {
        SleepUntil(Now() + kStep);
        if (HasLookedAtDisks(machine))
            return;
    }
    GiveUp("the daemon does not look at its disks");
}
