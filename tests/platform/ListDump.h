// Property lists made at random, and written out in a way that a few lines of another language can match.

#ifndef HALVORIX_TESTS_PLATFORM_LISTDUMP_H
#define HALVORIX_TESTS_PLATFORM_LISTDUMP_H

#include "platform/PropertyList.h"

#include <CoreFoundation/CoreFoundation.h>

#include <string>

// A list with every type, text with everything that XML escapes, empty containers, and arrays and dictionaries up to ten deep.
// seed  the same seed makes the same list
plist::TValue GeneratedList(unsigned seed);

// The list as one line of text: s and the UTF-8 in hexadecimal; i and the number; r and the big-endian double in hexadecimal;
// d and the bytes; D and the seconds since 2001; t, f; [ VALUE VALUE ]; { KEY VALUE KEY VALUE } in the order of the keys' text.
// Everything is followed by a blank.
std::string DumpOf(CFPropertyListRef list);

#endif
