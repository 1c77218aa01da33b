// The daemon as a tool: what it starts, in which order, and what its threads share.

#ifndef HALVORIX_DAEMON_DAEMONTOOL_H
#define HALVORIX_DAEMON_DAEMONTOOL_H

#include "daemon/DriverEventPoller.h"
#include "daemon/DriverEventServer.h"
#include "daemon/VolumeRegistry.h"
#include "framework/Tool.h"

#include <DiskArbitration/DiskArbitration.h>
#include <IOKit/IOKitLib.h>
#include <memory>
#include <pthread.h>

class THXDaemonTool : public TTool
{
public:
    // Starts nothing and publishes nothing: InitTool does. Until then there is no registry, poller or server (null).
    THXDaemonTool();

    // Frees the registry, the poller and the server, in this order. Runs only when start-up fails: a termination signal ends
    // the process without it. Threads that have started by then are not stopped and still point here, so the process must
    // end right behind it.
    ~THXDaemonTool() override;

    // Starts the daemon's services, in this order: publishes this object in gDaemonTool; waits, without a time-out, until
    // SystemUIServer runs, a sign that somebody logged in; sends the driver the time-zone offset; sends SIGINT to an older
    // instance, without waiting for it; makes the volume registry, enabled from 10.4 on; starts the event server, then the
    // poller; looks after the boot helper partitions of the start-up volume.
    //
    // returns  0, -108 out of memory, or the status of the first service that did not start. What was started before stays.
    SInt32 InitTool() override;

    // Follows disks as they come and go. Never returns; without a Disk Arbitration session it only sleeps.
    SInt32 DoWork() override;

    // Prints nothing: the daemon takes no arguments and has nobody to print to.
    void ShowHelp() override;

    // The driver connection. Who uses it opens it, makes its calls and closes it again, also when the open found no driver:
    // opens and closes are counted. Between uses nothing is open, so that a driver that was unloaded and loaded again is
    // found by the next open.

    // Counts one user more, and opens a user client of the first matching driver when none is open. Reports nothing: without
    // a driver the calls fail.
    void OpenDriverConnection();

    // Counts one user less, and closes the user client with the last one.
    void CloseDriverConnection();

    // Calls a method of the user client; between an open and a close of the caller's own.
    //
    // selector    one of those in DriverConnection.h
    // input       what the method reads; may be null when inputSize is 0
    // inputSize   bytes of input
    // output      receives what the driver writes; may be null when *outputSize is 0
    // outputSize  the room at output in bytes; receives how many the driver wrote. Null stands for 0
    // returns     KERN_FAILURE (5) when no connection is open, and nothing is written then; otherwise the driver's answer
    kern_return_t CallDriverMethod(UInt32 selector, const void* input, UInt32 inputSize, void* output,
                                   IOByteCount* outputSize);

    // Tells the driver how far local time is ahead of UTC now, daylight saving included. Told once: it is not told again
    // when the clock changes, nor when no driver was there to hear it.
    void SendTimeZoneOffsetToDriver();

    // A disk or partition came or went, on the main thread: the volume registry is told. One without a BSD name is passed
    // over, and on coming also one without a medium.
    //
    // disk  stays Disk Arbitration's
    void DiskAppeared(DADiskRef disk);
    void DiskDisappeared(DADiskRef disk);

    // Claims a disk for the RAID management application, if that runs and is the front application and the disk is an
    // ordinary one: no CD, DVD, iPod or disk image. Nobody looks at what comes of it. Nothing registers it: disks are
    // never claimed. Each call that comes as far as the kind of disk keeps a reference to its medium.
    //
    // disk  stays Disk Arbitration's
    void ClaimDiskForFrontApplication(DADiskRef disk);

    // What Disk Arbitration calls: DiskAppeared, DiskDisappeared and ClaimDiskForFrontApplication of a tool.
    //
    // disk  stays Disk Arbitration's
    // tool  the THXDaemonTool
    static void DiskAppearedCallback(DADiskRef disk, void* tool);
    static void DiskDisappearedCallback(DADiskRef disk, void* tool);
    static void DiskClaimCandidateCallback(DADiskRef disk, void* tool);

    // What Disk Arbitration calls when somebody wants a claimed disk: it is given up to whoever asks.
    //
    // disk, tool  not looked at; both stay the caller's
    // returns     null, always: no dissenter, and so nothing that the caller releases
    static DADissenterRef ClaimReleaseCallback(DADiskRef disk, void* tool);

    // What Disk Arbitration calls when a claim was granted or refused. Does nothing.
    //
    // disk, dissenter, tool  not looked at; they stay the caller's
    static void ClaimDoneCallback(DADiskRef disk, DADissenterRef dissenter, void* tool);

    TVolumeRegistry* Registry() const { return fRegistry.get(); }
    TDriverEventPoller* Poller() const { return fPoller.get(); }
    TDriverEventServer* Server() const { return fServer.get(); }

protected:
    io_connect_t fConnection;          // 0: none is open
    pthread_mutex_t fConnectionLock;   // guards fConnection and fUseCount while one opens or closes
    UInt32 fUseCount;                  // opens that no close has matched yet
    std::unique_ptr<TVolumeRegistry> fRegistry;
    std::unique_ptr<TDriverEventPoller> fPoller;
    std::unique_ptr<TDriverEventServer> fServer;
    DASessionRef fSession;   // made by DoWork, never released

private:
    SInt32 CreateVolumeRegistry();
    SInt32 StartEventServer();
    SInt32 StartEventPoller();
};

// The one tool object, from the beginning of InitTool on; null before. The service threads find everything through it.
extern THXDaemonTool* gDaemonTool;

#endif
