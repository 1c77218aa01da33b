// The registry as `ioreg -a -l` of later systems prints it, an XML property list; and which form a capture has.

#include "lab/Registry.h"
#include "lab/import/Capture.h"

#include <cstdlib>
#include <utility>

using plist::TValue;

namespace import {

// What the archive tells of an entry's state, which is none of its properties.
static const char* const kState[] = {"IOObjectRetainCount", "IOServiceBusyState", "IOServiceBusyTime",
                                     "IOServiceState"};

// Checks the entry and those below it, and takes their state out.
static void TakeEntry(TValue* entry, const std::string& above)
{
    if (entry->kind != plist::Kind::kDictionary || lab::TextOf(*entry, "IOObjectClass").empty() ||
        !entry->Find("IORegistryEntryName"))
        throw TDamage{0, (above.empty() ? std::string("the outermost value") : "what stands below " + above) +
                             " is no registry entry, which has an IOObjectClass and an IORegistryEntryName; "
                             "ioreg -a -l prints both"};
    for (const char* const key : kState)
        lab::RemoveKey(entry, key);
    TValue* const children = entry->Find("IORegistryEntryChildren");
    for (std::size_t i = 0; children && i < children->items.size(); ++i)
        TakeEntry(&children->items[i], lab::TextOf(*entry, "IORegistryEntryName"));
}

// The reader of property lists tells of damage as "line 12: WHAT".
static TDamage DamageFrom(const std::string& error)
{
    const std::size_t colon = error.find(": ");
    if (error.rfind("line ", 0) != 0 || colon == std::string::npos)
        return {0, error};
    return {static_cast<std::size_t>(std::atoll(error.c_str() + 5)), error.substr(colon + 2)};
}

TCapture ReadRegistryArchive(const std::string& text)
{
    TValue root;
    std::string error;
    if (!plist::Read(text, &root, &error))
        throw DamageFrom(error);
    TCapture capture;
    std::vector<TValue> roots;
    if (root.kind == plist::Kind::kArray)
        roots = std::move(root.items);
    else
        roots.push_back(std::move(root));
    for (TValue& each : roots) {
        TakeEntry(&each, "");
        AddPlane(std::move(each), &capture);
    }
    return capture;
}

static bool IsDeviceTree(const TValue& computer)
{
    const std::string name = lab::TextOf(computer, "IORegistryEntryName");
    return name == "/" || name == "device-tree";
}

void AddPlane(TValue root, TCapture* capture)
{
    TValue* const children = root.Find("IORegistryEntryChildren");
    TValue* computer = nullptr;
    for (std::size_t i = 0; children && i < children->items.size(); ++i) {
        if (lab::TextOf(children->items[i], "IOObjectClass") == "IOPlatformExpertDevice")
            computer = &children->items[i];
    }
    if (!computer)
        return;
    const bool isTree = IsDeviceTree(*computer);
    // Its name there differs between systems; paths begin with a slash in all of them.
    if (isTree)
        computer->Set("IORegistryEntryName", TValue::String("/"));
    TValue* const plane = isTree ? &capture->deviceTree : &capture->services;
    if (plane->entries.empty())
        *plane = std::move(root);
}

TCapture ReadCapture(const std::string& text)
{
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start != std::string::npos && text.compare(start, 6, "bplist") == 0)
        throw TDamage{1,
                      "this is a binary property list, as IORegistryExplorer saves; ioreg prints what is wanted here"};
    const bool isArchive = start != std::string::npos && text[start] == '<';
    return isArchive ? ReadRegistryArchive(text) : ReadRegistryText(text);
}

}   // namespace import
