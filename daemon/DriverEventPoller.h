// The thread that fetches the driver's events, about once a second, and sees that each is acted on or relayed.

#ifndef HALVORIX_DAEMON_DRIVEREVENTPOLLER_H
#define HALVORIX_DAEMON_DRIVEREVENTPOLLER_H

#include <CoreServices/CoreServices.h>
#include <pthread.h>

class THXDaemonTool;

class TDriverEventPoller
{
public:
    TDriverEventPoller() : fThread() {}

    // Creates the polling thread and detaches it. The tool must be published and own this poller and a started server: the
    // thread finds all three through gDaemonTool, and ends at once when the tool has no poller.
    // returns  0, or -50 when the thread could not be created or not detached (then it runs all the same)
    SInt32 Start();

    // Fetches events until the driver says that no further one waits. Types above 2 are relayed, 1 and 2 are acted on,
    // negative ones are dropped; type 0 is no event and ends the draining whatever its queue-empty flag says.
    //
    // The driver is told whether a client listens as it was when the draining began: a client that comes in the middle
    // of it counts from the next draining on. Each fetch opens the driver connection and closes it again. A driver that
    // is missing or refuses reads as no event.
    //
    // tool  owns a started server; it need not be the published one
    static void DrainDriverQueue(THXDaemonTool* tool);

private:
    pthread_t fThread;
};

#endif
