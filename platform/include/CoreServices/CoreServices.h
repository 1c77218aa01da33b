// CoreServices, the part that is called: Core Foundation and the classic types.

#ifndef HALVORIX_PLATFORM_CORESERVICES_H
#define HALVORIX_PLATFORM_CORESERVICES_H

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>

#endif
