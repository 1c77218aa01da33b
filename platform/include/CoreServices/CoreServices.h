// CoreServices, the part that is called: Core Foundation and the classic types, the File Manager, dates and atomics.

#ifndef HALVORIX_PLATFORM_CORESERVICES_H
#define HALVORIX_PLATFORM_CORESERVICES_H

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>

#include <CoreServices/DateTimeUtils.h>
#include <CoreServices/DriverSynchronization.h>
#include <CoreServices/Files.h>
#include <CoreServices/Finder.h>
#include <CoreServices/MacErrors.h>
#include <CoreServices/UTCUtils.h>

#endif
