#include "lab/Labctl.h"

#include "lab/Files.h"
#include "lab/OpenFirmware.h"
#include "lab/Registry.h"

#include <cstdio>

using lab::TMachine;
using plist::TValue;

namespace labctl {

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

static std::string MediumText(const TValue& entry)
{
    const std::string content = lab::TextOf(entry, "Content");
    std::string text = lab::TextOf(entry, "BSD Name") + "  " + lab::TextOf(entry, "IORegistryEntryName") + ", " +
                       SizeText(lab::NumberOf(entry, "Size"));
    if (!content.empty())
        text += ", " + content;
    return text + (lab::TruthOf(entry, "Removable") ? ", removable" : "");
}

// ", volume Backup (hfs) at /Volumes/Backup"; empty when there is no file system on the disk.
static std::string VolumeText(const TMachine& machine, const std::string& bsdName)
{
    const TValue volume = machine.Volume(bsdName);
    if (volume.entries.empty())
        return "";
    const std::string path = machine.MountPath(bsdName);
    return ", volume " + lab::Escape(lab::TextOf(volume, "Name")) + " (" + lab::TextOf(volume, "Kind") + ") " +
           (path.empty() ? "not mounted" : "at " + path);
}

// The media below an entry; what stands between two media is left out.
static void AddMedia(const TMachine& machine, const TValue& entry, bool ofRAID, std::vector<TNode>* nodes)
{
    const bool marked = ofRAID || entry.Find("Halvorix Volume ID");
    std::vector<TNode>* below = nodes;
    const std::string bsdName = lab::TextOf(entry, "BSD Name");
    if (!bsdName.empty()) {
        nodes->push_back({MediumText(entry) + (marked ? ", RAID volume" : "") + VolumeText(machine, bsdName), {}});
        below = &nodes->back().below;
    }
    for (const TValue& child : lab::ChildrenOf(entry))
        AddMedia(machine, child, marked, below);
}

static std::string SystemText(const TMachine& machine)
{
    const std::string disk = lab::ReadLine(machine.Folder() + "/startup-volume");
    TValue version;
    lab::ReadPropertyList(
        machine.Folder() + "/volumes/" + disk + "/files/System/Library/CoreServices/SystemVersion.plist", &version);
    return "system: " + lab::TextOf(version, "ProductName") + " " + lab::TextOf(version, "ProductVersion") +
           ", started from " + disk;
}

static std::string BootDeviceText(const TMachine& machine)
{
    const std::string value = machine.FirmwareVariable("boot-device");
    const std::string bsdName = lab::DiskAtOpenFirmwarePath(machine, value);
    return "boot device: " + (value.empty() ? "none" : value) + (bsdName.empty() ? "" : ", " + bsdName);
}

std::string DescribeMachine(const TMachine& machine)
{
    TNode root{lab::ReadLine(machine.Folder() + "/name"), {{SystemText(machine), {}}, {BootDeviceText(machine), {}}}};

    std::string driver = "driver: not loaded";
    if (machine.DriverIsLoaded())
        driver = "driver: loaded, " + std::to_string(machine.WaitingEvents()) + " events waiting, " +
                 std::to_string(machine.DroppedEvents()) + " dropped";
    root.below.push_back({driver, {}});

    TNode processes{machine.IsRunning() ? "processes" : "processes: the machine is not running", {}};
    for (const lab::TProcess& process : machine.Processes())
        processes.below.push_back({std::to_string(process.process) + "  " + process.name + ", " + process.state, {}});
    root.below.push_back(processes);

    lab::TRegistry registry(machine.Folder());
    TNode disks{registry.Error().empty() ? "disks" : "disks: " + registry.Error(), {}};
    AddMedia(machine, registry.Root(), false, &disks.below);
    root.below.push_back(disks);

    std::string text;
    Append(root, "", &text);
    return text;
}

}   // namespace labctl
