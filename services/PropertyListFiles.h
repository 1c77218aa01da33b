// Property lists in files, as XML.

#ifndef HALVORIX_SERVICES_PROPERTYLISTFILES_H
#define HALVORIX_SERVICES_PROPERTYLISTFILES_H

#include <CoreFoundation/CoreFoundation.h>

// Makes a property list of XML.
//
// xml      the bytes, which stay the caller's; may be null: there is no list then
// options  whether the list and what is in it can be changed: kCFPropertyListImmutable or another of Core Foundation's
// returns  the list, which the caller releases, or null when the bytes are none. One that came with a complaint is none
CFPropertyListRef CreatePropertyListFromXMLData(CFDataRef xml, CFOptionFlags options);

extern "C" {

// Reads a property list from a file.
//
// pathname  a path
// returns   the list, which the caller releases, with every dictionary, array, string and data in it open to changes; or
//           null when the file cannot be read or holds none. Whether it is a dictionary at all is for the caller to check
CFPropertyListRef CreateCFDictionaryWithContentsOfFile(const char* pathname);

// Writes a property list into a file, which is removed first when it is there: its owner and permissions are those of a
// new file.
//
// pathname  a path
// plist     what is written; stays the caller's
// returns   1 when it was written; or else 0, and the file that was there is gone then, too
UInt32 SetContentsOfFileToCFDictionary(const char* pathname, CFPropertyListRef plist);
}

#endif
