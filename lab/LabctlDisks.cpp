// labctl's subcommands about disks, the volumes on them, and the firmware's variables.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/Registry.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

using lab::TMachine;
using plist::TValue;

namespace labctl {

// Disks

// Gives a new volume the identity of another one, as it has on a disk that was copied block by block.
static std::string SetIdentity(TMachine& machine, const std::string& bsdName, const TValue& original)
{
    std::string error;
    for (const char* const key : {"Identifier", "UUID"}) {
        if (error.empty())
            error = machine.SetVolumeProperty(bsdName, key, TValue::String(lab::TextOf(original, key)));
    }
    return error;
}

// Makes the volume of a disk that comes, as the options say.
static std::string MakeVolume(TMachine& machine, const std::string& bsdName, const TOptions& options)
{
    const TValue original = machine.Volume(options.Text("identity-of"));
    if (options.Has("identity-of") && lab::TextOf(original, "Identifier").empty())
        return "there is no volume with an identity on " + options.Text("identity-of");
    const std::string error = machine.AddVolume(bsdName, options.Text("volume"), options.Text("kind", "hfs"));
    return error.empty() && options.Has("identity-of") ? SetIdentity(machine, bsdName, original) : error;
}

static int Attach(TMachine& machine, TWords words)
{
    const TOptions options(&words, {"below", "size", "volume", "kind", "identity-of"});
    ExpectWords(words, 1, 1);
    const std::string& bsdName = words[0];
    const std::string below = options.Text("below");
    const auto size = static_cast<std::uint64_t>(options.Number("size", 80026361856, 0, INT64_MAX));
    for (const char* const option : {"kind", "identity-of"}) {
        if (options.Has(option) && !options.Has("volume"))
            throw TMisuse{"--" + std::string(option) + " needs --volume"};
    }
    // The volume first: who sees the disk come looks at what is on it.
    std::string error;
    lab::TRegistry registry(machine.Folder());
    const bool comes = !registry.FindMedium(bsdName).entry && (below.empty() || registry.FindMedium(below).entry);
    if (options.Has("volume") && comes)
        error = MakeVolume(machine, bsdName, options);
    if (error.empty())
        error = machine.AddMedium(bsdName, below, size, below.empty());
    // As a Mac does with a disk that comes.
    if (error.empty() && machine.IsRunning() && !machine.Volume(bsdName).entries.empty())
        error = machine.MountVolume(bsdName);
    return Report(error);
}

static int Detach(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 1, 1);
    std::string error = machine.RemoveMedium(words[0]);
    if (!error.empty() || !machine.IsRunning())
        return Report(error);
    // What was mounted from it or from a partition of it is gone, whoever uses it.
    const std::vector<std::string> left = lab::TRegistry(machine.Folder()).MediumNames();
    for (const lab::TMount& mount : machine.Mounts()) {
        if (std::find(left.begin(), left.end(), mount.bsdName) == left.end() && mount.path != "/" && error.empty())
            error = machine.UnmountVolume(mount.bsdName, true);
    }
    return Report(error);
}

static int Disk(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 2, SIZE_MAX);
    const TWords rest(words.begin() + 1, words.end());
    if (words[0] == "attach")
        return Attach(machine, rest);
    if (words[0] == "detach")
        return Detach(machine, rest);
    throw TMisuse{"a disk is attached or detached, it cannot " + words[0]};
}

// Volumes

static int ListVolumes(const TMachine& machine)
{
    for (const std::string& bsdName : lab::NamesInFolder(machine.Folder() + "/volumes")) {
        const TValue volume = machine.Volume(bsdName);
        if (volume.entries.empty())
            continue;
        const std::string path = machine.MountPath(bsdName);
        std::printf("%-10s %-6s %-24s %s\n", bsdName.c_str(), lab::TextOf(volume, "Kind").c_str(),
                    lab::Escape(lab::TextOf(volume, "Name")).c_str(), path.empty() ? "not mounted" : path.c_str());
    }
    return 0;
}

// The volume of a disk; when there is none, `error` says which there are.
static TValue FindVolume(const TMachine& machine, const std::string& bsdName, std::string* error)
{
    TValue volume = machine.Volume(bsdName);
    if (volume.entries.empty())
        *error = "there is no volume on " + bsdName + "; the machine has them on " +
                 lab::InWords(lab::NamesInFolder(machine.Folder() + "/volumes"));
    return volume;
}

static int ShowVolume(const TMachine& machine, const std::string& bsdName)
{
    std::string error;
    const TValue volume = FindVolume(machine, bsdName, &error);
    if (!error.empty())
        return Report(error);
    for (const auto& property : volume.entries) {
        const bool isTruth = property.second.kind == plist::Kind::kBoolean;
        std::printf("%s: %s\n", property.first.c_str(),
                    isTruth ? property.second.boolean ? "true" : "false" : lab::Escape(property.second.text).c_str());
    }
    for (const lab::TMount& mount : machine.Mounts()) {
        if (mount.bsdName != bsdName)
            continue;
        std::printf("mounted at: %s, number %d\n", mount.path.c_str(), mount.number);
        for (const std::string& option : mount.options)
            std::printf("mount option: %s\n", option.c_str());
    }
    for (const std::string& line : lab::SplitLines(machine.ReadText("volumes/" + bsdName + "/refuse")))
        std::printf("refused: %s\n", line.c_str());
    return 0;
}

// A property's value as its key wants it, or misuse.
static TValue VolumeProperty(const std::string& key, const std::string& text)
{
    const TWords texts{"Name", "Kind", "Identifier", "UUID", "Blessed Folder"};
    const TWords truths{"Owners", "Journaled", "Indexed", "Read Only"};
    if (std::find(texts.begin(), texts.end(), key) != texts.end())
        return TValue::String(text);
    if (std::find(truths.begin(), truths.end(), key) == truths.end())
        throw TMisuse{"a volume has no property " + key + "; it has " + lab::InWords(texts) +
                      ", which are texts, and " + lab::InWords(truths) + ", which are true or false"};
    if (text != "true" && text != "false")
        throw TMisuse{key + " is true or false, not \"" + text + "\""};
    return TValue::Boolean(text == "true");
}

static int Volume(TMachine& machine, const TWords& allWords)
{
    TWords words = allWords;
    const TOptions options(&words, {"kind"});
    const std::string what = words.empty() ? "list" : words[0];
    if (options.Has("kind") && what != "add")
        throw TMisuse{"--kind is for a volume that is added"};
    if (what == "list") {
        ExpectWords(words, 0, 1);
        return ListVolumes(machine);
    }
    ExpectWords(words, 2, SIZE_MAX);
    const std::string& bsdName = words[1];
    if (what == "show") {
        ExpectWords(words, 2, 2);
        return ShowVolume(machine, bsdName);
    }
    if (what == "add") {
        ExpectWords(words, 3, 3);
        if (!machine.MountPath(bsdName).empty())
            return Report(bsdName + " is mounted, so it cannot be erased; labctl unmount " + bsdName + " unmounts it");
        return Report(machine.AddVolume(bsdName, words[2], options.Text("kind", "hfs")));
    }
    if (what == "set") {
        ExpectWords(words, 4, 4);
        return Report(machine.SetVolumeProperty(bsdName, words[2], VolumeProperty(words[2], words[3])));
    }
    if (what != "unset")
        throw TMisuse{"volumes are listed, shown, added, set and unset, not " + what};
    ExpectWords(words, 3, 3);
    return Report(machine.RemoveVolumeProperty(bsdName, words[2]));
}

// Reports, or prints where the volume is mounted now.
static int ReportPath(const TMachine& machine, const std::string& bsdName, const std::string& error)
{
    if (error.empty())
        std::printf("%s\n", machine.MountPath(bsdName).c_str());
    return Report(error);
}

static int Mount(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 1, SIZE_MAX);
    return ReportPath(machine, words[0], machine.MountVolume(words[0], {words.begin() + 1, words.end()}));
}

static int Unmount(TMachine& machine, const TWords& allWords)
{
    TWords words = allWords;
    const auto option = std::find(words.begin(), words.end(), "--force");
    const bool force = option != words.end();
    if (force)
        words.erase(option);
    ExpectWords(words, 1, 1);
    const std::string error = machine.UnmountVolume(words[0], force);
    const bool isUsed = error.find("a program uses it") != std::string::npos;
    return Report(isUsed ? error + "; --force unmounts it nevertheless" : error);
}

static int Rename(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 2, 2);
    return ReportPath(machine, words[0], machine.RenameVolume(words[0], words[1]));
}

static int Refuse(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 2, SIZE_MAX);
    std::string lines;
    for (std::size_t i = 1; i < words.size(); ++i)
        lines += words[i] + "\n";
    return Report(machine.SetRefusals(words[0], lines == "nothing\n" ? "" : lines));
}

// The firmware

static int Nvram(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 0, 1);
    lab::TRegistry registry(machine.Folder());
    const TValue* const options = registry.Error().empty() ? registry.AtDeviceTreePath("/options") : nullptr;
    if (!options)
        return Report("the device tree has no entry /options, where firmware variables are");
    TWords names;
    for (const auto& property : options->entries) {
        if (property.first.rfind("IO", 0) != 0)   // what makes up the tree
            names.push_back(property.first);
    }
    if (!words.empty() && std::find(names.begin(), names.end(), words[0]) == names.end())
        return Report("there is no firmware variable " + words[0] + "; there are " + lab::InWords(names));
    for (const std::string& name : words.empty() ? names : words)
        std::printf("%s\t%s\n", name.c_str(), machine.FirmwareVariable(name).c_str());
    return 0;
}

const std::vector<TCommand>& DiskCommands()
{
    static const std::vector<TCommand> commands{
        {"disk",
         "attach NAME [--below NAME] [--size BYTES] [--volume NAME [--kind KIND] [--identity-of DISK]]\ndetach NAME",
         "Adds a disk to the I/O Registry, or removes it and what is below it.\n"
         "Below another disk it is a partition of that. With --volume it holds a new volume of that name, with\n"
         "--identity-of one that hfs.util cannot tell from the other disk's. A volume on a disk that comes is\n"
         "mounted, and on a disk that goes unmounted, as by a Mac.",
         true, Disk},
        {"volume", "[list]\nshow DISK\nadd DISK NAME [--kind KIND]\nset DISK KEY VALUE\nunset DISK KEY",
         "Lists the volumes, shows what one is, makes an empty one, or changes what it is.\nThe kind is hfs when not "
         "given; others are ufs, msdos, cd9660 and udf. What is added is not mounted.",
         true, Volume},
        {"mount", "DISK [OPTION...]", "Mounts the volume on a disk and prints where.", true, Mount},
        {"unmount", "DISK [--force]", "Unmounts the volume on a disk; with --force, whoever uses it.", true, Unmount},
        {"rename", "DISK NAME", "Renames the volume on a disk that is mounted, and prints where it is then.", true,
         Rename},
        {"refuse", "DISK LINE...\nDISK nothing",
         "Has Disk Arbitration refuse requests about a disk, delay its answers, or refuse nothing any more.\nA line is "
         "mount REASON, unmount REASON, rename REASON, claim REASON or delay MILLISECONDS.",
         true, Refuse},
        {"nvram", "[NAME]", "Lists the firmware's variables, or one of them.", true, Nvram},
    };
    return commands;
}

}   // namespace labctl
