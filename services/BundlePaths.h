// Application bundles: what they execute, and what they are called.

#ifndef HALVORIX_SERVICES_BUNDLEPATHS_H
#define HALVORIX_SERVICES_BUNDLEPATHS_H

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

// Finds the program of a bundle.
//
// bundlePath          the bundle's folder: "/Applications/Foo.app", with or without a slash at the end
// executablePath      receives the program's path from the root: "/Applications/Foo.app/Contents/MacOS/Foo"
// executablePathSize  the room there in bytes, of which the last is not used: a path may have executablePathSize - 2
//                     bytes and its NUL
// returns             1, or 0 when there is no bundle, it has no program, or the path does not fit
UInt32 CreateExecutablePathnameFromBundlePathname(const char* bundlePath, char* executablePath,
                                                  CFIndex executablePathSize);

// Takes the last part of a path: "Foo.app" of "/Applications/Foo.app", and "" of "/Applications/".
//
// pathname  a path
// name      receives the C string
// nameSize  the room there in bytes, NUL included
// returns   1; 0 when the path has no slash, the name does not fit, pathname or name is null, or nameSize is 0. name is
//           untouched then
UInt32 CreateExecutableBundleNameFromPathname(const char* pathname, char* name, UInt32 nameSize);
}

#endif
