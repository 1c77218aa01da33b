// Sizes in bytes as text for people: "20.0 GB".

#ifndef HALVORIX_FOUNDATION_SIZES_H
#define HALVORIX_FOUNDATION_SIZES_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Writes a size with three digits or so, without its unit.
//
// bytes     the size
// text      receives the C string, cut where it does not fit; the rest of the buffer becomes 0
// capacity  bytes of text, the NUL included
// power     receives what the number counts: 3 kilobytes (of 1024 bytes), 6 megabytes, 9 gigabytes, 12 terabytes; 0 when
//           there are 1000 terabytes or more, and text is empty then
//
// The unit is the smallest of which there are at most 999 whole ones. So a step is 1024 but the next unit comes after 999:
// 1,023,999 bytes are "999" kilobytes, 1,024,000 are "0.98" megabytes. Nothing is smaller than a kilobyte: 0 is "0.00".
//
// How many decimals follow is decided by the whole units: from 100 on none, the rest being cut off; from 10 on one; below
// two. Those are rounded, so that a little less than 10 units are "10.00", less than 100 "100.0", and 1023 bytes "1.00".
void ConvertUInt64ToSizeSizeStringAndPowerOfTen(UInt64 bytes, char* text, UInt32 capacity, UInt32* power);

// Writes a size with its unit: 0 is "0.00 KB", 21,474,836,480 is "20.0 GB", 1,073,741,824,000 is "0.98 TB".
//
// bytes     the size
// text      receives the C string, cut where it does not fit; the rest of the buffer becomes 0. " -" from 1000 terabytes on
// capacity  bytes of text, the NUL included
void ConvertUInt64ToSizeString(UInt64 bytes, char* text, UInt32 capacity);

// Returns what ConvertUInt64ToSizeString puts behind the number, with a blank before it: " KB" for 3, " MB" for 6, " GB"
// for 9, " TB" for 12, " EB" for 15 (which no size comes to), " -" for every other power. A constant, never null.
const char* ReturnSizeUnit(UInt32 power);
}

#endif
