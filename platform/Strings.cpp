#include "platform/Strings.h"

#include "platform/Composition.h"
#include "platform/Objects.h"
#include "platform/Text.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>

using namespace platform;

struct __CFString : TObject
{
    __CFString(const TType& type, std::u16string text, bool isMutable, long references = 1)
        : TObject(type, references), fText(std::move(text)), fIsMutable(isMutable)
    {
    }

    std::u16string fText;
    const bool fIsMutable;
};

static const std::u16string& TextOf(const TObject* string)
{
    return static_cast<const __CFString*>(string)->fText;
}

static bool StringsAreEqual(const TObject* one, const TObject* other)
{
    return TextOf(one) == TextOf(other);
}

static CFHashCode HashOfString(const TObject* string)
{
    return std::hash<std::u16string>()(TextOf(string));
}

static const TType kStringType = {"CFString", 7, Destroy<__CFString>, StringsAreEqual, HashOfString};

namespace platform {

CFStringRef MakeString(std::u16string text, bool isMutable)
{
    return Make<__CFString>(kStringType, std::move(text), isMutable);
}

const std::u16string& UnitsOf(CFStringRef string)
{
    return As<__CFString>(string, kStringType)->fText;
}

std::string UTF8Of(CFStringRef string)
{
    std::string bytes;
    if (Encode(UnitsOf(string), kCFStringEncodingUTF8, &bytes))
        return bytes;
    std::string whole;
    for (const char16_t unit : UnitsOf(string))
        whole += Encode(std::u16string(1, unit), kCFStringEncodingUTF8, &bytes) ? bytes : "\xEF\xBF\xBD";
    return whole;
}

}   // namespace platform

CFTypeID CFStringGetTypeID(void)
{
    return kStringType.identifier;
}

CFStringRef __CFStringMakeConstantString(const char* text)
{
    // Neither the table nor the strings are ever destroyed: threads may use them until the process ends.
    static auto* const gLock = new std::mutex;
    static auto* const gConstants = new std::map<std::string, __CFString*>;

    const std::lock_guard<std::mutex> hold(*gLock);
    __CFString*& constant = (*gConstants)[text];
    if (constant == nullptr) {
        std::u16string units;
        Decode(text, kCFStringEncodingMacRoman, &units);
        constant = new __CFString(kStringType, std::move(units), false, kImmortal);
    }
    return constant;
}

// A byte order mark at the beginning of UTF-8 says nothing and is dropped.
static void DropMarkOfUTF8(std::string* bytes)
{
    if (bytes->compare(0, 3, "\xEF\xBB\xBF") == 0)
        bytes->erase(0, 3);
}

static CFStringRef MakeDecoded(const std::string& bytes, CFStringEncoding encoding)
{
    std::u16string units;
    return Decode(bytes, encoding, &units) ? MakeString(std::move(units), false) : nullptr;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding)
{
    std::string bytes = text;
    if (encoding == kCFStringEncodingUTF8)
        DropMarkOfUTF8(&bytes);
    return MakeDecoded(bytes, encoding);
}

// What a byte order mark at the beginning of UTF-16 asks for.
static void ApplyMarkOfUTF16(std::u16string* units)
{
    if (units->empty() || (units->front() != 0xFEFF && units->front() != 0xFFFE))
        return;
    const bool swapped = units->front() == 0xFFFE;
    units->erase(0, 1);
    if (!swapped)
        return;
    for (char16_t& unit : *units)
        unit = static_cast<char16_t>(unit << 8 | unit >> 8);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex length, CFStringEncoding encoding,
                                    Boolean isExternal)
{
    std::string text(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
    if (encoding == kCFStringEncodingUTF8 && isExternal)
        DropMarkOfUTF8(&text);
    std::u16string units;
    if (!Decode(text, encoding, &units))
        return nullptr;
    if (encoding == kCFStringEncodingUnicode && isExternal)
        ApplyMarkOfUTF16(&units);
    return MakeString(std::move(units), false);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* units, CFIndex count)
{
    return MakeString(std::u16string(units, units + count), false);
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string)
{
    const auto* const copied = As<__CFString>(string, kStringType);
    if (!copied->fIsMutable)
        return static_cast<CFStringRef>(CFRetain(string));
    return MakeString(copied->fText, false);
}

CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator, const char* path)
{
    return CFStringCreateWithCString(allocator, path, kCFStringEncodingUTF8);
}

CFStringEncoding CFStringGetSystemEncoding(void)
{
    return kCFStringEncodingMacRoman;
}

CFIndex CFStringGetLength(CFStringRef string)
{
    return static_cast<CFIndex>(UnitsOf(string).size());
}

// The units of the range; dies when it does not lie within the string.
static std::u16string UnitsWithin(CFStringRef string, CFRange range)
{
    const std::u16string& units = UnitsOf(string);
    if (range.location < 0 || range.length < 0 ||
        static_cast<size_t>(range.location) + static_cast<size_t>(range.length) > units.size())
        Die("the range %ld+%ld is beyond a string of %zu", range.location, range.length, units.size());
    return units.substr(static_cast<size_t>(range.location), static_cast<size_t>(range.length));
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer)
{
    const std::u16string units = UnitsWithin(string, range);
    std::copy(units.begin(), units.end(), buffer);
}

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index)
{
    return UnitsWithin(string, CFRange{index, 1})[0];
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding)
{
    Check(string, kStringType);
    return nullptr;
}

namespace platform {

bool CopyCString(const std::string& bytes, char* buffer, CFIndex size)
{
    if (size <= 0 || bytes.size() >= static_cast<size_t>(size))
        return false;
    memcpy(buffer, bytes.c_str(), bytes.size() + 1);
    return true;
}

bool PathBytes(const std::u16string& text, std::string* bytes)
{
    return Encode(Decomposed(text), kCFStringEncodingUTF8, bytes);
}

}   // namespace platform

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding)
{
    std::string bytes;
    return Encode(UnitsOf(string), encoding, &bytes) && CopyCString(bytes, buffer, size);
}

Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex size)
{
    std::string bytes;
    return PathBytes(UnitsOf(string), &bytes) && CopyCString(bytes, buffer, size);
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding, UInt8 lossByte, Boolean,
                         UInt8* buffer, CFIndex size, CFIndex* used)
{
    const std::u16string units = UnitsWithin(string, range);
    std::string bytes;
    size_t at = 0;
    while (at < units.size()) {
        std::string next;
        size_t converted = EncodeNext(units, at, encoding, &next);
        if (converted == 0 && lossByte != 0) {
            converted = 1;
            next = static_cast<char>(lossByte);
        }
        if (converted == 0 || (buffer != nullptr && bytes.size() + next.size() > static_cast<size_t>(size)))
            break;
        bytes += next;
        at += converted;
    }
    if (buffer != nullptr)
        std::copy(bytes.begin(), bytes.end(), buffer);
    if (used != nullptr)
        *used = static_cast<CFIndex>(bytes.size());
    return static_cast<CFIndex>(at);
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended)
{
    auto* const changed = AsMutable<__CFString>(string, kStringType);
    CheckMutable(changed->fIsMutable, kStringType);
    changed->fText += UnitsOf(appended);
}
