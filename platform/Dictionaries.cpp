#include "platform/Collections.h"

#include <algorithm>
#include <cstddef>

using namespace platform;

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       RetainObject, ReleaseObject,
                                                                nullptr, CFEqual,      CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, RetainObject, ReleaseObject, nullptr, CFEqual};

struct TPair
{
    const void* key;
    const void* value;
};

struct __CFDictionary : TObject
{
    __CFDictionary(const TType& type, const CFDictionaryKeyCallBacks* keyCalls,
                   const CFDictionaryValueCallBacks* valueCalls, bool isMutable)
        : TObject(type, 1), fKeyCalls(keyCalls != nullptr ? *keyCalls : CFDictionaryKeyCallBacks{}),
          fValueCalls(valueCalls != nullptr ? *valueCalls : CFDictionaryValueCallBacks{}), fIsMutable(isMutable)
    {
    }

    ~__CFDictionary() { RemoveAll(); }

    // The callbacks of keys and of values have members of the same names.
    template <class TCalls>
    static const void* Retain(const TCalls& calls, const void* object)
    {
        return calls.retain != nullptr ? calls.retain(nullptr, object) : object;
    }

    template <class TCalls>
    static void Release(const TCalls& calls, const void* object)
    {
        if (calls.release != nullptr)
            calls.release(nullptr, object);
    }

    template <class TCalls>
    static bool AreEqual(const TCalls& calls, const void* one, const void* other)
    {
        return one == other || (calls.equal != nullptr && calls.equal(one, other));
    }

    // The place of the key, or the number of pairs.
    std::size_t Find(const void* key) const
    {
        std::size_t place = 0;
        while (place < fPairs.size() && !AreEqual(fKeyCalls, fPairs[place].key, key))
            ++place;
        return place;
    }

    bool Has(const void* key) const { return Find(key) < fPairs.size(); }

    void Set(const void* key, const void* value)
    {
        // Retained before the old value is released: it may be the same.
        const void* const retained = Retain(fValueCalls, value);
        const std::size_t place = Find(key);
        if (place < fPairs.size())
            Release(fValueCalls, std::exchange(fPairs[place].value, retained));
        else
            fPairs.push_back({Retain(fKeyCalls, key), retained});
    }

    void ReleasePair(const TPair& pair) const
    {
        Release(fKeyCalls, pair.key);
        Release(fValueCalls, pair.value);
    }

    void RemoveAll()
    {
        for (const TPair& pair : std::exchange(fPairs, {}))
            ReleasePair(pair);
    }

    std::vector<TPair> fPairs;
    const CFDictionaryKeyCallBacks fKeyCalls;
    const CFDictionaryValueCallBacks fValueCalls;
    const bool fIsMutable;
};

static bool DictionariesAreEqual(const TObject* one, const TObject* other)
{
    const auto* const first = static_cast<const __CFDictionary*>(one);
    const auto* const second = static_cast<const __CFDictionary*>(other);
    if (first->fPairs.size() != second->fPairs.size())
        return false;
    return std::all_of(first->fPairs.begin(), first->fPairs.end(), [&](const TPair& pair) {
        const std::size_t place = second->Find(pair.key);
        return place < second->fPairs.size() &&
               __CFDictionary::AreEqual(first->fValueCalls, pair.value, second->fPairs[place].value);
    });
}

static CFHashCode HashOfDictionary(const TObject* dictionary)
{
    return static_cast<const __CFDictionary*>(dictionary)->fPairs.size();
}

static const TType kDictionaryType = {"CFDictionary", 17, Destroy<__CFDictionary>, DictionariesAreEqual,
                                      HashOfDictionary};

namespace platform {

CFDictionaryRef MakeDictionary(const std::vector<std::pair<TReference, TReference>>& entries, bool isMutable)
{
    auto* const dictionary = Make<__CFDictionary>(kDictionaryType, &kCFTypeDictionaryKeyCallBacks,
                                                  &kCFTypeDictionaryValueCallBacks, isMutable);
    // Not by Set, which would look each key up: they are known to differ.
    for (const auto& entry : entries)
        dictionary->fPairs.push_back({CFRetain(entry.first.Get()), CFRetain(entry.second.Get())});
    return dictionary;
}

}   // namespace platform

static const __CFDictionary* ToBeRead(CFDictionaryRef dictionary)
{
    return As<__CFDictionary>(dictionary, kDictionaryType);
}

static __CFDictionary* ToBeChanged(CFMutableDictionaryRef dictionary)
{
    auto* const changed = AsMutable<__CFDictionary>(dictionary, kDictionaryType);
    CheckMutable(changed->fIsMutable, kDictionaryType);
    return changed;
}

CFTypeID CFDictionaryGetTypeID(void)
{
    return kDictionaryType.identifier;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks)
{
    return Make<__CFDictionary>(kDictionaryType, keyCallBacks, valueCallBacks, true);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex count,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks)
{
    auto* const dictionary = Make<__CFDictionary>(kDictionaryType, keyCallBacks, valueCallBacks, false);
    for (CFIndex i = 0; i < count; ++i) {
        if (!dictionary->Has(keys[i]))
            dictionary->Set(keys[i], values[i]);
    }
    return dictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex, CFDictionaryRef dictionary)
{
    const __CFDictionary* const copied = ToBeRead(dictionary);
    auto* const copy = Make<__CFDictionary>(kDictionaryType, &copied->fKeyCalls, &copied->fValueCalls, true);
    for (const TPair& pair : copied->fPairs)
        copy->Set(pair.key, pair.value);
    return copy;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary)
{
    return static_cast<CFIndex>(ToBeRead(dictionary)->fPairs.size());
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value)
{
    const __CFDictionary* const read = ToBeRead(dictionary);
    const std::size_t place = read->Find(key);
    if (place == read->fPairs.size())
        return false;
    if (value != nullptr)
        *value = read->fPairs[place].value;
    return true;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key)
{
    const void* value = nullptr;
    return CFDictionaryGetValueIfPresent(dictionary, key, &value) ? value : nullptr;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key)
{
    return ToBeRead(dictionary)->Has(key);
}

Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, const void* value)
{
    const __CFDictionary* const read = ToBeRead(dictionary);
    return std::any_of(read->fPairs.begin(), read->fPairs.end(), [&](const TPair& pair) {
        return __CFDictionary::AreEqual(read->fValueCalls, pair.value, value);
    });
}

CFIndex CFDictionaryGetCountOfKey(CFDictionaryRef dictionary, const void* key)
{
    return ToBeRead(dictionary)->Has(key);
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values)
{
    for (const TPair& pair : ToBeRead(dictionary)->fPairs) {
        if (keys != nullptr)
            *keys++ = pair.key;
        if (values != nullptr)
            *values++ = pair.value;
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value)
{
    ToBeChanged(dictionary)->Set(key, value);
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value)
{
    __CFDictionary* const changed = ToBeChanged(dictionary);
    if (!changed->Has(key))
        changed->Set(key, value);
}

void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, const void* key, const void* value)
{
    __CFDictionary* const changed = ToBeChanged(dictionary);
    if (changed->Has(key))
        changed->Set(key, value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key)
{
    __CFDictionary* const changed = ToBeChanged(dictionary);
    const std::size_t place = changed->Find(key);
    if (place == changed->fPairs.size())
        return;
    const TPair removed = changed->fPairs[place];
    changed->fPairs.erase(changed->fPairs.begin() + static_cast<std::ptrdiff_t>(place));
    changed->ReleasePair(removed);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary)
{
    ToBeChanged(dictionary)->RemoveAll();
}
