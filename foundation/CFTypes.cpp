#include "foundation/CFTypes.h"

#include "foundation/ScopedCFType.h"

#include <algorithm>
#include <cstring>

bool CastCFType(CFTypeRef reference, CFTypeID type, CFTypeRef* result)
{
    *result = nullptr;
    if (reference == nullptr || CFGetTypeID(reference) != type)
        return false;
    *result = reference;
    return true;
}

CFPropertyListRef CreatePropertyListFromBytes(const UInt8* bytes, CFIndex length)
{
    const TScopedCFType xml(CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, bytes, length, kCFAllocatorNull));
    if (!xml)
        return nullptr;

    const CFPropertyListRef list =
        CFPropertyListCreateFromXMLData(kCFAllocatorDefault, xml.Get(), kCFPropertyListImmutable, nullptr);
    // What was parsed is handed out, whatever the answer.
    if (list != nullptr)
        CFPropertyListIsValid(list, kCFPropertyListXMLFormat_v1_0);
    return list;
}

// Where a text stands in memory that need not end with a NUL.
struct TSpan
{
    const char* begin;
    const char* end;
};

static TSpan SpanOfData(CFDataRef data)
{
    const char* const begin = reinterpret_cast<const char*>(CFDataGetBytePtr(data));
    const char* const end = begin + CFDataGetLength(data);
    return {begin, std::find(begin, end, '\0')};
}

static bool CompareSpanToString(TSpan span, const char* text, bool substring)
{
    const char* const textEnd = text + strlen(text);
    if (substring)
        return text == textEnd || std::search(span.begin, span.end, text, textEnd) != span.end;
    return std::equal(span.begin, span.end, text, textEnd);
}

bool CompareCFTypeRefToString(CFTypeRef reference, const char* text, bool substring)
{
    const auto data = CFTypeAs<CFDataRef>(reference, CFDataGetTypeID());
    if (data != nullptr)
        return CompareSpanToString(SpanOfData(data), text, substring);

    char string[256];
    if (!ExtractASCII(reference, string, sizeof string))
        return false;
    return CompareSpanToString({string, string + strlen(string)}, text, substring);
}

bool ExtractASCII(CFTypeRef reference, char* text, UInt32 capacity)
{
    const auto string = CFTypeAs<CFStringRef>(reference, CFStringGetTypeID());
    return string != nullptr &&
           CFStringGetCString(string, text, static_cast<CFIndex>(capacity), kCFStringEncodingASCII) != 0;
}

static bool ExtractNumber(CFTypeRef reference, CFNumberType type, void* value)
{
    const auto number = CFTypeAs<CFNumberRef>(reference, CFNumberGetTypeID());
    return number != nullptr && CFNumberGetValue(number, type, value) != 0;
}

bool ExtractSInt32(CFTypeRef reference, SInt32* value)
{
    return ExtractNumber(reference, kCFNumberSInt32Type, value);
}

bool ExtractSInt64(CFTypeRef reference, SInt64* value)
{
    return ExtractNumber(reference, kCFNumberSInt64Type, value);
}
