// Core Foundation's URLs, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_URLS_H
#define HALVORIX_PLATFORM_URLS_H

#include <CoreFoundation/CFURL.h>

#include <string>

namespace platform {

// A path below a folder; the caller releases it.
// folder  its URL, retained
CFURLRef MakeURLBelow(CFURLRef folder, const std::u16string& path);

// The absolute path as the file system takes it, or false when it cannot be one.
bool AbsolutePath(CFURLRef url, std::string* path);

}   // namespace platform

#endif
