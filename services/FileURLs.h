// Core Foundation's URLs for paths.

#ifndef HALVORIX_SERVICES_FILEURLS_H
#define HALVORIX_SERVICES_FILEURLS_H

#include <CoreFoundation/CoreFoundation.h>

// Makes a URL of a path. As callers of the library always did, the NUL at the path's end is counted in.
//
// pathname     a path in the file system's encoding, from the root or from the current folder
// isDirectory  whether it is the path of a folder
// returns      the URL, which the caller releases, or null
CFURLRef CreateURLWithPathname(const char* pathname, Boolean isDirectory);

#endif
