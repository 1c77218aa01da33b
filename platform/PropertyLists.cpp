#include "platform/PropertyLists.h"

#include "platform/Collections.h"
#include "platform/Data.h"
#include "platform/Numbers.h"
#include "platform/Strings.h"
#include "platform/Text.h"

#include <CoreFoundation/CFPropertyList.h>

#include <algorithm>

using namespace platform;

// Objects from values

static TReference MakeObject(const plist::TValue& value, CFOptionFlags mutability);

static TReference MakeText(const std::string& text, bool isMutable)
{
    std::u16string units;
    Decode(text, kCFStringEncodingUTF8, &units);
    return TReference(MakeString(std::move(units), isMutable));
}

static TReference MakeNumberObject(const plist::TValue& value)
{
    TNumber number;
    number.isReal = value.kind == plist::Kind::kReal;
    number.integer = value.integer;
    number.wide = value.wide;
    number.real = value.real;
    return TReference(MakeNumber(number));
}

static TReference MakeArrayObject(const plist::TValue& value, CFOptionFlags mutability)
{
    std::vector<TReference> items;
    for (const plist::TValue& item : value.items)
        items.push_back(MakeObject(item, mutability));
    return TReference(MakeArray(items, mutability != kCFPropertyListImmutable));
}

static TReference MakeDictionaryObject(const plist::TValue& value, CFOptionFlags mutability)
{
    std::vector<std::pair<TReference, TReference>> entries;
    for (const auto& entry : value.entries)
        entries.emplace_back(MakeText(entry.first, false), MakeObject(entry.second, mutability));
    return TReference(MakeDictionary(entries, mutability != kCFPropertyListImmutable));
}

static TReference MakeObject(const plist::TValue& value, CFOptionFlags mutability)
{
    const bool mutableLeaves = mutability == kCFPropertyListMutableContainersAndLeaves;
    switch (value.kind) {
    case plist::Kind::kString:
        return MakeText(value.text, mutableLeaves);
    case plist::Kind::kData:
        return TReference(MakeData(value.text, mutableLeaves));
    case plist::Kind::kInteger:
    case plist::Kind::kReal:
        return MakeNumberObject(value);
    case plist::Kind::kBoolean:
        return TReference(value.boolean ? kCFBooleanTrue : kCFBooleanFalse);
    case plist::Kind::kDate:
        return TReference(CFDateCreate(kCFAllocatorDefault, value.real));
    case plist::Kind::kArray:
        return MakeArrayObject(value, mutability);
    case plist::Kind::kDictionary:
        return MakeDictionaryObject(value, mutability);
    }
    return TReference();
}

namespace platform {

CFPropertyListRef MakePropertyList(const plist::TValue& value)
{
    return MakeObject(value, kCFPropertyListImmutable).Give();
}

}   // namespace platform

CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef xml, CFOptionFlags mutability,
                                                  CFStringRef* errorString)
{
    plist::TValue value;
    std::string error;
    const bool read = plist::Read(BytesOf(xml), &value, &error);
    if (errorString != nullptr)
        *errorString = read ? nullptr : static_cast<CFStringRef>(MakeText(error, false).Give());
    return read ? MakeObject(value, mutability).Give() : nullptr;
}

// Values from objects

static bool MakeValue(CFTypeRef object, int depth, plist::TValue* value);

static plist::TValue NumberValue(CFNumberRef object)
{
    const TNumber number = ValueOf(object);
    plist::TValue value;
    value.kind = number.isReal ? plist::Kind::kReal : plist::Kind::kInteger;
    value.integer = number.integer;
    value.wide = number.wide;
    value.real = number.real;
    return value;
}

static plist::TValue DateValue(CFDateRef date)
{
    plist::TValue value;
    value.kind = plist::Kind::kDate;
    value.real = CFDateGetAbsoluteTime(date);
    return value;
}

static bool MakeArrayValue(CFArrayRef array, int depth, plist::TValue* value)
{
    *value = plist::TValue::Array();
    value->items.resize(static_cast<size_t>(CFArrayGetCount(array)));
    for (size_t i = 0; i < value->items.size(); ++i) {
        if (!MakeValue(CFArrayGetValueAtIndex(array, static_cast<CFIndex>(i)), depth, &value->items[i]))
            return false;
    }
    return true;
}

static bool MakeDictionaryValue(CFDictionaryRef dictionary, int depth, plist::TValue* value)
{
    const auto count = static_cast<size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    for (const void* key : keys) {
        if (CFGetTypeID(key) != CFStringGetTypeID())
            return false;
    }
    std::sort(keys.begin(), keys.end(), [](const void* one, const void* other) {
        return UnitsOf(static_cast<CFStringRef>(one)) < UnitsOf(static_cast<CFStringRef>(other));
    });

    *value = plist::TValue::Dictionary();
    value->entries.resize(count);
    for (size_t i = 0; i < count; ++i) {
        value->entries[i].first = UTF8Of(static_cast<CFStringRef>(keys[i]));
        if (!MakeValue(CFDictionaryGetValue(dictionary, keys[i]), depth, &value->entries[i].second))
            return false;
    }
    return true;
}

static bool MakeValue(CFTypeRef object, int depth, plist::TValue* value)
{
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFStringGetTypeID())
        *value = plist::TValue::String(UTF8Of(static_cast<CFStringRef>(object)));
    else if (type == CFDataGetTypeID())
        *value = plist::TValue::Data(BytesOf(static_cast<CFDataRef>(object)));
    else if (type == CFNumberGetTypeID())
        *value = NumberValue(static_cast<CFNumberRef>(object));
    else if (type == CFBooleanGetTypeID())
        *value = plist::TValue::Boolean(CFBooleanGetValue(static_cast<CFBooleanRef>(object)));
    else if (type == CFDateGetTypeID())
        *value = DateValue(static_cast<CFDateRef>(object));
    else if (depth == plist::kMaximumDepth)
        return false;
    else if (type == CFArrayGetTypeID())
        return MakeArrayValue(static_cast<CFArrayRef>(object), depth + 1, value);
    else if (type == CFDictionaryGetTypeID())
        return MakeDictionaryValue(static_cast<CFDictionaryRef>(object), depth + 1, value);
    else
        return false;
    return true;
}

CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef propertyList)
{
    plist::TValue value;
    return MakeValue(propertyList, 0, &value) ? MakeData(plist::Write(value), false) : nullptr;
}
