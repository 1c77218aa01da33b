#include "daemon/DriverEventPoller.h"

#include "daemon/BootEvents.h"
#include "daemon/DaemonTool.h"
#include "daemon/DriverConnection.h"
#include "daemon/DriverEventRecord.h"
#include "daemon/DriverEventServer.h"
#include "foundation/Status.h"

#include <cstring>
#include <unistd.h>

static constexpr unsigned kSecondsBetweenPolls = 1;

static void* PollForever(void*)
{
    THXDaemonTool* const tool = gDaemonTool;
    if (tool->Poller() == nullptr)
        return nullptr;
    for (;;) {
        TDriverEventPoller::DrainDriverQueue(tool);
        sleep(kSecondsBetweenPolls);
    }
}

SInt32 TDriverEventPoller::Start()
{
    if (pthread_create(&fThread, nullptr, PollForever, nullptr) != 0)
        return kStatusParameterError;
    return pthread_detach(fThread) == 0 ? kStatusOK : kStatusParameterError;
}

// Fetches one record. The record is cleared first, since a driver that is missing or refuses writes nothing.
static void FetchEvent(THXDaemonTool* tool, UInt32 listening, TDriverEventRecord* record)
{
    IOByteCount size = sizeof *record;
    memset(record, 0, sizeof *record);
    tool->OpenDriverConnection();
    tool->CallDriverMethod(kDriverFetchEvent, &listening, sizeof listening, record, &size);
    tool->CloseDriverConnection();
}

void TDriverEventPoller::DrainDriverQueue(THXDaemonTool* tool)
{
    const UInt32 listening = tool->Server()->ClientCount() != 0 ? 1 : 0;
    TDriverEventRecord record;
    bool moreWait = true;
    while (moreWait) {
        FetchEvent(tool, listening, &record);
        if (record.type == kDriverEventNone)
            return;
        // Read before acting on the record: who acts on it is handed the record itself.
        moreWait = record.queueEmpty == 0;
        if (record.type > kDriverEventSelectBootVolume)
            tool->Server()->Broadcast(&record);
        else
            HandleBootDriverEvent(tool, &record);
    }
}
