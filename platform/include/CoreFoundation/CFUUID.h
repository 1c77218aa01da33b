// Universally unique identifiers.

#ifndef HALVORIX_PLATFORM_CFUUID_H
#define HALVORIX_PLATFORM_CFUUID_H

#include <CoreFoundation/CFBase.h>

extern "C" {

// Equal UUIDs are one object: creating one that lives already adds a reference to it.
typedef const struct __CFUUID* CFUUIDRef;

// In the order in which the text has them.
typedef struct
{
    UInt8 byte0;
    UInt8 byte1;
    UInt8 byte2;
    UInt8 byte3;
    UInt8 byte4;
    UInt8 byte5;
    UInt8 byte6;
    UInt8 byte7;
    UInt8 byte8;
    UInt8 byte9;
    UInt8 byte10;
    UInt8 byte11;
    UInt8 byte12;
    UInt8 byte13;
    UInt8 byte14;
    UInt8 byte15;
} CFUUIDBytes;

CFTypeID CFUUIDGetTypeID(void);

// A new random one (version 4).
CFUUIDRef CFUUIDCreate(CFAllocatorRef allocator);

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);
CFUUIDRef CFUUIDCreateWithBytes(CFAllocatorRef allocator, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14, UInt8 byte15);

// Reads "0A1B2C3D-0011-2233-4455-66778899AABB" in capitals or small letters. It checks nothing: what stands before the first
// hexadecimal digit is passed over, one character between the groups is too, whatever it is, and where a byte's two digits
// should stand and do not, or the text has ended, the byte is 0. "AB" is AB000000-0000-0000-0000-000000000000, "{...}" its
// content. Null for an empty text only.
CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);

// In capitals.
CFStringRef CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid);

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);
}

#endif
