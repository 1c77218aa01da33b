#include "lab/import/MountedVolume.h"

#include "lab/Files.h"
#include "lab/Registry.h"

#include <algorithm>

using plist::TValue;

namespace import {

// A kind that a machine's volumes can have, and how the contents of the partitions begin that hold it.
struct TVolumeKind
{
    const char* name;
    const char* contents[4];
};
static const TVolumeKind kKinds[] = {{"hfs", {"Apple_HFS", "48465300", "Apple_Boot", "426F6F74"}},
                                     {"ufs", {"Apple_UFS", "55465300", "Apple_Rhapsody_UFS", nullptr}},
                                     {"msdos", {"DOS_FAT_", "Windows_", "EBD0A0A2", "C12A7328"}},
                                     {"cd9660", {"CD_ROM_", "CD_DA", nullptr, nullptr}},
                                     {"udf", {"UDF", "DVD_", nullptr, nullptr}}};

std::string KindOfVolume(const TMountedDisk& disk, const TValue& medium)
{
    const bool isTold = !disk.options.empty() && disk.options[0] != "local" && disk.options[0] != "read-only" &&
                        disk.options[0] != "asynchronous" && disk.options[0] != "NFS exported";
    const std::string content = lab::TextOf(medium, "Content");
    for (const TVolumeKind& kind : kKinds) {
        if (isTold && disk.options[0] == kind.name)
            return kind.name;
        for (const char* const beginning : kind.contents) {
            if (!isTold && beginning && content.rfind(beginning, 0) == 0)
                return kind.name;
        }
    }
    return isTold ? "" : "hfs";
}

std::string NameOfVolume(const TMountedDisk& disk, const TValue& medium)
{
    std::string name = disk.path == "/" ? lab::TextOf(medium, "IORegistryEntryName") : lab::BaseName(disk.path);
    std::replace(name.begin(), name.end(), ':', '/');
    return name;
}

}   // namespace import
