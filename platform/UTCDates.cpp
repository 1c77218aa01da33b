#include <CoreServices/CoreServices.h>

#include <cmath>

// From 1904 to 2001.
static const double kSecondsFrom1904 = 3061152000.0;
static const double kTwoTo48 = 281474976710656.0;

OSStatus UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime moment, UTCDateTime* date)
{
    if (date == nullptr || std::isnan(moment))
        return paramErr;
    const double seconds = std::floor(moment + kSecondsFrom1904);
    if (seconds < 0)
        return kUTCUnderflowErr;
    if (seconds >= kTwoTo48)
        return kUTCOverflowErr;
    const auto whole = static_cast<UInt64>(seconds);
    date->highSeconds = static_cast<UInt16>(whole >> 32);
    date->lowSeconds = static_cast<UInt32>(whole & 0xffffffff);
    date->fraction = static_cast<UInt16>((moment + kSecondsFrom1904 - seconds) * 65536);
    return noErr;
}
