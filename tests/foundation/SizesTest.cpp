#include "foundation/Sizes.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <random>
#include <string>

static std::string SizeString(UInt64 bytes)
{
    char text[64];
    memset(text, '#', sizeof text);
    ConvertUInt64ToSizeString(bytes, text, sizeof text);
    return text;
}

// The same by long division in integers. What a number of decimals leaves is rounded to the nearest, a half to the even digit.
static std::string SizeByLongDivision(UInt64 bytes)
{
    static const char* const kUnits[] = {"KB", "MB", "GB", "TB"};
    UInt64 unit = 1024;
    for (const char* const name : kUnits) {
        const UInt64 whole = bytes / unit;
        if (whole >= 100 && whole < 1000)
            return std::to_string(whole) + " " + name;
        if (whole < 100) {
            const UInt64 parts = whole < 10 ? 100 : 10;
            UInt64 count = bytes * parts / unit;
            const UInt64 left = bytes * parts % unit;
            if (left > unit / 2 || (left == unit / 2 && count % 2 == 1))
                ++count;
            // 1 before the decimals keeps their zeros.
            return std::to_string(count / parts) + "." + std::to_string(parts + count % parts).substr(1) + " " + name;
        }
        unit *= 1024;
    }
    return " -";
}

class Sizes : public TMachineTest
{
protected:
    // Compares both for one size; the first difference fails the test.
    static bool AreAlike(UInt64 bytes)
    {
        const std::string expected = SizeByLongDivision(bytes);
        const std::string text = SizeString(bytes);
        if (text == expected)
            return true;
        ADD_FAILURE() << bytes << " bytes are \"" << text << "\" instead of \"" << expected << "\"";
        return false;
    }
};

TEST_F(Sizes, HaveTheUnitOfWhichThereAreAtMost999)
{
    static const struct
    {
        UInt64 bytes;
        const char* text;
    } kCases[] = {
        {0, "0.00 KB"},
        {1, "0.00 KB"},
        {512, "0.50 KB"},
        {1024, "1.00 KB"},
        {1023999, "999 KB"},    // 999 whole kilobytes
        {1024000, "0.98 MB"},   // 1000 of them
        {1048576, "1.00 MB"},
        {1023ull << 20, "1.00 GB"},
        {999ull << 20, "999 MB"},
        {21474836480ull, "20.0 GB"},
        {536870912000ull, "500 GB"},
        {1073741824000ull, "0.98 TB"},
        {(1000ull << 40) - 1, "999 TB"},
        {1000ull << 40, " -"},
        {1ull << 60, " -"},
        {~0ull, " -"},
    };
    for (const auto& size : kCases)
        EXPECT_EQ(size.text, SizeString(size.bytes)) << size.bytes << " bytes";
}

TEST_F(Sizes, BelowAKilobyteAreFractionsOfOne)
{
    EXPECT_EQ("0.10 KB", SizeString(102));
    EXPECT_EQ("0.12 KB", SizeString(128));   // 0.125
    EXPECT_EQ("1.00 KB", SizeString(1023));
}

// The number of decimals follows the whole units, and rounding comes after.
TEST_F(Sizes, JustBelowTenUnitsAre10Point00AndBelowAHundred100Point0)
{
    EXPECT_EQ("10.00 KB", SizeString(10 * 1024 - 1));
    EXPECT_EQ("10.0 KB", SizeString(10 * 1024));
    EXPECT_EQ("100.0 MB", SizeString((100ull << 20) - 1));
    EXPECT_EQ("100 MB", SizeString(100ull << 20));
}

TEST_F(Sizes, FromAHundredUnitsOnTheFractionIsCutOff)
{
    EXPECT_EQ("100 GB", SizeString((101ull << 30) - 1));
    EXPECT_EQ("999 KB", SizeString((1000ull << 10) - 1));
}

TEST_F(Sizes, TheNumberAndItsPowerComeWithoutTheUnit)
{
    static const struct
    {
        UInt64 bytes;
        const char* text;
        UInt32 power;
    } kCases[] = {
        {0, "0.00", 3},         {5ull << 20, "5.00", 6}, {20ull << 30, "20.0", 9}, {300ull << 40, "300", 12},
        {1000ull << 40, "", 0},
    };
    for (const auto& size : kCases) {
        char text[16] = "#";
        UInt32 power = 77;
        ConvertUInt64ToSizeSizeStringAndPowerOfTen(size.bytes, text, sizeof text, &power);
        EXPECT_STREQ(size.text, text);
        EXPECT_EQ(size.power, power);
    }
}

TEST_F(Sizes, UnitsGoByThePowerOfTenUpToExabytes)
{
    EXPECT_STREQ(" KB", ReturnSizeUnit(3));
    EXPECT_STREQ(" MB", ReturnSizeUnit(6));
    EXPECT_STREQ(" GB", ReturnSizeUnit(9));
    EXPECT_STREQ(" TB", ReturnSizeUnit(12));
    EXPECT_STREQ(" EB", ReturnSizeUnit(15));
    for (const UInt32 power : {0u, 1u, 2u, 4u, 14u, 16u, 18u, 0xFFFFFFFFu})
        EXPECT_STREQ(" -", ReturnSizeUnit(power)) << power;
}

TEST_F(Sizes, TheWholeBufferIsWrittenAndNothingBehindIt)
{
    char text[16];
    memset(text, '#', sizeof text);
    ConvertUInt64ToSizeString(20ull << 30, text, 12);
    EXPECT_EQ(std::string("20.0 GB\0\0\0\0\0####", 16), std::string(text, 16));

    UInt32 power = 0;
    memset(text, '#', sizeof text);
    ConvertUInt64ToSizeSizeStringAndPowerOfTen(20ull << 30, text, 12, &power);
    EXPECT_EQ(std::string("20.0\0\0\0\0\0\0\0\0####", 16), std::string(text, 16));
}

TEST_F(Sizes, ATextThatDoesNotFitIsCutAndEndsWithANUL)
{
    char text[16];
    memset(text, '#', sizeof text);
    ConvertUInt64ToSizeString(20ull << 30, text, 6);
    EXPECT_EQ(std::string("20.0 \0##########", 16), std::string(text, 16));

    UInt32 power = 0;
    memset(text, '#', sizeof text);
    ConvertUInt64ToSizeSizeStringAndPowerOfTen(20ull << 30, text, 3, &power);
    EXPECT_EQ(std::string("20\0#############", 16), std::string(text, 16));
    EXPECT_EQ(9u, power);
}

TEST_F(Sizes, ABufferOfNoneOrOneByteHoldsNoText)
{
    for (const UInt32 capacity : {0u, 1u}) {
        char text[4] = {'#', '#', '#', '#'};
        UInt32 power = 0;
        ConvertUInt64ToSizeString(20ull << 30, text, capacity);
        ConvertUInt64ToSizeSizeStringAndPowerOfTen(20ull << 30, text, capacity, &power);
        EXPECT_EQ(std::string(capacity, '\0') + std::string(4 - capacity, '#'), std::string(text, 4));
        EXPECT_EQ(9u, power);
    }
}

TEST_F(Sizes, AHundredThousandSizesAgreeWithLongDivision)
{
    std::mt19937_64 random(20071026);
    for (int i = 0; i < 100000; ++i) {
        // As many sizes of each length in bits.
        if (!AreAlike(random() >> (14 + random() % 50)))
            return;
    }
}

// Where the unit, the decimals or a rounding change.
TEST_F(Sizes, AroundEveryWholeUnitTheyAgreeWithLongDivision)
{
    for (unsigned shift = 10; shift <= 40; shift += 10) {
        for (UInt64 whole = 0; whole <= 1001; ++whole) {
            for (const UInt64 bytes : {(whole << shift) - 1, whole << shift, (whole << shift) + 1}) {
                if (!AreAlike(bytes))
                    return;
            }
        }
    }
}
