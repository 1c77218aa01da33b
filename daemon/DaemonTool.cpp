#include "daemon/DaemonTool.h"

#include "daemon/BootEvents.h"
#include "daemon/ProcessLookup.h"
#include "daemon/SystemVersionProbe.h"   // SystemIsNewerThan
#include "foundation/Status.h"

#include <csignal>
#include <new>
#include <unistd.h>

THXDaemonTool* gDaemonTool = nullptr;

// The lock by its initialiser, which cannot fail.
THXDaemonTool::THXDaemonTool()
    : fConnection(0), fConnectionLock PTHREAD_MUTEX_INITIALIZER, fUseCount(0), fSession(nullptr)
{
}

THXDaemonTool::~THXDaemonTool()
{
    // Members would be freed the other way round.
    fRegistry.reset();
    fPoller.reset();
    fServer.reset();
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
    if (fRegistry == nullptr)
        return kStatusOutOfMemory;
    fRegistry->SetEnabled(SystemIsNewerThan(kHighestBefore10_4, "/"));
    return kStatusOK;
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
