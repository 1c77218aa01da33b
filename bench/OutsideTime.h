// How long the calls take that the product makes into what is not the product: tools that it waits for, and the frameworks.
// What is left of an operation's time is the product's own.
//
// The linker puts these in front of the functions of OutsideCalls.cpp, in programs that link halvorix_bench_outside.

#ifndef HALVORIX_BENCH_OUTSIDETIME_H
#define HALVORIX_BENCH_OUTSIDETIME_H

#include "bench/Clocks.h"

#include <cstdint>

enum EOutside
{
    kTools,             // waiting for a tool to print or to end
    kStartingTools,     // making the process that becomes a tool
    kDiskArbitration,   // asking for a mount or unmount, and waiting until it is done
    kFrameworks,        // everything else of Apple's
    kOutsideKinds
};

struct TOutsideTimes
{
    std::uint64_t nanoseconds[kOutsideKinds];

    std::uint64_t All() const
    {
        std::uint64_t all = 0;
        for (const std::uint64_t time : nanoseconds)
            all += time;
        return all;
    }
};

// Those of this thread since they were forgotten.
extern thread_local TOutsideTimes gOutsideTimes;
inline void ForgetOutsideTimes()
{
    gOutsideTimes = {};
}

// How deep this thread is in such calls: what they call themselves is counted with them.
inline thread_local int gOutsideDepth = 0;

// Counts a scope.
class TOutsideTime
{
public:
    explicit TOutsideTime(EOutside kind) : fKind(kind), fBegin(gOutsideDepth++ == 0 ? Now() : 0) {}
    ~TOutsideTime()
    {
        if (--gOutsideDepth == 0)
            gOutsideTimes.nanoseconds[fKind] += Now() - fBegin;
    }
    TOutsideTime(const TOutsideTime&) = delete;
    TOutsideTime& operator=(const TOutsideTime&) = delete;

private:
    EOutside fKind;
    std::uint64_t fBegin;
};

// Makes a call and counts it.
template <class TResult, class... TArguments>
TResult Outside(EOutside kind, TResult (*function)(TArguments...), TArguments... arguments)
{
    const TOutsideTime time(kind);
    return function(arguments...);
}

#endif
