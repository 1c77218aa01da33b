// Moments as the File Manager keeps them.

#ifndef HALVORIX_PLATFORM_UTCUTILS_H
#define HALVORIX_PLATFORM_UTCUTILS_H

#include <MacTypes.h>

#pragma pack(push, 2)

// Seconds since 1 January 1904, 0:00 UTC, 48 bits of them, and 65536ths of a second.
struct UTCDateTime
{
    UInt16 highSeconds;
    UInt32 lowSeconds;
    UInt16 fraction;
};
typedef struct UTCDateTime UTCDateTime;

#pragma pack(pop)

#endif
