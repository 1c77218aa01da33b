// Property lists as XML.

#ifndef HALVORIX_PLATFORM_CFPROPERTYLIST_H
#define HALVORIX_PLATFORM_CFPROPERTYLIST_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>

extern "C" {

typedef enum
{
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1,
    kCFPropertyListMutableContainersAndLeaves = 2   // strings and data can be changed as well
} CFPropertyListMutabilityOptions;

typedef enum
{
    kCFPropertyListOpenStepFormat = 1,
    kCFPropertyListXMLFormat_v1_0 = 100,
    kCFPropertyListBinaryFormat_v1_0 = 200   // not known here
} CFPropertyListFormat;

// Reads XML. UTF-8 only, and stricter than a Mac: what is no well-formed property list is refused, and so are arrays and
// dictionaries more than 512 deep in one another.
//
// mutability   one of the options above
// errorString  may be null; receives text that says what is wrong in which line, which the caller releases, or null
// returns      the property list, which the caller releases, or null
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xml, CFOptionFlags mutability,
                                                  CFStringRef* errorString);

// Writes XML, the keys of dictionaries in the order of their UTF-16 units. Null when something in it has no place in a
// property list, or is more than 512 deep.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);

// Whether the object, and all that is in it, can be written in the format: XML takes text, data, dates, numbers, truth
// values, arrays, and dictionaries whose keys are text; OpenStep's takes text, data, arrays and such dictionaries. What holds
// itself cannot be written, nor what is more than 512 deep.
// format  XML or OpenStep; any other ends the process
Boolean CFPropertyListIsValid(CFPropertyListRef propertyList, CFPropertyListFormat format);
}

#endif
