#include "foundation/BoundedText.h"

#include <gtest/gtest.h>

#include <cstring>

// What appending makes of "ab" in a buffer of five bytes, with a guard behind it.
class BoundedText : public ::testing::Test
{
protected:
    bool Append(const char* text)
    {
        const bool fitted = AppendText(fBuffer, text, 5);
        EXPECT_EQ('=', fBuffer[5]);
        return fitted;
    }

    char fBuffer[6] = {'a', 'b', 0, '-', '-', '='};
};

TEST_F(BoundedText, WhatFitsWithItsNulIsAppended)
{
    EXPECT_TRUE(Append("cd"));
    EXPECT_STREQ("abcd", fBuffer);
}

TEST_F(BoundedText, WhatDoesNotFitIsCutAndTold)
{
    EXPECT_FALSE(Append("cde"));
    EXPECT_STREQ("abcd", fBuffer);
}

TEST_F(BoundedText, AFullBufferTakesNothingButAnEmptyText)
{
    EXPECT_TRUE(Append("cd"));
    EXPECT_FALSE(Append("e"));
    EXPECT_TRUE(Append(""));
    EXPECT_STREQ("abcd", fBuffer);
}

TEST_F(BoundedText, WhatIsBehindTheNulStays)
{
    EXPECT_TRUE(Append("c"));
    EXPECT_EQ(0, memcmp("abc\0-=", fBuffer, 6));
}
