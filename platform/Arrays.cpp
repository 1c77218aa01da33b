#include "platform/Collections.h"

#include <cstddef>

using namespace platform;

namespace platform {

const void* RetainObject(CFAllocatorRef, const void* object)
{
    return CFRetain(object);
}

void ReleaseObject(CFAllocatorRef, const void* object)
{
    CFRelease(object);
}

}   // namespace platform

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, RetainObject, ReleaseObject, nullptr, CFEqual};

struct __CFArray : TObject
{
    __CFArray(const TType& type, const CFArrayCallBacks* calls, bool isMutable)
        : TObject(type, 1), fCalls(calls != nullptr ? *calls : CFArrayCallBacks{}), fIsMutable(isMutable)
    {
    }

    ~__CFArray() { RemoveAll(); }

    const void* Retain(const void* value) const
    {
        return fCalls.retain != nullptr ? fCalls.retain(nullptr, value) : value;
    }

    void Release(const void* value) const
    {
        if (fCalls.release != nullptr)
            fCalls.release(nullptr, value);
    }

    bool AreEqual(const void* one, const void* other) const
    {
        return one == other || (fCalls.equal != nullptr && fCalls.equal(one, other));
    }

    void Insert(std::size_t index, const void* value)
    {
        fValues.insert(fValues.begin() + static_cast<std::ptrdiff_t>(index), Retain(value));
        fCount = static_cast<CFIndex>(fValues.size());
    }

    void RemoveAll()
    {
        fCount = 0;
        for (const void* value : std::exchange(fValues, {}))
            Release(value);
    }

    std::vector<const void*> fValues;
    // Beside the vector's own, so that a count without a lock is no data race.
    std::atomic<CFIndex> fCount{0};
    const CFArrayCallBacks fCalls;
    const bool fIsMutable;
};

static bool ArraysAreEqual(const TObject* one, const TObject* other)
{
    const auto* const first = static_cast<const __CFArray*>(one);
    const auto* const second = static_cast<const __CFArray*>(other);
    if (first->fValues.size() != second->fValues.size())
        return false;
    for (std::size_t i = 0; i < first->fValues.size(); ++i) {
        if (!first->AreEqual(first->fValues[i], second->fValues[i]))
            return false;
    }
    return true;
}

static CFHashCode HashOfArray(const TObject* array)
{
    return static_cast<const __CFArray*>(array)->fValues.size();
}

static const TType kArrayType = {"CFArray", 18, Destroy<__CFArray>, ArraysAreEqual, HashOfArray};

namespace platform {

CFArrayRef MakeArray(const std::vector<TReference>& values, bool isMutable)
{
    auto* const array = Make<__CFArray>(kArrayType, &kCFTypeArrayCallBacks, isMutable);
    for (const TReference& value : values)
        array->Insert(array->fValues.size(), value.Get());
    return array;
}

}   // namespace platform

static __CFArray* ToBeChanged(CFMutableArrayRef array)
{
    auto* const changed = AsMutable<__CFArray>(array, kArrayType);
    CheckMutable(changed->fIsMutable, kArrayType);
    return changed;
}

// The index as an unsigned number; dies when it is not from 0 to `end` less one.
static std::size_t Within(CFIndex index, std::size_t end)
{
    if (index < 0 || static_cast<std::size_t>(index) >= end)
        Die("index %ld is not below %zu", index, end);
    return static_cast<std::size_t>(index);
}

CFTypeID CFArrayGetTypeID(void)
{
    return kArrayType.identifier;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks)
{
    return Make<__CFArray>(kArrayType, callBacks, true);
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count, const CFArrayCallBacks* callBacks)
{
    auto* const array = Make<__CFArray>(kArrayType, callBacks, false);
    for (CFIndex i = 0; i < count; ++i)
        array->Insert(array->fValues.size(), values[i]);
    return array;
}

CFIndex CFArrayGetCount(CFArrayRef array)
{
    return As<__CFArray>(array, kArrayType)->fCount;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index)
{
    const auto* const read = As<__CFArray>(array, kArrayType);
    return read->fValues[Within(index, read->fValues.size())];
}

// The indices in the range whose values equal the value.
static std::vector<CFIndex> IndicesOf(CFArrayRef array, CFRange range, const void* value)
{
    const auto* const searched = As<__CFArray>(array, kArrayType);
    std::vector<CFIndex> found;
    for (CFIndex i = range.location; i < range.location + range.length; ++i) {
        if (searched->AreEqual(searched->fValues[Within(i, searched->fValues.size())], value))
            found.push_back(i);
    }
    return found;
}

Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, const void* value)
{
    return !IndicesOf(array, range, value).empty();
}

CFIndex CFArrayGetCountOfValue(CFArrayRef array, CFRange range, const void* value)
{
    return static_cast<CFIndex>(IndicesOf(array, range, value).size());
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, const void* value)
{
    const std::vector<CFIndex> found = IndicesOf(array, range, value);
    return found.empty() ? -1 : found.front();
}

CFIndex CFArrayGetLastIndexOfValue(CFArrayRef array, CFRange range, const void* value)
{
    const std::vector<CFIndex> found = IndicesOf(array, range, value);
    return found.empty() ? -1 : found.back();
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value)
{
    __CFArray* const changed = ToBeChanged(array);
    changed->Insert(changed->fValues.size(), value);
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value)
{
    __CFArray* const changed = ToBeChanged(array);
    changed->Insert(Within(index, changed->fValues.size() + 1), value);
}

void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value)
{
    __CFArray* const changed = ToBeChanged(array);
    const std::size_t place = Within(index, changed->fValues.size() + 1);
    if (place == changed->fValues.size())
        return changed->Insert(place, value);
    // Retained before the old one is released: it may be the same.
    changed->Release(std::exchange(changed->fValues[place], changed->Retain(value)));
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index)
{
    __CFArray* const changed = ToBeChanged(array);
    const void* const value = changed->fValues[Within(index, changed->fValues.size())];
    changed->fValues.erase(changed->fValues.begin() + index);
    changed->fCount = static_cast<CFIndex>(changed->fValues.size());
    changed->Release(value);
}

void CFArrayRemoveAllValues(CFMutableArrayRef array)
{
    ToBeChanged(array)->RemoveAll();
}

void CFArrayExchangeValuesAtIndices(CFMutableArrayRef array, CFIndex one, CFIndex other)
{
    std::vector<const void*>& values = ToBeChanged(array)->fValues;
    std::swap(values[Within(one, values.size())], values[Within(other, values.size())]);
}
