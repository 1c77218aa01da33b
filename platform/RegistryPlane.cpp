#include "platform/RegistryPlane.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace platform {

static const char kChildren[] = "IORegistryEntryChildren";

static std::string TextAt(const plist::TValue& dictionary, const char* key)
{
    const plist::TValue* const value = dictionary.Find(key);
    return value != nullptr ? value->text : std::string();
}

// Whether the key tells of the entry itself, where others are its properties.
static bool IsOfTheEntry(const std::string& key)
{
    return key == "IOObjectClass" || key == "IORegistryEntryID" || key == "IORegistryEntryName" ||
           key == "IORegistryEntryLocation";
}

TPlane::TPlane(const char* name, const char* file, const std::string& text) : fName(name)
{
    plist::TValue root;
    std::string error;
    if (text.empty())
        return;
    if (!plist::Read(text, &root, &error)) {
        fprintf(stderr, "%s: %s\n", file, error.c_str());
    } else if (!AddEntry(&root, 0)) {
        fprintf(stderr, "%s: an entry has no IORegistryEntryID or no IOObjectClass\n", file);
        fEntries.clear();
    }
}

bool TPlane::AddEntry(plist::TValue* dictionary, std::size_t parent)
{
    const plist::TValue* const identifier = dictionary->Find("IORegistryEntryID");
    if (identifier == nullptr || identifier->kind != plist::Kind::kInteger ||
        dictionary->Find("IOObjectClass") == nullptr)
        return false;

    TEntry entry;
    entry.identifier = static_cast<std::uint64_t>(identifier->integer);
    entry.className = TextAt(*dictionary, "IOObjectClass");
    entry.name = TextAt(*dictionary, dictionary->Find("IORegistryEntryName") ? "IORegistryEntryName" : "IOObjectClass");
    entry.location = TextAt(*dictionary, "IORegistryEntryLocation");
    entry.parent = parent;
    entry.properties = plist::TValue::Dictionary();
    std::vector<plist::TValue> children;
    for (auto& property : dictionary->entries) {
        if (property.first == kChildren)
            children = std::move(property.second.items);
        else if (!IsOfTheEntry(property.first))
            entry.properties.entries.push_back(std::move(property));
    }

    const std::size_t index = fEntries.size();
    fEntries.push_back(std::move(entry));
    return std::all_of(children.begin(), children.end(), [&](plist::TValue& child) { return AddEntry(&child, index); });
}

const TEntry* TPlane::Find(std::uint64_t identifier) const
{
    const auto found = std::find_if(fEntries.begin(), fEntries.end(),
                                    [&](const TEntry& entry) { return entry.identifier == identifier; });
    return found != fEntries.end() ? &*found : nullptr;
}

const TEntry* TPlane::ParentOf(const TEntry& entry) const
{
    const TEntry* const parent = &fEntries[entry.parent];
    return parent != &entry ? parent : nullptr;
}

bool TPlane::IsBelow(const TEntry& entry, const TEntry& other) const
{
    for (const TEntry* step = &entry; step != nullptr; step = ParentOf(*step)) {
        if (step == &other)
            return true;
    }
    return false;
}

// Paths

static bool IsEndOfElement(std::string_view rest)
{
    return rest.empty() || rest[0] == '/';
}

// Takes the hexadecimal digits that the text begins with, and returns them in lower case without zeros before them; empty
// when there is no digit.
static std::string TakeNumber(std::string_view* text)
{
    std::string digits;
    while (!text->empty() && isxdigit(static_cast<unsigned char>(text->front()))) {
        if (digits == "0")
            digits.clear();
        digits += static_cast<char>(tolower(static_cast<unsigned char>(text->front())));
        text->remove_prefix(1);
    }
    return digits;
}

// Takes the location off the text, which goes on. False when another stands there.
static bool TakeLocation(std::string_view location, std::string_view* text)
{
    for (;;) {
        if (TakeNumber(&location) != TakeNumber(text))
            return false;
        if (location.empty())
            return IsEndOfElement(*text);
        if (text->empty() || text->front() != location.front())
            return false;
        location.remove_prefix(1);
        text->remove_prefix(1);
    }
}

// Whether the path's first element fits the entry; `rest` receives what follows it. Names may hold a slash or an "@"
// themselves, so the path cannot be taken apart without them.
static bool Fits(const TEntry& entry, std::string_view path, std::string_view* rest)
{
    const std::size_t nameEnd =
        entry.name.empty() ? std::min(path.find_first_of("@/"), path.size()) : entry.name.size();
    if (path.compare(0, entry.name.size(), entry.name) != 0)
        return false;
    *rest = path.substr(nameEnd);
    if (!rest->empty() && rest->front() == '@' && !entry.location.empty()) {
        rest->remove_prefix(1);
        return TakeLocation(entry.location, rest);
    }
    return !entry.name.empty() && IsEndOfElement(*rest);
}

const TEntry* TPlane::TakeElement(const TEntry& above, std::string_view* path) const
{
    for (const TEntry& entry : fEntries) {
        std::string_view rest;
        if (ParentOf(entry) == &above && Fits(entry, *path, &rest)) {
            *path = rest;
            return &entry;
        }
    }
    return nullptr;
}

const TEntry* TPlane::FindBelow(const TEntry& top, std::string_view path) const
{
    const TEntry* entry = &top;
    while (entry != nullptr && !path.empty()) {
        path.remove_prefix(1);   // the slash
        entry = TakeElement(*entry, &path);
    }
    return entry;
}

const TEntry* TPlane::FindPath(std::string_view path) const
{
    if (fEntries.size() < 2 || path.empty() || path[0] != '/')
        return nullptr;
    const TEntry& first = fEntries[1];
    if (path == "/")
        return &first;
    const TEntry* const found = FindBelow(first, path);
    if (found != nullptr)
        return found;
    const TEntry* const beside = FindBelow(fEntries[0], path);
    return beside != nullptr && !IsBelow(*beside, first) ? beside : nullptr;
}

bool TPlane::GetPath(const TEntry& entry, std::string* path) const
{
    path->clear();
    const TEntry* step = &entry;
    for (; ParentOf(*step) != nullptr && step != &fEntries[1]; step = ParentOf(*step))
        path->insert(0, "/" + step->name + (step->location.empty() ? "" : "@" + step->location));
    if (path->empty())
        *path = "/";
    return ParentOf(entry) != nullptr;
}

}   // namespace platform
