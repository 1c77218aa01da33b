#include <CoreServices/CoreServices.h>

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
    const int kThreads = 4;
    const int kRounds = 20000;
    SInt32 counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&counter] {
            for (int round = 0; round < kRounds; ++round) {
                IncrementAtomic(&counter);
                AddAtomic(2, &counter);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(3 * kThreads * kRounds, counter);
}
