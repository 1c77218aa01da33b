// The I/O Registry, as the machine folder holds it at a moment: its two planes, and what classes are derived from.

#ifndef HALVORIX_PLATFORM_REGISTRY_H
#define HALVORIX_PLATFORM_REGISTRY_H

#include "platform/RegistryPlane.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace platform {

// The files of /machine/registry, whole; empty: there is none.
struct TRegistryTexts
{
    std::string service;      // ioreg.plist
    std::string deviceTree;   // devicetree.plist
    std::string classes;      // classes.plist
};

class TRegistry
{
public:
    // The registry as it is now. Read again when its files were replaced or changed; a file that is missing or cannot be
    // read is an empty registry, with one line on standard error for the latter.
    static std::shared_ptr<const TRegistry> Current();

    explicit TRegistry(const TRegistryTexts& texts);

    // The IOService plane's, each entry before those below it.
    const std::vector<TEntry>& Entries() const { return fService.Entries(); }

    // The plane with this name, "IOService" or "IODeviceTree", or null.
    const TPlane* Plane(const std::string& name) const;

    // The entry with the identifier, or null. For one that stands in both planes it is the IOService plane's, which has
    // the name that it goes by.
    const TEntry* Find(std::uint64_t identifier) const;

    // The properties of the entry. One that stands in both planes has those of the IOService plane, except the firmware's
    // variables (class IODTNVRAM), which the device tree holds. Empty for an entry that is gone.
    const plist::TValue& PropertiesOf(std::uint64_t identifier) const;

    // The entry with this path, or null: the plane's name, a colon, and the path in the plane.
    const TEntry* FindPath(const std::string& path) const;

    // Whether the entry is of the class or of one that is derived from it.
    bool ConformsTo(const TEntry& entry, const std::string& className) const;

private:
    const TPlane fService;
    const TPlane fDeviceTree;
    std::map<std::string, std::string> fSuperclasses;
};

}   // namespace platform

#endif
