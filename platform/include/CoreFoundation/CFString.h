// Text, held as UTF-16.

#ifndef HALVORIX_PLATFORM_CFSTRING_H
#define HALVORIX_PLATFORM_CFSTRING_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef UInt32 CFStringEncoding;
enum
{
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingUnicode = 0x0100,   // UTF-16 in the host's order; for CFStringCreateWithBytes alone
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

// The text of so many bytes, NULs included. Null when they are none of the encoding.
// isExternal  true: a byte order mark at the beginning is dropped, and looked at in UTF-16; false: it is a character
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternal);

// units  of UTF-16, copied
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* units, CFIndex count);

// A string that cannot be changed is its own copy, with one more reference.
CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef string);

// The text of a path in bytes: UTF-8, NUL-terminated, copied. Letters stay apart from their accents if they were.
CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator, const char* path);

// What strings are in when nothing else is said: MacRoman.
CFStringEncoding CFStringGetSystemEncoding(void);

// The number of UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);

// Writes the UTF-16 units of the range, which must lie within the string.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

// index  within the string; anything else ends the process
UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);

// The string's own bytes when it happens to hold them in the encoding. Here it never does: always null, which a caller must
// expect on a Mac as well.
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);

// Writes the text with a NUL behind it. Returns false when it has a character that the encoding has not, or when it does
// not fit; the buffer's content is then undefined.
// size  of the buffer in bytes, the NUL included
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding);

// Writes the path that the text is with a NUL behind it: UTF-8, each accented letter as the letter and its accents. Letters
// of Latin, Greek, Cyrillic and kana are taken apart; others stay as they are.
// size     of the buffer in bytes, the NUL included
// returns  false when it does not fit; the buffer is then as it was
Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex size);

// Writes bytes until the range is done, the buffer full, or a character has none in the encoding; no NUL is added.
//
// range       within the string; anything else ends the process
// lossByte    stands for each character that the encoding lacks; 0: the conversion ends there
// isExternal  ignored
// buffer      may be null: nothing is written, but counted as if there were no bound
// used        may be null; receives the number of bytes
// returns     the number of UTF-16 units that were converted
CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean isExternal, UInt8* buffer, CFIndex size, CFIndex* used);

// Options of CFStringCompare.
enum
{
    kCFCompareCaseInsensitive = 1,
    kCFCompareNonliteral = 16,   // a letter and its accents are the accented letter
    kCFCompareNumerically = 64   // digits compare as the number they are
};

// Without options by UTF-16 units: capitals before small letters, the beginning of a text before the text.
// options  0 or some of the above, added
CFComparisonResult CFStringCompare(CFStringRef one, CFStringRef other, CFOptionFlags options);

// string  one that was created mutable
void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
}

#endif
