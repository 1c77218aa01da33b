// The IOService plane of the I/O Registry, as the machine folder holds it at a moment.

#ifndef HALVORIX_PLATFORM_REGISTRY_H
#define HALVORIX_PLATFORM_REGISTRY_H

#include "platform/PropertyList.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace platform {

struct TEntry
{
    std::uint64_t identifier = 0;   // never used twice
    std::string className;
    plist::TValue properties;   // a dictionary: everything that stands in the entry but its children
};

class TRegistry
{
public:
    // The registry as it is now. Read again when its files were replaced or changed; a file that is missing or cannot be
    // read is an empty registry, with one line on standard error for the latter.
    static std::shared_ptr<const TRegistry> Current();

    TRegistry(const std::string& plane, const std::string& classes);

    // Each entry before those below it.
    const std::vector<TEntry>& Entries() const { return fEntries; }

    // The entry with the identifier, or null.
    const TEntry* Find(std::uint64_t identifier) const;

    // Whether the entry is of the class or of one that is derived from it.
    bool ConformsTo(const TEntry& entry, const std::string& className) const;

private:
    bool AddEntry(plist::TValue* dictionary);

    std::vector<TEntry> fEntries;
    std::map<std::string, std::string> fSuperclasses;
};

}   // namespace platform

#endif
