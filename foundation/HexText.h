// Identifiers of eight bytes as hexadecimal text: "50 06 0E 80 00 12 34 56".

#ifndef HALVORIX_FOUNDATION_HEXTEXT_H
#define HALVORIX_FOUNDATION_HEXTEXT_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Writes each byte as two upper-case digits, with a blank between one byte and the next.
//
// data  eight bytes, as a World Wide Name is published
// text  receives the C string, 24 bytes with its NUL
void ConvertWWN_DataToHexString(const UInt8* data, char* text);

// The same for the bytes of a number, the most significant first on every host: 0x50060E8000123456 is the text above.
//
// value  the number, as the host has it
// text   receives the C string, 24 bytes with its NUL
void ConvertUInt64ToHexString(const UInt64* value, char* text);
}

#endif
