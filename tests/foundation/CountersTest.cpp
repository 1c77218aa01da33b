#include "foundation/Counters.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <functional>
#include <thread>
#include <vector>

class Counters : public TMachineTest
{
protected:
    static UInt64 Incremented(UInt64 counter)
    {
        AtomicUInt64Increment(&counter);
        return counter;
    }

    static UInt64 Sum(UInt64 counter, UInt64 amount)
    {
        AtomicUInt64Add(amount, &counter);
        return counter;
    }

    // Does the same in four threads at once.
    static void InFourThreads(const std::function<void()>& work)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(work);
        for (std::thread& thread : threads)
            thread.join();
    }
};

TEST_F(Counters, AnIncrementAddsOne)
{
    EXPECT_EQ(1u, Incremented(0));
    EXPECT_EQ(0x80000000u, Incremented(0x7FFFFFFF));
    EXPECT_EQ(0x500000008ull, Incremented(0x500000007ull));
}

TEST_F(Counters, AnIncrementCarriesFromTheLowHalfIntoTheHigh)
{
    EXPECT_EQ(0x100000000ull, Incremented(0xFFFFFFFFull));
    EXPECT_EQ(0x600000000ull, Incremented(0x5FFFFFFFFull));
    EXPECT_EQ(0u, Incremented(~0ull));
}

TEST_F(Counters, AnAmountIsAddedToBothHalves)
{
    EXPECT_EQ(0x300000005ull, Sum(0x100000002ull, 0x200000003ull));
    EXPECT_EQ(0x700000007ull, Sum(0x700000007ull, 0));
}

TEST_F(Counters, AnAmountCarriesFromTheLowHalfIntoTheHigh)
{
    EXPECT_EQ(0x100000000ull, Sum(0xFFFFFFFFull, 1));
    EXPECT_EQ(0x1FFFFFFFEull, Sum(0xFFFFFFFFull, 0xFFFFFFFFull));
    EXPECT_EQ(0x400000000ull, Sum(0x180000000ull, 0x280000000ull));
}

TEST_F(Counters, TheLastSumWithoutACarryHasNone)
{
    EXPECT_EQ(0xFFFFFFFFull, Sum(0xFFFFFFFEull, 1));
    EXPECT_EQ(0xFFFFFFFFull, Sum(0xFFFFFFFFull, 0));
    EXPECT_EQ(0xFFFFFFFFull, Sum(0, 0xFFFFFFFFull));
}

TEST_F(Counters, SumsAreModulo2ToThe64)
{
    EXPECT_EQ(4u, Sum(~0ull, 5));
    EXPECT_EQ(~0ull - 1, Sum(~0ull, ~0ull));
}

// Threads that race seldom meet, so what is called is looked at as well.
TEST_F(Counters, EachHalfIsChangedByOneAtomicOperation)
{
    static const struct
    {
        UInt64 counter;
        UInt64 amount;   // 0: it is incremented
        unsigned increments;
        unsigned additions;
    } kCases[] = {
        {7, 0, 1, 0},                            // the low half
        {0xFFFFFFFFull, 0, 2, 0},                // the low half, then the carry
        {7, 5, 0, 1},                            // the low half
        {0xFFFFFFFFull, 5, 1, 1},                // the low half and the carry
        {7, 0x500000000ull, 0, 2},               // both halves
        {0xFFFFFFFFull, 0x500000001ull, 1, 2},   // both halves and the carry
    };
    for (const auto& step : kCases) {
        const TCallWatch increments("IncrementAtomic");
        const TCallWatch additions("AddAtomic");
        const UInt64 after = step.amount == 0 ? Incremented(step.counter) : Sum(step.counter, step.amount);
        EXPECT_EQ(step.counter + (step.amount == 0 ? 1 : step.amount), after);
        EXPECT_EQ(step.increments, increments.Calls()) << step.counter << " and " << step.amount;
        EXPECT_EQ(step.additions, additions.Calls()) << step.counter << " and " << step.amount;
    }
}

TEST_F(Counters, WhatFourThreadsCountIsAllThere)
{
    UInt64 counter = 0xFFFFFF00ull;
    InFourThreads([&] {
        for (int i = 0; i < 10000; ++i)
            AtomicUInt64Increment(&counter);
    });

    EXPECT_EQ(0xFFFFFF00ull + 40000, counter);
}

// Nearly every addition carries.
TEST_F(Counters, WhatFourThreadsAddIsAllThere)
{
    const UInt64 amount = 0x3FFFFFFFDull;
    UInt64 counter = 0;
    InFourThreads([&] {
        for (int i = 0; i < 10000; ++i)
            AtomicUInt64Add(amount, &counter);
    });

    EXPECT_EQ(40000 * amount, counter);
}
