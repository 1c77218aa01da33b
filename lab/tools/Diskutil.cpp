// diskutil: journals, names and mounts of volumes.

#include "lab/tools/DiskutilList.h"

#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <cstdio>
#include <strings.h>

using plist::TValue;

namespace tools {

static int RefuseUnknown(const std::string& volume)
{
    return Refuse("diskutil", "Unable to find disk for " + volume);
}

static int SetJournal(const lab::TMachine& machine, const std::string& volume, bool enable)
{
    const std::string bsdName = DiskOfVolume(machine, volume);
    const TValue before = machine.Volume(bsdName);
    const std::string state = enable ? "enabled" : "disabled";
    if (before.entries.empty())
        return RefuseUnknown(volume);
    if (machine.MountPath(bsdName).empty())
        return Refuse("diskutil", "The disk " + bsdName + " is not mounted");
    if (lab::TextOf(before, "Kind") != "hfs")
        return Refuse("diskutil", "The file system on " + bsdName + " does not support journaling");
    if (lab::TruthOf(before, "Journaled") == enable) {
        std::printf("Journaling is already %s for volume %s\n", state.c_str(), bsdName.c_str());
        return 0;
    }
    const std::string error =
        ChangeVolume(machine, bsdName, [&](TValue* changed) { changed->Set("Journaled", TValue::Boolean(enable)); });
    if (!error.empty())
        return Refuse("diskutil", error);
    std::printf("Journaling has been %s on %s\n", state.c_str(), bsdName.c_str());
    return 0;
}

// Prints that it was done, or why not.
static int Report(const std::string& error, const std::string& done)
{
    if (!error.empty())
        return Refuse("diskutil", error);
    std::printf("%s\n", done.c_str());
    return 0;
}

static int Rename(lab::TMachine& machine, const std::string& volume, const std::string& name)
{
    const std::string bsdName = DiskOfVolume(machine, volume);
    if (bsdName.empty())
        return RefuseUnknown(volume);
    return Report(machine.RenameVolume(bsdName, name), "Volume on " + bsdName + " renamed to " + name);
}

static int Mount(lab::TMachine& machine, const std::string& disk)
{
    const std::string bsdName = DiskOfNode(disk);
    if (!IsDisk(machine, bsdName))
        return RefuseUnknown(disk);
    return Report(machine.MountVolume(bsdName), "Volume " + bsdName + " mounted");
}

static int Unmount(lab::TMachine& machine, const std::string& volume, bool force)
{
    const std::string bsdName = DiskOfVolume(machine, volume);
    if (bsdName.empty())
        return RefuseUnknown(volume);
    return Report(machine.UnmountVolume(bsdName, force), "Volume " + volume + " unmounted");
}

static int Show(const lab::TMachine& machine, const std::string& volume)
{
    const std::string bsdName = DiskOfVolume(machine, volume);
    return bsdName.empty() ? RefuseUnknown(volume) : ShowDisk(machine, bsdName);
}

int Diskutil(lab::TMachine& machine, const TWords& words)
{
    // Verbs are taken whatever the case of their letters.
    const auto asks = [&](const char* verb, std::size_t count) {
        return words.size() == count + 1 && strcasecmp(words[0].c_str(), verb) == 0;
    };
    if (asks("list", 0) || asks("list", 1))
        return ListDisks(machine, words.size() > 1 ? words[1] : "");
    if (asks("info", 1))
        return Show(machine, words[1]);
    if (asks("enableJournal", 1) || asks("disableJournal", 1))
        return SetJournal(machine, words[1], asks("enableJournal", 1));
    if (asks("rename", 2))
        return Rename(machine, words[1], words[2]);
    if (asks("mount", 1))
        return Mount(machine, words[1]);
    if (asks("unmount", 1))
        return Unmount(machine, words[1], false);
    if (asks("unmount", 2) && words[1] == "force")
        return Unmount(machine, words[2], true);
    return Refuse("diskutil", "usage: diskutil list [DISK], info VOLUME, enableJournal VOLUME, disableJournal VOLUME, "
                              "rename VOLUME NAME, mount DISK or unmount [force] VOLUME");
}

}   // namespace tools
