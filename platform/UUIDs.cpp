#include "platform/Objects.h"
#include "platform/Strings.h"

#include <CoreFoundation/CFUUID.h>

#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <unistd.h>

using namespace platform;

using TBytes = std::array<UInt8, 16>;

struct __CFUUID : TObject
{
    __CFUUID(const TType& type, const TBytes& bytes) : TObject(type, 1), fBytes(bytes) {}
    ~__CFUUID();

    const TBytes fBytes;
};

// Equal ones are one object, so that an object is equal to itself alone.
static const TType kUUIDType = {"CFUUID", 27, Destroy<__CFUUID>, nullptr, nullptr};

// Those that live, by their bytes. Neither is ever destroyed: threads may use them until the process ends.
static std::mutex& Lock()
{
    static auto* const gLock = new std::mutex;
    return *gLock;
}

static std::map<TBytes, __CFUUID*>& Living()
{
    static auto* const gLiving = new std::map<TBytes, __CFUUID*>;
    return *gLiving;
}

__CFUUID::~__CFUUID()
{
    const std::lock_guard<std::mutex> hold(Lock());
    // Another thread may have made a successor since the last reference was dropped.
    const auto place = Living().find(fBytes);
    if (place != Living().end() && place->second == this)
        Living().erase(place);
}

// Adds a reference, unless the last one was dropped and the object is on its way out.
static bool RetainIfAlive(TObject* object)
{
    long references = object->fReferences;
    while (references > 0) {
        if (object->fReferences.compare_exchange_weak(references, references + 1))
            return true;
    }
    return false;
}

static CFUUIDRef MakeUUID(const TBytes& bytes)
{
    const std::lock_guard<std::mutex> hold(Lock());
    __CFUUID*& living = Living()[bytes];
    if (living == nullptr || !RetainIfAlive(living))
        living = Make<__CFUUID>(kUUIDType, bytes);
    return living;
}

static const TBytes& BytesOf(CFUUIDRef uuid)
{
    return As<__CFUUID>(uuid, kUUIDType)->fBytes;
}

CFTypeID CFUUIDGetTypeID(void)
{
    return kUUIDType.identifier;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef)
{
    TBytes bytes;
    if (getentropy(bytes.data(), bytes.size()) != 0)
        Die("the system has no random numbers");
    bytes[6] = static_cast<UInt8>((bytes[6] & 0x0F) | 0x40);   // version 4
    bytes[8] = static_cast<UInt8>((bytes[8] & 0x3F) | 0x80);   // RFC 4122's variant
    return MakeUUID(bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes bytes)
{
    static_assert(sizeof(CFUUIDBytes) == sizeof(TBytes), "sixteen bytes with nothing between them");
    TBytes copied;
    memcpy(copied.data(), &bytes, sizeof bytes);
    return MakeUUID(copied);
}

CFUUIDRef CFUUIDCreateWithBytes(CFAllocatorRef allocator, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14, UInt8 byte15)
{
    return CFUUIDCreateFromUUIDBytes(allocator,
                                     CFUUIDBytes{byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7, byte8, byte9,
                                                 byte10, byte11, byte12, byte13, byte14, byte15});
}

// The digit's value, or -1.
static int HexadecimalDigit(char16_t unit)
{
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    if (unit >= u'A' && unit <= u'F')
        return unit - u'A' + 10;
    return unit >= u'a' && unit <= u'f' ? unit - u'a' + 10 : -1;
}

// The byte whose two digits stand at `at`; moves behind them.
static UInt8 NextByte(const std::u16string& text, size_t* at)
{
    const int high = *at < text.size() ? HexadecimalDigit(text[*at]) : -1;
    const int low = *at + 1 < text.size() ? HexadecimalDigit(text[*at + 1]) : -1;
    *at += 2;
    return high < 0 || low < 0 ? UInt8{0} : static_cast<UInt8>(high << 4 | low);
}

// Whether a group of the text ends behind this byte: of 4, 2, 2, 2 and 6 bytes.
static bool EndsGroup(size_t byte)
{
    return byte == 3 || byte == 5 || byte == 7 || byte == 9;
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef string)
{
    const std::u16string& text = UnitsOf(string);
    if (text.empty())
        return nullptr;
    size_t at = 0;
    while (at < text.size() && HexadecimalDigit(text[at]) < 0)
        ++at;
    TBytes bytes;
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = NextByte(text, &at);
        if (EndsGroup(i))
            ++at;
    }
    return MakeUUID(bytes);
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef uuid)
{
    const TBytes& bytes = BytesOf(uuid);
    std::u16string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        text += u"0123456789ABCDEF"[bytes[i] >> 4];
        text += u"0123456789ABCDEF"[bytes[i] & 0xF];
        if (EndsGroup(i))
            text += u'-';
    }
    return MakeString(std::move(text), false);
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid)
{
    CFUUIDBytes bytes;
    memcpy(&bytes, BytesOf(uuid).data(), sizeof bytes);
    return bytes;
}
