#include "platform/Data.h"

#include "platform/Objects.h"

#include <functional>

using namespace platform;

struct __CFData : TObject
{
    __CFData(const TType& type, std::string bytes, bool isMutable)
        : TObject(type, 1), fBytes(std::move(bytes)), fIsMutable(isMutable)
    {
    }

    std::string fBytes;
    const bool fIsMutable;
};

static const std::string& Content(const TObject* data)
{
    return static_cast<const __CFData*>(data)->fBytes;
}

static bool DataAreEqual(const TObject* one, const TObject* other)
{
    return Content(one) == Content(other);
}

static CFHashCode HashOfData(const TObject* data)
{
    return std::hash<std::string>()(Content(data));
}

static const TType kDataType = {"CFData", 19, Destroy<__CFData>, DataAreEqual, HashOfData};

namespace platform {

CFDataRef MakeData(std::string bytes, bool isMutable)
{
    return Make<__CFData>(kDataType, std::move(bytes), isMutable);
}

const std::string& BytesOf(CFDataRef data)
{
    return As<__CFData>(data, kDataType)->fBytes;
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

CFIndex CFDataGetLength(CFDataRef data)
{
    return static_cast<CFIndex>(BytesOf(data).size());
}

const UInt8* CFDataGetBytePtr(CFDataRef data)
{
    return reinterpret_cast<const UInt8*>(BytesOf(data).data());
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length)
{
    auto* const changed = AsMutable<__CFData>(data, kDataType);
    CheckMutable(changed->fIsMutable, kDataType);
    if (length > 0)
        changed->fBytes.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}
