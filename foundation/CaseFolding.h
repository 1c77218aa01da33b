// Lower-casing of Mac Roman text, in place.

#ifndef HALVORIX_FOUNDATION_CASEFOLDING_H
#define HALVORIX_FOUNDATION_CASEFOLDING_H

#include <CoreServices/CoreServices.h>

// What is folded: A to Z, and the accented capitals of Apple's Mac Roman table that stand at 0x80 to 0x86, 0xAE, 0xAF
// and 0xCB to 0xCE. Every other byte stays as it is, also the accented capitals from 0xE5 on: 0x80 (A with diaeresis)
// becomes 0x8A, 0xE7 (A with acute accent) stays.

extern "C" {

// Folds the one byte at character; no NUL need follow.
void ToLower(char* character);

// Folds text, a C string: every byte before the first NUL.
void ToLowerCStr(char* text);

// Folds text, a Pascal string: as many bytes as its first one says, and not that one.
void ToLowerPStr(StringPtr text);

// Folds the first `length` bytes of text, NULs or not; none when length is 0 or negative.
void ToLowerStr(char* text, short length);
}

#endif
