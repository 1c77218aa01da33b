// Versions of system software as Mac OS packs them into 32 bits, as numbers and as text.
//
// From the most significant byte: the major revision, two decimal digits; the minor and the bug revision, 0 to 15, four
// bits each; the stage; the non-release revision, 0 to 255. 10.4.11 is 0x104B8000, 1.0b10 is 0x0100600A.

#ifndef HALVORIX_FOUNDATION_NUMVERSIONS_H
#define HALVORIX_FOUNDATION_NUMVERSIONS_H

#include <CoreServices/CoreServices.h>

// What the stage byte holds; the values are those of Apple's MacTypes.h.
constexpr UInt8 kStageDevelopment = 0x20;   // "d"
constexpr UInt8 kStageAlpha = 0x40;         // "a"
constexpr UInt8 kStageBeta = 0x60;          // "b"
constexpr UInt8 kStageFinal = 0x80;         // no letter

extern "C" {

// Turn a version into one number, the same on every host, and back. Versions compare as these numbers do, unsigned.
//
// version, number  of any value: nothing is checked, and nothing is lost either way
// returns          0x104B8000 for the bytes 10 4B 80 00, and those for the number
UInt32 ReturnNumberOfNumVersion(NumVersion version);
NumVersion ReturnNumVersionOfNumber(UInt32 number);

// Writes a version: "10.4", "10.4.1", "10.10", "1.0b10". A bug revision of 0 is left out, and so is the non-release
// revision of a final version.
//
// version           its bytes as described above
// text              receives the C string, cut where it does not fit; the rest of the buffer becomes 0. It is empty when
//                   the major revision has a digit above 9 (0xA0008000) or the stage is none of the four
// capacity          bytes of text, the NUL included; 14 are enough for every version
// blankBeforeStage  whether a stage's letter has a blank before it: "1.0 b10"
void ConvertNumVersionToString(NumVersion version, char* text, UInt32 capacity, bool blankBeforeStage);

// Reads a version: one or two digits; a "." and the minor revision; perhaps a "." and the bug revision; perhaps one blank;
// then the end, or "d", "a" or "b" and the non-release revision, up to 255.
//
// text     the C string
// version  receives the version; untouched on failure
// returns  whether it is one
//
// Minor and bug revision are 0 to 15 without a leading zero: "10.16", "10.04" and "10.20" are refused, and so are "10",
// "10.4." and "10.4b". A digit where a stage could stand is read as nothing, and what follows it as well: "10.4 7" is
// 10.4, "10.123" is 10.12. Of the non-release revision three digits are read, and nothing behind it: "1.0b1234x" is
// 1.0b123, "10.4b256" is refused.
bool ConvertStringToNumVersion(const char* text, NumVersion* version);
}

#endif
