#include "platform/Registry.h"

#include "platform/MachineFolder.h"
#include "platform/WatchedFile.h"

#include <cstdio>
#include <mutex>

namespace platform {

static const char kChildren[] = "IORegistryEntryChildren";

// Reads a property list, or says on standard error why not.
static bool ReadList(const char* name, const std::string& text, plist::TValue* value)
{
    if (text.empty())
        return false;
    std::string error;
    if (plist::Read(text, value, &error))
        return true;
    fprintf(stderr, "%s: %s\n", name, error.c_str());
    return false;
}

TRegistry::TRegistry(const std::string& plane, const std::string& classes)
{
    plist::TValue root;
    if (ReadList("ioreg.plist", plane, &root) && !AddEntry(&root)) {
        fprintf(stderr, "ioreg.plist: an entry has no IORegistryEntryID or no IOObjectClass\n");
        fEntries.clear();
    }
    plist::TValue table;
    if (ReadList("classes.plist", classes, &table)) {
        for (const auto& entry : table.entries)
            fSuperclasses[entry.first] = entry.second.text;
    }
}

bool TRegistry::AddEntry(plist::TValue* dictionary)
{
    const plist::TValue* const identifier = dictionary->Find("IORegistryEntryID");
    const plist::TValue* const className = dictionary->Find("IOObjectClass");
    if (identifier == nullptr || identifier->kind != plist::Kind::kInteger || className == nullptr)
        return false;

    TEntry entry;
    entry.identifier = static_cast<std::uint64_t>(identifier->integer);
    entry.className = className->text;
    entry.properties = plist::TValue::Dictionary();
    std::vector<plist::TValue> children;
    for (auto& property : dictionary->entries) {
        if (property.first == kChildren)
            children = std::move(property.second.items);
        else
            entry.properties.entries.push_back(std::move(property));
    }

    fEntries.push_back(std::move(entry));
    for (plist::TValue& child : children) {
        if (!AddEntry(&child))
            return false;
    }
    return true;
}

const TEntry* TRegistry::Find(std::uint64_t identifier) const
{
    for (const TEntry& entry : fEntries) {
        if (entry.identifier == identifier)
            return &entry;
    }
    return nullptr;
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
        TWatchedFile plane{MachinePath("registry/ioreg.plist")};
        TWatchedFile classes{MachinePath("registry/classes.plist")};
        std::shared_ptr<const TRegistry> registry;
    };
    static auto* const gCache = new TCache;

    const std::lock_guard<std::mutex> hold(gCache->lock);
    const bool planeChanged = gCache->plane.Refresh();
    const bool classesChanged = gCache->classes.Refresh();
    if (planeChanged || classesChanged)
        gCache->registry = std::make_shared<const TRegistry>(gCache->plane.Text(), gCache->classes.Text());
    return gCache->registry;
}

}   // namespace platform
