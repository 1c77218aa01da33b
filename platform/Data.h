// Core Foundation's data, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_DATA_H
#define HALVORIX_PLATFORM_DATA_H

#include <CoreFoundation/CFData.h>

#include <string>

namespace platform {

// The caller releases it.
CFDataRef MakeData(std::string bytes, bool isMutable);

std::string BytesOf(CFDataRef data);

}   // namespace platform

#endif
