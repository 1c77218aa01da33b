// The part of a machine that is any entry of its I/O Registry: of the IOService plane by name, of the device tree by path.

#include "lab/Files.h"
#include "lab/Machine.h"
#include "lab/Registry.h"

#include <functional>

using plist::TValue;

namespace lab {

static std::string NoSuchEntry(const std::string& name)
{
    return "no entry of the I/O Registry has the BSD name or the name \"" + name + "\"";
}

std::string TMachine::AddEntry(const std::string& below, const std::string& className, const std::string& name,
                               const TValue& properties)
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    if (!registry.Error().empty())
        return registry.Error();
    const TFoundEntry parent = registry.FindNamed(below);
    if (!parent.entry)
        return NoSuchEntry(below);

    TValue entry = MakeEntry(className, name);
    for (const auto& property : properties.entries)
        entry.Set(property.first, property.second);
    registry.Add(parent.entry, entry);
    return registry.Save();
}

// Changes a property of the entry that `find` finds; null removes it. `missing` is what is wrong when it finds none.
static std::string Change(const std::string& folder, const std::function<const TValue*(TRegistry&)>& find,
                          const std::string& missing, const std::string& key, const TValue* value)
{
    const TFileLock lock(folder + "/lock");
    TRegistry registry(folder);
    if (!registry.Error().empty())
        return registry.Error();
    const TValue* const entry = find(registry);
    if (!entry)
        return missing;
    const std::string error = registry.ChangeProperty(NumberOf(*entry, kIdentifierKey), key, value);
    return error.empty() ? registry.Save() : error;
}

static std::string ChangeNamed(const std::string& folder, const std::string& name, const std::string& key,
                               const TValue* value)
{
    return Change(
        folder, [&](TRegistry& registry) { return registry.FindNamed(name).entry; }, NoSuchEntry(name), key, value);
}

std::string TMachine::SetProperty(const std::string& entry, const std::string& key, const TValue& value)
{
    return ChangeNamed(fFolder, entry, key, &value);
}

std::string TMachine::RemoveProperty(const std::string& entry, const std::string& key)
{
    return ChangeNamed(fFolder, entry, key, nullptr);
}

static std::string ChangeAtPath(const std::string& folder, const std::string& path, const std::string& key,
                                const TValue* value)
{
    return Change(
        folder, [&](TRegistry& registry) { return registry.AtDeviceTreePath(path); },
        "the device tree has no entry " + path, key, value);
}

std::string TMachine::SetDeviceTreeProperty(const std::string& path, const std::string& key, const TValue& value)
{
    return ChangeAtPath(fFolder, path, key, &value);
}

std::string TMachine::RemoveDeviceTreeProperty(const std::string& path, const std::string& key)
{
    return ChangeAtPath(fFolder, path, key, nullptr);
}

std::string TMachine::EntryPath(const std::string& entry) const
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    const TFoundEntry found = registry.FindNamed(entry);
    const std::vector<TValue>& computers = ChildrenOf(registry.Root());
    const auto isFound = [&found](const TValue& candidate) { return &candidate == found.entry; };
    std::string path;
    if (!found.entry || computers.empty() || !AppendPath(computers.front(), isFound, &path))
        return "";
    return "IOService:" + (path.empty() ? "/" : path);
}

std::string TMachine::FirmwareVariable(const std::string& name) const
{
    const TFileLock lock(fFolder + "/lock");
    TRegistry registry(fFolder);
    const TValue* const options = registry.Error().empty() ? registry.AtDeviceTreePath("/options") : nullptr;
    const TValue* const value = options ? options->Find(name) : nullptr;
    if (!value)
        return "";
    switch (value->kind) {
    case plist::Kind::kBoolean:
        return value->boolean ? "true" : "false";
    case plist::Kind::kInteger:
        return std::to_string(value->integer);
    default:
        return value->text;
    }
}

}   // namespace lab
