// Disks that come and go, as Disk Arbitration tells of them on the main thread.

#include "daemon/DaemonTool.h"

void THXDaemonTool::DiskAppearedCallback(DADiskRef disk, void* tool)
{
    static_cast<THXDaemonTool*>(tool)->DiskAppeared(disk);
}

void THXDaemonTool::DiskDisappearedCallback(DADiskRef disk, void* tool)
{
    static_cast<THXDaemonTool*>(tool)->DiskDisappeared(disk);
}

// The volume registry is disabled, so there is nobody to tell yet.
void THXDaemonTool::DiskAppeared(DADiskRef) {}

void THXDaemonTool::DiskDisappeared(DADiskRef) {}
