// From Core Foundation's moments to the File Manager's.

#ifndef HALVORIX_PLATFORM_DATETIMEUTILS_H
#define HALVORIX_PLATFORM_DATETIMEUTILS_H

#include <CoreFoundation/CFDate.h>
#include <CoreServices/UTCUtils.h>

extern "C" {

// moment   seconds since 1 January 2001, 0:00 UTC
// date     receives the moment; untouched on failure
// returns  noErr; kUTCUnderflowErr before 1904, kUTCOverflowErr when the seconds do not fit 48 bits; paramErr without a
//          date or when the moment is no number
OSStatus UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime moment, UTCDateTime* date);
}

#endif
