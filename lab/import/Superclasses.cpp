#include "lab/import/Superclasses.h"

#include "lab/Registry.h"

#include <algorithm>
#include <map>

using plist::TValue;

namespace import {

// One entry of each class that stands below the entry, or is its own.
static void ListClasses(const TValue& entry, std::map<std::string, const TValue*>* classes)
{
    classes->emplace(lab::TextOf(entry, "IOObjectClass"), &entry);
    for (const TValue& child : lab::ChildrenOf(entry))
        ListClasses(child, classes);
}

// What an entry of a class that nobody knows shows of it.
static std::string SuperclassByLooks(const TCapture& capture, const std::string& className, const TValue& entry)
{
    if (!lab::MediumNameOf(entry).empty())
        return "IOMedia";
    if (entry.Find("Content Mask"))
        return "IOPartitionScheme";
    const auto& plain = capture.plainClasses;
    return std::find(plain.begin(), plain.end(), className) != plain.end() ? "IORegistryEntry" : "IOService";
}

TValue MakeSuperclasses(const TCapture& capture, const TValue& known, std::size_t* guessed)
{
    TValue table = known;
    for (const auto& link : capture.superclasses)
        table.Set(link.first, TValue::String(link.second));
    std::map<std::string, const TValue*> classes;
    ListClasses(capture.services, &classes);
    if (!capture.deviceTree.entries.empty())
        ListClasses(capture.deviceTree, &classes);
    *guessed = 0;
    for (const auto& each : classes) {
        if (table.Find(each.first))
            continue;
        const std::string superclass = SuperclassByLooks(capture, each.first, *each.second);
        *guessed += superclass == "IOService" ? 1 : 0;
        table.Set(each.first, TValue::String(superclass));
    }
    return table;
}

}   // namespace import
