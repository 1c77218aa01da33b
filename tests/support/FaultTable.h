// What stands in front of each function of the table of faults, for the files that list them: FaultsIn*.cpp.
//
// A function is listed by three things, of which the linker is told by the last: CMake looks for its name with "__wrap_"
// before it and an opening parenthesis behind it on one line of these files.
//
//     static TListed kClose("close", FailsThoughDone(-1, EIO));
//     int __real_close(int);
//     int __wrap_close(int descriptor)
//     {
//         return Call(kClose, __real_close, descriptor);
//     }

#ifndef HALVORIX_TESTS_SUPPORT_FAULTTABLE_H
#define HALVORIX_TESTS_SUPPORT_FAULTTABLE_H

#include "tests/support/Faults.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <type_traits>
#include <vector>

// What is ordered of one function. Read on every call, so its switches are atomics; the rest changes only while they are off.
struct TOrders
{
    std::atomic<bool> faultArmed{false};
    TFailure failure;
    unsigned first = 0;
    unsigned count = 0;
    std::atomic<unsigned> callsSinceArmed{0};
    std::atomic<unsigned> reached{0};

    std::atomic<bool> watched{false};
    // A plain pointer: nothing here is destroyed at exit, which a signal may bring about while threads run.
    std::function<void(const TCallWatch::TArguments&)>* look = nullptr;
    std::atomic<unsigned> calls{0};
};

// What a function does where it fails by itself, as a sweep lets it fail (FaultSweep.h).
enum EFailureKind
{
    kCannotFail,        // has no failure that a caller could see, or ends the process itself
    kFailsWithout,      // does nothing and returns a failure
    kFailsThough,       // does its work and returns a failure all the same
    kFailsInItsOwnWay   // neither: what stands in front of it asks SweepFails
};

struct TNaturalFailure
{
    EFailureKind kind;
    long result;
    int error;   // errno, when not 0
};

constexpr TNaturalFailure kNeverFails = {kCannotFail, 0, 0};
constexpr TNaturalFailure kFailsInItsWay = {kFailsInItsOwnWay, 0, 0};

constexpr TNaturalFailure Fails(long result, int error = 0)
{
    return {kFailsWithout, result, error};
}

constexpr TNaturalFailure FailsThoughDone(long result, int error = 0)
{
    return {kFailsThough, result, error};
}

// The orders of a function that registers itself under its name.
struct TListed : TOrders
{
    TListed(const char* name, TNaturalFailure failure);

    const char* const name;
    const TNaturalFailure natural;
    const unsigned number;   // counted from 0
};

// Every function of the table, each where its number says.
std::vector<const TListed*> ListedFunctions();

// How deep this thread is inside functions of the table: what they call themselves is not the product's call.
inline thread_local int gInside = 0;

struct TInside
{
    TInside() { ++gInside; }
    ~TInside() { --gInside; }
};

// The product's again: a callback that a function of the table calls.
struct TOutside
{
    TOutside() : depth(gInside) { gInside = 0; }
    ~TOutside() { gInside = depth; }
    const int depth;
};

// Whether this thread's calls are those that a sweep counts.
inline thread_local bool gSwept = false;

// Counts a call of the product in a sweep; returns whether it is the one that fails.
bool SweepFails(const TListed& function);

// The product got a block of memory, or gave one back. What a sweep does not count is passed over.
void NoteAllocated(const void* block);
void NoteFreed(const void* block);

template <class TFirst>
long AsInteger(TFirst value)
{
    if constexpr (std::is_pointer_v<TFirst>)
        return reinterpret_cast<long>(value);
    else
        return static_cast<long>(value);
}

template <class TResult>
TResult AsResult(long value)
{
    if constexpr (std::is_pointer_v<TResult>)
        return reinterpret_cast<TResult>(value);
    else
        return static_cast<TResult>(value);
}

// Tells whoever watches.
void TellWatch(TOrders& orders, const TCallWatch::TArguments& arguments);

// The same, and decides whether this call is one of those that fail; errno is set then.
bool MustFail(TOrders& orders, const TCallWatch::TArguments& arguments);

// Makes the call that a sweep has fail.
template <class TResult, class... TArguments>
TResult FailNaturally(TListed& function, TResult (*real)(TArguments...), TArguments... arguments)
{
    const TNaturalFailure& failure = function.natural;
    const TInside inside;
    if (function.watched)
        TellWatch(function, {AsInteger(arguments)...});
    if (failure.kind == kFailsThough)
        real(arguments...);
    if (failure.error != 0)
        errno = failure.error;
    if constexpr (!std::is_void_v<TResult>)
        return AsResult<TResult>(failure.result);
}

// Makes the call, or lets it fail as ordered.
template <class TResult, class... TArguments, class... TGiven>
TResult Call(TListed& function, TResult (*real)(TArguments...), TGiven... arguments)
{
    const EFailureKind kind = function.natural.kind;
    if ((kind == kFailsWithout || kind == kFailsThough) && SweepFails(function))
        return FailNaturally<TResult, TArguments...>(function, real, arguments...);
    const bool ordered = gInside == 0 && (function.watched || function.faultArmed);
    // From here on, so that what is needed to tell of a call is no call itself.
    const TInside inside;
    if (ordered && MustFail(function, {AsInteger(arguments)...})) {
        if constexpr (std::is_void_v<TResult>)
            return;
        else
            return AsResult<TResult>(function.failure.result);
    }
    return real(arguments...);
}

#endif
