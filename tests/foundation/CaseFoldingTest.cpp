#include "foundation/CaseFolding.h"
#include "tests/support/MachineTest.h"

#include <map>
#include <string>

class CaseFolding : public TMachineTest
{
protected:
    // What a byte becomes, by the rule and not by a table of 256.
    static int Expected(int byte)
    {
        static const std::map<int, int> kAccented = {
            {0x80, 0x8A}, {0x81, 0x8C}, {0x82, 0x8D}, {0x83, 0x8E}, {0x84, 0x96}, {0x85, 0x9A}, {0x86, 0x9F},
            {0xAE, 0xBE}, {0xAF, 0xBF}, {0xCB, 0x88}, {0xCC, 0x8B}, {0xCD, 0x9B}, {0xCE, 0xCF}};
        if (byte >= 'A' && byte <= 'Z')
            return byte + 0x20;
        const auto accented = kAccented.find(byte);
        return accented != kAccented.end() ? accented->second : byte;
    }
};

TEST_F(CaseFolding, EveryByteFoldsByTheRule)
{
    for (int byte = 0; byte < 256; ++byte) {
        char character = static_cast<char>(byte);
        ToLower(&character);
        EXPECT_EQ(Expected(byte), static_cast<unsigned char>(character)) << "byte " << byte;
    }
}

TEST_F(CaseFolding, FoldingTwiceIsFoldingOnce)
{
    for (int byte = 0; byte < 256; ++byte) {
        char once = static_cast<char>(byte);
        ToLower(&once);
        char twice = once;
        ToLower(&twice);
        EXPECT_EQ(once, twice) << "byte " << byte;
    }
}

// 0xE5 to 0xF4 are capitals in Mac Roman as well.
TEST_F(CaseFolding, TheAccentedCapitalsFromE5OnStay)
{
    char text[] = "\xE5\xE6\xE7\xE8\xE9\xEA\xEB\xEC\xED\xEE\xEF\xF1\xF2\xF3\xF4\xD9";
    const std::string before = text;

    ToLowerCStr(text);
    EXPECT_EQ(before, text);
}

TEST_F(CaseFolding, ToLowerFoldsOneByteAndNoOther)
{
    char text[] = "ABC";

    ToLower(text + 1);
    EXPECT_STREQ("AbC", text);
}

TEST_F(CaseFolding, ACStringIsFoldedUpToItsFirstNUL)
{
    char text[] = "\x80\x42\x43\0D";

    ToLowerCStr(text);
    EXPECT_EQ(std::string("\x8A\x62\x63\0D", 5), std::string(text, 5));
}

TEST_F(CaseFolding, SmallLettersDigitsAndPunctuationStay)
{
    char text[] = "az09 @[\\]^_`{|}~!/:\x8A\xCF\xBE";
    const std::string before = text;

    ToLowerCStr(text);
    EXPECT_EQ(before, text);
}

TEST_F(CaseFolding, AnEmptyCStringIsNotTouched)
{
    char text[] = "\0A";

    ToLowerCStr(text);
    EXPECT_EQ(std::string("\0A", 2), std::string(text, 2));
}

TEST_F(CaseFolding, APascalStringIsFoldedAsFarAsItsLengthSays)
{
    unsigned char text[] = "\3ABCD";

    ToLowerPStr(text);
    EXPECT_STREQ("\3abcD", reinterpret_cast<char*>(text));
}

TEST_F(CaseFolding, ThePascalLengthByteIsNotFolded)
{
    // 65 is an A.
    unsigned char text[66];
    text[0] = 65;
    std::fill(text + 1, text + 66, static_cast<unsigned char>('Q'));

    ToLowerPStr(text);
    EXPECT_EQ(65, text[0]);
    EXPECT_EQ('q', text[65]);
}

TEST_F(CaseFolding, APascalStringGoesOnBehindAZeroByteAndUpTo255Bytes)
{
    unsigned char text[257];
    std::fill(text, text + 257, static_cast<unsigned char>('Q'));
    text[0] = 255;
    text[1] = 0;

    ToLowerPStr(text);
    EXPECT_EQ('q', text[2]);
    EXPECT_EQ('q', text[255]);
    EXPECT_EQ('Q', text[256]);
}

TEST_F(CaseFolding, AnEmptyPascalStringIsNotTouched)
{
    unsigned char text[] = "\0A";

    ToLowerPStr(text);
    EXPECT_EQ('A', text[1]);
}

TEST_F(CaseFolding, CountedBytesAreFoldedWithNULsAmongThem)
{
    char text[] = "A\0BCD";

    ToLowerStr(text, 4);
    EXPECT_EQ(std::string("a\0bcD", 5), std::string(text, 5));
}

TEST_F(CaseFolding, ALengthOfZeroOrLessFoldsNothing)
{
    char text[] = "ABCD";

    for (const short length : {short(0), short(-1), short(-32768)}) {
        ToLowerStr(text, length);
        ToLowerStr(text + 2, length);
        EXPECT_STREQ("ABCD", text) << "length " << length;
    }
}

TEST_F(CaseFolding, TheLongestLengthIs32767)
{
    std::string text(32769, 'A');

    ToLowerStr(&text[0], 32767);
    EXPECT_EQ(std::string(32767, 'a') + "AA", text);
}
