// What kind of device a disk is: the bus it sits on, and whether it is a CD, a DVD, an iPod or a disk image.
//
// Each function looks at an object's own properties and those of its ancestors in the IOService plane. The object stays the
// caller's. A property of an unexpected type is taken for none. A property contains a word when its text, a CFString or
// CFData, has it anywhere, upper and lower case told apart (CompareCFTypeRefToString, foundation/CFTypes.h). Property keys
// are those of Apple's IOStorageProtocolCharacteristics.h and IOStorageDeviceCharacteristics.h.

#ifndef HALVORIX_SERVICES_MEDIATYPES_H
#define HALVORIX_SERVICES_MEDIATYPES_H

#include <IOKit/IOKitLib.h>

// Bus types. Callers keep these values.
enum
{
    kBusTypeOther = 1,   // also unknown
    kBusTypeATA = 2,
    kBusTypeFireWire = 3,
    kBusTypeSCSI = 4,   // also SAS and Fibre Channel
    kBusTypeUSB = 5
};

// Media types. Callers keep these values.
enum
{
    kMediaTypeDisk = 1,
    kMediaTypeIPod = 2,
    kMediaTypeCD = 3,
    kMediaTypeDVD = 4,
    kMediaTypeDiskImage = 5
};

extern "C" {

// Tells the bus by the "Physical Interconnect" in the nearest "Protocol Characteristics". The first of these words that it
// contains decides: "SCSI", "SAS", "Fibre Channel Interface", "ATA", "FireWire", "USB". So "Serial ATA" is ATA, and
// "ATA over USB" as well.
//
// media    stays the caller's
// busType  receives the bus type, kBusTypeOther when no word is contained; untouched when the result is 0. May be null
// returns  1, or 0 when there is no such property
UInt32 TestForDiskOnSupportedBus(io_object_t media, UInt32* busType);

// Says whether the object or an ancestor is an IOCDMedia or else an IODVDMedia. The first is looked for first.
//
// media      stays the caller's
// mediaType  receives kMediaTypeCD or kMediaTypeDVD; untouched when the result is 0. May be null
// returns    1 or 0
UInt32 TestForOpticalMedia(io_object_t media, UInt32* mediaType);

// Says whether the "Product Name" in the nearest "Device Characteristics" contains "iPod".
//
// media      stays the caller's
// mediaType  receives kMediaTypeIPod; untouched when the result is 0. May be null
// returns    1 or 0
UInt32 TestForIPodMedia(io_object_t media, UInt32* mediaType);

// Says whether the object or an ancestor is a KDIFileBackingStore, or the "Physical Interconnect" in the nearest "Protocol
// Characteristics" contains "Virtual Interface".
//
// media      stays the caller's
// mediaType  receives kMediaTypeDiskImage; untouched when the result is 0. May be null
// returns    1 or 0
UInt32 TestForDiskImageMedia(io_object_t media, UInt32* mediaType);

// Tells the media type by the three above, in their order. A CD in a disk image is a CD.
//
// media    stays the caller's
// returns  what the first that says 1 says it is, otherwise kMediaTypeDisk; that also where no property can be read
SInt32 GetMediaTypeWithIOServiceObject(io_object_t media);
}

#endif
