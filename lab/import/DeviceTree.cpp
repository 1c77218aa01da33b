#include "lab/import/DeviceTree.h"

#include "lab/Registry.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

using plist::TValue;

namespace import {

static const char* const kChildren = "IORegistryEntryChildren";

// As later systems count: the numbers do not fit 32 bits.
static constexpr long long kFirstIdentifier = 0x100000100;

// Identifiers

static void ListEntries(TValue* entry, std::vector<TValue*>* entries)
{
    entries->push_back(entry);
    TValue* const children = entry->Find(kChildren);
    for (std::size_t i = 0; children && i < children->items.size(); ++i)
        ListEntries(&children->items[i], entries);
}

// What an entry has in both planes, while its name and its counters may differ.
static std::string Signature(const TValue& entry)
{
    const std::string bsdName = lab::TextOf(entry, "BSD Name");
    std::string signature = lab::TextOf(entry, "IOObjectClass") + "\n" + bsdName;
    std::map<std::string, std::string> data;
    for (const auto& property : entry.entries) {
        if (property.second.kind == plist::Kind::kData && bsdName.empty())
            data[property.first] = property.second.text;
    }
    for (const auto& property : data)
        signature += "\n" + property.first + "=" + property.second;
    return signature;
}

static bool AllHaveIdentifiers(const std::vector<TValue*>& entries)
{
    return std::all_of(entries.begin(), entries.end(),
                       [](const TValue* entry) { return lab::NumberOf(*entry, lab::kIdentifierKey) > 0; });
}

long long GiveIdentifiers(TValue* services, TValue* deviceTree)
{
    std::vector<TValue*> inServices;
    std::vector<TValue*> inTree;
    ListEntries(services, &inServices);
    if (!deviceTree->entries.empty())
        ListEntries(deviceTree, &inTree);

    long long next = kFirstIdentifier;
    if (AllHaveIdentifiers(inServices) && AllHaveIdentifiers(inTree)) {
        for (const auto* const entries : {&inServices, &inTree}) {
            for (const TValue* const entry : *entries)
                next = std::max(next, lab::NumberOf(*entry, lab::kIdentifierKey) + 1);
        }
        return next;
    }
    // By signature, those that have no partner in the device tree yet, the first one last.
    std::map<std::string, std::vector<long long>> waiting;
    for (TValue* const entry : inServices) {
        waiting[Signature(*entry)].push_back(next);
        entry->Set(lab::kIdentifierKey, TValue::Integer(next++));
    }
    for (auto& alike : waiting)
        std::reverse(alike.second.begin(), alike.second.end());
    for (TValue* const entry : inTree) {
        std::vector<long long>& partners = waiting[Signature(*entry)];
        const bool isRoot = entry == deviceTree;
        entry->Set(lab::kIdentifierKey, TValue::Integer(isRoot             ? kFirstIdentifier
                                                        : partners.empty() ? next++
                                                                           : partners.back()));
        if (!isRoot && !partners.empty())
            partners.pop_back();
    }
    return next;
}

// A tree from the services

// A node of the firmware keeps its name as data. Of its own accord a Mac publishes the firmware's variables, too.
static bool IsNode(const TValue& entry)
{
    const TValue* const name = entry.Find("name");
    return (name && name->kind == plist::Kind::kData) || lab::TextOf(entry, "IOObjectClass") == "IODTNVRAM";
}

static TValue WithoutChildren(const TValue& entry)
{
    TValue alone = TValue::Dictionary();
    for (const auto& property : entry.entries) {
        if (property.first != kChildren)
            alone.entries.push_back(property);
    }
    return alone;
}

// A medium as the firmware names it: "@0:3" for partition 3 of the drive 0 on its bus.
static TValue MediumNode(const TValue& medium, const std::string& unit)
{
    TValue node = WithoutChildren(medium);
    const std::string partition = lab::TruthOf(medium, "Whole") ? "0" : lab::TextOf(medium, "IORegistryEntryLocation");
    node.Set("IORegistryEntryName", TValue::String(""));
    node.Set("IORegistryEntryLocation", TValue::String(unit + ":" + partition));
    return node;
}

// Adds what stands in the tree of an entry and those below it. `unit` is the ATA drive's number; empty elsewhere.
static void AddNodes(const TValue& entry, std::string unit, std::vector<TValue>* nodes)
{
    const TValue* const number = entry.Find("unit number");
    if (lab::TextOf(entry, "IOObjectClass") == "ATADeviceNub" && number)
        unit = std::to_string(number->integer);
    const bool isMedium = !lab::MediumNameOf(entry).empty();
    std::vector<TValue>* below = nodes;
    std::vector<TValue> children;
    if (isMedium && !unit.empty())
        nodes->push_back(MediumNode(entry, unit));
    if (IsNode(entry))
        below = &children;
    for (const TValue& child : lab::ChildrenOf(entry))
        AddNodes(child, unit, below);
    if (!IsNode(entry))
        return;
    TValue node = WithoutChildren(entry);
    if (!children.empty()) {
        node.Set(kChildren, TValue::Array());
        node.Find(kChildren)->items = std::move(children);
    }
    nodes->push_back(std::move(node));
}

TValue DeriveDeviceTree(const TValue& services)
{
    TValue root = WithoutChildren(services);
    TValue computer = TValue::Dictionary();
    std::vector<TValue> nodes;
    for (const TValue& child : lab::ChildrenOf(services)) {
        if (lab::TextOf(child, "IOObjectClass") != "IOPlatformExpertDevice")
            continue;
        computer = WithoutChildren(child);
        for (const TValue& below : lab::ChildrenOf(child))
            AddNodes(below, "", &nodes);
    }
    computer.Set("IORegistryEntryName", TValue::String("/"));
    computer.Set(kChildren, TValue::Array());
    computer.Find(kChildren)->items = std::move(nodes);
    root.Set(kChildren, TValue::Array());
    root.Find(kChildren)->items.push_back(std::move(computer));
    return root;
}

}   // namespace import
