#include "platform/Objects.h"

#include "platform/Counts.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <limits>

// Never looked into: two addresses that differ.
static const char gMalloc = 0;
static const char gNull = 0;
const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorMalloc = reinterpret_cast<CFAllocatorRef>(&gMalloc);
const CFAllocatorRef kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(&gNull);

namespace platform {

static const TType kDead = {"dead object", 0, nullptr, nullptr, nullptr};

// The objects that died last. Their memory is not used again until as many others have died, so that a release of what was
// released before meets a dead object instead of a stranger.
constexpr unsigned kDeadKept = 512;
static std::atomic<TObject*> gDead[kDeadKept];
static std::atomic<unsigned> gNextDead{0};

void Die(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    abort();
}

const TObject* Live(CFTypeRef reference)
{
    if (reference == nullptr)
        Die("a Core Foundation function was called with no object");
    const auto* const object = static_cast<const TObject*>(reference);
    if (object->fType == &kDead)
        Die("a Core Foundation function was called with an object that was released");
    return object;
}

void Check(CFTypeRef reference, const TType& type)
{
    const TObject* const object = Live(reference);
    if (object->fType != &type)
        Die("a Core Foundation function for %s was called with a %s", type.name, object->fType->name);
}

void CheckMutable(bool isMutable, const TType& type)
{
    if (!isMutable)
        Die("a %s that is not mutable was to be changed", type.name);
}

void CountMade()
{
    CountObject(+1);
}

static void Bury(TObject* object)
{
    object->fType->destroy(object);
    TObject* const dead = new (static_cast<void*>(object)) TObject(kDead, 0);
    TObject* const oldest = gDead[gNextDead++ % kDeadKept].exchange(dead);
    ::operator delete(static_cast<void*>(oldest));
    CountObject(-1);
}

}   // namespace platform

using namespace platform;

CFTypeRef CFRetain(CFTypeRef object)
{
    auto* const live = const_cast<TObject*>(Live(object));
    if (live->fReferences != kImmortal)
        live->fReferences.fetch_add(1, std::memory_order_relaxed);
    return object;
}

void CFRelease(CFTypeRef object)
{
    if (object == nullptr)
        Die("CFRelease was called with no object");
    auto* const released = const_cast<TObject*>(static_cast<const TObject*>(object));
    if (released->fType == &kDead) {
        CountOverRelease();
        return;
    }
    if (released->fReferences != kImmortal && released->fReferences.fetch_sub(1, std::memory_order_acq_rel) == 1)
        Bury(released);
}

CFIndex CFGetRetainCount(CFTypeRef object)
{
    const long references = Live(object)->fReferences;
    return references == kImmortal ? std::numeric_limits<CFIndex>::max() : references;
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    return Live(object)->fType->identifier;
}

Boolean CFEqual(CFTypeRef one, CFTypeRef other)
{
    const TObject* const first = Live(one);
    const TObject* const second = Live(other);
    if (first == second)
        return true;
    return first->fType == second->fType && first->fType->equal != nullptr && first->fType->equal(first, second);
}

CFHashCode CFHash(CFTypeRef object)
{
    const TObject* const live = Live(object);
    if (live->fType->hash == nullptr)
        return reinterpret_cast<CFHashCode>(object);
    return live->fType->hash(live);
}
