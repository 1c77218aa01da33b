// Moments, in seconds since 1 January 2001, 0:00 UTC.

#ifndef HALVORIX_PLATFORM_CFDATE_H
#define HALVORIX_PLATFORM_CFDATE_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
typedef const struct __CFDate* CFDateRef;

// Now, by the system's clock.
CFAbsoluteTime CFAbsoluteTimeGetCurrent(void);

CFTypeID CFDateGetTypeID(void);
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime moment);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);
}

#endif
