#include "services/BundlePaths.h"

#include "foundation/ScopedCFType.h"
#include "services/FileURLs.h"   // CreateURLWithPathname

#include <cstddef>
#include <cstring>

UInt32 CreateExecutablePathnameFromBundlePathname(const char* bundlePath, char* executablePath,
                                                  CFIndex executablePathSize)
{
    if (executablePathSize < 1)
        return 0;
    const TScopedCFType folder(CreateURLWithPathname(bundlePath, true));
    if (!folder)
        return 0;
    const TScopedCFType bundle(CFBundleCreate(kCFAllocatorDefault, folder.Get()));
    if (!bundle)
        return 0;
    const TScopedCFType executable(CFBundleCopyExecutableURL(bundle.Get()));
    if (!executable)
        return 0;
    return CFURLGetFileSystemRepresentation(executable.Get(), true, reinterpret_cast<UInt8*>(executablePath),
                                            executablePathSize - 1) != 0;
}

UInt32 CreateExecutableBundleNameFromPathname(const char* pathname, char* name, UInt32 nameSize)
{
    if (pathname == nullptr || name == nullptr || nameSize == 0)
        return 0;
    const char* const slash = strrchr(pathname, '/');
    if (slash == nullptr)
        return 0;
    const std::size_t length = strlen(slash + 1);
    if (length >= nameSize)
        return 0;
    memcpy(name, slash + 1, length + 1);
    return 1;
}
