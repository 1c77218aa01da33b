// Text in the encodings that are taken: UTF-16 as strings hold it, UTF-8, and the 8-bit encodings.

#ifndef HALVORIX_PLATFORM_TEXT_H
#define HALVORIX_PLATFORM_TEXT_H

#include <CoreFoundation/CFString.h>

#include <string>

namespace platform {

// The characters of the bytes, or false when they are none of the encoding: for UTF-8 what is cut short, longer than need
// be, a surrogate or beyond U+10FFFF; for ASCII what is above 127; for UTF-16, in the host's order, half a unit. Any other
// encoding is refused.
bool Decode(const std::string& bytes, CFStringEncoding encoding, std::u16string* text);

// Appends the bytes of the character at `at`. Returns how many units it has, or 0, and appends nothing, when the encoding
// lacks it.
size_t EncodeNext(const std::u16string& text, size_t at, CFStringEncoding encoding, std::string* bytes);

// The bytes of the text, or false when the encoding lacks one of its characters.
bool Encode(const std::u16string& text, CFStringEncoding encoding, std::string* bytes);

}   // namespace platform

#endif
