#include "platform/Data.h"

#include "platform/Objects.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string_view>

using namespace platform;

struct __CFData : TObject
{
    __CFData(const TType& type, std::string bytes, bool isMutable)
        : TObject(type, 1), fBytes(std::move(bytes)), fIsMutable(isMutable)
    {
    }

    __CFData(const TType& type, std::string_view foreign, bool freed)
        : TObject(type, 1), fForeign(foreign), fFreed(freed), fIsMutable(false)
    {
    }

    ~__CFData()
    {
        if (fFreed)
            free(const_cast<char*>(fForeign.data()));
    }

    std::string_view Bytes() const { return fForeign.data() != nullptr ? fForeign : std::string_view(fBytes); }

    std::string fBytes;
    const std::string_view fForeign;   // instead of fBytes, when there is any
    const bool fFreed = false;         // whether what is foreign is freed in the end
    const bool fIsMutable;
};

static std::string_view Content(const TObject* data)
{
    return static_cast<const __CFData*>(data)->Bytes();
}

static bool DataAreEqual(const TObject* one, const TObject* other)
{
    return Content(one) == Content(other);
}

static CFHashCode HashOfData(const TObject* data)
{
    return std::hash<std::string_view>()(Content(data));
}

static const TType kDataType = {"CFData", 19, Destroy<__CFData>, DataAreEqual, HashOfData};

namespace platform {

CFDataRef MakeData(std::string bytes, bool isMutable)
{
    return Make<__CFData>(kDataType, std::move(bytes), isMutable);
}

std::string BytesOf(CFDataRef data)
{
    return std::string(As<__CFData>(data, kDataType)->Bytes());
}

}   // namespace platform

CFTypeID CFDataGetTypeID(void)
{
    return kDataType.identifier;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length)
{
    // bytes may be null then, which std::string does not take.
    if (length <= 0)
        return MakeData(std::string(), false);
    return MakeData(std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length)), false);
}

CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8* bytes, CFIndex length, CFAllocatorRef deallocator)
{
    const std::string_view foreign(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
    return Make<__CFData>(kDataType, foreign, deallocator != kCFAllocatorNull);
}

static std::string_view ToBeRead(CFDataRef data)
{
    return As<__CFData>(data, kDataType)->Bytes();
}

CFIndex CFDataGetLength(CFDataRef data)
{
    return static_cast<CFIndex>(ToBeRead(data).size());
}

const UInt8* CFDataGetBytePtr(CFDataRef data)
{
    return reinterpret_cast<const UInt8*>(ToBeRead(data).data());
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer)
{
    const std::string_view bytes = ToBeRead(data);
    if (range.location < 0 || range.length < 0 ||
        static_cast<size_t>(range.location) + static_cast<size_t>(range.length) > bytes.size())
        Die("the range %ld+%ld is beyond data of %zu bytes", range.location, range.length, bytes.size());
    if (range.length > 0)
        memcpy(buffer, bytes.data() + range.location, static_cast<size_t>(range.length));
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length)
{
    auto* const changed = AsMutable<__CFData>(data, kDataType);
    CheckMutable(changed->fIsMutable, kDataType);
    if (length > 0)
        changed->fBytes.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}
