// Registry properties that an object or the nearest of its ancestors publishes, in the IOService plane.

#ifndef HALVORIX_SERVICES_NEARESTPROPERTIES_H
#define HALVORIX_SERVICES_NEARESTPROPERTIES_H

#include <IOKit/IOKitLib.h>

extern "C" {

// Returns a copy of the property, which the caller releases, or null when neither the object nor an ancestor has it. What
// the nearest has is returned whatever its type is; there is no looking further.
//
// object  stays the caller's
CFTypeRef CreateNearestProperty(io_object_t object, CFStringRef key);

// The same for a property that is a dictionary; null also when the nearest is none.
CFDictionaryRef CreateNearestDictionary(io_object_t object, CFStringRef key);

// Returns a value of a dictionary, not retained; null when there is none, or no dictionary.
CFTypeRef GetDictionaryValue(CFDictionaryRef dictionary, CFStringRef key);
}

#endif
