// IOKit's return codes.

#ifndef HALVORIX_PLATFORM_IORETURN_H
#define HALVORIX_PLATFORM_IORETURN_H

#include <mach/mach.h>

typedef kern_return_t IOReturn;

// System 0x38 (IOKit), subsystem 0.
#define iokit_common_err(code) ((IOReturn)(0xe0000000u | (code)))

#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError iokit_common_err(0x2bcu)
#define kIOReturnNoMemory iokit_common_err(0x2bdu)
#define kIOReturnNoDevice iokit_common_err(0x2c0u)
#define kIOReturnNotPrivileged iokit_common_err(0x2c1u)
#define kIOReturnBadArgument iokit_common_err(0x2c2u)
#define kIOReturnExclusiveAccess iokit_common_err(0x2c5u)
#define kIOReturnUnsupported iokit_common_err(0x2c7u)

#endif
