// Core Foundation's numbers, truth values and dates, as the stand-ins themselves make and read them.

#ifndef HALVORIX_PLATFORM_NUMBERS_H
#define HALVORIX_PLATFORM_NUMBERS_H

#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFNumber.h>

#include <cstdint>

namespace platform {

// A number's value: an integer or a fraction.
struct TNumber
{
    bool isReal = false;
    std::int64_t integer = 0;
    bool wide = false;   // an integer of 2^63 and more, whose low 64 bits stand in `integer`
    double real = 0;
};

// The caller releases it.
CFNumberRef MakeNumber(TNumber value);

TNumber ValueOf(CFNumberRef number);

}   // namespace platform

#endif
