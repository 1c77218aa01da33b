// The machine as a tree: gathered as values, which programs get, and drawn from those for people.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/OpenFirmware.h"
#include "lab/Registry.h"

#include <algorithm>
#include <cstdio>
#include <map>

using lab::TMachine;
using plist::TValue;

namespace labctl {

// What is gathered

// What has to be known of all disks before one can be told of.
struct TDisks
{
    std::map<std::string, std::string> atPath;                   // BSD names by "IOService:/..."
    std::map<std::string, std::vector<std::string>> membersOf;   // of each volume that the firmware could start from
    std::string bootDevice;
};

// Paths begin below the computer's own entry.
static void ListPaths(const TValue& entry, const std::string& path, TDisks* disks)
{
    const std::string bsdName = lab::MediumNameOf(entry);
    if (!bsdName.empty())
        disks->atPath["IOService:" + path] = bsdName;
    for (const TValue& child : lab::ChildrenOf(entry)) {
        const bool isComputer = lab::TextOf(child, "IOObjectClass") == "IOPlatformExpertDevice";
        ListPaths(child, isComputer ? "" : path + "/" + lab::NameWithLocation(child), disks);
    }
}

static void ListMembers(const TMachine& machine, const TValue& entry, TDisks* disks)
{
    const TValue* const devices = entry.Find("IOBootDevice");
    for (std::size_t i = 0; devices && i < devices->items.size(); ++i) {
        const std::string path = lab::TextOf(devices->items[i], "IOBootDevicePath");
        const auto found = disks->atPath.find(path);
        const std::string plane = "IODeviceTree:";
        std::string member = found == disks->atPath.end() ? "" : found->second;
        if (path.rfind(plane, 0) == 0)
            member = lab::DiskAtOpenFirmwarePath(machine, path.substr(plane.size()));
        if (!member.empty())
            disks->membersOf[lab::MediumNameOf(entry)].push_back(member);
    }
    for (const TValue& child : lab::ChildrenOf(entry))
        ListMembers(machine, child, disks);
}

// The volume that a member belongs to; empty when there is none that knows it.
static std::string VolumeOfMember(const TDisks& disks, const std::string& bsdName)
{
    for (const auto& volume : disks.membersOf) {
        if (std::find(volume.second.begin(), volume.second.end(), bsdName) != volume.second.end())
            return volume.first;
    }
    return "";
}

// What a partition is for, by its content: Apple's type on an Apple map, the GUID for it on a GUID map.
static std::string RoleOf(const std::string& content, bool isRAIDVolume)
{
    if (isRAIDVolume)
        return "RAID volume";
    if (content == "Halvorix_RAID" || content == "5C5D1F40-7B3E-4B0A-9E61-2F8A37C0D915")
        return "RAID member";
    const bool isHelper = content == "Apple_Boot" || content == "426F6F74-0000-11AA-AA11-00306543ECAC";
    return isHelper ? "boot helper" : "";
}

static TValue MakeVolume(const TMachine& machine, const std::string& bsdName, const TValue& volume)
{
    TValue value = lab::MakeObject(
        {{"name", TValue::String(lab::TextOf(volume, "Name"))}, {"kind", TValue::String(lab::TextOf(volume, "Kind"))}});
    const std::string path = machine.MountPath(bsdName);
    if (!path.empty())
        value.Set("mounted-at", TValue::String(path));
    return value;
}

static TValue MakeDisk(const TMachine& machine, const TDisks& disks, const TValue& entry, bool isRAIDVolume)
{
    const std::string bsdName = lab::MediumNameOf(entry);
    const std::string content = lab::TextOf(entry, "Content");
    TValue disk = lab::MakeObject({{"disk", TValue::String(bsdName)},
                                   {"name", TValue::String(lab::TextOf(entry, "IORegistryEntryName"))},
                                   {"size", TValue::Integer(lab::NumberOf(entry, "Size"))},
                                   {"content", TValue::String(content)},
                                   {"removable", TValue::Boolean(lab::TruthOf(entry, "Removable"))}});
    const std::string role = RoleOf(content, isRAIDVolume);
    if (!role.empty())
        disk.Set("role", TValue::String(role));
    const std::string memberOf = VolumeOfMember(disks, bsdName);
    if (!memberOf.empty())
        disk.Set("member-of", TValue::String(memberOf));
    const auto members = disks.membersOf.find(bsdName);
    if (members != disks.membersOf.end())
        disk.Set("boot-members", lab::MakeTexts(members->second));
    disk.Set("boot-device", TValue::Boolean(bsdName == disks.bootDevice));
    const TValue volume = machine.Volume(bsdName);
    if (!volume.entries.empty())
        disk.Set("volume", MakeVolume(machine, bsdName, volume));
    return disk;
}

// The media below an entry; what stands between two media is left out.
static void AddDisks(const TMachine& machine, const TDisks& disks, const TValue& entry, bool ofRAID, TValue* list)
{
    const bool marked = ofRAID || entry.Find("Halvorix Volume ID");
    TValue below = TValue::Array();
    TValue* const target = lab::MediumNameOf(entry).empty() ? list : &below;
    for (const TValue& child : lab::ChildrenOf(entry))
        AddDisks(machine, disks, child, marked, target);
    if (target == list)
        return;
    TValue disk = MakeDisk(machine, disks, entry, marked);
    disk.Set("partitions", below);
    list->items.push_back(disk);
}

static TValue MakeSystem(const TMachine& machine)
{
    const std::string disk = lab::ReadLine(machine.Folder() + "/startup-volume");
    TValue version;
    lab::ReadPropertyList(
        machine.Folder() + "/volumes/" + disk + "/files/System/Library/CoreServices/SystemVersion.plist", &version);
    return lab::MakeObject({{"name", TValue::String(lab::TextOf(version, "ProductName"))},
                            {"version", TValue::String(lab::TextOf(version, "ProductVersion"))},
                            {"startup-volume", TValue::String(disk)}});
}

static TValue MakeProcesses(const TMachine& machine)
{
    TValue processes = TValue::Array();
    for (const lab::TProcess& process : machine.Processes())
        processes.items.push_back(lab::MakeObject({{"pid", TValue::Integer(process.process)},
                                                   {"name", TValue::String(process.name)},
                                                   {"state", TValue::String(process.state)}}));
    return processes;
}

static TValue GatherMachine(const TMachine& machine)
{
    lab::TRegistry registry(machine.Folder());
    TDisks disks;
    const std::string bootDevice = machine.FirmwareVariable("boot-device");
    disks.bootDevice = lab::DiskAtOpenFirmwarePath(machine, bootDevice);
    ListPaths(registry.Root(), "", &disks);
    ListMembers(machine, registry.Root(), &disks);
    TValue list = TValue::Array();
    AddDisks(machine, disks, registry.Root(), false, &list);

    TValue value = lab::MakeObject(
        {{"name", TValue::String(lab::ReadLine(machine.Folder() + "/name"))},
         {"system", MakeSystem(machine)},
         {"boot-device",
          lab::MakeObject({{"value", TValue::String(bootDevice)}, {"disk", TValue::String(disks.bootDevice)}})},
         {"driver", lab::MakeObject({{"loaded", TValue::Boolean(machine.DriverIsLoaded())},
                                     {"waiting", lab::MakeInteger(machine.WaitingEvents())},
                                     {"dropped", lab::MakeInteger(machine.DroppedEvents())}})},
         {"running", TValue::Boolean(machine.IsRunning())},
         {"processes", MakeProcesses(machine)},
         {"disks", list}});
    if (!registry.Error().empty())
        value.Set("disks-error", TValue::String(registry.Error()));
    return value;
}

// What is drawn

struct TNode
{
    std::string text;
    std::vector<TNode> below;
};

static void Append(const TNode& node, const std::string& prefix, std::string* text)
{
    *text += node.text + "\n";
    for (std::size_t i = 0; i < node.below.size(); ++i) {
        const bool last = i + 1 == node.below.size();
        *text += prefix + (last ? "`-- " : "|-- ");
        Append(node.below[i], prefix + (last ? "    " : "|   "), text);
    }
}

// "74.5 GB", in powers of 1024 as the tools of these systems count.
static std::string SizeText(long long bytes)
{
    static const char* const kUnits[] = {"bytes", "KB", "MB", "GB", "TB"};
    auto amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; amount >= 1024 && unit < 4; ++unit)
        amount /= 1024;
    char text[64];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", amount, kUnits[unit]);
    return text;
}

// ", volume Backup (hfs) at /Volumes/Backup"; empty when there is no file system on the disk.
static std::string VolumeText(const TValue& disk)
{
    const TValue* const volume = disk.Find("volume");
    if (!volume)
        return "";
    const std::string path = lab::TextOf(*volume, "mounted-at");
    return ", volume " + lab::Escape(lab::TextOf(*volume, "name")) + " (" + lab::TextOf(*volume, "kind") + ") " +
           (path.empty() ? "not mounted" : "at " + path);
}

static TNode DrawDisk(const TValue& disk)
{
    const std::string content = lab::TextOf(disk, "content");
    const std::string role = lab::TextOf(disk, "role");
    const std::string memberOf = lab::TextOf(disk, "member-of");
    std::string text =
        lab::TextOf(disk, "disk") + "  " + lab::TextOf(disk, "name") + ", " + SizeText(lab::NumberOf(disk, "size"));
    text += content.empty() ? "" : ", " + content;
    text += lab::TruthOf(disk, "removable") ? ", removable" : "";
    text += role.empty() ? "" : ", " + role;
    text += memberOf.empty() ? "" : " of " + memberOf;
    text += lab::TruthOf(disk, "boot-device") ? ", boot device" : "";
    TNode node{text + VolumeText(disk), {}};
    if (const TValue* const members = disk.Find("boot-members")) {
        TWords names;
        for (const TValue& member : members->items)
            names.push_back(member.text);
        node.below.push_back({"boot members: " + lab::InWords(names), {}});
    }
    for (const TValue& partition : disk.Find("partitions")->items)
        node.below.push_back(DrawDisk(partition));
    return node;
}

static std::string BootDeviceText(const TValue& bootDevice)
{
    const std::string value = lab::TextOf(bootDevice, "value");
    const std::string disk = lab::TextOf(bootDevice, "disk");
    return "boot device: " + (value.empty() ? "none" : value) + (disk.empty() ? "" : ", " + disk);
}

static std::string DriverText(const TValue& driver)
{
    if (!lab::TruthOf(driver, "loaded"))
        return "driver: not loaded";
    return "driver: loaded, " + std::to_string(lab::NumberOf(driver, "waiting")) + " events waiting, " +
           std::to_string(lab::NumberOf(driver, "dropped")) + " dropped";
}

TAnswer DescribeMachine(const TMachine& machine)
{
    const TValue value = GatherMachine(machine);
    const TValue& system = *value.Find("system");
    TNode processes{lab::TruthOf(value, "running") ? "processes" : "processes: the machine is not running", {}};
    for (const TValue& process : value.Find("processes")->items)
        processes.below.push_back({std::to_string(lab::NumberOf(process, "pid")) + "  " + lab::TextOf(process, "name") +
                                       ", " + lab::TextOf(process, "state"),
                                   {}});
    const std::string error = lab::TextOf(value, "disks-error");
    TNode disks{error.empty() ? "disks" : "disks: " + error, {}};
    for (const TValue& disk : value.Find("disks")->items)
        disks.below.push_back(DrawDisk(disk));

    const TNode root{lab::TextOf(value, "name"),
                     {{"system: " + lab::TextOf(system, "name") + " " + lab::TextOf(system, "version") +
                           ", started from " + lab::TextOf(system, "startup-volume"),
                       {}},
                      {BootDeviceText(*value.Find("boot-device")), {}},
                      {DriverText(*value.Find("driver")), {}},
                      processes,
                      disks}};
    std::string text;
    Append(root, "", &text);
    return {text, value};
}

}   // namespace labctl
