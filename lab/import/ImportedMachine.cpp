#include "lab/import/ImportedMachine.h"

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Registry.h"
#include "lab/import/Capture.h"
#include "lab/import/DeviceTree.h"
#include "lab/import/MountOutput.h"
#include "lab/import/MountedVolume.h"
#include "lab/import/Superclasses.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

using plist::TValue;

namespace import {

static const char* const kSystemVersion = "System/Library/CoreServices/SystemVersion.plist";

namespace {

// Thrown when the machine cannot be made, for whatever reason.
struct TFailure
{
    std::string text;
};

void FailIf(const std::string& error)
{
    if (!error.empty())
        throw TFailure{error};
}

std::string ReadWhole(const std::string& path)
{
    std::string text;
    if (!lab::ReadFile(path, &text))
        throw TFailure{lab::SystemError("read", path)};
    return text;
}

// Reads a file by a function that throws damage, and tells in which file and line that is.
template <typename Reader>
auto ReadAs(const std::string& path, Reader read)
{
    const std::string text = ReadWhole(path);
    try {
        return read(text);
    } catch (const TDamage& damage) {
        throw TFailure{path + (damage.line == 0 ? "" : ", line " + std::to_string(damage.line)) + ": " + damage.text};
    }
}

// What `system` says, which decides much of how a machine behaves.
struct TSystem
{
    std::string text;   // the file, as it stands
    std::string name;
    std::string version;
};

TSystem ReadSystem(const std::string& path)
{
    TSystem system;
    TValue value;
    system.text = ReadWhole(path);
    FailIf(lab::ReadPropertyList(path, &value));
    system.name = lab::TextOf(value, "ProductName");
    system.version = lab::TextOf(value, "ProductVersion");
    if (system.version.rfind("10.", 0) != 0)
        throw TFailure{path + " holds no ProductVersion such as 10.4.11"};
    return system;
}

// The folder while it is made, beside the place where it will stand. It goes unless it was kept.
class TDraft
{
public:
    explicit TDraft(std::string final) : fFinal(std::move(final)), fFolder(fFinal + "." + std::to_string(getpid())) {}
    ~TDraft()
    {
        std::error_code ignored;
        std::filesystem::remove_all(fFolder, ignored);
    }
    TDraft(const TDraft&) = delete;
    TDraft& operator=(const TDraft&) = delete;

    const std::string& Folder() const { return fFolder; }

    void Keep() const
    {
        if (std::rename(fFolder.c_str(), fFinal.c_str()) != 0)
            throw TFailure{lab::SystemError("make the folder", fFinal)};
    }

private:
    std::string fFinal;
    std::string fFolder;
};

class TImporter
{
public:
    TImporter(const TCaptureFiles& files, std::string machines, TImported* imported)
        : fFiles(files), fMachines(std::move(machines)), fImported(imported)
    {
    }

    // Everything is read before anything is made.
    void Read();
    void Make(const std::string& folder);

private:
    std::string Model() const;
    void CheckMounts();
    TValue KnownSuperclasses() const;
    void MakeRegistry(const lab::TMachine& machine);
    void MakeVolume(lab::TMachine* machine, const TMountedDisk& disk);
    void MakeVolumes(lab::TMachine* machine);
    void CopyFromTemplate(const std::string& folder) const;
    std::string Template() const;

    const TCaptureFiles& fFiles;
    std::string fMachines;
    TImported* fImported;
    TCapture fCapture;
    TSystem fSystem;
    std::vector<TMountedDisk> fMounted;
};

// Reading

const TValue* FindDisk(const TValue& entry, const std::string& bsdName)
{
    if (lab::MediumNameOf(entry) == bsdName)
        return &entry;
    for (const TValue& child : lab::ChildrenOf(entry)) {
        if (const TValue* const found = FindDisk(child, bsdName))
            return found;
    }
    return nullptr;
}

void Count(const TValue& entry, TImported* imported)
{
    ++imported->entries;
    imported->media += lab::MediumNameOf(entry).empty() ? 0 : 1;
    for (const TValue& child : lab::ChildrenOf(entry))
        Count(child, imported);
}

void TImporter::Read()
{
    fCapture = ReadAs(fFiles.registry, ReadCapture);
    if (fCapture.services.entries.empty())
        throw TFailure{fFiles.registry + " holds no IOService plane, whose first entry below Root is the computer; "
                                         "ioreg -l -w0 prints it"};
    if (!fFiles.deviceTree.empty()) {
        TCapture second = ReadAs(fFiles.deviceTree, ReadCapture);
        if (second.deviceTree.entries.empty())
            throw TFailure{fFiles.deviceTree + " holds no device tree; ioreg -l -w0 -p IODeviceTree prints it"};
        fCapture.deviceTree = std::move(second.deviceTree);
        fCapture.unreadable += second.unreadable;
    }
    fSystem = ReadSystem(fFiles.system);
    fMounted = ReadAs(fFiles.mounts, ReadMountOutput);
    CheckMounts();
    Count(fCapture.services, fImported);
    fImported->name = Model() + ", " + fSystem.name + " " + fSystem.version;
}

void TImporter::CheckMounts()
{
    for (const TMountedDisk& disk : fMounted) {
        if (!FindDisk(fCapture.services, disk.bsdName))
            throw TFailure{fFiles.mounts + ", line " + std::to_string(disk.line) + ": the registry in " +
                           fFiles.registry + " has no disk " + disk.bsdName +
                           "; both have to be printed while the same disks are there"};
        if (disk.path == "/")
            fImported->startupDisk = disk.bsdName;
    }
}

// "PowerMac7,3", the name of the computer's own entry.
std::string TImporter::Model() const
{
    for (const TValue& child : lab::ChildrenOf(fCapture.services)) {
        if (lab::TextOf(child, "IOObjectClass") == "IOPlatformExpertDevice")
            return lab::TextOf(child, "IORegistryEntryName");
    }
    return "";
}

// Making

// The machine that ships with the nearest system.
std::string TImporter::Template() const
{
    const int minor = std::atoi(fSystem.version.c_str() + 3);
    return fMachines + "/" + (minor < 4 ? "panther" : minor == 4 ? "tiger" : "leopard");
}

void TImporter::CopyFromTemplate(const std::string& folder) const
{
    const std::string source = Template();
    const std::string startup = lab::ReadLine(source + "/startup-volume");
    const std::string files = "/volumes/" + startup + "/files";
    using std::filesystem::copy_options;
    for (const std::string& path : {std::string("/tools"), std::string("/time-zone"), files}) {
        const std::string target = folder + (path == files ? "/volumes/" + fImported->startupDisk + "/files" : path);
        std::error_code error;
        std::filesystem::copy(source + path, target, copy_options::recursive | copy_options::copy_symlinks, error);
        if (error)
            throw TFailure{"cannot copy " + source + path + ": " + error.message()};
    }
}

// The classes that all machines know which ship.
TValue TImporter::KnownSuperclasses() const
{
    TValue known = TValue::Dictionary();
    for (const std::string& name : lab::NamesInFolder(fMachines)) {
        TValue table;
        FailIf(lab::ReadPropertyList(fMachines + "/" + name + "/registry/classes.plist", &table));
        for (const auto& link : table.entries)
            known.Set(link.first, link.second);
    }
    return known;
}

std::string Counted(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + (count == 1 ? one : many);
}

void TImporter::MakeRegistry(const lab::TMachine& machine)
{
    const bool isDerived = fCapture.deviceTree.entries.empty();
    const long long next = GiveIdentifiers(&fCapture.services, &fCapture.deviceTree);
    if (isDerived) {
        fCapture.deviceTree = DeriveDeviceTree(fCapture.services);
        fImported->notes.push_back("the device tree is made from the services, so /aliases and /chosen are not in it; "
                                   "--device-tree takes the real one");
    }
    std::size_t guessed = 0;
    const TValue superclasses = MakeSuperclasses(fCapture, KnownSuperclasses(), &guessed);
    if (guessed > 0)
        fImported->notes.push_back(Counted(guessed, " class is not known here and counts as a plain service",
                                           " classes are not known here and count as plain services") +
                                   "; ioreg -i of 10.5 tells more");
    if (fCapture.unreadable > 0)
        fImported->notes.push_back(Counted(fCapture.unreadable, " value is", " values are") +
                                   " not readable in the capture and empty here");
    FailIf(machine.WriteText("registry/ioreg.plist", plist::Write(fCapture.services)));
    FailIf(machine.WriteText("registry/devicetree.plist", plist::Write(fCapture.deviceTree)));
    FailIf(machine.WriteText("registry/classes.plist", plist::Write(superclasses)));
    FailIf(machine.WriteText("registry/next-id", std::to_string(next) + "\n"));
    FailIf(lab::TRegistry(machine.Folder()).Error());
}

void TImporter::MakeVolume(lab::TMachine* machine, const TMountedDisk& disk)
{
    const TValue& medium = *FindDisk(fCapture.services, disk.bsdName);
    const std::string kind = KindOfVolume(disk, medium);
    if (kind.empty()) {
        if (disk.path == "/")
            throw TFailure{fFiles.mounts + ", line " + std::to_string(disk.line) +
                           ": no Mac starts from a volume of kind " + disk.options[0]};
        fImported->notes.push_back("the volume at " + disk.path + " is left out: there is no kind " + disk.options[0] +
                                   " here");
        return;
    }
    FailIf(machine->AddVolume(disk.bsdName, NameOfVolume(disk, medium), kind));
    const bool isJournaled = disk.Has("journaled");
    FailIf(machine->SetVolumeProperty(disk.bsdName, "Journaled", TValue::Boolean(isJournaled)));
    if (disk.Has("read-only"))
        FailIf(machine->SetVolumeProperty(disk.bsdName, "Read Only", TValue::Boolean(true)));
    ++fImported->volumes;
}

void TImporter::MakeVolumes(lab::TMachine* machine)
{
    for (const TMountedDisk& disk : fMounted)
        MakeVolume(machine, disk);
    const std::string& startup = fImported->startupDisk;
    FailIf(machine->SetVolumeProperty(startup, "Blessed Folder", TValue::String("System/Library/CoreServices")));
}

void TImporter::Make(const std::string& folder)
{
    const TDraft draft(folder);
    if (mkdir(draft.Folder().c_str(), 0777) != 0)
        throw TFailure{lab::SystemError("make the folder", folder)};
    lab::TMachine machine(draft.Folder());
    for (const char* const part : {"/registry", "/driver", "/volumes"})
        FailIf(lab::MakeFolder(draft.Folder() + part));
    MakeRegistry(machine);
    MakeVolumes(&machine);
    CopyFromTemplate(draft.Folder());
    FailIf(machine.WriteText("volumes/" + fImported->startupDisk + "/files/" + kSystemVersion, fSystem.text));
    FailIf(machine.WriteText("driver/capacity", "1024\n"));
    FailIf(machine.WriteText("startup-volume", fImported->startupDisk + "\n"));
    // Last, since a folder with it is a machine.
    FailIf(machine.WriteText("name", fImported->name + "\n"));
    draft.Keep();
}

}   // namespace

std::string ImportMachine(const TCaptureFiles& files, const std::string& machines, const std::string& place,
                          TImported* imported)
{
    // The folder is made beside the place, so that has to have a name.
    const std::string folder = place.substr(0, place.find_last_not_of('/') + 1);
    std::error_code ignored;
    if (std::filesystem::exists(std::filesystem::symlink_status(folder, ignored)))
        return folder + " is there already; a machine is made where nothing is yet";
    try {
        TImporter importer(files, machines, imported);
        importer.Read();
        importer.Make(folder);
    } catch (const TFailure& failure) {
        return failure.text;
    }
    return "";
}

}   // namespace import
