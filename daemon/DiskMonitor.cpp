// Disks that come and go, as Disk Arbitration tells of them on the main thread.

#include "daemon/DaemonTool.h"
#include "daemon/ProcessLookup.h"
#include "services/MediaTypes.h"   // GetMediaTypeWithIOServiceObject
#include "services/ScopedIOObject.h"

#include <ApplicationServices/ApplicationServices.h>

void THXDaemonTool::DiskAppearedCallback(DADiskRef disk, void* tool)
{
    static_cast<THXDaemonTool*>(tool)->DiskAppeared(disk);
}

void THXDaemonTool::DiskDisappearedCallback(DADiskRef disk, void* tool)
{
    static_cast<THXDaemonTool*>(tool)->DiskDisappeared(disk);
}

void THXDaemonTool::DiskClaimCandidateCallback(DADiskRef disk, void* tool)
{
    static_cast<THXDaemonTool*>(tool)->ClaimDiskForFrontApplication(disk);
}

DADissenterRef THXDaemonTool::ClaimReleaseCallback(DADiskRef, void*)
{
    return nullptr;
}

void THXDaemonTool::ClaimDoneCallback(DADiskRef, DADissenterRef, void*) {}

void THXDaemonTool::DiskAppeared(DADiskRef disk)
{
    const char* const bsdName = DADiskGetBSDName(disk);
    if (bsdName == nullptr)
        return;
    const TScopedIOObject media(DADiskCopyIOMedia(disk));
    if (media)
        fRegistry->VolumeAppeared(bsdName, media.Get());
}

void THXDaemonTool::DiskDisappeared(DADiskRef disk)
{
    const char* const bsdName = DADiskGetBSDName(disk);
    if (bsdName != nullptr)
        fRegistry->VolumeDisappeared(bsdName);
}

// Whether the RAID management application runs and is in front.
static bool ManagementApplicationIsInFront()
{
    const pid_t application = FindProcess("Halvorix");
    if (application == 0)
        return false;
    ProcessSerialNumber front = {};
    if (GetFrontProcess(&front) != noErr)
        return false;
    pid_t process = 0;
    return GetProcessPID(&front, &process) == noErr && process == application;
}

void THXDaemonTool::ClaimDiskForFrontApplication(DADiskRef disk)
{
    if (!ManagementApplicationIsInFront())
        return;
    // Not released, by contract.
    const io_service_t media = DADiskCopyIOMedia(disk);
    if (media == 0 || GetMediaTypeWithIOServiceObject(media) != kMediaTypeDisk)
        return;
    DADiskClaim(disk, kDADiskClaimOptionDefault, ClaimReleaseCallback, this, ClaimDoneCallback, this);
}
