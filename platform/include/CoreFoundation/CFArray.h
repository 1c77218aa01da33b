// Arrays of objects or of plain pointers.

#ifndef HALVORIX_PLATFORM_CFARRAY_H
#define HALVORIX_PLATFORM_CFARRAY_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;

typedef const void* (*CFArrayRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFArrayReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFArrayCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFArrayEqualCallBack)(const void* one, const void* other);

// What an array does with its values; a member may be null: nothing is done, equality is that of the pointers.
typedef struct
{
    CFIndex version;   // 0
    CFArrayRetainCallBack retain;
    CFArrayReleaseCallBack release;
    CFArrayCopyDescriptionCallBack copyDescription;   // not called
    CFArrayEqualCallBack equal;
} CFArrayCallBacks;

// For arrays of Core Foundation objects: retains and releases them.
extern const CFArrayCallBacks kCFTypeArrayCallBacks;

CFTypeID CFArrayGetTypeID(void);

// callBacks  null for an array of plain pointers; copied
// capacity   a hint
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks* callBacks);

// An array of these values, which cannot be changed.
CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks);

// May be called while another thread changes the array: it then answers the count before or after that change.
CFIndex CFArrayGetCount(CFArrayRef array);

// index  from 0 to the count less one; anything else ends the process
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

// In each of these, index or range must lie within the array; anything else ends the process.
Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, const void* value);
CFIndex CFArrayGetCountOfValue(CFArrayRef array, CFRange range, const void* value);
CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, const void* value);   // -1: none
CFIndex CFArrayGetLastIndexOfValue(CFArrayRef array, CFRange range, const void* value);    // -1: none

void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

// What stood at the index and behind it moves down by one; the index may be the count.
void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value);

// Replaces; an index that is the count appends.
void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value);

// Those behind the index move up by one.
void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index);

void CFArrayRemoveAllValues(CFMutableArrayRef array);
void CFArrayExchangeValuesAtIndices(CFMutableArrayRef array, CFIndex one, CFIndex other);
}

#endif
