// What a disk's description holds: its medium's properties from the registry, and its volume.

#include "platform/Disks.h"
#include "platform/Objects.h"
#include "platform/PropertyLists.h"
#include "platform/Volumes.h"

#include <CoreFoundation/CoreFoundation.h>

using namespace platform;

const CFStringRef kDADiskDescriptionVolumeKindKey = CFSTR("DAVolumeKind");
const CFStringRef kDADiskDescriptionVolumeMountableKey = CFSTR("DAVolumeMountable");
const CFStringRef kDADiskDescriptionVolumeNameKey = CFSTR("DAVolumeName");
const CFStringRef kDADiskDescriptionVolumeNetworkKey = CFSTR("DAVolumeNetwork");
const CFStringRef kDADiskDescriptionVolumePathKey = CFSTR("DAVolumePath");
const CFStringRef kDADiskDescriptionVolumeUUIDKey = CFSTR("DAVolumeUUID");
const CFStringRef kDADiskDescriptionMediaBlockSizeKey = CFSTR("DAMediaBlockSize");
const CFStringRef kDADiskDescriptionMediaBSDMajorKey = CFSTR("DAMediaBSDMajor");
const CFStringRef kDADiskDescriptionMediaBSDMinorKey = CFSTR("DAMediaBSDMinor");
const CFStringRef kDADiskDescriptionMediaBSDNameKey = CFSTR("DAMediaBSDName");
const CFStringRef kDADiskDescriptionMediaBSDUnitKey = CFSTR("DAMediaBSDUnit");
const CFStringRef kDADiskDescriptionMediaContentKey = CFSTR("DAMediaContent");
const CFStringRef kDADiskDescriptionMediaEjectableKey = CFSTR("DAMediaEjectable");
const CFStringRef kDADiskDescriptionMediaKindKey = CFSTR("DAMediaKind");
const CFStringRef kDADiskDescriptionMediaLeafKey = CFSTR("DAMediaLeaf");
const CFStringRef kDADiskDescriptionMediaNameKey = CFSTR("DAMediaName");
const CFStringRef kDADiskDescriptionMediaPathKey = CFSTR("DAMediaPath");
const CFStringRef kDADiskDescriptionMediaRemovableKey = CFSTR("DAMediaRemovable");
const CFStringRef kDADiskDescriptionMediaSizeKey = CFSTR("DAMediaSize");
const CFStringRef kDADiskDescriptionMediaWholeKey = CFSTR("DAMediaWhole");
const CFStringRef kDADiskDescriptionMediaWritableKey = CFSTR("DAMediaWritable");

// Sets the entry, and releases the value.
static void Take(CFMutableDictionaryRef description, CFStringRef key, CFTypeRef owned)
{
    const TReference value(owned);
    if (value)
        CFDictionarySetValue(description, key, value.Get());
}

static CFTypeRef MakeText(const std::string& text)
{
    return MakePropertyList(plist::TValue::String(text));
}

// The path in the device tree, or else in the service plane.
static std::string PathOf(const TRegistry& registry, const TEntry& entry)
{
    std::string path;
    for (const char* name : {"IODeviceTree", "IOService"}) {
        const TPlane* const plane = registry.Plane(name);
        const TEntry* const found = plane->Find(entry.identifier);
        if (found != nullptr && plane->GetPath(*found, &path))
            return plane->Name() + ":" + path;
    }
    return path;
}

static void DescribeMedium(const TRegistry& registry, const TEntry& entry, CFMutableDictionaryRef description)
{
    static const struct
    {
        const CFStringRef& key;
        const char* property;
    } kProperties[] = {
        {kDADiskDescriptionMediaBlockSizeKey, "Preferred Block Size"},
        {kDADiskDescriptionMediaBSDMajorKey, "BSD Major"},
        {kDADiskDescriptionMediaBSDMinorKey, "BSD Minor"},
        {kDADiskDescriptionMediaBSDNameKey, "BSD Name"},
        {kDADiskDescriptionMediaBSDUnitKey, "BSD Unit"},
        {kDADiskDescriptionMediaContentKey, "Content"},
        {kDADiskDescriptionMediaEjectableKey, "Ejectable"},
        {kDADiskDescriptionMediaLeafKey, "Leaf"},
        {kDADiskDescriptionMediaRemovableKey, "Removable"},
        {kDADiskDescriptionMediaSizeKey, "Size"},
        {kDADiskDescriptionMediaWholeKey, "Whole"},
        {kDADiskDescriptionMediaWritableKey, "Writable"},
    };
    for (const auto& one : kProperties) {
        const plist::TValue* const value = entry.properties.Find(one.property);
        if (value != nullptr)
            Take(description, one.key, MakePropertyList(*value));
    }
    Take(description, kDADiskDescriptionMediaKindKey, MakeText(entry.className));
    Take(description, kDADiskDescriptionMediaNameKey, MakeText(entry.name));
    Take(description, kDADiskDescriptionMediaPathKey, MakeText(PathOf(registry, entry)));
}

static void DescribeVolume(const TMedium& medium, CFMutableDictionaryRef description)
{
    TVolume volume;
    const bool isMountable = medium.isNamed && FindVolume(medium.bsdName, &volume);
    CFDictionarySetValue(description, kDADiskDescriptionVolumeMountableKey,
                         isMountable ? kCFBooleanTrue : kCFBooleanFalse);
    CFDictionarySetValue(description, kDADiskDescriptionVolumeNetworkKey, kCFBooleanFalse);
    if (!isMountable)
        return;
    Take(description, kDADiskDescriptionVolumeNameKey, MakeText(volume.name));
    Take(description, kDADiskDescriptionVolumeKindKey, MakeText(volume.kind));
    const TReference uuid(MakeText(volume.uuid));
    if (!volume.uuid.empty())
        Take(description, kDADiskDescriptionVolumeUUIDKey,
             CFUUIDCreateFromString(kCFAllocatorDefault, static_cast<CFStringRef>(uuid.Get())));

    TMount mount;
    if (FindMount(medium.bsdName, &mount))
        Take(description, kDADiskDescriptionVolumePathKey,
             CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                     reinterpret_cast<const UInt8*>(mount.path.data()),
                                                     static_cast<CFIndex>(mount.path.size()), true));
}

CFDictionaryRef DADiskCopyDescription(DADiskRef disk)
{
    const TMedium& medium = MediumOf(disk);
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = EntryOf(*registry, medium);
    if (entry == nullptr)
        return nullptr;
    CFMutableDictionaryRef description = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    DescribeMedium(*registry, *entry, description);
    DescribeVolume(medium, description);
    return description;
}
