#include "platform/Registry.h"

#include "platform/MachineFolder.h"
#include "platform/WatchedFile.h"

#include <cstdio>
#include <mutex>

namespace platform {

TRegistry::TRegistry(const TRegistryTexts& texts)
    : fService("IOService", "ioreg.plist", texts.service),
      fDeviceTree("IODeviceTree", "devicetree.plist", texts.deviceTree)
{
    plist::TValue table;
    std::string error;
    if (!texts.classes.empty() && !plist::Read(texts.classes, &table, &error))
        fprintf(stderr, "classes.plist: %s\n", error.c_str());
    for (const auto& entry : table.entries)
        fSuperclasses[entry.first] = entry.second.text;
}

const TPlane* TRegistry::Plane(const std::string& name) const
{
    if (name == fService.Name())
        return &fService;
    return name == fDeviceTree.Name() ? &fDeviceTree : nullptr;
}

const TEntry* TRegistry::Find(std::uint64_t identifier) const
{
    const TEntry* const entry = fService.Find(identifier);
    return entry != nullptr ? entry : fDeviceTree.Find(identifier);
}

const plist::TValue& TRegistry::PropertiesOf(std::uint64_t identifier) const
{
    static const auto* const kNone = new plist::TValue(plist::TValue::Dictionary());
    const TEntry* const inTree = fDeviceTree.Find(identifier);
    if (inTree != nullptr && inTree->className == "IODTNVRAM")
        return inTree->properties;
    const TEntry* const entry = Find(identifier);
    return entry != nullptr ? entry->properties : *kNone;
}

const TEntry* TRegistry::FindPath(const std::string& path) const
{
    const std::size_t colon = path.find(':');
    const TPlane* const plane = colon != std::string::npos ? Plane(path.substr(0, colon)) : nullptr;
    return plane != nullptr ? plane->FindPath(path.substr(colon + 1)) : nullptr;
}

bool TRegistry::ConformsTo(const TEntry& entry, const std::string& className) const
{
    std::string current = entry.className;
    // Bounded, since a table may name a class as its own ancestor.
    for (size_t step = 0; step <= fSuperclasses.size(); ++step) {
        if (current == className)
            return true;
        const auto superclass = fSuperclasses.find(current);
        if (superclass == fSuperclasses.end())
            return false;
        current = superclass->second;
    }
    return false;
}

std::shared_ptr<const TRegistry> TRegistry::Current()
{
    // Never destroyed: threads may look until the process ends.
    struct TCache
    {
        std::mutex lock;
        TWatchedFile service{MachinePath("registry/ioreg.plist")};
        TWatchedFile deviceTree{MachinePath("registry/devicetree.plist")};
        TWatchedFile classes{MachinePath("registry/classes.plist")};
        std::shared_ptr<const TRegistry> registry;
    };
    static auto* const gCache = new TCache;

    const std::lock_guard<std::mutex> hold(gCache->lock);
    bool changed = gCache->service.Refresh();
    changed = gCache->deviceTree.Refresh() || changed;
    changed = gCache->classes.Refresh() || changed;
    if (changed)
        gCache->registry = std::make_shared<const TRegistry>(
            TRegistryTexts{gCache->service.Text(), gCache->deviceTree.Text(), gCache->classes.Text()});
    return gCache->registry;
}

}   // namespace platform
