// How old the system on a volume is, as the daemon's decisions need it.

#ifndef HALVORIX_DAEMON_SYSTEMVERSIONPROBE_H
#define HALVORIX_DAEMON_SYSTEMVERSIONPROBE_H

#include <CoreServices/CoreServices.h>

// The highest numbers that are below 10.4 and below 10.5: whatever has a higher one is at least that. "10.4" as text is
// 0x10408000.
constexpr UInt32 kHighestBefore10_4 = 0x103FFFFF;
constexpr UInt32 kHighestBefore10_5 = 0x104FFFFF;

// Says whether the system on a volume is newer than that.
//
// highest     a NumVersion as one number, compared unsigned
// volumePath  where the volume is mounted: "/"
// returns     false also when the version is not known
bool SystemIsNewerThan(UInt32 highest, const char* volumePath);

#endif
