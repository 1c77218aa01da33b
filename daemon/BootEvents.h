// What the daemon does about starting up from a RAID volume: once when it starts, and when the driver asks for it.

#ifndef HALVORIX_DAEMON_BOOTEVENTS_H
#define HALVORIX_DAEMON_BOOTEVENTS_H

#include "daemon/DriverEventRecord.h"

class THXDaemonTool;

// Sees at start-up to the boot helper partitions of a RAID start-up volume. Touches nothing yet.
void CheckBootHelperPartitionsAtStartup();

// Acts on a driver event about a boot volume; the record stays the caller's. Acts on no type yet.
void HandleBootDriverEvent(THXDaemonTool* tool, const TDriverEventRecord* record);

#endif
