#include "lab/OpenFirmware.h"

#include "lab/Files.h"
#include "lab/Registry.h"

#include <cstdlib>
#include <strings.h>
#include <vector>

using plist::TValue;

namespace lab {

const char* const kOpenFirmwareBooter = ",\\\\:tbxi";

// What a disk without a node would be called at the top of the device tree: "disk@2:3". Whole disks are partition 0.
static std::string InventedNode(const std::string& bsdName)
{
    const std::size_t slice = bsdName.find('s', 4);
    const std::string unit = bsdName.substr(4, slice == std::string::npos ? slice : slice - 4);
    return "disk@" + unit + ":" + (slice == std::string::npos ? "0" : bsdName.substr(slice + 1));
}

std::string OpenFirmwarePath(const TMachine& machine, const std::string& bsdName)
{
    TRegistry registry(machine.Folder());
    if (bsdName.empty() || !registry.FindMedium(bsdName).entry)
        return "";
    const TValue* const top = registry.AtDeviceTreePath("/");
    const auto isMedium = [&bsdName](const TValue& entry) { return TextOf(entry, "BSD Name") == bsdName; };
    std::string path;
    return top && AppendPath(*top, isMedium, &path) ? path : "/" + InventedNode(bsdName);
}

// The text of a property of the device tree, which may be bytes that end with a zero.
static std::string FirmwareText(const TValue& entry, const std::string& key)
{
    const TValue* const value = entry.Find(key);
    return value ? value->text.substr(0, value->text.find('\0')) : "";
}

// The path with the alias at its beginning replaced; empty when there is no such alias.
static std::string WithoutAlias(TRegistry* registry, const std::string& path)
{
    if (path.empty() || path[0] == '/')
        return path;
    const std::size_t end = path.find_first_of("/:");
    const TValue* const aliases = registry->AtDeviceTreePath("/aliases");
    const std::string full = aliases ? FirmwareText(*aliases, path.substr(0, end)) : "";
    return full.empty() || end == std::string::npos ? full : full + path.substr(end);
}

static bool IsSame(const std::string& left, const std::string& right)
{
    return strcasecmp(left.c_str(), right.c_str()) == 0;
}

// Whether a path's component means this entry.
static bool Matches(const TValue& entry, const std::string& component)
{
    const std::size_t at = component.find('@');
    const std::string name = component.substr(0, at);
    const std::string location = at == std::string::npos ? "" : component.substr(at + 1);
    const std::string entryName = TextOf(entry, "IORegistryEntryName");
    const bool sameName = name == entryName || (!location.empty() && (name.empty() || entryName.empty()));
    return sameName && IsSame(location, TextOf(entry, "IORegistryEntryLocation"));
}

// The BSD name of the entry to which the components from `next` on lead. More than one entry may match a component.
static std::string Descend(const TValue& entry, const std::vector<std::string>& components, std::size_t next)
{
    if (next == components.size())
        return TextOf(entry, "BSD Name");
    for (const TValue& child : ChildrenOf(entry)) {
        const std::string found = Matches(child, components[next]) ? Descend(child, components, next + 1) : "";
        if (!found.empty())
            return found;
    }
    return "";
}

std::string DiskAtOpenFirmwarePath(const TMachine& machine, const std::string& value)
{
    TRegistry registry(machine.Folder());
    const TValue* const top = registry.AtDeviceTreePath("/");
    if (!top)
        return "";

    // From the right, since names of nodes hold commas: "ADPT,2930CU@3".
    const std::string first = value.substr(0, value.find(' '));
    const std::string path = WithoutAlias(&registry, first.substr(0, first.rfind(",\\")));
    if (path.empty())
        return "";
    const std::vector<std::string> components = Split(path, '/');
    const std::string found = Descend(*top, components, 1);
    if (!found.empty() || components.size() != 2)
        return found;
    for (const std::string& bsdName : registry.MediumNames()) {
        if (components[1] == InventedNode(bsdName))
            return bsdName;
    }
    return "";
}

}   // namespace lab
