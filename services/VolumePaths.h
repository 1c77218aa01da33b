// Mounted volumes: from the BSD name to the mount path, and back, and how large the medium is.

#ifndef HALVORIX_SERVICES_VOLUMEPATHS_H
#define HALVORIX_SERVICES_VOLUMEPATHS_H

#include <CoreServices/CoreServices.h>

#include <cstddef>

extern "C" {

// Finds the device that a mounted volume is on.
//
// volumeNameOrPath  the mount path in UTF-8, "/" or "/Volumes/Data", or the volume's name alone: what is no path of
//                   anything is tried below "/Volumes/". "Data" is so found, unless the current folder holds a "Data"
// bsdName           receives "disk2s3", cut to its room; all bsdNameSize bytes are cleared first
// bsdNameSize       the room there in bytes, NUL included
// returns           1, or 0 when nothing is there, when the system does not tell the volume's device, and when it is no
//                   mount point: a folder or file inside a volume is not found
UInt32 ExtractBSDNameFromVolumeName(const char* volumeNameOrPath, char* bsdName, size_t bsdNameSize);

// Finds where the volume of a disk is mounted, by asking Disk Arbitration.
//
// bsdName         "disk2s3", without "/dev/"
// pathBuffer      receives the mount path in the file system's encoding, with its NUL: "/" or "/Volumes/Data"
// pathBufferSize  the room there in bytes; 1024 holds every path
// returns         1, or 0 when there is no such disk, when it is not mounted, or when the path does not fit
UInt32 GetVolumePathnameWithBSDName(const char* bsdName, char* pathBuffer, CFIndex pathBufferSize);

// Returns the "Size" in bytes of the medium that a volume is on; 0 when there is none.
//
// volumeNameOrPath  as ExtractBSDNameFromVolumeName takes it
UInt64 NumberBytesInVolumeIOMedia(const char* volumeNameOrPath);
}

#endif
