// Core Foundation's property lists, made from what the machine folder's files hold.

#ifndef HALVORIX_PLATFORM_PROPERTYLISTS_H
#define HALVORIX_PLATFORM_PROPERTYLISTS_H

#include "platform/PropertyList.h"

#include <CoreFoundation/CFBase.h>

namespace platform {

// A fresh object, nothing of which can be changed, or one of the two Boolean constants. The caller releases it.
CFPropertyListRef MakePropertyList(const plist::TValue& value);

}   // namespace platform

#endif
