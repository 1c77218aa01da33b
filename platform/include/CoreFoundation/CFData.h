// Bytes.

#ifndef HALVORIX_PLATFORM_CFDATA_H
#define HALVORIX_PLATFORM_CFDATA_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;

CFTypeID CFDataGetTypeID(void);

// Copies the bytes.
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);

// Uses the bytes where they are; they must stay until the data is destroyed, which then frees them.
// deallocator  kCFAllocatorNull: the bytes are the caller's, and not freed; any other: as free(3) does
CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef deallocator);

CFIndex CFDataGetLength(CFDataRef data);

// The data's own bytes; nothing stands behind the last one.
const UInt8* CFDataGetBytePtr(CFDataRef data);

// Copies the bytes of the range, which must lie within the data; anything else ends the process.
void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);

// data  one that was created mutable
void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length);
}

#endif
