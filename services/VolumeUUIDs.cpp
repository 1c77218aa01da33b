#include "services/VolumeUUIDs.h"

#include "foundation/CFTypes.h"   // CFTypeAs
#include "foundation/ScopedCFType.h"
#include "services/VolumePaths.h"   // ExtractBSDNameFromVolumeName

#include <DiskArbitration/DiskArbitration.h>

CFUUIDRef CreateVolumeCFUUID_WithBSD_Name(const char* bsdName)
{
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    if (!session)
        return nullptr;
    const TScopedCFType disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), bsdName));
    if (!disk)
        return nullptr;
    const TScopedCFType description(DADiskCopyDescription(disk.Get()));
    if (!description)
        return nullptr;
    const auto uuid = CFTypeAs<CFUUIDRef>(CFDictionaryGetValue(description.Get(), kDADiskDescriptionVolumeUUIDKey),
                                          CFUUIDGetTypeID());
    // The description that holds it goes.
    return uuid == nullptr ? nullptr : static_cast<CFUUIDRef>(CFRetain(uuid));
}

CFUUIDRef CreateVolumeCFUUID(const char* volumeNameOrPath)
{
    char bsdName[16];
    if (!ExtractBSDNameFromVolumeName(volumeNameOrPath, bsdName, sizeof bsdName))
        return nullptr;
    return CreateVolumeCFUUID_WithBSD_Name(bsdName);
}
