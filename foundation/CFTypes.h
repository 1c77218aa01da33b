// Looking at Core Foundation objects of unknown type, and property lists from bytes.
//
// No function here retains what it is given; a null reference is of no type.

#ifndef HALVORIX_FOUNDATION_CFTYPES_H
#define HALVORIX_FOUNDATION_CFTYPES_H

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

// Checks what type an object is of.
//
// reference  any object, or null; stays the caller's
// type       what CFStringGetTypeID() and its like return
// result     receives the reference, not retained, or null when it is of another type
// returns    whether it is of that type
bool CastCFType(CFTypeRef reference, CFTypeID type, CFTypeRef* result);

// Makes a property list from XML.
//
// bytes    the XML; not copied, and needed no longer when the function returns
// length   how many bytes there are, 0 or more
// returns  an immutable property list, which the caller releases, or null when the bytes are none
CFPropertyListRef CreatePropertyListFromBytes(const UInt8* bytes, CFIndex length);

// Compares an object with a text, byte by byte: lower and upper case differ.
//
// reference  a CFString, compared as ASCII, or a CFData, whose bytes are text up to the first NUL or, without one, to the
//            end; or null. Stays the caller's
// text       the C string
// substring  false: both must be equal; true: text must occur anywhere in the object's text, as an empty one always does
// returns    whether that is so; false for an object of any other type, and for a CFString that is not ASCII or is longer
//            than 255 characters
bool CompareCFTypeRefToString(CFTypeRef reference, const char* text, bool substring);

// Reads a CFString as ASCII.
//
// reference  any object, or null; stays the caller's
// text       receives the C string; undefined on failure
// capacity   bytes of text, the NUL included
// returns    false when it is no CFString, is not ASCII, or does not fit
bool ExtractASCII(CFTypeRef reference, char* text, UInt32 capacity);

// Reads a CFNumber.
//
// reference  any object, or null; stays the caller's
// value      receives the number; untouched when it is no CFNumber
// returns    false when it is no CFNumber or its value is none of these; value then has an approximation
bool ExtractSInt32(CFTypeRef reference, SInt32* value);
bool ExtractSInt64(CFTypeRef reference, SInt64* value);
}

// The same as CastCFType, where the result is wanted with its type:
//
//     const auto names = CFTypeAs<CFDictionaryRef>(property.Get(), CFDictionaryGetTypeID());
//
// reference, type  as above; the reference stays the caller's
// returns          the reference, not retained, or null when it is of another type
template <class TReference>
TReference CFTypeAs(CFTypeRef reference, CFTypeID type)
{
    CFTypeRef result = nullptr;
    CastCFType(reference, type, &result);
    return static_cast<TReference>(result);
}

#endif
