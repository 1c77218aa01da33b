#include "foundation/Counters.h"

#include <cstring>

// The halves of a 64-bit integer.
struct THalves
{
    SInt32* high;
    SInt32* low;
};

// Finds them by significance: where each stands in memory is the host's business.
static THalves HalvesOf(UInt64* counter)
{
    const UInt64 one = 1;
    UInt32 firstHalf = 0;
    memcpy(&firstHalf, &one, sizeof firstHalf);
    SInt32* const halves = reinterpret_cast<SInt32*>(counter);
    return firstHalf == 0 ? THalves{halves, halves + 1} : THalves{halves + 1, halves};
}

void AtomicUInt64Increment(UInt64* counter)
{
    const THalves halves = HalvesOf(counter);
    if (static_cast<UInt32>(IncrementAtomic(halves.low)) == 0xFFFFFFFF)
        IncrementAtomic(halves.high);
}

void AtomicUInt64Add(UInt64 amount, UInt64* counter)
{
    const THalves halves = HalvesOf(counter);
    const UInt32 low = static_cast<UInt32>(amount);
    const UInt32 high = static_cast<UInt32>(amount >> 32);

    const UInt32 old = static_cast<UInt32>(AddAtomic(static_cast<SInt32>(low), halves.low));
    if (old > 0xFFFFFFFF - low)
        IncrementAtomic(halves.high);
    if (high != 0)
        AddAtomic(static_cast<SInt32>(high), halves.high);
}
