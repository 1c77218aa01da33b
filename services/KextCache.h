// Refreshing the cache of kernel extensions that the boot helper partitions of a RAID volume hold.

#ifndef HALVORIX_SERVICES_KEXTCACHE_H
#define HALVORIX_SERVICES_KEXTCACHE_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Has the system bring what the firmware starts a volume from up to date: /usr/sbin/kextcache -f -u, with the caller's
// rights. Blocks until that has ended.
//
// volumePath  where the volume is mounted: "/", "/Volumes/Data"
// returns     1 when kextcache exited with 0 or could not be executed; 0 when it exited otherwise, a signal killed it, or
//             it could not be forked or waited for
//
// Both the system on the volume and the one that is running must be 10.5 or later, since earlier ones have no -u. If one
// is below 0x10500000 as a number, or is not known, there is nothing to do: nothing is run, and 1 is returned.
UInt32 UpdateAppleBootPartitionsMKextCacheForVolume(const char* volumePath);
}

#endif
