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

CFIndex CFDataGetLength(CFDataRef data);

// The data's own bytes; nothing stands behind the last one.
const UInt8* CFDataGetBytePtr(CFDataRef data);

// data  one that was created mutable
void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length);
}

#endif
