// newfs_hfs and newfs: erase a disk and make an HFS or a UFS volume on it.

#include "lab/Files.h"
#include "lab/Registry.h"
#include "lab/tools/Tool.h"
#include "lab/tools/VolumeIdentifiers.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <system_error>

using plist::TValue;

namespace tools {

// What is to be made of a disk.
struct TFileSystem
{
    std::string device;   // as it was given
    std::string kind = "hfs";
    std::string name = "untitled";
    bool journaled = false;
    std::string journalSize = "8192k";
    bool caseSensitive = false;
    bool plainHFS = false;
    bool dryRun = false;
};

// Empty when the disk can be erased, otherwise why not, in the system's words.
static std::string Obstacle(const lab::TMachine& machine, const std::string& bsdName)
{
    if (!IsDisk(machine, bsdName))
        return "No such file or directory";
    if (!machine.MountPath(bsdName).empty())
        return "Resource busy";
    return IsReadOnly(machine, bsdName) ? "Permission denied" : "";
}

static TValue FreshVolume(const lab::TMachine& machine, const TFileSystem& made)
{
    TValue volume = TValue::Dictionary();
    volume.Set("Name", TValue::String(made.name));
    volume.Set("Kind", TValue::String(made.kind));
    if (made.kind == "hfs") {
        const std::string identifier = FreshIdentifier(machine);
        volume.Set("Identifier", TValue::String(identifier));
        volume.Set("UUID", TValue::String(UUIDOfIdentifier(identifier)));
    } else {
        volume.Set("UUID", TValue::String(FreshUUID()));
    }
    // A volume that the database of owners has never seen: ownership is not honoured until vsdbutil says so.
    volume.Set("Owners", TValue::Boolean(false));
    volume.Set("Journaled", TValue::Boolean(made.journaled));
    volume.Set("Indexed", TValue::Boolean(false));
    if (made.caseSensitive)
        volume.Set("Case Sensitive", TValue::Boolean(true));
    return volume;
}

// Returns an empty text, or what went wrong.
static std::string Erase(const lab::TMachine& machine, const std::string& bsdName, const TFileSystem& made)
{
    const lab::TFileLock lock(machine.Folder() + "/lock");
    std::error_code reason;
    std::filesystem::remove_all(machine.VolumeFiles(bsdName), reason);
    if (reason)
        return reason.message();
    const std::string error = lab::MakeFolder(machine.VolumeFiles(bsdName));
    if (!error.empty())
        return error;
    return machine.WriteText("volumes/" + bsdName + "/volume.plist", plist::Write(FreshVolume(machine, made)));
}

static void PrintResult(const lab::TMachine& machine, const std::string& bsdName, const TFileSystem& made)
{
    lab::TRegistry registry(machine.Folder());
    const long long size = lab::NumberOf(*registry.FindMedium(bsdName).entry, "Size");
    if (made.kind == "ufs") {
        std::printf("%s:\t%lld sectors\n", made.device.c_str(), size / 512);
        return;
    }
    const char* const format = made.plainHFS ? "HFS" : made.caseSensitive ? "case-sensitive HFS Plus" : "HFS Plus";
    std::printf("Initialized %s as a %lld MB %s volume%s\n", made.device.c_str(), size >> 20, format,
                made.journaled ? (" with a " + made.journalSize + " journal").c_str() : "");
}

static int Make(const std::string& tool, const lab::TMachine& machine, const TFileSystem& made)
{
    const std::string bsdName = DiskOfNode(made.device);
    std::string error = Obstacle(machine, bsdName);
    if (error.empty() && !made.dryRun)
        error = Erase(machine, bsdName, made);
    if (!error.empty())
        return Refuse(tool, made.device + ": " + error);
    PrintResult(machine, bsdName, made);
    return 0;
}

// Takes the option at words[*index], with its value when it has one. Returns false when there is no such option.
static bool TakeHFSOption(const TWords& words, std::size_t* index, TFileSystem* made)
{
    const std::string& option = words[*index];
    const bool hasNext = *index + 2 < words.size();   // the device stands behind
    if (option == "-J") {
        // A size may follow: what begins with a digit is one, and everything else the next option.
        made->journaled = true;
        if (hasNext && std::isdigit(static_cast<unsigned char>(words[*index + 1][0])))
            made->journalSize = words[++*index];
        return true;
    }
    if (option == "-v" && hasNext) {
        made->name = words[++*index];
        return true;
    }
    if (option == "-s" || option == "-h" || option == "-N") {
        (option == "-s" ? made->caseSensitive : option == "-h" ? made->plainHFS : made->dryRun) = true;
        return true;
    }
    for (const std::string known : {"-b", "-c", "-i", "-n", "-U", "-G", "-M"}) {
        if (option == known && hasNext) {
            ++*index;
            return true;
        }
    }
    return option == "-w" || option == "-P";
}

static int RefuseUsage(const std::string& tool, const std::string& usage)
{
    return Refuse("usage", tool + " " + usage);
}

// The last word is what is to be erased.
static bool NamesDevice(const TWords& words)
{
    return !words.empty() && !words.back().empty() && words.back()[0] != '-';
}

int NewfsHfs(lab::TMachine& machine, const TWords& words)
{
    static const char* const kUsage = "[-h | -w] [-N] [-J [SIZE]] [-s] [-v NAME] DEVICE";
    TFileSystem made;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (!TakeHFSOption(words, &i, &made))
            return RefuseUsage("newfs_hfs", kUsage);
    }
    if (!NamesDevice(words))
        return RefuseUsage("newfs_hfs", kUsage);
    if (made.plainHFS && (made.journaled || made.caseSensitive))
        return Refuse("newfs_hfs", "HFS volumes have no journal and tell no cases apart");
    made.device = words.back();
    return Make("newfs_hfs", machine, made);
}

int Newfs(lab::TMachine& machine, const TWords& words)
{
    static const char* const kUsage = "[-N] [-v NAME] DEVICE";
    TFileSystem made;
    made.kind = "ufs";
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i] == "-N") {
            made.dryRun = true;
        } else if (words[i] == "-v" && i + 2 < words.size()) {
            made.name = words[++i];
        } else {
            return RefuseUsage("newfs", kUsage);
        }
    }
    if (!NamesDevice(words))
        return RefuseUsage("newfs", kUsage);
    made.device = words.back();
    return Make("newfs", machine, made);
}

}   // namespace tools
