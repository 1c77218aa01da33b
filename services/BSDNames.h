// What the names of disks say: device pathnames, BSD names and mount paths, turned into one another as text alone.
//
// Nothing here asks the system. A BSD name is "disk2" for a whole disk and "disk2s3" for a partition of it; a device
// pathname is "/dev/" or, for the raw device, "/dev/r" before a BSD name.

#ifndef HALVORIX_SERVICES_BSDNAMES_H
#define HALVORIX_SERVICES_BSDNAMES_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Says whether the pathname begins with "/dev/rdisk", upper and lower case told apart.
//
// pathname  any text
// returns   1 or 0. "/dev/rdisk" alone is 1, "rdisk2" is 0
UInt32 PathnameIsRawDisk(const char* pathname);

// Says whether a BSD name or device pathname is a partition's.
//
// name     the BSD name or device pathname; any text will do
// returns  1 when, from the end backwards, an 's' comes before a 'k'; 0 when a 'k' comes first or neither is there.
//          "/dev/rdisk10s12" is 1, "disk2" and "" are 0; "abs", without a 'k', is 1
UInt32 IsDiskAPartition(const char* name);

// Makes a number of what stands behind the last 'k' of a BSD name or device pathname, or of the whole text without one.
//
// name     the BSD name or device pathname; any text will do
// returns  from the last character backwards: the number so far times ten, plus the character's code (0 to 255), plus
//          48; modulo 2^32. 0 for "" and for what ends with 'k'
//
// It is no slice number: the 's' and the disk's number are taken in, the characters come in reverse, and 48 is added
// where a digit's value would need it taken away. "disk2s3" is '3', 's', '2': 99, then 1153, then 11628.
UInt32 ReturnPartitionSliceNumber(const char* name);

// Cuts a partition's pathname down to its disk's, in place: at the first 's' behind the last 'k', or at the first 's' of
// all where there is no 'k'. Every 's' from there on becomes a NUL.
//
// "/dev/rdisk1s10" becomes "/dev/rdisk1"; "/dev/rdisk3" stays.
void ConvertPartitionPathnameToDiskPathname(char* pathname);

// Cuts a pathname at its last 's', in place, wherever that stands.
//
// "/dev/disk2s3" becomes "/dev/disk2", as above. But a whole disk's loses its end: "/dev/rdisk3" becomes "/dev/rdi".
void ConvertPartitionPathnameToTrackPathname(char* pathname);

// Copies the BSD name out of a device pathname.
//
// pathname     the device pathname; any text will do
// bsdName      room for bsdNameSize + 1 bytes: a name as long as the size is taken, with a NUL behind it. Untouched on
//              failure
// bsdNameSize  the length of the longest name that is taken
// returns      1, or 0 when there is no "disk" with a character behind it, when anything but digits and 's' follows it up
//              to the end, or when the name is too long
//
// "/dev/rdisk2s3" gives "disk2s3"; "/dev/disk" and "/dev/disk2s3/x" fail. "/dev/disk2s3" fits into a size of 7 and makes
// 8 bytes.
//
// The search never looks at a character again that it has compared: where the first, second, third or fourth letter of
// "disk" differs, it goes on behind that character. "dixdisk1" gives "disk1", while "ddisk1", "didisk1" and "disdisk1"
// hold no "disk" for it.
UInt32 ExtractBSDNameFromPathname(const char* pathname, char* bsdName, UInt32 bsdNameSize);

// Copies the mount path of the volume that a pathname is on, judged by its beginning.
//
// pathname        from the root; may be null
// volumePath      receives the path with its NUL; all volumePathSize bytes of it are cleared first. May be null
// volumePathSize  in bytes; the path with its NUL must fit
// returns         1, or 0 for a null pointer, a size of 0, a path that does not fit or is longer than 1022 bytes, a
//                 pathname that is not absolute, and for "/Volumes/NAME" with no slash behind it
//
// "/Volumes/Data/Users/x" and "/Volumes/Data/" give "/Volumes/Data", "/usr/bin" and "/Volumes" give "/". A bare
// "/Volumes/Data" fails.
UInt32 ExtractVolumePathFromPathname(const char* pathname, char* volumePath, UInt32 volumePathSize);
}

#endif
