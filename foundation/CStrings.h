// C strings: trimming, appending and storing them in buffers of a fixed size. A blank is 0x20 and nothing else.

#ifndef HALVORIX_FOUNDATION_CSTRINGS_H
#define HALVORIX_FOUNDATION_CSTRINGS_H

#include <CoreServices/CoreServices.h>

#include <cstddef>

extern "C" {

// Takes the blanks off both ends of a text, in place: a NUL is written behind the last byte that is no blank.
//
// text     the C string; it is changed
// returns  its first byte that is no blank, or its end, an empty string, when there is none: a place in text, which stays the
//          caller's, and never null. "  a b " gives "a b"
char* StripSpaces(char* text);

// Appends a text to a buffer as far as it fits. No NUL is written, since the buffer is expected to be zeroed beforehand;
// one byte always stays for it.
//
// destination  the buffer
// source       the C string that is appended
// capacity     bytes of destination
// used         how many bytes of destination hold text; what was appended is added. From capacity - 1 on there is no room
// trim         whether blanks at both ends of source are left out
void CatStrings(char* destination, const char* source, UInt32 capacity, UInt32* used, bool trim);

// Stores a text in a buffer as far as it fits, always with a NUL behind it. A buffer of no bytes is left alone.
//
// destination  the buffer
// source       the C string, not within destination
// capacity     bytes of destination, the NUL included
void StoreCString(char* destination, const char* source, UInt32 capacity);

// Appends as much of a text as fits to the text that a buffer holds, always with a NUL behind it.
//
// destination  a C string in the buffer
// source       the C string that is appended, not within destination
// size         bytes of the buffer, the NUL included
// returns      whether all of it fitted
bool AppendText(char* destination, const char* source, std::size_t size);
}

#endif
