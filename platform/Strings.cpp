#include "platform/Strings.h"

#include "platform/Objects.h"
#include "platform/Text.h"

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

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding)
{
    std::string bytes = text;
    if (encoding == kCFStringEncodingUTF8 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
        bytes.erase(0, 3);
    std::u16string units;
    return Decode(bytes, encoding, &units) ? MakeString(std::move(units), false) : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string)
{
    return static_cast<CFIndex>(UnitsOf(string).size());
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer)
{
    const std::u16string& units = UnitsOf(string);
    if (range.location < 0 || range.length < 0 ||
        static_cast<size_t>(range.location) + static_cast<size_t>(range.length) > units.size())
        Die("the range %ld+%ld is beyond a string of %zu", range.location, range.length, units.size());
    for (CFIndex i = 0; i < range.length; ++i)
        buffer[i] = units[static_cast<size_t>(range.location + i)];
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding)
{
    std::string bytes;
    if (!Encode(UnitsOf(string), encoding, &bytes) || size <= 0 || bytes.size() >= static_cast<size_t>(size))
        return false;
    memcpy(buffer, bytes.c_str(), bytes.size() + 1);
    return true;
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended)
{
    auto* const changed = AsMutable<__CFString>(string, kStringType);
    CheckMutable(changed->fIsMutable, kStringType);
    changed->fText += UnitsOf(appended);
}
