// Reads, writes and deletes what a URL names.

#ifndef HALVORIX_PLATFORM_CFURLACCESS_H
#define HALVORIX_PLATFORM_CFURLACCESS_H

#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFURL.h>

extern "C" {

// What each of these functions fails with, whatever the reason, a file that is missing included.
enum
{
    kCFURLUnknownError = -10
};

// Reads a file whole.
//
// data        may be null; receives the content, which the caller releases, or null on failure
// properties, desired  null: the properties of files are not read here; anything else ends the process
// errorCode   may be null; receives 0 or kCFURLUnknownError
// returns     whether the file was read; a folder cannot be
Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef desired, SInt32* errorCode);

// Writes a file whole: in place, so that it keeps its mode and a symbolic link still stands for it, or a new one of mode
// 0666 less the process's mask. A URL that ends in a slash makes a folder instead, which must not be there yet.
//
// properties  null: the properties of files are not written here; anything else ends the process
// errorCode   as above
// returns     whether all was written; on failure the file may be cut short
Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef properties,
                                              SInt32* errorCode);

// Deletes a file or a symbolic link; with a URL that ends in a slash, an empty folder.
// errorCode  as above
Boolean CFURLDestroyResource(CFURLRef url, SInt32* errorCode);
}

#endif
