#include "foundation/Sizes.h"

#include "foundation/CStrings.h"

#include <cstdio>
#include <cstring>

// Where a number is put together, and where its unit is appended.
static const UInt32 kTextSize = 256;

// How many steps of 1024 there are, from kilobytes to terabytes.
static const unsigned kSteps = 4;

static void FormatUnits(char (&text)[kTextSize], double units, UInt64 wholeUnits)
{
    if (wholeUnits > 99)
        snprintf(text, sizeof text, "%d", static_cast<int>(units));
    else if (wholeUnits > 9)
        snprintf(text, sizeof text, "%#4.1f", units);
    else
        snprintf(text, sizeof text, "%4.2f", units);
}

// Writes the number and returns the power.
static UInt32 FormatSize(char (&text)[kTextSize], UInt64 bytes)
{
    double units = static_cast<double>(bytes);
    for (unsigned step = 1; step <= kSteps; ++step) {
        units /= 1024;
        const UInt64 wholeUnits = bytes >> (10 * step);
        if (wholeUnits <= 999) {
            FormatUnits(text, units, wholeUnits);
            return 3 * step;
        }
    }
    return 0;
}

void ConvertUInt64ToSizeSizeStringAndPowerOfTen(UInt64 bytes, char* text, UInt32 capacity, UInt32* power)
{
    memset(text, 0, capacity);
    char number[kTextSize] = {};
    *power = FormatSize(number, bytes);
    StoreCString(text, number, capacity);
}

const char* ReturnSizeUnit(UInt32 power)
{
    switch (power) {
    case 3:
        return " KB";
    case 6:
        return " MB";
    case 9:
        return " GB";
    case 12:
        return " TB";
    case 15:
        return " EB";
    default:
        return " -";
    }
}

void ConvertUInt64ToSizeString(UInt64 bytes, char* text, UInt32 capacity)
{
    memset(text, 0, capacity);
    char size[kTextSize] = {};
    UInt32 power = 0;
    ConvertUInt64ToSizeSizeStringAndPowerOfTen(bytes, size, kTextSize, &power);
    UInt32 used = static_cast<UInt32>(strlen(size));
    CatStrings(size, ReturnSizeUnit(power), kTextSize, &used, false);
    StoreCString(text, size, capacity);
}
