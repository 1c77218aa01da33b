// Dictionaries of objects or of plain pointers.

#ifndef HALVORIX_PLATFORM_CFDICTIONARY_H
#define HALVORIX_PLATFORM_CFDICTIONARY_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* one, const void* other);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);

// What a dictionary does with its keys and values; a member may be null: nothing is done, equality is that of the
// pointers.
typedef struct
{
    CFIndex version;   // 0
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;   // not called
    CFDictionaryEqualCallBack equal;
    CFDictionaryHashCallBack hash;   // not called: keys are looked for one by one
} CFDictionaryKeyCallBacks;

typedef struct
{
    CFIndex version;   // 0
    CFDictionaryRetainCallBack retain;
    CFDictionaryReleaseCallBack release;
    CFDictionaryCopyDescriptionCallBack copyDescription;   // not called
    CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

// For Core Foundation objects: retain and release them.
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFDictionaryGetTypeID(void);

// keyCallBacks, valueCallBacks  null for plain pointers; copied
// capacity                      a hint
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);

// A dictionary of these keys and values, in pairs, which cannot be changed. Of equal keys the first pair is taken.
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values, CFIndex count,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);

// A dictionary of its own with the same keys, values and callbacks; the values are not copied.
// capacity  a hint
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                     CFDictionaryRef dictionary);

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);

// The value of the key, or null; it stays the dictionary's.
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

// Whether the key is there; value may be null, and receives its value then.
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value);

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);
Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, const void* value);
CFIndex CFDictionaryGetCountOfKey(CFDictionaryRef dictionary, const void* key);   // 0 or 1

// Fills both arrays with all keys and their values, in one order; either may be null.
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values);

// A key that is there keeps its place and its object; its value is replaced.
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);

// Only when the key is not there, or only when it is.
void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);

// A key that is not there is no error.
void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key);
void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary);
}

#endif
