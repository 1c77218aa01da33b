// Disk Arbitration, the part that is called: disks that come and go.
//
// A disk is an entry of the IOService plane whose class is IOMedia or derived from it. It is known by the entry's
// identifier: a disk that was replaced between two looks is one that disappeared and one that appeared.
// Callbacks are called on the thread of the session's run loop, while it runs. The disk that they get is theirs to use
// until they return; retain it to keep it.

#ifndef HALVORIX_PLATFORM_DISKARBITRATION_H
#define HALVORIX_PLATFORM_DISKARBITRATION_H

#include <CoreFoundation/CFDictionary.h>
#include <DiskArbitration/DADisk.h>
#include <DiskArbitration/DASession.h>

extern "C" {

typedef void (*DADiskAppearedCallback)(DADiskRef disk, void* context);
typedef void (*DADiskDisappearedCallback)(DADiskRef disk, void* context);

// The callback is called once for every disk that is there, in the order of the IOService plane, then for every new one.
// match  null: every disk. Nothing else can be asked for here; a dictionary ends the process
void DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                    void* context);

// The callback is called for every disk that goes, those that appeared last first. What goes is told before what comes.
// match  as above
void DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match, DADiskDisappearedCallback callback,
                                       void* context);
}

#endif
