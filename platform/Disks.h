// Disk Arbitration's disks, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_DISKS_H
#define HALVORIX_PLATFORM_DISKS_H

#include "platform/Registry.h"

#include <DiskArbitration/DiskArbitration.h>

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// A medium in the registry, or one that is not there.
struct TMedium
{
    std::uint64_t identifier = 0;   // 0: there was none with the name
    bool isNamed = false;
    std::string bsdName;
};

// The media that are there, in the registry's order.
std::vector<TMedium> PresentMedia();

// The medium's entry as the registry is now: that with its BSD name, or with its identifier when it has no name. Null when it
// is gone.
const TEntry* EntryOf(const TRegistry& registry, const TMedium& medium);

// Retains the session; the caller releases the disk.
DADiskRef MakeDisk(DASessionRef session, const TMedium& medium);

const TMedium& MediumOf(DADiskRef disk);

// The disk's own.
DASessionRef SessionOf(DADiskRef disk);

}   // namespace platform

#endif
