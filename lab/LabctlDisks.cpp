// labctl's subcommands about disks, the volumes on them, and the firmware's variables.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/LabctlUsage.h"
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

static void Attach(TMachine& machine, const TWords& words, const TOptions& options)
{
    ExpectWords(words, 1, 1);
    const std::string& bsdName = words[0];
    const std::string below = options.Text("below");
    const auto size = static_cast<std::uint64_t>(options.Number("size", 80026361856, 0, INT64_MAX));
    for (const char* const option : {"kind", "identity-of"}) {
        if (options.Has(option) && !options.Has("volume"))
            throw TMisuse{"--" + std::string(option) + " needs --volume"};
    }
    // The volume first: who sees the disk come looks at what is on it.
    lab::TRegistry registry(machine.Folder());
    const bool comes = !registry.FindMedium(bsdName).entry && (below.empty() || registry.FindMedium(below).entry);
    if (options.Has("volume") && comes)
        RefuseIf(MakeVolume(machine, bsdName, options));
    RefuseIf(machine.AddMedium(bsdName, below, size, below.empty()));
    // As a Mac does with a disk that comes.
    if (machine.IsRunning() && !machine.Volume(bsdName).entries.empty())
        RefuseIf(machine.MountVolume(bsdName));
}

static void Detach(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 1, 1);
    RefuseIf(machine.RemoveMedium(words[0]));
    if (!machine.IsRunning())
        return;
    // What was mounted from it or from a partition of it is gone, whoever uses it.
    const std::vector<std::string> left = lab::TRegistry(machine.Folder()).MediumNames();
    for (const lab::TMount& mount : machine.Mounts()) {
        if (std::find(left.begin(), left.end(), mount.bsdName) == left.end() && mount.path != "/")
            RefuseIf(machine.UnmountVolume(mount.bsdName, true));
    }
}

static TAnswer Disk(const TCall& call)
{
    ExpectWords(call.words, 2, SIZE_MAX);
    const std::string& what = call.words[0];
    const TWords rest(call.words.begin() + 1, call.words.end());
    if (what == "attach")
        Attach(call.machine, rest, call.options);
    else if (what == "detach")
        Detach(call.machine, rest);
    else
        throw TMisuse{"a disk is attached or detached, it cannot " + what + Suggestion(what, {"attach", "detach"})};
    return {};
}

// Volumes

static TAnswer ListVolumes(const TMachine& machine)
{
    TAnswer answer{"", TValue::Array()};
    for (const std::string& bsdName : lab::NamesInFolder(machine.Folder() + "/volumes")) {
        const TValue volume = machine.Volume(bsdName);
        if (volume.entries.empty())
            continue;
        const std::string kind = lab::TextOf(volume, "Kind");
        const std::string name = lab::TextOf(volume, "Name");
        const std::string path = machine.MountPath(bsdName);
        char line[64];
        std::snprintf(line, sizeof line, "%-10s %-6s ", bsdName.c_str(), kind.c_str());
        const std::string shown = lab::Escape(name);
        answer.text += line + shown + std::string(shown.size() < 24 ? 25 - shown.size() : 1, ' ') +
                       (path.empty() ? "not mounted" : path) + "\n";
        TValue row = lab::MakeObject(
            {{"disk", TValue::String(bsdName)}, {"kind", TValue::String(kind)}, {"name", TValue::String(name)}});
        if (!path.empty())
            row.Set("mounted-at", TValue::String(path));
        answer.value.items.push_back(row);
    }
    return answer;
}

// The volume of a disk; when there is none, the refusal says which there are.
static TValue FindVolume(const TMachine& machine, const std::string& bsdName)
{
    TValue volume = machine.Volume(bsdName);
    if (volume.entries.empty())
        throw TRefusal{"there is no volume on " + bsdName + "; the machine has them on " +
                       lab::InWords(lab::NamesInFolder(machine.Folder() + "/volumes"))};
    return volume;
}

static TAnswer ShowVolume(const TMachine& machine, const std::string& bsdName)
{
    TAnswer answer{"", FindVolume(machine, bsdName)};
    for (const auto& property : answer.value.entries) {
        const bool isTruth = property.second.kind == plist::Kind::kBoolean;
        answer.text += property.first + ": " +
                       (isTruth ? property.second.boolean ? "true" : "false" : lab::Escape(property.second.text)) +
                       "\n";
    }
    for (const lab::TMount& mount : machine.Mounts()) {
        if (mount.bsdName != bsdName)
            continue;
        answer.text += "mounted at: " + mount.path + ", number " + std::to_string(mount.number) + "\n";
        for (const std::string& option : mount.options)
            answer.text += "mount option: " + option + "\n";
        answer.value.Set("mounted-at", TValue::String(mount.path));
        answer.value.Set("number", TValue::Integer(mount.number));
        answer.value.Set("mount-options", lab::MakeTexts(mount.options));
    }
    const TWords refusals = lab::SplitLines(machine.ReadText("volumes/" + bsdName + "/refuse"));
    for (const std::string& line : refusals)
        answer.text += "refused: " + line + "\n";
    answer.value.Set("refused", lab::MakeTexts(refusals));
    return answer;
}

static const TWords& TextKeys()
{
    static const TWords keys{"Name", "Kind", "Identifier", "UUID", "Blessed Folder"};
    return keys;
}

static const TWords& TruthKeys()
{
    static const TWords keys{"Owners", "Journaled", "Indexed", "Read Only"};
    return keys;
}

TWords VolumeKeys()
{
    TWords keys = TextKeys();
    keys.insert(keys.end(), TruthKeys().begin(), TruthKeys().end());
    return keys;
}

// A property's value as its key wants it, or misuse.
static TValue VolumeProperty(const std::string& key, const std::string& text)
{
    const TWords& texts = TextKeys();
    const TWords& truths = TruthKeys();
    if (std::find(texts.begin(), texts.end(), key) != texts.end())
        return TValue::String(text);
    if (std::find(truths.begin(), truths.end(), key) == truths.end())
        throw TMisuse{"a volume has no property " + key + Suggestion(key, VolumeKeys()) + "; it has " +
                      lab::InWords(texts) + ", which are texts, and " + lab::InWords(truths) +
                      ", which are true or false"};
    if (text != "true" && text != "false")
        throw TMisuse{key + " is true or false, not \"" + text + "\""};
    return TValue::Boolean(text == "true");
}

static TAnswer Volume(const TCall& call)
{
    const TWords& words = call.words;
    TMachine& machine = call.machine;
    const std::string what = words.empty() ? "list" : words[0];
    if (call.options.Has("kind") && what != "add")
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
            throw TRefusal{bsdName + " is mounted, so it cannot be erased; labctl unmount " + bsdName + " unmounts it"};
        RefuseIf(machine.AddVolume(bsdName, words[2], call.options.Text("kind", "hfs")));
        return {};
    }
    if (what == "set") {
        ExpectWords(words, 4, 4);
        RefuseIf(machine.SetVolumeProperty(bsdName, words[2], VolumeProperty(words[2], words[3])));
        return {};
    }
    if (what != "unset")
        throw TMisuse{"volumes are listed, shown, added, set and unset, not " + what +
                      Suggestion(what, {"list", "show", "add", "set", "unset"})};
    ExpectWords(words, 3, 3);
    RefuseIf(machine.RemoveVolumeProperty(bsdName, words[2]));
    return {};
}

// Where a volume is mounted now, when there was no error.
static TAnswer PathAnswer(const TMachine& machine, const std::string& bsdName, const std::string& error)
{
    RefuseIf(error);
    const std::string path = machine.MountPath(bsdName);
    return {path + "\n", lab::MakeObject({{"mounted-at", TValue::String(path)}})};
}

static TAnswer Mount(const TCall& call)
{
    ExpectWords(call.words, 1, SIZE_MAX);
    const std::string& bsdName = call.words[0];
    return PathAnswer(call.machine, bsdName,
                      call.machine.MountVolume(bsdName, {call.words.begin() + 1, call.words.end()}));
}

static TAnswer Unmount(const TCall& call)
{
    ExpectWords(call.words, 1, 1);
    const std::string error = call.machine.UnmountVolume(call.words[0], call.options.Has("force"));
    const bool isUsed = error.find("a program uses it") != std::string::npos;
    RefuseIf(isUsed ? error + "; --force unmounts it nevertheless" : error);
    return {};
}

static TAnswer Rename(const TCall& call)
{
    ExpectWords(call.words, 2, 2);
    return PathAnswer(call.machine, call.words[0], call.machine.RenameVolume(call.words[0], call.words[1]));
}

static TAnswer Refuse(const TCall& call)
{
    ExpectWords(call.words, 2, SIZE_MAX);
    std::string lines;
    for (std::size_t i = 1; i < call.words.size(); ++i)
        lines += call.words[i] + "\n";
    RefuseIf(call.machine.SetRefusals(call.words[0], lines == "nothing\n" ? "" : lines));
    return {};
}

// The firmware

static TAnswer Nvram(const TCall& call)
{
    ExpectWords(call.words, 0, 1);
    lab::TRegistry registry(call.machine.Folder());
    const TValue* const options = registry.Error().empty() ? registry.AtDeviceTreePath("/options") : nullptr;
    if (!options)
        throw TRefusal{"the device tree has no entry /options, where firmware variables are"};
    TWords names;
    for (const auto& property : options->entries) {
        if (property.first.rfind("IO", 0) != 0)   // what makes up the tree
            names.push_back(property.first);
    }
    const std::string wanted = call.words.empty() ? "" : call.words[0];
    if (!call.words.empty() && std::find(names.begin(), names.end(), wanted) == names.end())
        throw TRefusal{"there is no firmware variable " + wanted + Suggestion(wanted, names) + "; there are " +
                       lab::InWords(names)};
    TAnswer answer;
    for (const std::string& name : call.words.empty() ? names : call.words) {
        const std::string value = call.machine.FirmwareVariable(name);
        answer.text += name + "\t" + value + "\n";
        answer.value.Set(name, TValue::String(value));
    }
    return answer;
}

const std::vector<TCommand>& DiskCommands()
{
    static const std::vector<TCommand> commands{
        {"disk",
         "attach NAME [--below DISK] [--size BYTES] [--volume NAME [--kind KIND] [--identity-of DISK]]\ndetach DISK",
         "Adds a disk to the I/O Registry, or removes it and what is below it.",
         "Below another disk it is a partition of that. With --volume it holds a new volume of that name, with\n"
         "--identity-of one that hfs.util cannot tell from the other disk's. A volume on a disk that comes is\n"
         "mounted, and on a disk that goes unmounted, as by a Mac.",
         true, false, Disk},
        {"volume", "[list]\nshow DISK\nadd DISK NAME [--kind KIND]\nset DISK KEY VALUE\nunset DISK KEY",
         "Lists the volumes, shows what one is, makes an empty one, or changes what it is.",
         "The kind is hfs when not given; others are ufs, msdos, cd9660 and udf. What is added is not mounted.", true,
         false, Volume},
        {"mount", "DISK [OPTION...]", "Mounts the volume on a disk and prints where.", "", true, false, Mount},
        {"unmount", "DISK [--force]", "Unmounts the volume on a disk; with --force, whoever uses it.", "", true, false,
         Unmount},
        {"rename", "DISK NAME", "Renames the volume on a disk that is mounted, and prints where it is then.", "", true,
         false, Rename},
        {"refuse", "DISK LINE...\nDISK nothing",
         "Has Disk Arbitration refuse requests about a disk, delay its answers, or refuse nothing any more.",
         "A line is mount REASON, unmount REASON, rename REASON, claim REASON or delay MILLISECONDS.", true, false,
         Refuse},
        {"nvram", "[VARIABLE]", "Lists the firmware's variables, or one of them.", "", true, false, Nvram},
    };
    return commands;
}

}   // namespace labctl
