#include "foundation/Buffers.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <new>
#include <string>

class Buffers : public TMachineTest
{
protected:
    void TearDown() override
    {
        ::operator delete(fBuffer);
        TMachineTest::TearDown();
    }

    // Makes a buffer that is full of a text.
    void Fill(const std::string& text)
    {
        ASSERT_TRUE(AdjustBufferSize(&fBuffer, &fSize, static_cast<UInt32>(text.size()), false));
        memcpy(fBuffer, text.data(), text.size());
    }

    std::string Bytes() const { return std::string(static_cast<const char*>(fBuffer), fSize); }

    void* fBuffer = nullptr;
    UInt32 fSize = 0;
};

TEST_F(Buffers, ANewBufferIsZeroed)
{
    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 5, true));

    EXPECT_EQ(5u, fSize);
    EXPECT_EQ(std::string(5, '\0'), Bytes());
}

TEST_F(Buffers, AGrowingBufferKeepsItsContentAndTheRestIsZero)
{
    Fill("ABC");

    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 6, true));
    EXPECT_EQ(std::string("ABC\0\0\0", 6), Bytes());
}

TEST_F(Buffers, AGrowingBufferForgetsItsContentUnlessToldToKeepIt)
{
    Fill("ABC");

    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 6, false));
    EXPECT_EQ(std::string(6, '\0'), Bytes());
}

TEST_F(Buffers, ALargeEnoughBufferStaysAndItsFirstBytesAreClearedEvenWhenKept)
{
    Fill("ABCDEFGH");
    void* const before = fBuffer;

    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 3, true));
    EXPECT_EQ(before, fBuffer);
    EXPECT_EQ(8u, fSize);
    EXPECT_EQ(std::string("\0\0\0DEFGH", 8), Bytes());
}

TEST_F(Buffers, ABufferOfExactlyTheWantedSizeIsClearedAndNotReplaced)
{
    Fill("ABC");
    const TFault fault("operator new nothrow", {0, 0});

    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 3, true));
    EXPECT_EQ(0u, fault.Reached());
    EXPECT_EQ(std::string(3, '\0'), Bytes());
}

TEST_F(Buffers, WantingNothingClearsNothing)
{
    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 0, false));
    EXPECT_EQ(nullptr, fBuffer);

    Fill("ABC");
    EXPECT_TRUE(AdjustBufferSize(&fBuffer, &fSize, 0, false));
    EXPECT_EQ("ABC", Bytes());
}

TEST_F(Buffers, WithoutMemoryNothingChanges)
{
    Fill("ABC");
    void* const before = fBuffer;
    const TFault fault("operator new nothrow", {0, 0});

    EXPECT_FALSE(AdjustBufferSize(&fBuffer, &fSize, 6, false));
    EXPECT_EQ(before, fBuffer);
    EXPECT_EQ("ABC", Bytes());
}
