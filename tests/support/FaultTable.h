// What stands in front of each function of the table of faults, for the files that list them: FaultsIn*.cpp.
//
// A function is listed by three things, of which the linker is told by the last: CMake looks for its name with "__wrap_"
// before it and an opening parenthesis behind it on one line of these files.
//
//     static TListed kClose("close");
//     int __real_close(int);
//     int __wrap_close(int descriptor)
//     {
//         return Call(kClose, __real_close, descriptor);
//     }

#ifndef HALVORIX_TESTS_SUPPORT_FAULTTABLE_H
#define HALVORIX_TESTS_SUPPORT_FAULTTABLE_H

#include "tests/support/Faults.h"

#include <atomic>
#include <functional>
#include <type_traits>

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

// The orders of a function that registers itself under its name.
struct TListed : TOrders
{
    explicit TListed(const char* name);
};

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

// Tells whoever watches, and decides whether this call is one of those that fail; errno is set then.
bool MustFail(TOrders& orders, const TCallWatch::TArguments& arguments);

// Makes the call, or lets it fail as ordered.
template <class TResult, class... TArguments, class... TGiven>
TResult Call(TOrders& orders, TResult (*real)(TArguments...), TGiven... arguments)
{
    const bool ordered = gInside == 0 && (orders.watched || orders.faultArmed);
    // From here on, so that what is needed to tell of a call is no call itself.
    const TInside inside;
    if (ordered && MustFail(orders, {AsInteger(arguments)...})) {
        if constexpr (std::is_void_v<TResult>)
            return;
        else
            return AsResult<TResult>(orders.failure.result);
    }
    return real(arguments...);
}

#endif
