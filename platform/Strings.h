// Core Foundation's strings, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_STRINGS_H
#define HALVORIX_PLATFORM_STRINGS_H

#include <CoreFoundation/CFString.h>

#include <string>

namespace platform {

// A string of these UTF-16 units; the caller releases it.
CFStringRef MakeString(std::u16string text, bool isMutable);

const std::u16string& UnitsOf(CFStringRef string);

// The string in UTF-8; a surrogate without its other half becomes U+FFFD.
std::string UTF8Of(CFStringRef string);

// The text as a path in bytes, accents apart; false when there is half a character in it.
bool PathBytes(const std::u16string& text, std::string* bytes);

// Copies the bytes with a NUL behind them; false, and nothing is written, when they do not fit.
// size  of the buffer, the NUL included
bool CopyCString(const std::string& bytes, char* buffer, CFIndex size);

}   // namespace platform

#endif
