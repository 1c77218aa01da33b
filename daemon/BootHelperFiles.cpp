#include "daemon/BootHelperFiles.h"

#include "foundation/CFTypes.h"    // CFTypeAs
#include "foundation/CStrings.h"   // AppendText
#include "foundation/ScopedCFType.h"
#include "services/ExternalTools.h"       // CopyDirectoryOrFile
#include "services/PropertyListFiles.h"   // CreateCFDictionaryWithContentsOfFile, SetContentsOfFileToCFDictionary
#include "services/VolumeUUIDs.h"         // CreateVolumeCFUUID

#include <cstddef>
#include <cstring>
#include <sys/stat.h>

UInt32 SetRootUUIDInBootPlist(CFUUIDRef volumeUUID, const char* plistPath)
{
    const TScopedCFType text(CFUUIDCreateString(kCFAllocatorDefault, volumeUUID));
    if (!text)
        return 0;
    const TScopedCFType plist(CreateCFDictionaryWithContentsOfFile(plistPath));
    if (CFTypeAs<CFDictionaryRef>(plist.Get(), CFDictionaryGetTypeID()) == nullptr)
        return 0;
    const auto preferences = static_cast<CFMutableDictionaryRef>(const_cast<void*>(plist.Get()));
    CFDictionarySetValue(preferences, CFSTR("Root UUID"), text.Get());
    return SetContentsOfFileToCFDictionary(plistPath, preferences);
}

// A path on a volume. One that is too long is no path: cut, it could be another's.
class TVolumePath
{
public:
    TVolumePath(const char* volumePath, const char* relativePath)
        : fFits(AppendText(fPath, volumePath, sizeof fPath) && EndsWithSlash() &&
                AppendText(fPath, relativePath, sizeof fPath))
    {
    }

    explicit operator bool() const { return fFits; }
    const char* Get() const { return fPath; }

private:
    // Sees to it. Returns false when there is no room.
    bool EndsWithSlash()
    {
        const std::size_t length = strlen(fPath);
        return (length != 0 && fPath[length - 1] == '/') || AppendText(fPath, "/", sizeof fPath);
    }

    char fPath[1024] = "";
    const bool fFits;
};

// The two volumes, and what can be done from one to the other. Each operation returns whether it was done.
class TBootFileCopier
{
public:
    TBootFileCopier(const char* sourcePath, const char* helperPath) : fSource(sourcePath), fHelper(helperPath) {}

    bool MakeFolder(const char* folder) const
    {
        const TVolumePath path(fHelper, folder);
        return path && mkdir(path.Get(), 0755) == 0;
    }

    // folder  with a slash at its end: the file goes into it under its own name
    bool Copy(const char* file, const char* folder) const
    {
        const TVolumePath from(fSource, file);
        const TVolumePath to(fHelper, folder);
        return from && to && CopyDirectoryOrFile(from.Get(), to.Get()) != 0;
    }

    bool SetRootUUID(const char* plist) const
    {
        const TScopedCFType uuid(CreateVolumeCFUUID(fSource));
        const TVolumePath path(fHelper, plist);
        return uuid && path && SetRootUUIDInBootPlist(uuid.Get(), path.Get()) != 0;
    }

private:
    const char* fSource;
    const char* fHelper;
};

// What the firmware looks at.
static bool MakeSystemFolder(const TBootFileCopier& copier)
{
    static const char kFolder[] = "System/Library/CoreServices/";
    return copier.MakeFolder("System") && copier.MakeFolder("System/Library") && copier.MakeFolder(kFolder) &&
           copier.Copy("System/Library/CoreServices/boot.efi", kFolder) &&
           // A server's system has the other one.
           (copier.Copy("System/Library/CoreServices/SystemVersion.plist", kFolder) ||
            copier.Copy("System/Library/CoreServices/ServerVersion.plist", kFolder));
}

// The boot preferences, with the kernel's root device in them.
static bool MakePreferences(const TBootFileCopier& copier)
{
    static const char kFolder[] = "com.apple.boot.S/Library/Preferences/SystemConfiguration/";
    return copier.MakeFolder("com.apple.boot.S/Library") && copier.MakeFolder("com.apple.boot.S/Library/Preferences") &&
           copier.MakeFolder(kFolder) &&
           copier.Copy("Library/Preferences/SystemConfiguration/com.apple.Boot.plist", kFolder) &&
           copier.SetRootUUID("com.apple.boot.S/Library/Preferences/SystemConfiguration/com.apple.Boot.plist");
}

// What the booter starts.
static bool MakeBootFolder(const TBootFileCopier& copier)
{
    return copier.MakeFolder("com.apple.boot.S") && copier.Copy("mach_kernel", "com.apple.boot.S/") &&
           MakePreferences(copier) && copier.MakeFolder("com.apple.boot.S/System") &&
           copier.MakeFolder("com.apple.boot.S/System/Library") &&
           copier.Copy("System/Library/Extensions.mkext", "com.apple.boot.S/System/Library/");
}

UInt32 PopulateBootHelperPartition(const char* sourcePath, const char* helperPath)
{
    const TBootFileCopier copier(sourcePath, helperPath);
    return MakeSystemFolder(copier) && MakeBootFolder(copier);
}
