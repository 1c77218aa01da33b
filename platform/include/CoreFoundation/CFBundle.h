// Bundles: folders that hold a program and what belongs to it.

#ifndef HALVORIX_PLATFORM_CFBUNDLE_H
#define HALVORIX_PLATFORM_CFBUNDLE_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFURL.h>

extern "C" {

typedef struct __CFBundle* CFBundleRef;

CFTypeID CFBundleGetTypeID(void);

// The bundle in a folder; null when there is no such folder. The folder needs no content of a bundle's.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef folder);

// Where the bundle's program is, relative to the bundle's folder: Contents/MacOS/NAME, where NAME is CFBundleExecutable of
// Contents/Info.plist or, when there is none, the folder's own name without its extension: "Preview" for "Preview.app".
// Null when no file is there. The caller releases it.
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
}

#endif
