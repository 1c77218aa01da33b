#include "lab/OpenFirmware.h"
#include "lab/Registry.h"
#include "lab/tools/Bless.h"
#include "lab/tools/Tool.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

using plist::TValue;

namespace tools {

// The six numbers of folders that an HFS volume's header holds for the Finder and the booter.
constexpr int kFinderNumbers = 6;
// The lowest number that a file of a user can have (kHFSFirstUserCatalogNodeID): for a folder that is no more.
constexpr std::uint32_t kMissingFolder = 16;

struct TFinderNumber
{
    std::uint32_t number = 0;   // 0: none
    std::string path;           // empty when the folder is no more
    std::string within;         // the path on its volume
};

// The first and the last number are of the blessed folder; there is no other.
static TFinderNumber ReadFinderNumber(const TValue& volume, const std::string& mountPath, int index)
{
    TFinderNumber found;
    const std::string folder = lab::TextOf(volume, "Blessed Folder");
    if (folder.empty() || (index != 0 && index != kFinderNumbers - 1))
        return found;
    found.number = kMissingFolder;
    const std::string path = (mountPath == "/" ? "" : mountPath) + "/" + folder;
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) != 0)
        return found;
    found.number = static_cast<std::uint32_t>(status.st_ino);
    found.path = path;
    found.within = "/" + folder;
    return found;
}

static const char* TextOfNumber(const lab::TMachine& machine, int index, bool none)
{
    // The second number was reworded in the course of 10.4.
    const std::string version = SystemVersion(machine);
    const bool old = version.rfind("10.3", 0) == 0 || version == "10.4" || version == "10.4.0";
    switch (index) {
    case 0:
        return none ? "No Blessed System Folder" : "Blessed System Folder is ";
    case 1:
        if (old)
            return none ? "No Startup App folder (ignored anyway)" : "Startup App folder is ";
        return none ? "No Blessed System File" : "Blessed System File is ";
    case 2:
        return none ? "Open-folder linked list empty" : "1st dir in open-folder list is ";
    case 3:
        return none ? "No OS 9 + X blessed 9 folder" : "OS 9 blessed folder is ";
    case 4:
        return none ? "Unused field unset" : "Thought-to-be-unused field points to ";
    default:
        return none ? "No OS 9 + X blessed X folder" : "OS X blessed folder is ";
    }
}

static void PrintVolume(const lab::TMachine& machine, const TValue& volume, const std::string& mountPath)
{
    for (int i = 0; i < kFinderNumbers; ++i) {
        const TFinderNumber found = ReadFinderNumber(volume, mountPath, i);
        const std::string path = found.number == 0 ? "" : found.path.empty() ? "<missing>" : found.path;
        std::printf("finderinfo[%d]: %6u => %s%s\n", i, static_cast<unsigned>(found.number),
                    TextOfNumber(machine, i, found.number == 0), path.c_str());
    }
    std::printf("64-bit VSDB volume id:  0x%s\n", lab::TextOf(volume, "Identifier").c_str());
}

static void PrintVolumeAsPropertyList(const TValue& volume, const std::string& mountPath)
{
    TValue numbers = TValue::Array();
    for (int i = 0; i < kFinderNumbers; ++i) {
        const TFinderNumber found = ReadFinderNumber(volume, mountPath, i);
        TValue number = TValue::Dictionary();
        number.Set("Directory ID", TValue::Integer(found.number));
        number.Set("Path", TValue::String(found.path));
        number.Set("Relative Path", TValue::String(found.within));
        numbers.items.push_back(number);
    }
    const std::uint64_t identifier = std::strtoull(lab::TextOf(volume, "Identifier").c_str(), nullptr, 16);
    TValue vsdb = TValue::Integer(static_cast<std::int64_t>(identifier));
    vsdb.wide = identifier >> 63 != 0;
    TValue blocks = TValue::Dictionary();
    blocks.Set("Data", TValue::Data(std::string(1024, '\0')));

    TValue all = TValue::Dictionary();
    all.Set("BootBlocks", blocks);
    all.Set("Finder Info", numbers);
    all.Set("VSDB ID", vsdb);
    std::fputs(plist::Write(all).c_str(), stdout);
}

static int PrintBootDisk(const std::string& bsdName, bool asPropertyList)
{
    if (!asPropertyList) {
        std::printf("/dev/%s\n", bsdName.c_str());
        return 0;
    }
    TValue all = TValue::Dictionary();
    all.Set("Boot Volume", TValue::String("/dev/" + bsdName));
    std::fputs(plist::Write(all).c_str(), stdout);
    return 0;
}

// The disk that the firmware starts from; empty when that is none, which it says on standard error.
static std::string FindBootDisk(const lab::TMachine& machine, bool verbose)
{
    const std::string value = machine.FirmwareVariable("boot-device");
    if (verbose)
        std::printf(SystemIsLeopard(machine) ? "Current OpenFirmware boot device string is: '%s'\n"
                                             : "Current OF: %s\n",
                    value.c_str());
    const std::string bsdName = lab::DiskAtOpenFirmwarePath(machine, value);
    if (verbose)
        std::printf("bsd name is /dev/%s\n", bsdName.c_str());
    if (bsdName.empty())
        std::fprintf(stderr, "Can't get device for %s: 3\n", value.c_str());
    return bsdName;
}

int BlessInfo(const lab::TMachine& machine, const TBlessOptions& options)
{
    const bool asPropertyList = options.count("plist") != 0;
    const bool verbose = options.count("verbose") != 0;
    std::string bsdName;
    if (options.at("info").empty()) {
        bsdName = FindBootDisk(machine, verbose);
        if (bsdName.empty())
            return 1;
        if (options.count("getBoot"))
            return PrintBootDisk(bsdName, asPropertyList);
    } else {
        bsdName = MountHolding(machine, options.at("info")).bsdName;
    }

    const std::string mountPath = machine.MountPath(bsdName);
    if (mountPath.empty())
        return Refuse("bless", bsdName.empty() ? "No such file or directory: " + options.at("info")
                                               : "Volume of /dev/" + bsdName + " is not mounted");
    const TValue volume = machine.Volume(bsdName);
    if (lab::TextOf(volume, "Kind") != "hfs")
        return Refuse("bless", "Volume at " + mountPath + " is not HFS or HFS+");
    if (verbose)
        std::printf("Mount point for %s is %s\n",
                    options.at("info").empty() ? mountPath.c_str() : options.at("info").c_str(), mountPath.c_str());
    if (asPropertyList)
        PrintVolumeAsPropertyList(volume, mountPath);
    else
        PrintVolume(machine, volume, mountPath);
    return 0;
}

}   // namespace tools
