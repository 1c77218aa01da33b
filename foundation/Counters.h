// 64-bit counters that several threads count with, on processors that have only 32-bit atomic operations.

#ifndef HALVORIX_FOUNDATION_COUNTERS_H
#define HALVORIX_FOUNDATION_COUNTERS_H

#include <CoreServices/CoreServices.h>

// Nothing that is counted is lost. But each half of a counter changes by itself: who reads it meanwhile can see the low
// half start again from 0 before the high half has counted that, and must bear with it.

extern "C" {

// Adds 1; 2^64 - 1 becomes 0.
//
// counter  an integer as the host has it, on PowerPC the most significant byte first
void AtomicUInt64Increment(UInt64* counter);

// Adds the amount, modulo 2^64, to a counter as above.
void AtomicUInt64Add(UInt64 amount, UInt64* counter);
}

#endif
