#include "daemon/DaemonTool.h"

#include "daemon/BootEvents.h"
#include "foundation/Status.h"
#include "services/Processes.h"

#include <csignal>
#include <new>
#include <unistd.h>

THXDaemonTool* gDaemonTool = nullptr;

THXDaemonTool::THXDaemonTool() : fConnection(0), fUseCount(0), fSession(nullptr)
{
    pthread_mutex_init(&fConnectionLock, nullptr);
}

THXDaemonTool::~THXDaemonTool()
{
    // Members would be freed the other way round.
    fRegistry.reset();
    fPoller.reset();
    fServer.reset();
}

// Finds another process by name. A child in which ps could not be executed returns from Get_ProcessID as well: it ends here,
// or there would be two daemons.
static pid_t FindProcess(const char* name)
{
    const pid_t caller = getpid();
    const pid_t found = Get_ProcessID(name);
    if (getpid() != caller)
        _exit(0);
    return found;
}

static void WaitForLoginSession()
{
    while (FindProcess("SystemUIServer") == 0)
        sleep(1);
}

static void EndOlderInstance()
{
    const pid_t older = FindProcess("halvorixd");
    if (older != 0)
        kill(older, SIGINT);
}

SInt32 THXDaemonTool::InitTool()
{
    gDaemonTool = this;
    WaitForLoginSession();
    SendTimeZoneOffsetToDriver();
    EndOlderInstance();

    // The registry before any thread, and the server before the poller, which needs somebody to hand events to.
    SInt32 status = CreateVolumeRegistry();
    if (status == kStatusOK)
        status = StartEventServer();
    if (status == kStatusOK)
        status = StartEventPoller();
    if (status == kStatusOK)
        CheckBootHelperPartitionsAtStartup();
    return status;
}

SInt32 THXDaemonTool::CreateVolumeRegistry()
{
    fRegistry.reset(new (std::nothrow) TVolumeRegistry);
    return fRegistry != nullptr ? kStatusOK : kStatusOutOfMemory;
}

SInt32 THXDaemonTool::StartEventServer()
{
    fServer.reset(new (std::nothrow) TDriverEventServer);
    return fServer != nullptr ? fServer->Start() : kStatusOutOfMemory;
}

SInt32 THXDaemonTool::StartEventPoller()
{
    fPoller.reset(new (std::nothrow) TDriverEventPoller);
    return fPoller != nullptr ? fPoller->Start() : kStatusOutOfMemory;
}

SInt32 THXDaemonTool::DoWork()
{
    fSession = DASessionCreate(kCFAllocatorDefault);
    if (fSession != nullptr) {
        DARegisterDiskAppearedCallback(fSession, nullptr, DiskAppearedCallback, this);
        DARegisterDiskDisappearedCallback(fSession, nullptr, DiskDisappearedCallback, this);
        DASessionScheduleWithRunLoop(fSession, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
        CFRunLoopRun();
    }
    for (;;)
        sleep(1);
}

void THXDaemonTool::ShowHelp() {}
