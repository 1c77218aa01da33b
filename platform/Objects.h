// What every Core Foundation object begins with, and how a stand-in defines a type.
//
// A type is a struct that derives from TObject, and a TType that tells what is particular about it:
//
//     struct __CFThing : TObject { ... };
//     static const TType kThingType = {"CFThing", 17, Destroy<__CFThing>, nullptr, nullptr};
//     return Make<__CFThing>(kThingType, ...);    // one reference, counted

#ifndef HALVORIX_PLATFORM_OBJECTS_H
#define HALVORIX_PLATFORM_OBJECTS_H

#include <CoreFoundation/CFBase.h>

#include <atomic>
#include <new>
#include <utility>

namespace platform {

struct TObject;

struct TType
{
    const char* name;
    CFTypeID identifier;                                       // no two types have the same
    void (*destroy)(TObject* object);                          // Destroy, of the type's struct
    bool (*equal)(const TObject* one, const TObject* other);   // null: only an object itself is equal
    CFHashCode (*hash)(const TObject* object);                 // null: by address
};

// A count of references that stands still: constants.
constexpr long kImmortal = -1;

struct TObject
{
    constexpr TObject(const TType& type, long references) : fType(&type), fReferences(references) {}

    const TType* fType;
    std::atomic<long> fReferences;
};

// Gives back what the object holds. Its memory is kept a while, to know a dead object when it is released once more.
template <class TStruct>
void Destroy(TObject* object)
{
    static_cast<TStruct*>(object)->~TStruct();
}

// Ends the process with one line on standard error.
[[noreturn]] void Die(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The object behind a reference. Dies when the reference is null or the object is dead.
const TObject* Live(CFTypeRef reference);

// The same, and dies when the object is not of the type.
void Check(CFTypeRef reference, const TType& type);

template <class TStruct>
const TStruct* As(CFTypeRef reference, const TType& type)
{
    Check(reference, type);
    return static_cast<const TStruct*>(static_cast<const TObject*>(reference));
}

template <class TStruct>
TStruct* AsMutable(CFTypeRef reference, const TType& type)
{
    return const_cast<TStruct*>(As<TStruct>(reference, type));
}

// Counts an object that was just made.
void CountMade();

template <class TStruct, class... TArguments>
TStruct* Make(const TType& type, TArguments&&... arguments)
{
    auto* const object = new TStruct(type, std::forward<TArguments>(arguments)...);
    CountMade();
    return object;
}

// Dies when the object may not be changed.
void CheckMutable(bool isMutable, const TType& type);

// Owns one reference, or none, and releases it.
class TReference
{
public:
    TReference() = default;
    explicit TReference(CFTypeRef owned) : fObject(owned) {}
    TReference(TReference&& other) noexcept : fObject(other.Give()) {}
    TReference& operator=(TReference&& other) noexcept
    {
        std::swap(fObject, other.fObject);
        return *this;
    }
    ~TReference()
    {
        if (fObject != nullptr)
            CFRelease(fObject);
    }

    CFTypeRef Get() const { return fObject; }
    explicit operator bool() const { return fObject != nullptr; }

    // Hands the reference over to the caller.
    CFTypeRef Give() { return std::exchange(fObject, nullptr); }

private:
    CFTypeRef fObject = nullptr;
};

}   // namespace platform

#endif
