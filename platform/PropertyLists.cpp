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

// Whether there is a value for an object

static std::vector<const void*> KeysOf(CFDictionaryRef dictionary)
{
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dictionary)));
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    return keys;
}

// Looks through an object and all that is in it.
class TValidity
{
public:
    explicit TValidity(CFPropertyListFormat format) : fIsXML(format == kCFPropertyListXMLFormat_v1_0) {}

    bool IsValid(CFTypeRef object)
    {
        const CFTypeID type = CFGetTypeID(object);
        if (type == CFStringGetTypeID() || type == CFDataGetTypeID())
            return true;
        if (type == CFNumberGetTypeID() || type == CFBooleanGetTypeID() || type == CFDateGetTypeID())
            return fIsXML;
        if (type != CFArrayGetTypeID() && type != CFDictionaryGetTypeID())
            return false;
        // By what it stands in, not by depth alone: what holds itself twice would be gone through 2^512 times.
        if (fAround.size() == plist::kMaximumDepth || std::count(fAround.begin(), fAround.end(), object) != 0)
            return false;
        fAround.push_back(object);
        const bool valid = type == CFArrayGetTypeID() ? IsValidArray(static_cast<CFArrayRef>(object))
                                                      : IsValidDictionary(static_cast<CFDictionaryRef>(object));
        fAround.pop_back();
        return valid;
    }

private:
    bool IsValidArray(CFArrayRef array)
    {
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            if (!IsValid(CFArrayGetValueAtIndex(array, i)))
                return false;
        }
        return true;
    }

    bool IsValidDictionary(CFDictionaryRef dictionary)
    {
        const std::vector<const void*> keys = KeysOf(dictionary);
        return std::all_of(keys.begin(), keys.end(), [&](const void* key) {
            return CFGetTypeID(key) == CFStringGetTypeID() && IsValid(CFDictionaryGetValue(dictionary, key));
        });
    }

    const bool fIsXML;
    std::vector<CFTypeRef> fAround;   // the arrays and dictionaries that the object stands in
};

Boolean CFPropertyListIsValid(CFPropertyListRef propertyList, CFPropertyListFormat format)
{
    if (format != kCFPropertyListXMLFormat_v1_0 && format != kCFPropertyListOpenStepFormat)
        Die("property lists are looked at for XML and OpenStep's format only, not for format %d",
            static_cast<int>(format));
    return TValidity(format).IsValid(propertyList);
}

// Values from objects

static plist::TValue MakeValue(CFTypeRef object);

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

static plist::TValue ArrayValue(CFArrayRef array)
{
    plist::TValue value = plist::TValue::Array();
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        value.items.push_back(MakeValue(CFArrayGetValueAtIndex(array, i)));
    return value;
}

static plist::TValue DictionaryValue(CFDictionaryRef dictionary)
{
    std::vector<const void*> keys = KeysOf(dictionary);
    std::sort(keys.begin(), keys.end(), [](const void* one, const void* other) {
        return UnitsOf(static_cast<CFStringRef>(one)) < UnitsOf(static_cast<CFStringRef>(other));
    });
    plist::TValue value = plist::TValue::Dictionary();
    for (const void* key : keys)
        value.entries.emplace_back(UTF8Of(static_cast<CFStringRef>(key)),
                                   MakeValue(CFDictionaryGetValue(dictionary, key)));
    return value;
}

// Of an object that was found valid.
static plist::TValue MakeValue(CFTypeRef object)
{
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFStringGetTypeID())
        return plist::TValue::String(UTF8Of(static_cast<CFStringRef>(object)));
    if (type == CFDataGetTypeID())
        return plist::TValue::Data(BytesOf(static_cast<CFDataRef>(object)));
    if (type == CFNumberGetTypeID())
        return NumberValue(static_cast<CFNumberRef>(object));
    if (type == CFBooleanGetTypeID())
        return plist::TValue::Boolean(CFBooleanGetValue(static_cast<CFBooleanRef>(object)));
    if (type == CFDateGetTypeID())
        return DateValue(static_cast<CFDateRef>(object));
    if (type == CFArrayGetTypeID())
        return ArrayValue(static_cast<CFArrayRef>(object));
    return DictionaryValue(static_cast<CFDictionaryRef>(object));
}

CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef propertyList)
{
    if (!CFPropertyListIsValid(propertyList, kCFPropertyListXMLFormat_v1_0))
        return nullptr;
    return MakeData(plist::Write(MakeValue(propertyList)), false);
}
