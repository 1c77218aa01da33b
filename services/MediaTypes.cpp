#include "services/MediaTypes.h"

#include "foundation/CFTypes.h"   // CastCFType, CompareCFTypeRefToString
#include "foundation/ScopedCFType.h"
#include "services/IORegistry.h"   // IOKitObjectIsChildOfObjectOfClass
#include "services/NearestProperties.h"

// Stores a type where one is asked for; returns 1, the answer of who found it.
static UInt32 Found(UInt32 type, UInt32* result)
{
    if (result != nullptr)
        *result = type;
    return 1;
}

static bool IsText(CFTypeRef value)
{
    CFTypeRef text = nullptr;
    return CastCFType(value, CFStringGetTypeID(), &text) || CastCFType(value, CFDataGetTypeID(), &text);
}

// The bus that an interconnect's name stands for.
static UInt32 BusTypeOfInterconnect(CFTypeRef interconnect)
{
    static const struct
    {
        const char* word;
        UInt32 busType;
    } kWords[] = {
        // In this order: a name may contain several.
        {"SCSI", kBusTypeSCSI}, {"SAS", kBusTypeSCSI},          {"Fibre Channel Interface", kBusTypeSCSI},
        {"ATA", kBusTypeATA},   {"FireWire", kBusTypeFireWire}, {"USB", kBusTypeUSB},
    };
    for (const auto& entry : kWords) {
        if (CompareCFTypeRefToString(interconnect, entry.word, true))
            return entry.busType;
    }
    return kBusTypeOther;
}

UInt32 TestForDiskOnSupportedBus(io_object_t media, UInt32* busType)
{
    const TScopedCFType protocol(CreateNearestDictionary(media, CFSTR("Protocol Characteristics")));
    const CFTypeRef interconnect = GetDictionaryValue(protocol.Get(), CFSTR("Physical Interconnect"));
    return IsText(interconnect) ? Found(BusTypeOfInterconnect(interconnect), busType) : 0;
}

UInt32 TestForOpticalMedia(io_object_t media, UInt32* mediaType)
{
    if (IOKitObjectIsChildOfObjectOfClass(media, "IOCDMedia") != 0)
        return Found(kMediaTypeCD, mediaType);
    if (IOKitObjectIsChildOfObjectOfClass(media, "IODVDMedia") != 0)
        return Found(kMediaTypeDVD, mediaType);
    return 0;
}

// Whether a value in the nearest dictionary of that key contains a word.
static bool ValueContains(io_object_t media, CFStringRef dictionaryKey, CFStringRef key, const char* word)
{
    const TScopedCFType dictionary(CreateNearestDictionary(media, dictionaryKey));
    return CompareCFTypeRefToString(GetDictionaryValue(dictionary.Get(), key), word, true);
}

UInt32 TestForIPodMedia(io_object_t media, UInt32* mediaType)
{
    if (!ValueContains(media, CFSTR("Device Characteristics"), CFSTR("Product Name"), "iPod"))
        return 0;
    return Found(kMediaTypeIPod, mediaType);
}

UInt32 TestForDiskImageMedia(io_object_t media, UInt32* mediaType)
{
    if (IOKitObjectIsChildOfObjectOfClass(media, "KDIFileBackingStore") == 0 &&
        !ValueContains(media, CFSTR("Protocol Characteristics"), CFSTR("Physical Interconnect"), "Virtual Interface"))
        return 0;
    return Found(kMediaTypeDiskImage, mediaType);
}

SInt32 GetMediaTypeWithIOServiceObject(io_object_t media)
{
    UInt32 mediaType = kMediaTypeDisk;
    if (TestForOpticalMedia(media, &mediaType) == 0 && TestForIPodMedia(media, &mediaType) == 0)
        TestForDiskImageMedia(media, &mediaType);
    return static_cast<SInt32>(mediaType);
}
