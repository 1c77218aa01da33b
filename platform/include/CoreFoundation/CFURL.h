// URLs of files.

#ifndef HALVORIX_PLATFORM_CFURL_H
#define HALVORIX_PLATFORM_CFURL_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef const struct __CFURL* CFURLRef;

typedef enum
{
    kCFURLPOSIXPathStyle = 0,
    kCFURLHFSPathStyle,      // colons
    kCFURLWindowsPathStyle   // backslashes
} CFURLPathStyle;

CFTypeID CFURLGetTypeID(void);

// A path in bytes as a URL. A relative path gets the current folder, as it is at this moment, for its base.
//
// path         UTF-8, copied. A NUL that is counted becomes a part of the URL, "/a%00", but of no path that
//              CFURLGetFileSystemRepresentation gives back: a caller may count the terminator or not.
// length       in bytes
// isDirectory  true adds the slash that a directory's URL ends in; false drops all that the path ends in
// returns      null when the path is empty or no UTF-8
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* path, CFIndex length,
                                                 Boolean isDirectory);

// The same from text, except that isDirectory false drops one slash only: what ends in several, "/a//", stays a directory's.
// style  kCFURLPOSIXPathStyle; anything else ends the process
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);

// Writes the path as the file system takes it, with a NUL behind it: UTF-8, letters apart from their accents, up to the
// first NUL, without a slash at the end.
//
// resolveAgainstBase  true: the absolute path; false: as the URL has it, which may be relative
// buffer, size        in bytes, the NUL included
// returns             false when it does not fit; the buffer is then as it was
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex size);

// The path, relative when the URL is, without a slash at the end.
// style  kCFURLPOSIXPathStyle; anything else ends the process
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

// "file://localhost/a%20b", or "a%20b" for a relative one; the string stays the URL's.
CFStringRef CFURLGetString(CFURLRef url);

// "file".
CFStringRef CFURLCopyScheme(CFURLRef url);

// What stands behind the last slash but the one at the end; "/" for the root.
CFStringRef CFURLCopyLastPathComponent(CFURLRef url);

// Whether the URL ends in a slash; nothing is looked up.
Boolean CFURLHasDirectoryPath(CFURLRef url);
}

#endif
