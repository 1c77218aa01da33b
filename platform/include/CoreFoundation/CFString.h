// Text, held as UTF-16.

#ifndef HALVORIX_PLATFORM_CFSTRING_H
#define HALVORIX_PLATFORM_CFSTRING_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef UInt32 CFStringEncoding;
enum
{
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUTF8 = 0x08000100
};

// A constant string: the same object for the same ASCII text, for as long as the process lives. It is not counted, and
// retaining or releasing it does nothing.
CFStringRef __CFStringMakeConstantString(const char* text);
#define CFSTR(text) __CFStringMakeConstantString("" text "")

CFTypeID CFStringGetTypeID(void);

// Null when the text is none of the encoding. As UTF-8 a leading byte order mark is dropped.
// text  NUL-terminated, copied
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);

// The number of UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);

// Writes the UTF-16 units of the range, which must lie within the string.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

// Writes the text with a NUL behind it. Returns false when it has a character that the encoding has not, or when it does
// not fit; the buffer's content is then undefined.
// size  of the buffer in bytes, the NUL included
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding);

// string  one that was created mutable
void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
}

#endif
