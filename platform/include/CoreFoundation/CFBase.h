// What every Core Foundation object has: a type, a reference count, equality and a hash.

#ifndef HALVORIX_PLATFORM_CFBASE_H
#define HALVORIX_PLATFORM_CFBASE_H

#include <MacTypes.h>

extern "C" {

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef signed long CFIndex;

typedef const void* CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;

// There is one allocator, malloc's. The argument is taken everywhere and looked at by CFDataCreateWithBytesNoCopy alone, to
// which kCFAllocatorNull says that the bytes are not to be freed.
typedef const struct __CFAllocator* CFAllocatorRef;
extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFAllocatorRef kCFAllocatorMalloc;
extern const CFAllocatorRef kCFAllocatorNull;

typedef enum
{
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
} CFComparisonResult;

struct CFRange
{
    CFIndex location;
    CFIndex length;
};
typedef struct CFRange CFRange;

// Adds a reference and returns the object.
CFTypeRef CFRetain(CFTypeRef object);

// Drops a reference; the last one destroys the object. Releasing an object that is dead already does nothing but count
// (for the last few hundred that died; one that is dead longer may not be recognised).
void CFRelease(CFTypeRef object);

// Constants answer the largest CFIndex.
CFIndex CFGetRetainCount(CFTypeRef object);

CFTypeID CFGetTypeID(CFTypeRef object);

// Equal objects are of one type and hold the same value: text by its UTF-16 units, an integer and a fraction of the same
// value are equal. Types without a value are equal when they are one object. Equal objects have equal hashes.
Boolean CFEqual(CFTypeRef one, CFTypeRef other);
CFHashCode CFHash(CFTypeRef object);
}

#endif
