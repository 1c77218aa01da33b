#include "services/IORegistry.h"

#include "foundation/CFTypes.h"   // CFTypeAs, ExtractASCII, ExtractSInt32, ExtractSInt64
#include "foundation/ScopedCFType.h"
#include "services/BSDNames.h"   // IsDiskAPartition
#include "services/NearestProperties.h"
#include "services/ScopedIOObject.h"

io_object_t IterateThroughParentLevels(io_iterator_t iterator, UInt32 levels)
{
    io_object_t object = 0;
    for (UInt32 level = 0; level < levels; ++level) {
        const TScopedIOObject passed(object);
        object = IOIteratorNext(iterator);
    }
    return object;
}

UInt32 IOKitObjectIsParentOfObject(...)
{
    return 1;
}

UInt32 IOKitObjectIsChildOfObjectOfClass(io_object_t object, const char* className)
{
    // The walk gives back what it visits, and the first of that is the caller's.
    IOObjectRetain(object);
    for (io_object_t next = object;;) {
        const TScopedIOObject current(next);
        if (IOObjectConformsTo(current.Get(), className))
            return 1;
        if (IORegistryEntryGetParentEntry(current.Get(), "IOService", &next) != KERN_SUCCESS)
            return 0;
    }
}

io_object_t GetIOKitObjectWithBSDName(const char* bsdName)
{
    const CFMutableDictionaryRef matching = IOBSDNameMatching(kIOMasterPortDefault, 0, bsdName);
    if (matching == nullptr)
        return 0;
    return IOServiceGetMatchingService(kIOMasterPortDefault, matching);
}

// Makes a copy of an entry's own property, which the caller releases; null when there is none.
static CFTypeRef CreateProperty(io_registry_entry_t entry, CFStringRef key)
{
    return IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0);
}

// Reads the name; on failure it is empty.
static void GetBSDName(io_object_t media, char* bsdName, UInt32 bsdNameSize)
{
    const TScopedCFType property(CreateProperty(media, CFSTR("BSD Name")));
    if (!ExtractASCII(property.Get(), bsdName, bsdNameSize))
        bsdName[0] = 0;
}

void GetBSDNameAndSizes(io_object_t media, UInt32* isPartition, char* bsdName, UInt32 bsdNameSize, SInt64* byteSize,
                        SInt32* preferredBlockSize)
{
    if (bsdName != nullptr && bsdNameSize > 0) {
        GetBSDName(media, bsdName, bsdNameSize);
        if (isPartition != nullptr)
            *isPartition = IsDiskAPartition(bsdName);
    }
    if (byteSize != nullptr) {
        const TScopedCFType property(CreateProperty(media, CFSTR("Size")));
        ExtractSInt64(property.Get(), byteSize);
    }
    if (preferredBlockSize != nullptr) {
        const TScopedCFType property(CreateProperty(media, CFSTR("Preferred Block Size")));
        ExtractSInt32(property.Get(), preferredBlockSize);
    }
}

UInt32 IsDiskAppleBootPartition(const char* bsdName)
{
    const TScopedIOObject media(GetIOKitObjectWithBSDName(bsdName));
    if (!media)
        return 0;
    const TScopedCFType property(CreateProperty(media.Get(), CFSTR("Content Hint")));
    const auto content = CFTypeAs<CFStringRef>(property.Get(), CFStringGetTypeID());
    if (content == nullptr)
        return 0;
    return CFStringCompare(content, CFSTR("Apple_Boot"), 0) == kCFCompareEqualTo ||
           CFStringCompare(content, CFSTR("426F6F74-0000-11AA-AA11-00306543ECAC"), 0) == kCFCompareEqualTo;
}

UInt32 IsDiskRemovable(const char* bsdName)
{
    const TScopedIOObject media(GetIOKitObjectWithBSDName(bsdName));
    if (!media)
        return 0;
    const TScopedCFType property(CreateNearestProperty(media.Get(), CFSTR("Removable")));
    const auto removable = CFTypeAs<CFBooleanRef>(property.Get(), CFBooleanGetTypeID());
    return removable != nullptr && CFBooleanGetValue(removable);
}

UInt64 NumberBytesOnDisk(const char* bsdName)
{
    const TScopedIOObject media(GetIOKitObjectWithBSDName(bsdName));
    if (!media)
        return 0;
    SInt64 byteSize = 0;
    GetBSDNameAndSizes(media.Get(), nullptr, nullptr, 0, &byteSize, nullptr);
    return static_cast<UInt64>(byteSize);
}
