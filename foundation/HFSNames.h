// File names as HFS keeps them, in UTF-16.

#ifndef HALVORIX_FOUNDATION_HFSNAMES_H
#define HALVORIX_FOUNDATION_HFSNAMES_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Converts a name from Mac Roman. Nothing is decomposed: 0x8E, an e with acute accent, is the one unit 0x00E9.
//
// text     the C string
// name     receives the name, all 512 bytes of it: units behind the last are 0. A text of more than 255 units is cut there
// returns  false when the text could not be converted; name is then all zeros
bool ConvertCStringToHFSUniStr(const char* text, HFSUniStr255* name);
}

#endif
