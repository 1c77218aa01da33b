// Which device a disk is: its vendor, product and serial number, and its address on the bus; and the machine's own serial
// number.
//
// What is told of a disk stands in its own properties and those of its ancestors in the IOService plane; of a property that
// several have, the nearest is taken. The object stays the caller's. Nothing is reported: a property that is missing or of
// an unexpected type leaves an empty text or a 0. Property keys are those of Apple's IOStorageDeviceCharacteristics.h,
// IOStorageProtocolCharacteristics.h and of the drivers of each bus.

#ifndef HALVORIX_SERVICES_DEVICEIDENTITY_H
#define HALVORIX_SERVICES_DEVICEIDENTITY_H

#include <IOKit/IOKitLib.h>

extern "C" {

// Returns the machine's serial number, "IOPlatformSerialNumber" of the device tree's root, which the caller releases; null
// when that is missing or no CFString.
CFStringRef CreateHWSerialNumberString(void);

// Appends vendor, product and revision as in "HITACHI HDS7225 v.A70M". They come from the nearest
// "Device Characteristics", each part without blanks at its ends.
//
// media     the disk's object; stays the caller's
// text      zeroed by the caller: nothing is cleared here, and no NUL is written
// textSize  bytes of text; one is always left for the NUL
//
// A vendor or product of blanks alone still adds the blank behind it; one that is missing, not ASCII or longer than 255
// characters adds nothing. A revision of blanks alone adds nothing. Where the text is cut, "v." is written whole or not at
// all: when less than three bytes are left, the revision's first characters follow without it.
void FillInVendorAndProductInfo(io_object_t media, char* text, UInt32 textSize);

// Reads the device's serial number.
//
// media       the disk's object; stays the caller's
// busType     kBusTypeFireWire: "GUID", a CFNumber, as "00 0A 27 00 02 12 34 56".
//             kBusTypeSCSI: the first of "World Wide Node Name", a CFNumber; "Node World Wide Name" in "Protocol
//             Characteristics", eight bytes; "Identifier" in the first element of "INQUIRY Device Identification", eight
//             bytes. Written alike; of another length is as good as missing.
//             kBusTypeUSB: "USB Serial Number"; kBusTypeATA: "device serial", or else "Serial Number". An ASCII string of
//             at most 254 characters, without blanks at its ends.
//             Any other: there is none
// serial      receives the C string, cut where it does not fit; the rest of the buffer becomes 0
// serialSize  bytes of serial, the NUL included
void FillInSerialNumber(io_object_t media, SInt32 busType, char* serial, UInt32 serialSize);

// Reads the device's address.
//
// media     the disk's object; stays the caller's
// busType   kBusTypeSCSI: target "SCSI Target", or else "SCSI Target Identifier" in "Protocol Characteristics"; logical unit
//           "SCSI Lun", or else "SCSI Logical Unit Number". kBusTypeUSB: target "USB Address". kBusTypeATA: target "unit
//           number". Any other: none
// targetID  receives the target; 0 when there is none
// lun       receives the logical unit; 0 when there is none
//
// Of a number that 32 bits do not hold, what CFNumberGetValue makes of it is taken.
void GetTargetID_And_LUN(io_object_t media, SInt32 busType, SInt32* targetID, SInt32* lun);
}

#endif
