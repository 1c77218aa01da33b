#include "lab/Registry.h"

#include "lab/Files.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

using plist::TValue;

namespace lab {

static const char* const kChildren = "IORegistryEntryChildren";
static const char* const kIdentifier = "IORegistryEntryID";

std::string ReadPropertyList(const std::string& path, TValue* value)
{
    std::string text;
    if (!ReadFile(path, &text))
        return SystemError("read", path);
    std::string error;
    if (!plist::Read(text, value, &error))
        return path + " is no property list: " + error;
    return "";
}

std::string TextOf(const TValue& entry, const std::string& key)
{
    const TValue* const value = entry.Find(key);
    return value && value->kind == plist::Kind::kString ? value->text : "";
}

long long NumberOf(const TValue& entry, const std::string& key)
{
    const TValue* const value = entry.Find(key);
    return value && value->kind == plist::Kind::kInteger ? value->integer : 0;
}

bool TruthOf(const TValue& entry, const std::string& key)
{
    const TValue* const value = entry.Find(key);
    return value && value->kind == plist::Kind::kBoolean && value->boolean;
}

const std::vector<TValue>& ChildrenOf(const TValue& entry)
{
    static const std::vector<TValue>& none = *new std::vector<TValue>;
    const TValue* const children = entry.Find(kChildren);
    return children ? children->items : none;
}

TValue MakeEntry(const std::string& className, const std::string& name)
{
    TValue entry = TValue::Dictionary();
    entry.Set("IOObjectClass", TValue::String(className));
    entry.Set("IORegistryEntryName", TValue::String(name));
    return entry;
}

// Depth first, parents before their children.
static void Walk(TValue* entry, TValue* parent, std::size_t index, const std::function<bool(const TFoundEntry&)>& visit,
                 bool* done)
{
    *done = *done || visit({entry, parent, index});
    TValue* const children = entry->Find(kChildren);
    for (std::size_t i = 0; children && !*done && i < children->items.size(); ++i)
        Walk(&children->items[i], entry, i, visit, done);
}

TRegistry::TRegistry(const std::string& machine) : fFolder(machine + "/registry")
{
    fError = ReadPropertyList(fFolder + "/ioreg.plist", &fRoot);
    if (fError.empty() && fRoot.kind != plist::Kind::kDictionary)
        fError = fFolder + "/ioreg.plist holds no registry entry: its outermost value is no dictionary";
    fNextIdentifier = std::atoll(ReadLine(fFolder + "/next-id").c_str());
    if (fError.empty() && fNextIdentifier <= 0)
        fError = fFolder + "/next-id holds no number above 0, so no entry can be added";
}

TFoundEntry TRegistry::Find(const std::function<bool(const TValue&)>& condition)
{
    TFoundEntry found;
    bool done = false;
    const auto visit = [&](const TFoundEntry& candidate) {
        if (!condition(*candidate.entry))
            return false;
        found = candidate;
        return true;
    };
    Walk(&fRoot, nullptr, 0, visit, &done);
    return found;
}

TFoundEntry TRegistry::FindClass(const std::string& className)
{
    return Find([&](const TValue& entry) { return TextOf(entry, "IOObjectClass") == className; });
}

TFoundEntry TRegistry::FindMedium(const std::string& bsdName)
{
    return Find([&](const TValue& entry) { return TextOf(entry, "BSD Name") == bsdName; });
}

std::vector<std::string> TRegistry::MediumNames()
{
    std::vector<std::string> names;
    Find([&](const TValue& entry) {
        const std::string name = TextOf(entry, "BSD Name");
        if (!name.empty())
            names.push_back(name);
        return false;
    });
    return names;
}

void TRegistry::GiveIdentifiers(TValue* entry)
{
    entry->Set(kIdentifier, TValue::Integer(fNextIdentifier++));
    TValue* const children = entry->Find(kChildren);
    for (std::size_t i = 0; children && i < children->items.size(); ++i)
        GiveIdentifiers(&children->items[i]);
}

void TRegistry::Add(TValue* parent, TValue entry)
{
    GiveIdentifiers(&entry);
    if (!parent->Find(kChildren))
        parent->Set(kChildren, TValue::Array());
    parent->Find(kChildren)->items.push_back(std::move(entry));
}

void TRegistry::Remove(const TFoundEntry& found)
{
    std::vector<TValue>& children = found.parent->Find(kChildren)->items;
    children.erase(children.begin() + static_cast<std::ptrdiff_t>(found.index));
}

std::string TRegistry::Save() const
{
    // The identifier first: one that is skipped does no harm, one that is used twice does.
    std::string error = ReplaceFile(fFolder + "/next-id", std::to_string(fNextIdentifier) + "\n");
    if (error.empty())
        error = ReplaceFile(fFolder + "/ioreg.plist", plist::Write(fRoot));
    return error;
}

}   // namespace lab
