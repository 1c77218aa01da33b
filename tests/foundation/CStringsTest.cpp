#include "foundation/CStrings.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>

class CStrings : public TMachineTest
{
protected:
    // A buffer of so many bytes that holds `text` so far, with bytes behind it that must stay.
    void Begin(UInt32 capacity, const std::string& text)
    {
        memset(fBuffer, 0, capacity);
        memset(fBuffer + capacity, '#', sizeof fBuffer - capacity);
        memcpy(fBuffer, text.data(), text.size());
        fCapacity = capacity;
        fUsed = static_cast<UInt32>(text.size());
    }

    void Append(const char* source, bool trim = false) { CatStrings(fBuffer, source, fCapacity, &fUsed, trim); }

    // The buffer's bytes, and whether those behind it stayed.
    std::string Bytes() const { return std::string(fBuffer, fCapacity); }
    bool RestStayed() const
    {
        return std::string(sizeof fBuffer - fCapacity, '#') ==
               std::string(fBuffer + fCapacity, fBuffer + sizeof fBuffer);
    }

    char fBuffer[64];
    UInt32 fCapacity = 0;
    UInt32 fUsed = 0;
};

TEST_F(CStrings, BlanksAreStrippedFromBothEndsAndNotFromWithin)
{
    char text[] = "  a  b   ";

    EXPECT_EQ(text + 2, StripSpaces(text));
    EXPECT_STREQ("a  b", text + 2);
}

TEST_F(CStrings, StrippingATextWithoutBlanksChangesNothing)
{
    char text[] = "a b";

    EXPECT_EQ(text, StripSpaces(text));
    EXPECT_STREQ("a b", text);
}

TEST_F(CStrings, OnlyBlanksAreStripped)
{
    char text[] = "\t a\xA0\n ";

    EXPECT_STREQ("\t a\xA0\n", StripSpaces(text));
}

TEST_F(CStrings, OneCharacterIsStripped)
{
    char text[] = " x ";

    EXPECT_STREQ("x", StripSpaces(text));
}

TEST_F(CStrings, StrippingAnEmptyTextGivesAnEmptyText)
{
    char memory[] = "a  \0";
    char* const text = memory + 3;

    EXPECT_EQ(text, StripSpaces(text));
    EXPECT_STREQ("a  ", memory);
}

// The blanks before the text would lead a search for its last letter out of it.
TEST_F(CStrings, StrippingBlanksAloneStaysWithinTheText)
{
    char memory[] = "a     ";
    char* const text = memory + 3;

    EXPECT_STREQ("", StripSpaces(text));
    EXPECT_EQ("a  ", std::string(memory, 3));
}

TEST_F(CStrings, AppendingAddsBehindWhatIsThere)
{
    Begin(8, "ab");

    Append("cde");
    EXPECT_EQ(std::string("abcde\0\0\0", 8), Bytes());
    EXPECT_EQ(5u, fUsed);
}

TEST_F(CStrings, AppendingWritesNoNUL)
{
    Begin(8, "ab");
    memset(fBuffer + 2, '#', 6);

    Append("cde");
    EXPECT_EQ("abcde###", Bytes());
}

TEST_F(CStrings, AppendingLeavesOneByteForTheNUL)
{
    Begin(6, "ab");

    Append("cdefgh");
    EXPECT_EQ(std::string("abcde\0", 6), Bytes());
    EXPECT_EQ(5u, fUsed);
    EXPECT_TRUE(RestStayed());
}

TEST_F(CStrings, NothingIsAppendedToAFullBuffer)
{
    Begin(6, "abcde");

    Append("x");
    EXPECT_EQ(std::string("abcde\0", 6), Bytes());
    EXPECT_EQ(5u, fUsed);
}

// capacity - used - 1 is below zero in each.
TEST_F(CStrings, NothingIsAppendedWhereNotEvenTheNULHasRoom)
{
    for (const UInt32 capacity : {0u, 1u, 4u, 5u}) {
        Begin(capacity, "");
        fUsed = 5;

        Append("x");
        EXPECT_EQ(std::string(capacity, '\0'), Bytes());
        EXPECT_EQ(5u, fUsed);
        EXPECT_TRUE(RestStayed()) << "capacity " << capacity;
    }
}

TEST_F(CStrings, ABufferOfOneByteHoldsNothing)
{
    Begin(1, "");

    Append("x");
    EXPECT_EQ(0u, fUsed);
    EXPECT_EQ(std::string(1, '\0'), Bytes());
}

TEST_F(CStrings, TrimmedTextIsAppendedWithoutTheBlanksAtItsEnds)
{
    Begin(16, "ab");

    Append("  c d   ", true);
    EXPECT_EQ("abc d", std::string(fBuffer));
    EXPECT_EQ(5u, fUsed);
}

TEST_F(CStrings, UntrimmedTextIsAppendedWithItsBlanks)
{
    Begin(16, "ab");

    Append("  c ");
    EXPECT_EQ("ab  c ", std::string(fBuffer));
}

TEST_F(CStrings, OfBlanksAloneNothingIsLeftToAppend)
{
    Begin(16, "ab");

    Append("   ", true);
    Append("", true);
    EXPECT_EQ(2u, fUsed);
    EXPECT_EQ("ab", std::string(fBuffer));
}

// What does not fit is cut from the end of the trimmed text.
TEST_F(CStrings, TrimmingComesBeforeCutting)
{
    Begin(4, "");

    Append("     wxyz", true);
    EXPECT_EQ("wxy", std::string(fBuffer));
}

TEST_F(CStrings, TheSourceIsNotChangedByTrimming)
{
    char source[] = "  a  ";
    Begin(16, "");

    Append(source, true);
    EXPECT_STREQ("  a  ", source);
}

TEST_F(CStrings, AStoredTextIsCutAndEndsWithANUL)
{
    Begin(4, "");
    memset(fBuffer, '#', 4);

    StoreCString(fBuffer, "abcdef", 4);
    EXPECT_EQ(std::string("abc\0", 4), Bytes());
    EXPECT_TRUE(RestStayed());
}

TEST_F(CStrings, AStoredTextThatFitsIsWhole)
{
    Begin(4, "");

    StoreCString(fBuffer, "abc", 4);
    EXPECT_STREQ("abc", fBuffer);
    StoreCString(fBuffer, "", 4);
    EXPECT_STREQ("", fBuffer);
}

TEST_F(CStrings, NothingIsStoredInABufferOfNoBytes)
{
    Begin(0, "");

    StoreCString(fBuffer, "abc", 0);
    EXPECT_TRUE(RestStayed());
}

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
