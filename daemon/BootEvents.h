// What the daemon does about starting up from a RAID volume: once when it starts, and when the driver asks for it.
//
// Which way is taken depends on the system that is running, the one at "/", whatever volume is meant: from 10.5 on the
// firmware starts boot helper partitions, before that the volume itself is blessed. Nothing reports a failure.

#ifndef HALVORIX_DAEMON_BOOTEVENTS_H
#define HALVORIX_DAEMON_BOOTEVENTS_H

#include "daemon/DriverEventRecord.h"

class THXDaemonTool;

// From 10.5 on, when the Mac started from a RAID volume: has owners honoured on its boot helper partitions. They are not
// rebuilt.
void CheckBootHelperPartitionsAtStartup();

// Acts on a driver event: kDriverEventUpdateBootFiles and kDriverEventSelectBootVolume, with the functions below; on no
// other type.
//
// tool    handed to them
// record  stays the caller's; a BSD name that fills its field ends there
void HandleBootDriverEvent(THXDaemonTool* tool, const TDriverEventRecord* record);

// From 10.5 on: rebuilds all boot helper partitions of a mounted RAID volume. Does nothing to one that is not mounted.
//
// tool     not looked at; may be null
// bsdName  the RAID volume's
void UpdateBootFilesForVolume(THXDaemonTool* tool, const char* bsdName);

// Makes a RAID volume the start-up volume: from 10.5 on the boot helper partition of its first boot member becomes the boot
// device, before that the volume's own system folder is blessed.
//
// tool     not looked at; may be null
// bsdName  the RAID volume's
void SelectBootVolume(THXDaemonTool* tool, const char* bsdName);

#endif
