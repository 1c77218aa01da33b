#include "lab/tools/Tool.h"

#include "lab/Files.h"
#include "lab/Registry.h"

#include <cstdio>
#include <cstdlib>

using plist::TValue;

namespace tools {

TWork FindWork(const std::string& tool)
{
    static const struct
    {
        const char* name;
        TWork work;
    } kTools[] = {{"bless", Bless},         {"diskutil", Diskutil}, {"hfs.util", HfsUtil},
                  {"kextcache", Kextcache}, {"mdutil", Mdutil},     {"newfs", Newfs},
                  {"newfs_hfs", NewfsHfs},  {"nvram", Nvram},       {"vsdbutil", Vsdbutil}};
    for (const auto& known : kTools) {
        if (tool == known.name)
            return known.work;
    }
    return nullptr;
}

int Refuse(const std::string& tool, const std::string& why, int status)
{
    std::fprintf(stderr, "%s: %s\n", tool.c_str(), why.c_str());
    return status;
}

std::string SystemVersion(const lab::TMachine& machine)
{
    const std::string startup = lab::ReadLine(machine.Folder() + "/startup-volume");
    TValue version = TValue::Dictionary();
    lab::ReadPropertyList(machine.VolumeFiles(startup) + "/System/Library/CoreServices/SystemVersion.plist", &version);
    return lab::TextOf(version, "ProductVersion");
}

bool SystemIsLeopard(const lab::TMachine& machine)
{
    const std::string version = SystemVersion(machine);
    return version.rfind("10.", 0) == 0 && std::atoi(version.c_str() + 3) >= 5;
}

std::string DiskOfNode(const std::string& node)
{
    std::string name = node;
    if (name.rfind("/dev/", 0) == 0)
        name = name.substr(name.compare(5, 5, "rdisk") == 0 ? 6 : 5);
    return name.rfind("disk", 0) == 0 && name.find('/') == std::string::npos ? name : "";
}

bool IsDisk(const lab::TMachine& machine, const std::string& bsdName)
{
    return !bsdName.empty() && lab::TRegistry(machine.Folder()).FindMedium(bsdName).entry != nullptr;
}

// What stands behind the folder in the path. Returns false when the path does not lead there.
static bool IsWithin(const std::string& path, const std::string& folder, std::string* within)
{
    const std::string prefix = folder == "/" ? "/" : folder + "/";
    if (path != folder && path.rfind(prefix, 0) != 0)
        return false;
    *within = path == folder ? "" : path.substr(prefix.size());
    return true;
}

lab::TMount MountHolding(const lab::TMachine& machine, const std::string& path, std::string* within)
{
    char* const resolved = realpath(path.c_str(), nullptr);
    const std::string real = resolved ? resolved : "";
    std::free(resolved);

    lab::TMount best;
    for (const lab::TMount& mount : machine.Mounts()) {
        std::string rest;
        if (mount.path.size() < best.path.size() || !IsWithin(real, mount.path, &rest))
            continue;
        best = mount;
        if (within)
            *within = rest;
    }
    return best;
}

std::string DiskOfVolume(const lab::TMachine& machine, const std::string& volume)
{
    const std::string disk = DiskOfNode(volume);
    if (IsDisk(machine, disk))
        return disk;
    std::string within;
    const lab::TMount mount = MountHolding(machine, volume, &within);
    return within.empty() ? mount.bsdName : "";
}

bool IsReadOnly(const lab::TMachine& machine, const std::string& bsdName)
{
    lab::TRegistry registry(machine.Folder());
    const TValue* const medium = registry.FindMedium(bsdName).entry;
    return lab::TruthOf(machine.Volume(bsdName), "Read Only") ||
           (medium && medium->Find("Writable") && !lab::TruthOf(*medium, "Writable"));
}

std::string ChangeVolume(const lab::TMachine& machine, const std::string& bsdName,
                         const std::function<void(TValue*)>& change)
{
    const lab::TFileLock lock(machine.Folder() + "/lock");
    TValue volume = machine.Volume(bsdName);
    if (volume.entries.empty())
        return "there is no volume on " + bsdName;
    if (IsReadOnly(machine, bsdName))
        return bsdName + " cannot be written";
    change(&volume);
    return machine.WriteText("volumes/" + bsdName + "/volume.plist", plist::Write(volume));
}

}   // namespace tools
