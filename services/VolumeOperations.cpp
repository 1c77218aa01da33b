#include "services/VolumeOperations.h"

#include "foundation/ScopedCFType.h"
#include "services/ScopedIOObject.h"
#include "services/VolumePaths.h"   // GetVolumePathnameWithBSDName

static const CFIndex kPathCapacity = 1024;

// Keeps a session scheduled on the calling thread's run loop for as long as a scope lasts.
class TScheduledSession
{
public:
    explicit TScheduledSession(DASessionRef session) : fSession(session)
    {
        DASessionScheduleWithRunLoop(fSession, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }
    ~TScheduledSession() { DASessionUnscheduleFromRunLoop(fSession, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode); }

    TScheduledSession(const TScheduledSession&) = delete;
    TScheduledSession& operator=(const TScheduledSession&) = delete;

private:
    DASessionRef fSession;
};

// The disk with a BSD name, as a session knows it, and its medium.
class TDiskWithMedium
{
public:
    // session  may be null: there is no disk then
    TDiskWithMedium(DASessionRef session, const char* bsdName)
        : fDisk(session == nullptr ? nullptr : DADiskCreateFromBSDName(kCFAllocatorDefault, session, bsdName)),
          fMedium(fDisk ? DADiskCopyIOMedia(fDisk.Get()) : 0)
    {
    }

    // A disk object can be had of any name: only the medium tells whether there is such a disk.
    explicit operator bool() const { return static_cast<bool>(fMedium); }

    DADiskRef Disk() const { return fDisk.Get(); }
    io_service_t Medium() const { return fMedium.Get(); }

private:
    TScopedCFType<DADiskRef> fDisk;
    TScopedIOObject fMedium;
};

void DiskRequestDone(DADiskRef, DADissenterRef dissenter, void* context)
{
    *static_cast<UInt32*>(context) = dissenter == nullptr;
    CFRunLoopStop(CFRunLoopGetCurrent());
}

// Issues one request. The status receives the answer once the run loop runs.
static void RequestMount(DADiskRef disk, UInt32 browsable, UInt32* status)
{
    if (browsable != 0) {
        DADiskMount(disk, nullptr, kDADiskMountOptionDefault, DiskRequestDone, status);
        return;
    }
    CFStringRef arguments[] = {CFSTR("perm"), CFSTR("nobrowse"), nullptr};
    DADiskMountWithArguments(disk, nullptr, kDADiskMountOptionDefault, DiskRequestDone, status, arguments);
}

static void RequestUnmount(DADiskRef disk, UInt32 force, UInt32* status)
{
    const DADiskUnmountOptions options = force != 0 ? kDADiskUnmountOptionForce : kDADiskUnmountOptionDefault;
    DADiskUnmount(disk, options, DiskRequestDone, status);
}

// Returns Disk Arbitration's answer; 0 when it could not be asked.
static UInt32 AskToMountOrUnmount(const char* bsdName, UInt32 mount, UInt32 browsable, UInt32 force)
{
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    const TDiskWithMedium disk(session.Get(), bsdName);
    if (!disk)
        return 0;

    const TScheduledSession scheduled(session.Get());
    UInt32 status = 0;
    if (mount != 0)
        RequestMount(disk.Disk(), browsable, &status);
    else
        RequestUnmount(disk.Disk(), force, &status);
    CFRunLoopRun();
    return status;
}

UInt32 MountOrUnmountVolume(const char* bsdName, UInt32 mount, UInt32 browsable, UInt32 force)
{
    if (AskToMountOrUnmount(bsdName, mount, browsable, force) != 0)
        return 1;
    // A refusal is no failure when things are as they should be.
    char path[kPathCapacity];
    return GetVolumePathnameWithBSDName(bsdName, path, kPathCapacity) == mount;
}

UInt32 MountVolume(const char* bsdName, UInt32 browsable)
{
    return MountOrUnmountVolume(bsdName, 1, browsable, 0);
}

UInt32 UnmountVolume(const char* bsdName, UInt32 force)
{
    return MountOrUnmountVolume(bsdName, 0, 0, force);
}

UInt32 RenameVolume(const char* bsdName, const char* newName)
{
    const TScopedCFType name(CFStringCreateWithFileSystemRepresentation(kCFAllocatorDefault, newName));
    if (!name)
        return 0;
    // Never released, by contract.
    const DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    const TDiskWithMedium disk(session, bsdName);
    if (!disk)
        return 0;

    UInt32 status = 1;
    {
        const TScheduledSession scheduled(session);
        DADiskRename(disk.Disk(), name.Get(), kDADiskRenameOptionDefault, DiskRequestDone, &status);
        CFRunLoopRun();
    }
    // The first of two releases, by contract; the holder does the other.
    IOObjectRelease(disk.Medium());
    return status;
}
