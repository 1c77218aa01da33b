// Property lists as platform/ reads and writes them: what is read and written is read as the same again, and Core
// Foundation's functions agree with the reader about what a list is. An input is the text of a list.

#include "platform/Counts.h"
#include "platform/PropertyList.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Targets.h"
#include "tests/platform/Scoped.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

// A value by its parts, in an order that is its own: equal texts for equal values.
static std::string PartsOf(const plist::TValue& value)
{
    std::string parts = std::to_string(static_cast<int>(value.kind)) + (value.boolean ? "t" : "f");
    parts += std::to_string(value.integer) + (value.wide ? "w" : "n");
    char real[64];
    // All that is not a number is alike, and so are the two zeros.
    snprintf(real, sizeof real, "%a", std::isnan(value.real) ? 0.5 : value.real == 0 ? 0.0 : value.real);
    parts += real;
    parts += std::to_string(value.text.size()) + ":" + value.text;
    for (const plist::TValue& item : value.items)
        parts += "[" + PartsOf(item) + "]";
    for (const auto& entry : value.entries)
        parts += "{" + std::to_string(entry.first.size()) + ":" + entry.first + PartsOf(entry.second) + "}";
    return parts;
}

// Core Foundation's dictionaries have no order of their own.
static plist::TValue Sorted(plist::TValue value)
{
    for (plist::TValue& item : value.items)
        item = Sorted(std::move(item));
    for (auto& entry : value.entries)
        entry.second = Sorted(std::move(entry.second));
    std::sort(value.entries.begin(), value.entries.end(),
              [](const auto& one, const auto& other) { return one.first < other.first; });
    return value;
}

static plist::TValue ReadAgain(const TComparison& compare, const std::string& xml)
{
    plist::TValue value;
    std::string error;
    compare.Same("whether what was written is read", true, plist::Read(xml, &value, &error));
    return value;
}

static void TryReader(const TComparison& compare, const plist::TValue& value)
{
    const std::string written = plist::Write(value);
    const plist::TValue again = ReadAgain(compare, written);
    compare.Same("the value that was read again", PartsOf(value), PartsOf(again));
    compare.Same("the text that was written again", written, plist::Write(again));
}

static std::string TextOf(CFDataRef data)
{
    const auto* const bytes = reinterpret_cast<const char*>(CFDataGetBytePtr(data));
    return std::string(bytes, bytes + CFDataGetLength(data));
}

// value  what the reader made of the text, or null
static void TryCoreFoundation(const TComparison& compare, const std::string& input, const plist::TValue* value)
{
    const TScoped<CFDataRef> data(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(input.data()),
                                               static_cast<CFIndex>(input.size())));
    CFStringRef complaint = nullptr;
    const TScoped<CFPropertyListRef> list(
        CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, &complaint));
    const bool complained = complaint != nullptr;
    if (complained)
        CFRelease(complaint);
    compare.Same("whether there is a list", value != nullptr, list.Get() != nullptr);
    compare.Same("whether there is a complaint", value == nullptr, complained);
    if (list.Get() == nullptr)
        return;
    const TScoped<CFDataRef> xml(CFPropertyListCreateXMLData(kCFAllocatorDefault, list.Get()));
    compare.Same("the list that was written and read", PartsOf(Sorted(*value)),
                 PartsOf(Sorted(ReadAgain(compare, TextOf(xml.Get())))));
}

void TryPropertyLists(const std::string& input)
{
    const TComparison compare(input);
    const std::uint64_t objects = platform::CurrentCounts().objects;
    plist::TValue value;
    std::string error;
    const bool read = plist::Read(input, &value, &error);
    if (read)
        TryReader(compare, value);
    else
        compare.Same("how a complaint begins", "line ", error.substr(0, 5));
    TryCoreFoundation(compare, input, read ? &value : nullptr);
    compare.Same("how many Core Foundation objects are left", objects, platform::CurrentCounts().objects);
}
