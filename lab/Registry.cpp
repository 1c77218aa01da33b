#include "lab/Registry.h"

#include "lab/Files.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

using plist::TValue;

namespace lab {

static const char* const kChildren = "IORegistryEntryChildren";
static const char* const kLocation = "IORegistryEntryLocation";
static const char* const kName = "IORegistryEntryName";

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

std::string MediumNameOf(const TValue& entry)
{
    const std::string name = TextOf(entry, "BSD Name");
    return name.rfind("disk", 0) == 0 ? name : "";
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

std::string NameWithLocation(const TValue& entry)
{
    const std::string location = TextOf(entry, kLocation);
    return TextOf(entry, kName) + (location.empty() ? "" : "@" + location);
}

bool AppendPath(const TValue& entry, const std::function<bool(const TValue&)>& condition, std::string* path)
{
    if (condition(entry))
        return true;
    for (const TValue& child : ChildrenOf(entry)) {
        const std::size_t length = path->size();
        *path += "/" + NameWithLocation(child);
        if (AppendPath(child, condition, path))
            return true;
        path->resize(length);
    }
    return false;
}

bool RemoveKey(TValue* dictionary, const std::string& key)
{
    for (auto entry = dictionary->entries.begin(); entry != dictionary->entries.end(); ++entry) {
        if (entry->first == key) {
            dictionary->entries.erase(entry);
            return true;
        }
    }
    return false;
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

// Reads the tree of one plane. Returns an empty text, or one line that says what is wrong.
static std::string ReadPlane(const std::string& path, TValue* root)
{
    const std::string error = ReadPropertyList(path, root);
    if (error.empty() && root->kind != plist::Kind::kDictionary)
        return path + " holds no registry entry: its outermost value is no dictionary";
    return error;
}

TRegistry::TRegistry(const std::string& machine, bool withDeviceTree) : fFolder(machine + "/registry")
{
    fError = ReadPlane(fFolder + "/ioreg.plist", &fRoot);
    if (fError.empty() && withDeviceTree)
        fError = ReadPlane(fFolder + "/devicetree.plist", &fDeviceTree);
    fNextIdentifier = std::atoll(ReadLine(fFolder + "/next-id").c_str());
    if (fError.empty() && fNextIdentifier <= 0)
        fError = fFolder + "/next-id holds no number above 0, so no entry can be added";
}

static TFoundEntry FindIn(TValue* root, const std::function<bool(const TValue&)>& condition)
{
    TFoundEntry found;
    bool done = false;
    const auto visit = [&](const TFoundEntry& candidate) {
        if (!condition(*candidate.entry))
            return false;
        found = candidate;
        return true;
    };
    Walk(root, nullptr, 0, visit, &done);
    return found;
}

TFoundEntry TRegistry::Find(const std::function<bool(const TValue&)>& condition)
{
    return FindIn(&fRoot, condition);
}

TFoundEntry TRegistry::FindClass(const std::string& className)
{
    return Find([&](const TValue& entry) { return TextOf(entry, "IOObjectClass") == className; });
}

TFoundEntry TRegistry::FindMedium(const std::string& bsdName)
{
    return Find([&](const TValue& entry) { return !bsdName.empty() && MediumNameOf(entry) == bsdName; });
}

TFoundEntry TRegistry::FindNamed(const std::string& name)
{
    const TFoundEntry medium = FindMedium(name);
    return medium.entry ? medium : Find([&](const TValue& entry) { return TextOf(entry, kName) == name; });
}

TValue* TRegistry::WithIdentifier(long long identifier)
{
    return Find([&](const TValue& entry) { return NumberOf(entry, kIdentifierKey) == identifier; }).entry;
}

TValue* TRegistry::InDeviceTree(long long identifier)
{
    return FindIn(&fDeviceTree, [&](const TValue& entry) { return NumberOf(entry, kIdentifierKey) == identifier; })
        .entry;
}

// The child with this name and location, or null.
static TValue* ChildNamed(TValue* entry, const std::string& name)
{
    TValue* const children = entry->Find(kChildren);
    for (std::size_t i = 0; children && i < children->items.size(); ++i) {
        if (NameWithLocation(children->items[i]) == name)
            return &children->items[i];
    }
    return nullptr;
}

TValue* TRegistry::AtDeviceTreePath(const std::string& path)
{
    if (path.empty() || path[0] != '/')
        return nullptr;
    TValue* entry = ChildNamed(&fDeviceTree, "/");
    for (const std::string& name : Split(path.substr(1), '/')) {
        if (entry && !name.empty())
            entry = ChildNamed(entry, name);
    }
    return entry;
}

std::string TRegistry::ChangeProperty(long long identifier, const std::string& key, const TValue* value)
{
    if (key == kChildren || key == kIdentifierKey || key == kName || key == kLocation || key == "IOObjectClass")
        return key + " is no property of an entry but makes up the tree";
    bool found = value != nullptr;
    for (TValue* const entry : {WithIdentifier(identifier), InDeviceTree(identifier)}) {
        if (entry && value)
            entry->Set(key, *value);
        else if (entry)
            found = RemoveKey(entry, key) || found;
    }
    fDeviceTreeChanged = fDeviceTreeChanged || InDeviceTree(identifier);
    return found ? "" : "the entry has no property " + key;
}

std::vector<std::string> TRegistry::MediumNames()
{
    std::vector<std::string> names;
    Find([&](const TValue& entry) {
        const std::string name = MediumNameOf(entry);
        if (!name.empty())
            names.push_back(name);
        return false;
    });
    return names;
}

void TRegistry::GiveIdentifiers(TValue* entry)
{
    entry->Set(kIdentifierKey, TValue::Integer(fNextIdentifier++));
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

void TRegistry::RemoveFromDeviceTree(const TValue& entry)
{
    const long long identifier = NumberOf(entry, kIdentifierKey);
    const TFoundEntry found = FindIn(
        &fDeviceTree, [&](const TValue& candidate) { return NumberOf(candidate, kIdentifierKey) == identifier; });
    if (found.parent) {
        std::vector<TValue>& children = found.parent->Find(kChildren)->items;
        children.erase(children.begin() + static_cast<std::ptrdiff_t>(found.index));
        fDeviceTreeChanged = true;
    }
    for (const TValue& child : ChildrenOf(entry))
        RemoveFromDeviceTree(child);
}

void TRegistry::Remove(const TFoundEntry& found)
{
    RemoveFromDeviceTree(*found.entry);
    std::vector<TValue>& children = found.parent->Find(kChildren)->items;
    children.erase(children.begin() + static_cast<std::ptrdiff_t>(found.index));
}

std::string TRegistry::Save() const
{
    // The identifier first: one that is skipped does no harm, one that is used twice does.
    std::string error = ReplaceFile(fFolder + "/next-id", std::to_string(fNextIdentifier) + "\n");
    if (error.empty() && fDeviceTreeChanged)
        error = ReplaceFile(fFolder + "/devicetree.plist", plist::Write(fDeviceTree));
    if (error.empty())
        error = ReplaceFile(fFolder + "/ioreg.plist", plist::Write(fRoot));
    return error;
}

}   // namespace lab
