// The part of a machine that is its volumes: what each holds, where it is mounted, and what is asked of init about it.

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Registry.h"
#include "lab/Requests.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

using plist::TValue;

namespace lab {

static const std::string kVolumes = "volumes/";

static std::string VolumeFile(const std::string& bsdName)
{
    return kVolumes + bsdName + "/volume.plist";
}

// Empty when a volume may have this BSD name.
static std::string CheckBSDName(const std::string& bsdName)
{
    if (bsdName.empty() || bsdName[0] == '.' || bsdName.find('/') != std::string::npos)
        return "a volume is named by its disk, such as disk3s3, not by \"" + bsdName + "\"";
    return "";
}

static std::string RandomDigits(std::size_t count)
{
    static const char kDigits[] = "0123456789ABCDEF";
    std::random_device source;
    std::string digits;
    for (std::size_t i = 0; i < count; ++i)
        digits += kDigits[source() % 16];
    return digits;
}

// Marked as made from a name, as those of HFS volumes are.
static std::string RandomUUID()
{
    return RandomDigits(8) + "-" + RandomDigits(4) + "-3" + RandomDigits(3) + "-8" + RandomDigits(3) + "-" +
           RandomDigits(12);
}

std::string TMachine::AddVolume(const std::string& bsdName, const std::string& name, const std::string& kind)
{
    std::string error = CheckBSDName(bsdName);
    if (!error.empty())
        return error;
    TValue volume = TValue::Dictionary();
    volume.Set("Name", TValue::String(name));
    volume.Set("Kind", TValue::String(kind));
    if (kind == "hfs")
        volume.Set("Identifier", TValue::String(RandomDigits(16)));
    if (kind == "hfs" || kind == "ufs")
        volume.Set("UUID", TValue::String(RandomUUID()));
    volume.Set("Owners", TValue::Boolean(true));
    volume.Set("Journaled", TValue::Boolean(kind == "hfs"));
    volume.Set("Indexed", TValue::Boolean(true));

    const TFileLock lock(fFolder + "/lock");
    std::error_code reason;
    std::filesystem::remove_all(fFolder + "/" + kVolumes + bsdName, reason);
    if (reason)
        return "cannot erase the volume " + bsdName + ": " + reason.message();
    error = MakeFolder(VolumeFiles(bsdName));
    return error.empty() ? WriteText(VolumeFile(bsdName), plist::Write(volume)) : error;
}

TValue TMachine::Volume(const std::string& bsdName) const
{
    TValue volume;
    const bool read = CheckBSDName(bsdName).empty() &&
                      ReadPropertyList(fFolder + "/" + VolumeFile(bsdName), &volume).empty() &&
                      volume.kind == plist::Kind::kDictionary;
    return read ? volume : TValue::Dictionary();
}

// Sets a property of the volume; null removes it.
static std::string Change(const TMachine& machine, const std::string& bsdName, const std::string& key,
                          const TValue* value)
{
    const TFileLock lock(machine.Folder() + "/lock");
    TValue volume = machine.Volume(bsdName);
    if (volume.entries.empty())
        return "there is no volume on " + bsdName + "; the machine has them on " +
               InWords(NamesInFolder(machine.Folder() + "/" + kVolumes));
    if (value)
        volume.Set(key, *value);
    else if (!RemoveKey(&volume, key))
        return "the volume on " + bsdName + " has no property " + key;
    return machine.WriteText(VolumeFile(bsdName), plist::Write(volume));
}

std::string TMachine::SetVolumeProperty(const std::string& bsdName, const std::string& key, const TValue& value)
{
    return Change(*this, bsdName, key, &value);
}

std::string TMachine::RemoveVolumeProperty(const std::string& bsdName, const std::string& key)
{
    return Change(*this, bsdName, key, nullptr);
}

std::string TMachine::VolumeFiles(const std::string& bsdName) const
{
    return fFolder + "/" + kVolumes + bsdName + "/files";
}

std::vector<TMount> TMachine::Mounts() const
{
    std::vector<TMount> mounts;
    for (const std::string& bsdName : NamesInFolder(fFolder + "/mounts")) {
        TMount mount;
        mount.bsdName = bsdName;
        for (const std::string& line : SplitLines(ReadText("mounts/" + bsdName))) {
            if (line.rfind("path ", 0) == 0)
                mount.path = line.substr(5);
            else if (line.rfind("number ", 0) == 0)
                mount.number = std::atoi(line.c_str() + 7);
            else if (line.rfind("option ", 0) == 0)
                mount.options.push_back(line.substr(7));
        }
        if (!mount.path.empty())   // otherwise it was unmounted meanwhile
            mounts.push_back(mount);
    }
    std::sort(mounts.begin(), mounts.end(),
              [](const TMount& left, const TMount& right) { return left.number > right.number; });
    return mounts;
}

std::string TMachine::MountPath(const std::string& bsdName) const
{
    for (const TMount& mount : Mounts()) {
        if (mount.bsdName == bsdName)
            return mount.path;
    }
    return "";
}

// What a refusal of init means for a person.
static std::string RefusalInWords(const TMachine& machine, const std::string& bsdName, const std::string& done,
                                  const std::string& reason)
{
    const std::string cannot = bsdName + " cannot be " + done + ": ";
    if (reason == "busy" && done == "mounted")
        return cannot + "it is mounted already";
    if (reason == "busy" && machine.MountPath(bsdName) == "/")
        return cannot + "the machine started from it";
    if (reason == "busy")
        return cannot + "a program uses it";
    if (reason == "not-mounted")
        return cannot + "it is not mounted";
    if (reason == "not-found")
        return cannot + "no disk has the name";
    if (reason == "not-writable")
        return cannot + "it is read-only";
    if (reason == "unsupported")
        return cannot + "there is no file system on it";
    return cannot + reason;
}

// Asks init, whose refusal becomes a line that says that the disk cannot be `done`: "mounted".
static std::string Ask(const TMachine& machine, const std::string& bsdName, const std::string& request,
                       const std::string& done)
{
    std::string answer;
    const std::string error = AskInit(machine, request, &answer);
    if (error.empty() && answer.rfind("refused ", 0) == 0)
        return RefusalInWords(machine, bsdName, done, answer.substr(8));
    return error;
}

std::string TMachine::MountVolume(const std::string& bsdName, const std::vector<std::string>& options)
{
    std::string request = "mount " + bsdName + "\n";
    for (const std::string& option : options) {
        if (option.empty() || option.find('\n') != std::string::npos)
            return "a mount option is a word, not \"" + Escape(option) + "\"";
        request += "option " + option + "\n";
    }
    return Ask(*this, bsdName, request, "mounted");
}

std::string TMachine::UnmountVolume(const std::string& bsdName, bool force)
{
    return Ask(*this, bsdName, "unmount " + bsdName + (force ? "\nforce\n" : "\n"), "unmounted");
}

std::string TMachine::RenameVolume(const std::string& bsdName, const std::string& name)
{
    return Ask(*this, bsdName, "rename " + bsdName + "\nname " + Escape(name) + "\n", "renamed");
}

static const std::vector<std::string>& Reasons()
{
    static const std::vector<std::string>& reasons = *new std::vector<std::string>{
        "error",       "busy",          "bad-argument",   "exclusive-access", "no-resources", "not-found",
        "not-mounted", "not-permitted", "not-privileged", "not-ready",        "not-writable", "unsupported"};
    return reasons;
}

// Empty when the line says something that Disk Arbitration can refuse or delay.
static std::string CheckRefusal(const std::string& line)
{
    const std::vector<std::string> words = Split(line, ' ');
    const bool two = words.size() == 2;
    if (two && words[0] == "delay" && !words[1].empty() &&
        words[1].find_first_not_of("0123456789") == std::string::npos)
        return "";
    const bool request = words[0] == "mount" || words[0] == "unmount" || words[0] == "rename" || words[0] == "claim";
    const std::vector<std::string>& reasons = Reasons();
    if (!request || !two)
        return "a refusal is mount, unmount, rename or claim and a REASON, or delay MILLISECONDS, not \"" + line + "\"";
    if (std::find(reasons.begin(), reasons.end(), words[1]) == reasons.end())
        return "there is no reason \"" + words[1] + "\"; there are " + InWords(reasons);
    return "";
}

std::string TMachine::SetRefusals(const std::string& bsdName, const std::string& lines)
{
    std::string error = CheckBSDName(bsdName);
    for (const std::string& line : SplitLines(lines)) {
        if (error.empty())
            error = CheckRefusal(line);
    }
    if (!error.empty())
        return error;
    const std::string file = kVolumes + bsdName + "/refuse";
    if (lines.empty()) {
        Remove(file);
        return "";
    }
    error = MakeFolder(fFolder + "/" + kVolumes + bsdName);
    return error.empty() ? WriteText(file, lines.back() == '\n' ? lines : lines + "\n") : error;
}

}   // namespace lab
