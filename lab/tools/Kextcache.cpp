// kextcache: gathers the kernel's extensions in one file, which the booter loads before any file system is there.

#include "lab/Files.h"
#include "lab/OpenFirmware.h"
#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <sys/stat.h>

using plist::TValue;

namespace tools {

static const char* const kCache = "/System/Library/Extensions.mkext";
static const char* const kExtensions = "/System/Library/Extensions";
// Where a boot helper partition keeps its copy.
static const char* const kHelperRoot = "/com.apple.boot.S";

static bool Exists(const std::string& path)
{
    struct stat status
    {
    };
    return stat(path.c_str(), &status) == 0;
}

// Whether the first file is missing, or older than the other.
static bool IsOutOfDate(const std::string& path, const std::string& than)
{
    struct stat cache
    {
    };
    struct stat source
    {
    };
    if (stat(path.c_str(), &cache) != 0)
        return true;
    if (stat(than.c_str(), &source) != 0)
        return false;
    return cache.st_mtim.tv_sec != source.st_mtim.tv_sec ? cache.st_mtim.tv_sec < source.st_mtim.tv_sec
                                                         : cache.st_mtim.tv_nsec < source.st_mtim.tv_nsec;
}

// The extensions' names behind a line that says of which system they are.
static std::string Gather(const std::string& root, const std::vector<std::string>& folders)
{
    TValue version = TValue::Dictionary();
    lab::ReadPropertyList(root + "/System/Library/CoreServices/SystemVersion.plist", &version);
    std::string cache = "kernel extensions of " + lab::TextOf(version, "ProductVersion") + "\n";
    for (const std::string& folder : folders) {
        for (const std::string& name : lab::NamesInFolder(folder))
            cache += name + "\n";
    }
    return cache;
}

// The slice beside a member partition where its boot helper partition is: on a GUID map the next, on others the one before.
static std::string HelperOf(lab::TRegistry* registry, const std::string& member)
{
    const std::size_t slice = member.find('s', 4);
    const TValue* const whole = registry->FindMedium(member.substr(0, slice)).entry;
    if (slice == std::string::npos || !whole)
        return "";
    bool isGUID = false;
    for (const TValue& map : lab::ChildrenOf(*whole))
        isGUID = isGUID || lab::TextOf(map, "Content Mask") == "GUID_partition_scheme";
    const int number = std::stoi(member.substr(slice + 1)) + (isGUID ? 1 : -1);
    return member.substr(0, slice + 1) + std::to_string(number);
}

// The entry at a path of the registry, "IOService:/..." or "IODeviceTree:/..."; empty when it is no disk.
static std::string DiskAtPath(const lab::TMachine& machine, lab::TRegistry* registry, const std::string& path)
{
    static const std::string kTree = "IODeviceTree:";
    if (path.rfind(kTree, 0) == 0)
        return lab::DiskAtOpenFirmwarePath(machine, path.substr(kTree.size()));
    for (const std::string& bsdName : registry->MediumNames()) {
        if (machine.EntryPath(bsdName) == path)
            return bsdName;
    }
    return "";
}

// The boot helper partitions of a RAID volume; none for other volumes.
static std::vector<std::string> HelpersOf(const lab::TMachine& machine, const std::string& bsdName)
{
    lab::TRegistry registry(machine.Folder());
    const TValue* const medium = registry.FindMedium(bsdName).entry;
    const TValue* const members = medium ? medium->Find("IOBootDevice") : nullptr;
    std::vector<std::string> helpers;
    for (std::size_t i = 0; members && i < members->items.size(); ++i) {
        const std::string path = lab::TextOf(members->items[i], "IOBootDevicePath");
        const std::string helper = HelperOf(&registry, DiskAtPath(machine, &registry, path));
        if (!helper.empty())
            helpers.push_back(helper);
    }
    return helpers;
}

// kextcache -u VOLUME: the volume's cache, then the copies on its boot helper partitions, each when it is out of date or
// when that is not to be asked.
static int Update(const lab::TMachine& machine, const std::string& volume, bool force)
{
    std::string within;
    const lab::TMount mount = MountHolding(machine, volume, &within);
    if (mount.bsdName.empty() || !within.empty())
        return Refuse("kextcache", volume + " is not a mount point");
    if (IsReadOnly(machine, mount.bsdName))
        return Refuse("kextcache", volume + ": Read-only file system");
    const std::string files = machine.VolumeFiles(mount.bsdName);
    if (!Exists(files + "/System/Library"))
        return Refuse("kextcache", volume + " holds no system");

    std::string error;
    if (force || IsOutOfDate(files + kCache, files + kExtensions))
        error = lab::ReplaceFile(files + kCache, Gather(files, {files + kExtensions}));
    for (const std::string& helper : HelpersOf(machine, mount.bsdName)) {
        // A partition that has not been filled has no place for a cache.
        const std::string copy = machine.VolumeFiles(helper) + kHelperRoot + kCache;
        if (!error.empty() || !Exists(copy.substr(0, copy.rfind('/'))))
            continue;
        std::string cache;
        lab::ReadFile(files + kCache, &cache);
        if (force || IsOutOfDate(copy, files + kCache))
            error = lab::ReplaceFile(copy, cache);
    }
    return error.empty() ? 0 : Refuse("kextcache", error);
}

int Kextcache(lab::TMachine& machine, const TWords& words)
{
    constexpr int kUsage = 64;   // EX_USAGE
    bool force = false;
    std::string cache;
    std::string volume;
    TWords folders;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool hasNext = i + 1 < words.size();
        if (words[i] == "-f")
            force = true;
        else if (words[i] == "-m" && hasNext)
            cache = words[++i];
        else if (words[i] == "-e")
            cache = kCache;
        else if (words[i] == "-u" && hasNext && SystemIsLeopard(machine))
            volume = words[++i];   // 10.5 was the first to have it
        else if (words[i].empty() || words[i][0] == '-')
            return Refuse("kextcache", "unrecognized option " + words[i], kUsage);
        else
            folders.push_back(words[i]);
    }
    if (!volume.empty())
        return Update(machine, volume, force);
    if (cache.empty())
        return Refuse("kextcache", "usage: kextcache [-f] -u VOLUME, or -m CACHE FOLDER ..., or -e", kUsage);
    if (folders.empty())
        folders = {kExtensions};
    const std::string error = lab::ReplaceFile(cache, Gather("", folders));
    return error.empty() ? 0 : Refuse("kextcache", error);
}

}   // namespace tools
