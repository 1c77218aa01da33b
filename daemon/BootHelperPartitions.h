// Keeps the boot helper partitions of a RAID system volume as the firmware needs them.
//
// The firmware cannot read a RAID volume. Beside each of its boot members lies a small Apple_Boot partition, from which
// the firmware starts and which names the RAID volume as the root device. Everything here is synchronous, on the calling
// thread, whose run loop runs while a volume is mounted; there is no time-out, and nothing is logged.

#ifndef HALVORIX_DAEMON_BOOTHELPERPARTITIONS_H
#define HALVORIX_DAEMON_BOOTHELPERPARTITIONS_H

#include <CoreServices/CoreServices.h>

// File systems that a partition can be given. Callers keep these values.
enum
{
    kFileSystemHFSPlus = 0,
    kFileSystemHFSPlusCaseSensitive = 1,
    kFileSystemUFS = 2
};

extern "C" {

// Erases a partition and gives it a file system. What was on it is lost, whatever that was: nobody looks at the partition's
// type.
//
// bsdName         "disk0s3". The raw device, "/dev/r" and the name, is cut to 15 bytes: of a name of ten characters or
//                 more the end is lost, and with it, another partition may be meant: "disk10s123" becomes "disk10s12"
// volumeName      the volume's name
// fileSystemKind  one of those above. Any other: the child ends at once, and nothing is erased
// journaled       not 0: with a journal, of 8 MB for kFileSystemHFSPlus and of the tool's own choice for
//                 kFileSystemHFSPlusCaseSensitive
// returns         1, however the tool ended and whether or not there is such a tool; 0 only when it could not be forked
UInt32 FormatBootHelperPartition(const char* bsdName, const char* volumeName, UInt32 fileSystemKind, UInt32 journaled);

// Erases a boot helper partition, fills it from a system volume, and leaves it unmounted: a plain HFS Plus volume named
// "Boot OSX", owned by root.
//
// bsdName     the boot helper partition's
// sourcePath  where the RAID system volume is mounted
// returns     1, whatever came of it
//
// It stays erased and empty when it cannot be mounted, when it cannot be given to root (a file system that knows no
// owners, ENOTSUP, is no hindrance), and when the system on the source is older than 10.5, which starts otherwise. Where
// its mount path is not found once it is mounted, it stays empty and mounted.
UInt32 RebuildBootHelperPartition(const char* bsdName, const char* sourcePath);

// Rebuilds the boot helper partitions of all boot members of a RAID system volume, in the order in which the driver lists
// them, and brings the cache of kernel extensions up to date.
//
// sourcePath  where the volume is mounted: "/" or "/Volumes/Data". The volume is found by its name, too, but not its files,
//             so that the partitions would be left erased and empty
// returns     what UpdateAppleBootPartitionsMKextCacheForVolume returns; 0 when the volume is not found, publishes no list
//             of members, or an element of the list leads to no partition: that one and those behind it are not touched,
//             and neither is the cache
UInt32 UpdateBootHelperPartitions(const char* sourcePath);

// Has the system honour owners on the boot helper partitions of a RAID system volume: each is mounted, hidden, vsdbutil is
// run on it, and it is unmounted. Nothing else on it changes.
//
// sourcePath  as above
// returns     1 when all were seen to; 0 as above, and when one cannot be mounted: those behind it are not touched. One
//             whose mount path is not found stays mounted
UInt32 EnableOwnershipOnBootHelperPartitions(const char* sourcePath);
}

#endif
