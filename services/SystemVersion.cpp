#include "services/SystemVersion.h"

#include "foundation/CFTypes.h"       // CFTypeAs
#include "foundation/CStrings.h"      // AppendText
#include "foundation/NumVersions.h"   // ConvertStringToNumVersion, ReturnNumVersionOfNumber
#include "foundation/ScopedCFType.h"
#include "services/PropertyListFiles.h"   // CreatePropertyListFromXMLData
#include "services/WholeFiles.h"          // ReadWholeFile

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <sys/stat.h>

static const std::size_t kPathCapacity = 1024;
static const CFIndex kVersionCapacity = 16;

// Makes the path of a file on a volume.
static bool MakePath(const char* volumePath, const char* file, char (&path)[kPathCapacity])
{
    path[0] = 0;
    if (!AppendText(path, volumePath, kPathCapacity))
        return false;
    const std::size_t length = strlen(path);
    if ((length == 0 || path[length - 1] != '/') && !AppendText(path, "/", kPathCapacity))
        return false;
    return AppendText(path, file, kPathCapacity);
}

// Finds the file that tells the version, and its size.
static bool FindVersionFile(const char* volumePath, char (&path)[kPathCapacity], struct stat* info)
{
    static const char* const kFiles[] = {"System/Library/CoreServices/SystemVersion.plist",
                                         "System/Library/CoreServices/ServerVersion.plist"};
    for (const char* const file : kFiles) {
        if (MakePath(volumePath, file, path) && stat(path, info) == 0)
            return true;
    }
    return false;
}

// Reads a whole file. Returns the bytes, which the caller releases, or null.
static CFDataRef CreateDataFromFile(const char* path, off_t fileSize)
{
    const auto size = static_cast<std::size_t>(fileSize);
    // A file may have more bytes than memory can be counted in.
    if (static_cast<off_t>(size) != fileSize)
        return nullptr;
    const std::unique_ptr<UInt8[]> bytes(new (std::nothrow) UInt8[size]);
    if (bytes == nullptr || !ReadWholeFile(path, bytes.get(), size))
        return nullptr;
    return CFDataCreate(kCFAllocatorDefault, bytes.get(), static_cast<CFIndex>(size));
}

NumVersion* ReturnSystemVersionOnVolume(NumVersion* version, const char* volumePath)
{
    *version = ReturnNumVersionOfNumber(0);

    char path[kPathCapacity];
    struct stat info;
    if (!FindVersionFile(volumePath, path, &info))
        return version;
    const TScopedCFType xml(CreateDataFromFile(path, info.st_size));
    if (!xml)
        return version;
    const TScopedCFType list(CreatePropertyListFromXMLData(xml.Get(), kCFPropertyListImmutable));
    const auto dictionary = CFTypeAs<CFDictionaryRef>(list.Get(), CFDictionaryGetTypeID());
    if (dictionary == nullptr)
        return version;
    const auto product =
        CFTypeAs<CFStringRef>(CFDictionaryGetValue(dictionary, CFSTR("ProductVersion")), CFStringGetTypeID());
    char text[kVersionCapacity];
    if (product != nullptr && CFStringGetCString(product, text, kVersionCapacity, CFStringGetSystemEncoding()) != 0)
        ConvertStringToNumVersion(text, version);
    return version;
}
