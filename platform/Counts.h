// How many Core Foundation objects and IOKit references this process holds, for the checks of the tests.
//
// The counts stand in the file /machine/objects/PID, which this process maps, so that others can read them while it runs.
// Where there is no such folder they stand in private memory, as they do in a forked child until it executes a program.

#ifndef HALVORIX_PLATFORM_COUNTS_H
#define HALVORIX_PLATFORM_COUNTS_H

#include <cstdint>

namespace platform {

struct TCounts
{
    std::uint64_t objects;        // live Core Foundation objects; constants and run loops are none
    std::uint64_t references;     // live IOKit references
    std::uint64_t overReleases;   // releases of what was not held
};

TCounts CurrentCounts();

// Called by the stand-ins where they make and destroy. Change is +1 or -1.
void CountObject(int change);
void CountReference(int change);
void CountOverRelease();

}   // namespace platform

#endif
