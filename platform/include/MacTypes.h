// The integer types that Mac OS X's C interfaces are written in, with the widths they have there.

#ifndef HALVORIX_PLATFORM_MACTYPES_H
#define HALVORIX_PLATFORM_MACTYPES_H

#include <cstdint>

typedef unsigned char UInt8;
typedef signed char SInt8;
typedef unsigned short UInt16;
typedef signed short SInt16;
// A 32-bit Mac's are long; on a 64-bit host long is too wide.
#ifdef __LP64__
typedef unsigned int UInt32;
typedef signed int SInt32;
#else
typedef unsigned long UInt32;
typedef signed long SInt32;
#endif
typedef unsigned long long UInt64;
typedef signed long long SInt64;

typedef float Float32;
typedef double Float64;

typedef unsigned char Boolean;
typedef UInt16 UniChar;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OptionBits;
typedef UInt32 OSType;         // four characters, the first in the most significant byte
typedef UInt32 TextEncoding;   // a script; 0 is Mac Roman
typedef unsigned long ItemCount;
typedef unsigned long UniCharCount;
typedef char* Ptr;
typedef Ptr* Handle;

// Pascal strings: a length byte, then that many characters.
typedef unsigned char* StringPtr;
typedef const unsigned char* ConstStr255Param;

enum
{
    noErr = 0,
    kNilOptions = 0
};

struct Point
{
    short v;
    short h;
};
typedef struct Point Point;

struct Rect
{
    short top;
    short left;
    short bottom;
    short right;
};
typedef struct Rect Rect;

// What the Process Manager calls a process; it is no process ID.
struct ProcessSerialNumber
{
    UInt32 highLongOfPSN;
    UInt32 lowLongOfPSN;
};
typedef struct ProcessSerialNumber ProcessSerialNumber;

// A version of system software in binary-coded decimal. Whatever the host's byte order, the four bytes read as one
// unsigned 32-bit number whose most significant byte is majorRev, so versions compare as numbers.
struct NumVersion
{
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    UInt8 majorRev;
    UInt8 minorAndBugRev;
    UInt8 stage;
    UInt8 nonRelRev;
#else
    UInt8 nonRelRev;
    UInt8 stage;
    UInt8 minorAndBugRev;
    UInt8 majorRev;
#endif
};
typedef struct NumVersion NumVersion;

#endif
