// Disks, as Disk Arbitration shows them.

#ifndef HALVORIX_PLATFORM_DADISK_H
#define HALVORIX_PLATFORM_DADISK_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef struct __DADisk* DADiskRef;

CFTypeID DADiskGetTypeID(void);

// "disk2s3"; the disk's own, for as long as the disk lives. Null when its medium has no "BSD Name".
const char* DADiskGetBSDName(DADiskRef disk);
}

#endif
