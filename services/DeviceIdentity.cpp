#include "services/DeviceIdentity.h"

#include "foundation/CFTypes.h"
#include "foundation/CStrings.h"
#include "foundation/HexText.h"
#include "foundation/ScopedCFType.h"
#include "services/MediaTypes.h"   // kBusType...
#include "services/NearestProperties.h"
#include "services/ScopedIOObject.h"

#include <cstring>

CFStringRef CreateHWSerialNumberString(void)
{
    const TScopedIOObject root(IORegistryEntryFromPath(kIOMasterPortDefault, "IODeviceTree:/"));
    if (!root)
        return nullptr;
    TScopedCFType number(
        IORegistryEntryCreateCFProperty(root.Get(), CFSTR("IOPlatformSerialNumber"), kCFAllocatorDefault, 0));
    if (CFTypeAs<CFStringRef>(number.Get(), CFStringGetTypeID()) == nullptr)
        return nullptr;
    return static_cast<CFStringRef>(number.Release());
}

// A text that grows in a buffer of a fixed size.
struct TGrowingText
{
    char* text;
    UInt32 size;
    UInt32 used;
};

static void Append(TGrowingText* text, const char* source, bool trim)
{
    CatStrings(text->text, source, text->size, &text->used, trim);
}

static void AppendWithBlank(TGrowingText* text, CFTypeRef name)
{
    char string[256];
    if (!ExtractASCII(name, string, sizeof string))
        return;
    Append(text, string, true);
    Append(text, " ", false);
}

static void AppendRevision(TGrowingText* text, CFTypeRef revision)
{
    char string[256];
    if (!ExtractASCII(revision, string, sizeof string))
        return;
    const char* const trimmed = StripSpaces(string);
    if (*trimmed == 0)
        return;
    // Compared as a sum: size - 2 would be a large number for the smallest buffers.
    if (text->used + 2 < text->size)
        Append(text, "v.", false);
    Append(text, trimmed, false);
}

void FillInVendorAndProductInfo(io_object_t media, char* text, UInt32 textSize)
{
    const TScopedCFType device(CreateNearestDictionary(media, CFSTR("Device Characteristics")));
    TGrowingText info = {text, textSize, 0};
    AppendWithBlank(&info, GetDictionaryValue(device.Get(), CFSTR("Vendor Name")));
    AppendWithBlank(&info, GetDictionaryValue(device.Get(), CFSTR("Product Name")));
    AppendRevision(&info, GetDictionaryValue(device.Get(), CFSTR("Product Revision Level")));
}

// What the text of eight bytes needs with its NUL.
static const UInt32 kHexTextSize = 24;

// These store a serial number and return true, or leave the buffer alone when the property is none.

static bool StoreNumber(CFTypeRef property, char* serial, UInt32 serialSize)
{
    SInt64 number = 0;
    if (!ExtractSInt64(property, &number))
        return false;
    const UInt64 bits = static_cast<UInt64>(number);
    char text[kHexTextSize];
    ConvertUInt64ToHexString(&bits, text);
    StoreCString(serial, text, serialSize);
    return true;
}

static bool StoreWorldWideName(CFTypeRef property, char* serial, UInt32 serialSize)
{
    const auto data = CFTypeAs<CFDataRef>(property, CFDataGetTypeID());
    if (data == nullptr || CFDataGetLength(data) != 8)
        return false;
    char text[kHexTextSize];
    ConvertWWN_DataToHexString(CFDataGetBytePtr(data), text);
    StoreCString(serial, text, serialSize);
    return true;
}

static bool StoreNearestString(io_object_t media, CFStringRef key, char* serial, UInt32 serialSize)
{
    const TScopedCFType property(CreateNearestProperty(media, key));
    if (CFTypeAs<CFStringRef>(property.Get(), CFStringGetTypeID()) == nullptr)
        return false;
    char text[255];
    if (ExtractASCII(property.Get(), text, sizeof text))
        StoreCString(serial, StripSpaces(text), serialSize);
    return true;
}

static bool StoreNearestNumber(io_object_t media, CFStringRef key, char* serial, UInt32 serialSize)
{
    const TScopedCFType property(CreateNearestProperty(media, key));
    return StoreNumber(property.Get(), serial, serialSize);
}

static bool StoreNodeName(io_object_t media, char* serial, UInt32 serialSize)
{
    const TScopedCFType protocol(CreateNearestDictionary(media, CFSTR("Protocol Characteristics")));
    return StoreWorldWideName(GetDictionaryValue(protocol.Get(), CFSTR("Node World Wide Name")), serial, serialSize);
}

static bool StoreInquiryIdentifier(io_object_t media, char* serial, UInt32 serialSize)
{
    const TScopedCFType property(CreateNearestProperty(media, CFSTR("INQUIRY Device Identification")));
    const auto pages = CFTypeAs<CFArrayRef>(property.Get(), CFArrayGetTypeID());
    if (pages == nullptr || CFArrayGetCount(pages) == 0)
        return false;
    const auto page = CFTypeAs<CFDictionaryRef>(CFArrayGetValueAtIndex(pages, 0), CFDictionaryGetTypeID());
    return StoreWorldWideName(GetDictionaryValue(page, CFSTR("Identifier")), serial, serialSize);
}

void FillInSerialNumber(io_object_t media, SInt32 busType, char* serial, UInt32 serialSize)
{
    memset(serial, 0, serialSize);
    switch (busType) {
    case kBusTypeFireWire:
        StoreNearestNumber(media, CFSTR("GUID"), serial, serialSize);
        return;
    case kBusTypeSCSI:
        if (!StoreNearestNumber(media, CFSTR("World Wide Node Name"), serial, serialSize) &&
            !StoreNodeName(media, serial, serialSize))
            StoreInquiryIdentifier(media, serial, serialSize);
        return;
    case kBusTypeUSB:
        StoreNearestString(media, CFSTR("USB Serial Number"), serial, serialSize);
        return;
    case kBusTypeATA:
        if (!StoreNearestString(media, CFSTR("device serial"), serial, serialSize))
            StoreNearestString(media, CFSTR("Serial Number"), serial, serialSize);
        return;
    default:
        return;
    }
}

// Stores a property that is a number, exactly or not; returns whether it is one.
static bool GetAddress(CFTypeRef property, SInt32* address)
{
    const auto number = CFTypeAs<CFNumberRef>(property, CFNumberGetTypeID());
    if (number == nullptr)
        return false;
    CFNumberGetValue(number, kCFNumberSInt32Type, address);
    return true;
}

static bool GetNearestAddress(io_object_t media, CFStringRef key, SInt32* address)
{
    const TScopedCFType property(CreateNearestProperty(media, key));
    return GetAddress(property.Get(), address);
}

static void GetSCSIAddress(io_object_t media, SInt32* targetID, SInt32* lun)
{
    if (!GetNearestAddress(media, CFSTR("SCSI Target"), targetID)) {
        const TScopedCFType protocol(CreateNearestDictionary(media, CFSTR("Protocol Characteristics")));
        GetAddress(GetDictionaryValue(protocol.Get(), CFSTR("SCSI Target Identifier")), targetID);
    }
    if (!GetNearestAddress(media, CFSTR("SCSI Lun"), lun))
        GetNearestAddress(media, CFSTR("SCSI Logical Unit Number"), lun);
}

void GetTargetID_And_LUN(io_object_t media, SInt32 busType, SInt32* targetID, SInt32* lun)
{
    *targetID = 0;
    *lun = 0;
    switch (busType) {
    case kBusTypeSCSI:
        GetSCSIAddress(media, targetID, lun);
        return;
    case kBusTypeUSB:
        GetNearestAddress(media, CFSTR("USB Address"), targetID);
        return;
    case kBusTypeATA:
        GetNearestAddress(media, CFSTR("unit number"), targetID);
        return;
    default:
        return;
    }
}
