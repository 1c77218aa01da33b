// The status numbers that the daemon and the library hand out. They are the classic Mac OS ones, as Apple's MacErrors.h
// has them.

#ifndef HALVORIX_FOUNDATION_STATUS_H
#define HALVORIX_FOUNDATION_STATUS_H

#include <CoreServices/CoreServices.h>

constexpr SInt32 kStatusOK = 0;
constexpr SInt32 kStatusParameterError = -50;    // paramErr; also a thread or socket that could not be created
constexpr SInt32 kStatusPermissionError = -54;   // permErr
constexpr SInt32 kStatusOutOfMemory = -108;      // memFullErr

#endif
