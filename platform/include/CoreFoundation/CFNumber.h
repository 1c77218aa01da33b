// Numbers and truth values.

#ifndef HALVORIX_PLATFORM_CFNUMBER_H
#define HALVORIX_PLATFORM_CFNUMBER_H

#include <CoreFoundation/CFBase.h>

extern "C" {

typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;

extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);

// What a pointer to a number's value points to.
typedef enum
{
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14
} CFNumberType;

CFTypeID CFNumberGetTypeID(void);

// Null when there is no such type.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);

// Whether it was made from a fraction's type.
Boolean CFNumberIsFloatType(CFNumberRef number);

// Writes the number as the type asks. Returns whether it is exactly the number's value; if not, an approximation is
// written: fractions are cut off, integers keep their low bits, what is beyond an integer's range its nearest end.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

// By value, whatever the types. Not-a-number equals itself, and stands between negative and other numbers.
// context  ignored; null
CFComparisonResult CFNumberCompare(CFNumberRef one, CFNumberRef other, void* context);
}

#endif
