// What a boot helper partition holds, and how it gets there from the RAID system volume that it starts.
//
//     System/Library/CoreServices/boot.efi
//     System/Library/CoreServices/SystemVersion.plist      or ServerVersion.plist
//     com.apple.boot.S/mach_kernel
//     com.apple.boot.S/Library/Preferences/SystemConfiguration/com.apple.Boot.plist     with the volume's UUID in it
//     com.apple.boot.S/System/Library/Extensions.mkext

#ifndef HALVORIX_DAEMON_BOOTHELPERFILES_H
#define HALVORIX_DAEMON_BOOTHELPERFILES_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Writes a volume's UUID into a boot preferences file, as the text of "Root UUID": the kernel's root device. What else the
// file holds stays.
//
// volumeUUID  stays the caller's
// plistPath   a com.apple.Boot.plist
// returns     1; 0 when the UUID gave no text, the file cannot be read or holds no dictionary, or it could not be written:
//             in the last case it is gone
UInt32 SetRootUUIDInBootPlist(CFUUIDRef volumeUUID, const char* plistPath);

// Fills an empty boot helper partition. Folders get mode 0755; files are copied by CopyDirectoryOrFile.
//
// sourcePath  where the RAID system volume is mounted: "/Volumes/Data", with or without a slash at the end
// helperPath  where the boot helper partition is mounted, likewise
// returns     1 when all is there. Otherwise 0, and what was made before the first step that failed stays; a folder that
//             is there already is a failure, too, and so is a path that takes 1,024 bytes or more
//
// Only where SystemVersion.plist cannot be copied is ServerVersion.plist tried in its place.
UInt32 PopulateBootHelperPartition(const char* sourcePath, const char* helperPath);
}

#endif
