// Core Foundation's arrays and dictionaries, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_COLLECTIONS_H
#define HALVORIX_PLATFORM_COLLECTIONS_H

#include "platform/Objects.h"

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFDictionary.h>

#include <utility>
#include <vector>

namespace platform {

// An array of these objects, which it retains; the caller releases it.
CFArrayRef MakeArray(const std::vector<TReference>& values, bool isMutable);

// A dictionary of these keys and values, which it retains; no key twice. The caller releases it.
CFDictionaryRef MakeDictionary(const std::vector<std::pair<TReference, TReference>>& entries, bool isMutable);

// The callbacks' halves that retain and release Core Foundation objects.
const void* RetainObject(CFAllocatorRef allocator, const void* object);
void ReleaseObject(CFAllocatorRef allocator, const void* object);

}   // namespace platform

#endif
