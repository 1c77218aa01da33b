#include "lab/Mounts.h"

#include "lab/Files.h"
#include "lab/Registry.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using plist::TValue;

namespace lab {

static const std::string kVolumes = "/Volumes/";
static const char* const kBusy = "refused busy";

// What the registry knows of a disk that matters to mounting it.
struct TMedium
{
    bool found = false;
    bool writable = false;
    bool isBootHelper = false;
};

static TMedium FindMedium(TRegistry* registry, const std::string& bsdName)
{
    TMedium medium;
    const TValue* const entry = registry->FindMedium(bsdName).entry;
    if (!entry)
        return medium;
    const std::string content = TextOf(*entry, "Content");
    medium.found = true;
    medium.writable = TruthOf(*entry, "Writable");
    medium.isBootHelper = content == "Apple_Boot" || content == "426F6F74-0000-11AA-AA11-00306543ECAC";
    return medium;
}

// Its numbers, {2, 10} of "disk2s10", by which disks have an order: "disk2" comes before "disk10".
static std::vector<unsigned long> NumbersIn(const std::string& bsdName)
{
    std::vector<unsigned long> numbers;
    for (const char* text = bsdName.c_str(); *text != '\0';) {
        char* end = nullptr;
        const unsigned long number = std::strtoul(text, &end, 10);
        if (end != text)
            numbers.push_back(number);
        text = end != text ? end : text + 1;
    }
    return numbers;
}

static bool IsThere(const std::string& path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0;
}

// Where a volume of this name is to be mounted: "/Volumes/NAME", or the first of "NAME 1", "NAME 2" ... that is not taken.
// `own` is where it is now; that is free for it.
static std::string MountPoint(std::string name, const std::string& own)
{
    std::replace(name.begin(), name.end(), '/', ':');
    const std::string plain = kVolumes + (name.empty() ? "Untitled" : name);
    std::string path = plain;
    for (int number = 1; path != own && IsThere(path); ++number)
        path = plain + " " + std::to_string(number);
    return path;
}

// The flags that a bind mount has from the file system below it; in a user namespace a remount must not drop them.
static unsigned long InheritedFlags(const std::string& path)
{
    struct statvfs status
    {
    };
    if (statvfs(path.c_str(), &status) != 0)
        return 0;
    unsigned long flags = 0;
    flags |= (status.f_flag & ST_NOSUID) != 0 ? MS_NOSUID : 0;
    flags |= (status.f_flag & ST_NODEV) != 0 ? MS_NODEV : 0;
    flags |= (status.f_flag & ST_NOEXEC) != 0 ? MS_NOEXEC : 0;
    flags |= (status.f_flag & ST_NOATIME) != 0 ? MS_NOATIME : 0;
    flags |= (status.f_flag & ST_NODIRATIME) != 0 ? MS_NODIRATIME : 0;
    flags |= (status.f_flag & ST_RELATIME) != 0 ? MS_RELATIME : 0;
    return flags;
}

// Returns an empty text, or one line that says what failed; nothing is mounted then.
static std::string Bind(const std::string& files, const std::string& path, bool readOnly)
{
    if (mkdir(path.c_str(), 0755) != 0)
        return SystemError("make the folder", path);
    if (mount(files.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        const std::string error = SystemError("mount at", path);
        rmdir(path.c_str());
        return error;
    }
    const unsigned long flags = MS_REMOUNT | MS_BIND | MS_RDONLY | InheritedFlags(path);
    if (!readOnly || mount(nullptr, path.c_str(), nullptr, flags, nullptr) == 0)
        return "";
    const std::string error = SystemError("make read-only", path);
    umount2(path.c_str(), MNT_DETACH);
    rmdir(path.c_str());
    return error;
}

std::string TMounts::Record(const TMount& mount)
{
    std::string text = "path " + mount.path + "\nnumber " + std::to_string(mount.number) + "\n";
    for (const std::string& option : mount.options)
        text += "option " + option + "\n";
    return fMachine.WriteText("mounts/" + mount.bsdName, text);
}

std::string TMounts::RecordStartupVolume()
{
    TMount startup;
    startup.bsdName = ReadLine(fMachine.Folder() + "/startup-volume");
    startup.path = "/";
    startup.number = fNextNumber--;
    const TValue volume = fMachine.Volume(startup.bsdName);
    if (volume.entries.empty())
        return startup.bsdName + " is no volume, so nothing is mounted at /";
    fStartupLink = MountPoint(TextOf(volume, "Name"), "");
    const std::string error = Record(startup);
    if (!error.empty())
        return error;
    return symlink("/", fStartupLink.c_str()) == 0 ? "" : SystemError("link", fStartupLink);
}

std::vector<std::string> TMounts::MountAtStart()
{
    const std::string folder = fMachine.Folder() + "/mounts";
    MakeFolder(folder);
    for (const std::string& file : NamesInFolder(folder))
        fMachine.Remove("mounts/" + file);
    std::vector<std::string> failed;
    const std::string error = RecordStartupVolume();
    if (!error.empty())
        failed.push_back(error);

    std::vector<std::string> disks = NamesInFolder(fMachine.Folder() + "/volumes");
    std::sort(disks.begin(), disks.end(),
              [](const std::string& left, const std::string& right) { return NumbersIn(left) < NumbersIn(right); });
    TRegistry registry(fMachine.Folder(), false);
    for (const std::string& bsdName : disks) {
        const TMedium medium = FindMedium(&registry, bsdName);
        if (!medium.found || medium.isBootHelper || fMachine.Volume(bsdName).entries.empty() ||
            !fMachine.MountPath(bsdName).empty())
            continue;
        const std::string answer = Mount(bsdName, medium.writable, {});
        if (answer.rfind("ok ", 0) != 0)
            failed.push_back(bsdName + " is not mounted: " + answer.substr(answer.find(' ') + 1));
    }
    return failed;
}

std::string TMounts::Mount(const std::string& bsdName, bool writable, const std::vector<std::string>& options)
{
    const TValue volume = fMachine.Volume(bsdName);
    if (volume.entries.empty())
        return "refused unsupported";
    if (!fMachine.MountPath(bsdName).empty())
        return kBusy;

    TMount fresh;
    fresh.bsdName = bsdName;
    fresh.path = MountPoint(TextOf(volume, "Name"), "");
    fresh.number = fNextNumber;
    fresh.options = options;
    const bool readOnly = TruthOf(volume, "Read Only") || !writable ||
                          std::find(options.begin(), options.end(), "rdonly") != options.end();
    std::string error = MakeFolder(fMachine.VolumeFiles(bsdName));
    if (error.empty())
        error = Bind(fMachine.VolumeFiles(bsdName), fresh.path, readOnly);
    if (error.empty())
        error = Record(fresh);
    if (!error.empty())
        return "error " + error;
    --fNextNumber;
    return "ok " + fresh.path;
}

std::string TMounts::Unmount(const TMount& mount, bool force)
{
    if (mount.path == "/")
        return kBusy;
    if (umount2(mount.path.c_str(), UMOUNT_NOFOLLOW | (force ? MNT_DETACH : 0)) != 0)
        return errno == EBUSY ? kBusy : "error " + SystemError("unmount", mount.path);
    fMachine.Remove("mounts/" + mount.bsdName);
    rmdir(mount.path.c_str());
    return "ok " + mount.path;
}

// Moves what is mounted, or the start-up volume's link. Returns an empty text, or one line that says what failed.
static std::string Move(const std::string& from, const std::string& to, bool isLink)
{
    if (isLink)
        return rename(from.c_str(), to.c_str()) == 0 ? "" : SystemError("rename to", to);
    if (mkdir(to.c_str(), 0755) != 0)
        return SystemError("make the folder", to);
    if (mount(from.c_str(), to.c_str(), nullptr, MS_MOVE, nullptr) != 0) {
        const std::string error = SystemError("move to", to);
        rmdir(to.c_str());
        return error;
    }
    rmdir(from.c_str());
    return "";
}

std::string TMounts::Rename(TMount mount, bool writable, const std::string& name)
{
    const TValue volume = fMachine.Volume(mount.bsdName);
    const bool isStartup = mount.path == "/";
    if (TruthOf(volume, "Read Only") || !writable)
        return "refused not-writable";
    if (name.empty() || name.find('\n') != std::string::npos)
        return "refused bad-argument";

    const std::string from = isStartup ? fStartupLink : mount.path;
    const std::string to = MountPoint(name, from);
    std::string error = to == from ? "" : Move(from, to, isStartup);
    if (error.empty())
        error = fMachine.SetVolumeProperty(mount.bsdName, "Name", TValue::String(name));
    (isStartup ? fStartupLink : mount.path) = to;
    if (error.empty())
        error = Record(mount);
    return error.empty() ? "ok " + mount.path : "error " + error;
}

// The values of the request's lines that begin with this word; the word alone has an empty one.
static std::vector<std::string> ValuesOf(const std::vector<std::string>& lines, const std::string& word)
{
    std::vector<std::string> values;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i] == word)
            values.push_back("");
        else if (lines[i].rfind(word + " ", 0) == 0)
            values.push_back(lines[i].substr(word.size() + 1));
    }
    return values;
}

std::string TMounts::Serve(const std::vector<std::string>& lines)
{
    const std::string word = lines[0].substr(0, lines[0].find(' '));
    const std::string bsdName = lines[0].substr(word.size() + 1);
    TRegistry registry(fMachine.Folder(), false);
    const TMedium medium = FindMedium(&registry, bsdName);
    if (word == "mount")
        return medium.found ? Mount(bsdName, medium.writable, ValuesOf(lines, "option")) : "refused not-found";

    for (const TMount& mount : fMachine.Mounts()) {
        if (mount.bsdName != bsdName)
            continue;
        if (word == "unmount")
            return Unmount(mount, !ValuesOf(lines, "force").empty());
        if (!medium.found)
            break;
        const std::vector<std::string> names = ValuesOf(lines, "name");
        return Rename(mount, medium.writable, names.empty() ? "" : Unescape(names[0]));
    }
    return medium.found ? "refused not-mounted" : "refused not-found";
}

}   // namespace lab
