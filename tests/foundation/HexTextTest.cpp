#include "foundation/HexText.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>

class HexText : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        memset(fText, '#', sizeof fText);
    }

    char fText[32];
};

TEST_F(HexText, EachByteIsTwoDigitsAndABlankStandsBetweenBytes)
{
    const UInt8 data[8] = {0x50, 0x06, 0x0E, 0x80, 0x00, 0x12, 0x34, 0x56};

    ConvertWWN_DataToHexString(data, fText);
    EXPECT_STREQ("50 06 0E 80 00 12 34 56", fText);
}

TEST_F(HexText, DigitsAboveNineAreCapitalsAndBytesAreUnsigned)
{
    const UInt8 data[8] = {0xAB, 0xCD, 0xEF, 0xFF, 0x80, 0x0A, 0xA0, 0x7F};

    ConvertWWN_DataToHexString(data, fText);
    EXPECT_STREQ("AB CD EF FF 80 0A A0 7F", fText);
}

TEST_F(HexText, TheTextIs24BytesWithItsNUL)
{
    const UInt8 data[8] = {};

    ConvertWWN_DataToHexString(data, fText);
    EXPECT_EQ(std::string("00 00 00 00 00 00 00 00\0########", 32), std::string(fText, 32));
}

TEST_F(HexText, ANumberIsWrittenMostSignificantByteFirstOnEveryHost)
{
    const UInt64 value = 0x50060E8000123456ull;

    ConvertUInt64ToHexString(&value, fText);
    EXPECT_STREQ("50 06 0E 80 00 12 34 56", fText);
}

TEST_F(HexText, ASmallNumberHasAllItsZeros)
{
    const UInt64 value = 0xFE;

    ConvertUInt64ToHexString(&value, fText);
    EXPECT_EQ(std::string("00 00 00 00 00 00 00 FE\0########", 32), std::string(fText, 32));
}
