#include "tests/platform/ListDump.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <vector>

using plist::TValue;

// Made of a generator alone, not of <random>'s distributions: those differ between libraries.
class TGenerator
{
public:
    explicit TGenerator(unsigned seed) : fRandom(seed) {}

    TValue Make(int depth)
    {
        switch (Below(depth < 10 ? 12 : 8)) {
        case 0:
            return TValue::Boolean(Below(2) == 0);
        case 1:
            return TValue::Data(Bytes());
        case 2:
            return Real();
        case 3:
            return Date();
        case 4:
        case 5:
            return Integer();
        case 6:
        case 7:
            return TValue::String(Text());
        case 8:
        case 9:
            return Array(depth);
        default:
            return Dictionary(depth);
        }
    }

private:
    unsigned Below(unsigned end) { return static_cast<unsigned>(fRandom() % end); }

    std::string Text()
    {
        static const char* const kParts[] = {
            "<", ">", "&",          "\"", "'",    "&amp;", "]]>",      "\n",        "\t",           " ",
            "a", "Z", "<!-- c -->", "%",  "\x7F", "</s>",  "\xC3\xBC", "e\xCC\x81", "\xE6\x97\xA5", "\xF0\x9F\x98\x80"};
        std::string text;
        for (unsigned count = Below(12); count > 0; --count)
            text += kParts[Below(sizeof kParts / sizeof kParts[0])];
        return text;
    }

    std::string Bytes()
    {
        std::string bytes(Below(200), '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(Below(256));
        return bytes;
    }

    TValue Integer()
    {
        static const std::int64_t kEnds[] = {0,         1,         -1,        127,        -128,    INT32_MAX,
                                             INT32_MIN, INT64_MAX, INT64_MIN, UINT32_MAX, 1L << 20};
        if (Below(3) == 0)
            return TValue::Integer(kEnds[Below(sizeof kEnds / sizeof kEnds[0])]);
        const std::uint64_t bits = static_cast<std::uint64_t>(fRandom()) << 32 | fRandom();
        return TValue::Integer(static_cast<std::int64_t>(bits) >> Below(64));
    }

    TValue Real()
    {
        TValue value;
        value.kind = plist::Kind::kReal;
        // Few digits: not everyone writes all of them.
        value.real = (static_cast<double>(Below(2000000)) - 1000000) / 64;
        return value;
    }

    TValue Date()
    {
        TValue value;
        value.kind = plist::Kind::kDate;
        // Whole seconds of the years 1901 to 2100.
        value.real = (static_cast<double>(Below(73000)) - 36500) * 86400 + Below(86400);
        return value;
    }

    TValue Array(int depth)
    {
        TValue array = TValue::Array();
        for (unsigned count = Below(5); count > 0; --count)
            array.items.push_back(Make(depth + 1));
        return array;
    }

    TValue Dictionary(int depth)
    {
        TValue dictionary = TValue::Dictionary();
        for (unsigned count = Below(5); count > 0; --count)
            dictionary.Set("k" + Text(), Make(depth + 1));
        return dictionary;
    }

    std::mt19937 fRandom;
};

TValue GeneratedList(unsigned seed)
{
    TGenerator generator(seed);
    TValue list = TValue::Array();
    for (int i = 0; i < 200; ++i)
        list.items.push_back(generator.Make(1));
    return list;
}

static std::string Hexadecimal(const void* bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", static_cast<const unsigned char*>(bytes)[i]);
        text += digits;
    }
    return text;
}

static std::string DumpOfText(CFStringRef string)
{
    std::string text(static_cast<size_t>(4 * CFStringGetLength(string) + 1), '\0');
    if (!CFStringGetCString(string, &text[0], static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8))
        return "?";
    return Hexadecimal(text.data(), strlen(text.c_str()));
}

static std::string DumpOfNumber(CFNumberRef number)
{
    if (!CFNumberIsFloatType(number)) {
        SInt64 integer = 0;
        CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
        return "i" + std::to_string(integer) + " ";
    }
    double real = 0;
    CFNumberGetValue(number, kCFNumberDoubleType, &real);
    std::uint64_t bits = 0;
    memcpy(&bits, &real, sizeof bits);
    char digits[17];
    snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(bits));
    return std::string("r") + digits + " ";
}

static std::string DumpOfArray(CFArrayRef array)
{
    std::string text = "[ ";
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
        text += DumpOf(CFArrayGetValueAtIndex(array, i));
    return text + "] ";
}

static std::string DumpOfDictionary(CFDictionaryRef dictionary)
{
    std::vector<const void*> keys(static_cast<size_t>(CFDictionaryGetCount(dictionary)));
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    std::map<std::string, std::string> entries;
    for (const void* key : keys)
        entries[DumpOfText(static_cast<CFStringRef>(key))] = DumpOf(CFDictionaryGetValue(dictionary, key));
    std::string text = "{ ";
    for (const auto& entry : entries)
        text.append(entry.first).append(" ").append(entry.second);
    return text + "} ";
}

std::string DumpOf(CFPropertyListRef list)
{
    const CFTypeID type = CFGetTypeID(list);
    if (type == CFStringGetTypeID())
        return "s" + DumpOfText(static_cast<CFStringRef>(list)) + " ";
    if (type == CFNumberGetTypeID())
        return DumpOfNumber(static_cast<CFNumberRef>(list));
    if (type == CFBooleanGetTypeID())
        return CFBooleanGetValue(static_cast<CFBooleanRef>(list)) ? "t " : "f ";
    if (type == CFDataGetTypeID()) {
        const auto data = static_cast<CFDataRef>(list);
        return "d" + Hexadecimal(CFDataGetBytePtr(data), static_cast<size_t>(CFDataGetLength(data))) + " ";
    }
    if (type == CFDateGetTypeID())
        return "D" + std::to_string(static_cast<long long>(CFDateGetAbsoluteTime(static_cast<CFDateRef>(list)))) + " ";
    return type == CFArrayGetTypeID() ? DumpOfArray(static_cast<CFArrayRef>(list))
                                      : DumpOfDictionary(static_cast<CFDictionaryRef>(list));
}
