// Why Disk Arbitration, or a program that it asked, refuses something.

#ifndef HALVORIX_PLATFORM_DADISSENTER_H
#define HALVORIX_PLATFORM_DADISSENTER_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>
#include <mach/mach.h>

extern "C" {

typedef mach_error_t DAReturn;

// System 0x3e (local), subsystem 0x368.
enum
{
    kDAReturnSuccess = 0,
    kDAReturnError = (int)0xF8DA0001u,
    kDAReturnBusy = (int)0xF8DA0002u,
    kDAReturnBadArgument = (int)0xF8DA0003u,
    kDAReturnExclusiveAccess = (int)0xF8DA0004u,
    kDAReturnNoResources = (int)0xF8DA0005u,
    kDAReturnNotFound = (int)0xF8DA0006u,
    kDAReturnNotMounted = (int)0xF8DA0007u,
    kDAReturnNotPermitted = (int)0xF8DA0008u,
    kDAReturnNotPrivileged = (int)0xF8DA0009u,
    kDAReturnNotReady = (int)0xF8DA000Au,
    kDAReturnNotWritable = (int)0xF8DA000Bu,
    kDAReturnUnsupported = (int)0xF8DA000Cu
};

typedef const struct __DADissenter* DADissenterRef;

// string   retained; null: no words
// returns  a dissenter that the caller releases
DADissenterRef DADissenterCreate(CFAllocatorRef allocator, DAReturn status, CFStringRef string);

DAReturn DADissenterGetStatus(DADissenterRef dissenter);

// The dissenter's own, or null.
CFStringRef DADissenterGetStatusString(DADissenterRef dissenter);
}

#endif
