// Disks, as Disk Arbitration shows them, and what it tells of them.
//
// A disk stands for a BSD name. What is asked of it is asked about the medium that has the name at that moment: a disk that
// was made before the medium was swapped answers for the new one, and one whose medium is gone for none.

#ifndef HALVORIX_PLATFORM_DADISK_H
#define HALVORIX_PLATFORM_DADISK_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>
#include <DiskArbitration/DASession.h>
#include <IOKit/IOTypes.h>

extern "C" {

typedef struct __DADisk* DADiskRef;

CFTypeID DADiskGetTypeID(void);

// A disk for a BSD name, "disk2s3" or "/dev/disk2s3", whether or not there is such a medium. It retains the session; the
// caller releases it. Two disks are equal when they were made while their name had the same medium, or none.
// returns  null for a null session or name
DADiskRef DADiskCreateFromBSDName(CFAllocatorRef allocator, DASessionRef session, const char* name);

// A disk for an entry of the I/O Registry; likewise.
// returns  null for a null session, and for what is no medium, has no "BSD Name", or went away
DADiskRef DADiskCreateFromIOMedia(CFAllocatorRef allocator, DASessionRef session, io_service_t media);

// "disk2s3"; the disk's own, for as long as the disk lives. Null when its medium has no "BSD Name".
const char* DADiskGetBSDName(DADiskRef disk);

// The medium's entry, whose reference is the caller's. 0 when there is no such medium.
io_service_t DADiskCopyIOMedia(DADiskRef disk);

// What is known of the disk now; the caller releases it. Null when there is no such medium. A key whose value is not known is
// left out.
CFDictionaryRef DADiskCopyDescription(DADiskRef disk);

// The keys of a description, and what stands under them. Volume name, kind and UUID are there when there is a file system,
// the path when it is mounted.
extern const CFStringRef kDADiskDescriptionVolumeKindKey;        // CFString: "hfs", "msdos"
extern const CFStringRef kDADiskDescriptionVolumeMountableKey;   // CFBoolean
extern const CFStringRef kDADiskDescriptionVolumeNameKey;        // CFString
extern const CFStringRef kDADiskDescriptionVolumeNetworkKey;     // CFBoolean, false
extern const CFStringRef kDADiskDescriptionVolumePathKey;        // CFURL of the mount point, a directory's
extern const CFStringRef kDADiskDescriptionVolumeUUIDKey;        // CFUUID
extern const CFStringRef kDADiskDescriptionMediaBlockSizeKey;    // CFNumber, bytes
extern const CFStringRef kDADiskDescriptionMediaBSDMajorKey;     // CFNumber
extern const CFStringRef kDADiskDescriptionMediaBSDMinorKey;     // CFNumber
extern const CFStringRef kDADiskDescriptionMediaBSDNameKey;      // CFString
extern const CFStringRef kDADiskDescriptionMediaBSDUnitKey;      // CFNumber
extern const CFStringRef kDADiskDescriptionMediaContentKey;      // CFString: "Apple_HFS"
extern const CFStringRef kDADiskDescriptionMediaEjectableKey;    // CFBoolean
extern const CFStringRef kDADiskDescriptionMediaKindKey;         // CFString: the entry's class
extern const CFStringRef kDADiskDescriptionMediaLeafKey;         // CFBoolean
extern const CFStringRef kDADiskDescriptionMediaNameKey;         // CFString: the entry's name
extern const CFStringRef
    kDADiskDescriptionMediaPathKey;   // CFString: the path in the device tree, or else in IOService
extern const CFStringRef kDADiskDescriptionMediaRemovableKey;   // CFBoolean
extern const CFStringRef kDADiskDescriptionMediaSizeKey;        // CFNumber, bytes
extern const CFStringRef kDADiskDescriptionMediaWholeKey;       // CFBoolean
extern const CFStringRef kDADiskDescriptionMediaWritableKey;    // CFBoolean
}

#endif
