#include <CoreServices/CoreServices.h>

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(Atomics, TheValueFromBeforeIsReturned)
{
    SInt32 counter = 5;
    EXPECT_EQ(5, IncrementAtomic(&counter));
    EXPECT_EQ(6, AddAtomic(-10, &counter));
    EXPECT_EQ(-4, counter);
}

TEST(Atomics, ACounterWrapsRound)
{
    SInt32 counter = -1;   // 0xffffffff
    EXPECT_EQ(-1, IncrementAtomic(&counter));
    EXPECT_EQ(0, counter);
    counter = 0x7fffffff;
    EXPECT_EQ(0x7fffffff, AddAtomic(1, &counter));
    EXPECT_EQ(-0x7fffffff - 1, counter);
}

TEST(Atomics, NoChangeOfAnotherThreadIsLost)
{
    // Long enough that each thread is interrupted in the middle of a change, however few processors there are.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    SInt32 counter = 0;
    std::atomic<SInt32> changes{0};
    const auto count = [&] {
        SInt32 mine = 0;
        while (std::chrono::steady_clock::now() < end) {
            for (int round = 0; round < 100; ++round, mine += 3) {
                IncrementAtomic(&counter);
                AddAtomic(2, &counter);
            }
        }
        changes += mine;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(count);
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_LT(0, counter);
    EXPECT_EQ(changes, counter);
}
