// The record in which the RAID driver tells of one event. Clients of the event socket get it byte for byte.

#ifndef HALVORIX_DAEMON_DRIVEREVENTRECORD_H
#define HALVORIX_DAEMON_DRIVEREVENTRECORD_H

#include <CoreServices/CoreServices.h>
#include <cstddef>

// Numbers are in the machine's own byte order: on a Mac that runs the driver, big-endian.
struct TDriverEventRecord
{
    UInt32 queueEmpty;      // not 0: no further event waits in the driver
    UInt8 opaqueHead[8];    // the driver's and its clients' business
    SInt32 type;            // one of the kinds below
    UInt8 opaqueBody[96];   // the driver's and its clients' business
    char bsdName[16];       // "disk2s3": the volume that a boot event is about; a full field has no terminator
};

static_assert(sizeof(TDriverEventRecord) == 128, "the driver writes 128 bytes");
static_assert(offsetof(TDriverEventRecord, queueEmpty) == 0, "");
static_assert(offsetof(TDriverEventRecord, type) == 12, "");
static_assert(offsetof(TDriverEventRecord, bsdName) == 112, "");

// Types above kDriverEventSelectBootVolume are relayed to clients; negative ones are ignored.
enum : SInt32
{
    kDriverEventNone = 0,
    kDriverEventUpdateBootFiles = 1,   // the volume's boot helper partitions are out of date
    kDriverEventSelectBootVolume = 2   // the volume is to become the start-up volume
};

#endif
