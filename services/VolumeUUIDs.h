// The UUIDs of volumes.

#ifndef HALVORIX_SERVICES_VOLUMEUUIDS_H
#define HALVORIX_SERVICES_VOLUMEUUIDS_H

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

// Finds the UUID of the volume on a disk, mounted or not, by asking Disk Arbitration.
//
// bsdName  "disk2s3", without "/dev/"
// returns  the UUID, which the caller releases; null when there is no such disk or its volume has none
CFUUIDRef CreateVolumeCFUUID_WithBSD_Name(const char* bsdName);

// Finds the UUID of a mounted volume.
//
// volumeNameOrPath  as ExtractBSDNameFromVolumeName takes it: "/", "/Volumes/Data", "Data"
// returns           the UUID, which the caller releases; null when it is no mounted volume or has none
CFUUIDRef CreateVolumeCFUUID(const char* volumeNameOrPath);
}

#endif
