#include "services/BootMembers.h"

#include "foundation/CFTypes.h"    // CFTypeAs, ExtractASCII
#include "foundation/CStrings.h"   // StoreCString
#include "foundation/ScopedCFType.h"
#include "services/BootDevice.h"   // GetBSDSliceNumberForAppleBootPartition
#include "services/IORegistry.h"   // GetBSDNameAndSizes
#include "services/ScopedIOObject.h"

#include <cstring>

// Room for a registry path, and for the BSD name that is read.
static const UInt32 kPathSize = 1024;
static const UInt32 kNameSize = 32;

CFArrayRef CreateBootMemberList(io_object_t volume)
{
    TScopedCFType property(IORegistryEntryCreateCFProperty(volume, CFSTR("IOBootDevice"), kCFAllocatorDefault, 0));
    if (CFTypeAs<CFArrayRef>(property.Get(), CFArrayGetTypeID()) == nullptr)
        return nullptr;
    return static_cast<CFArrayRef>(property.Release());
}

io_registry_entry_t GetBootMemberEntry(CFTypeRef element)
{
    const auto dictionary = CFTypeAs<CFDictionaryRef>(element, CFDictionaryGetTypeID());
    char path[kPathSize];
    if (dictionary == nullptr ||
        !ExtractASCII(CFDictionaryGetValue(dictionary, CFSTR("IOBootDevicePath")), path, sizeof path))
        return 0;
    return IORegistryEntryFromPath(kIOMasterPortDefault, path);
}

bool FindBootHelperPartition(CFTypeRef element, char (&bsdName)[kBootHelperNameSize])
{
    const TScopedIOObject entry(GetBootMemberEntry(element));
    if (!entry)
        return false;
    char member[kNameSize];
    GetBSDNameAndSizes(entry.Get(), nullptr, member, kNameSize, nullptr, nullptr);
    StoreCString(bsdName, member, kBootHelperNameSize);
    GetBSDSliceNumberForAppleBootPartition(entry.Get(), bsdName);
    // A name that stayed is none at all, or the member's own: what is done to helper partitions would cost the RAID volume
    // its data.
    return strcmp(bsdName, member) != 0;
}
