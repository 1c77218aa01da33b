#include "services/FileURLs.h"

#include <cstring>

CFURLRef CreateURLWithPathname(const char* pathname, Boolean isDirectory)
{
    const CFIndex length = static_cast<CFIndex>(strlen(pathname) + 1);
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(pathname),
                                                   length, isDirectory);
}
