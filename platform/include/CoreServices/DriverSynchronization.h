// Counters that several threads change. Each change is a full barrier; each function returns the value from before it,
// and wraps round.

#ifndef HALVORIX_PLATFORM_DRIVERSYNCHRONIZATION_H
#define HALVORIX_PLATFORM_DRIVERSYNCHRONIZATION_H

#include <MacTypes.h>

extern "C" {

SInt32 IncrementAtomic(SInt32* address);
SInt32 AddAtomic(SInt32 amount, SInt32* address);
}

#endif
