// The boot members of a RAID volume: the partitions that it consists of, beside each of which a boot helper partition lies.

#ifndef HALVORIX_SERVICES_BOOTMEMBERS_H
#define HALVORIX_SERVICES_BOOTMEMBERS_H

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

// Room for the BSD name of a boot helper partition: 32 bytes for the member's name, and 2 by which it may grow when the
// number of the partition changes.
constexpr UInt32 kBootHelperNameSize = 34;

// Reads the list of members that the RAID driver publishes.
//
// volume   the RAID volume's entry; stays the caller's
// returns  its "IOBootDevice", which the caller releases; null when there is none or it is no array
CFArrayRef CreateBootMemberList(io_object_t volume);

// Finds a member's partition.
//
// element  an element of the list: a dictionary whose "IOBootDevicePath" is the member's registry path, in ASCII and
//          shorter than 1,024 bytes; may be anything else, or null. Stays the caller's
// returns  its entry, which the caller releases; 0 when the element is none such or no entry has the path
io_registry_entry_t GetBootMemberEntry(CFTypeRef element);

// Finds the boot helper partition beside a member.
//
// element  as above; stays the caller's
// bsdName  receives the BSD name of the partition, as GetBSDSliceNumberForAppleBootPartition makes it of the member's
// returns  false when the element is none such, no entry has the path, that entry has no BSD name, or the name stays as it
//          is, since the registry does not tell the partition map: it is the member's own then, which nobody may erase.
//          bsdName is undefined then
bool FindBootHelperPartition(CFTypeRef element, char (&bsdName)[kBootHelperNameSize]);

#endif
