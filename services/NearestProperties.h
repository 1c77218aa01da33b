// Registry properties that an object or the nearest of its ancestors publishes, in the IOService plane.

#ifndef HALVORIX_SERVICES_NEARESTPROPERTIES_H
#define HALVORIX_SERVICES_NEARESTPROPERTIES_H

#include <IOKit/IOKitLib.h>

extern "C" {

// Returns a copy of the property, which the caller releases, or null when neither the object nor an ancestor has it. What
// the nearest has is returned whatever its type is; there is no looking further.
//
// object  stays the caller's
// key     the property's name; stays the caller's
CFTypeRef CreateNearestProperty(io_object_t object, CFStringRef key);

// The same for a property that is a dictionary.
//
// object, key  stay the caller's
// returns      the dictionary, which the caller releases; null also when the nearest property is none, though one farther up
//              be a dictionary
CFDictionaryRef CreateNearestDictionary(io_object_t object, CFStringRef key);

// Returns a value of a dictionary, not retained; null when there is none, or no dictionary.
//
// dictionary  stays the caller's; may be null
// key         stays the caller's
CFTypeRef GetDictionaryValue(CFDictionaryRef dictionary, CFStringRef key);
}

#endif
