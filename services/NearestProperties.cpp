#include "services/NearestProperties.h"

#include "foundation/CFTypes.h"   // CFTypeAs
#include "foundation/ScopedCFType.h"

CFTypeRef CreateNearestProperty(io_object_t object, CFStringRef key)
{
    return IORegistryEntrySearchCFProperty(object, "IOService", key, kCFAllocatorDefault,
                                           kIORegistryIterateRecursively | kIORegistryIterateParents);
}

CFDictionaryRef CreateNearestDictionary(io_object_t object, CFStringRef key)
{
    TScopedCFType property(CreateNearestProperty(object, key));
    if (CFTypeAs<CFDictionaryRef>(property.Get(), CFDictionaryGetTypeID()) == nullptr)
        return nullptr;
    return static_cast<CFDictionaryRef>(property.Release());
}

CFTypeRef GetDictionaryValue(CFDictionaryRef dictionary, CFStringRef key)
{
    return dictionary != nullptr ? CFDictionaryGetValue(dictionary, key) : nullptr;
}
