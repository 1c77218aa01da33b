#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

class CFTextOrder : public TMachineTest
{
protected:
    static int Compare(const std::string& one, const std::string& other, CFOptionFlags options = 0)
    {
        const TScoped<CFStringRef> first(MakeText(one));
        const TScoped<CFStringRef> second(MakeText(other));
        return CFStringCompare(first.Get(), second.Get(), options);
    }
};

TEST_F(CFTextOrder, WithoutOptionsTheUnitsDecide)
{
    EXPECT_EQ(kCFCompareEqualTo, Compare("Apple_Boot", "Apple_Boot"));
    EXPECT_EQ(kCFCompareLessThan, Compare("Apple_Boot", "apple_boot")) << "capitals come first";
    EXPECT_EQ(kCFCompareLessThan, Compare("Apple", "Apple_Boot")) << "the beginning comes before the whole";
    EXPECT_EQ(kCFCompareGreaterThan, Compare("disk9", "disk10")) << "digits are characters";
    EXPECT_EQ(kCFCompareGreaterThan, Compare("\xC3\xA9", "e\xCC\x81")) << "accents are what they are";
    EXPECT_EQ(kCFCompareGreaterThan, Compare("\xEF\xBD\x81", "\xF0\x9F\x98\x80")) << "U+FF41 and a pair: by units";
    EXPECT_EQ(kCFCompareEqualTo, Compare("", ""));
}

TEST_F(CFTextOrder, CapitalsAreSmallLettersWhenCaseDoesNotCount)
{
    EXPECT_EQ(kCFCompareEqualTo, Compare("Apple_BOOT", "apple_boot", kCFCompareCaseInsensitive));
    EXPECT_EQ(kCFCompareEqualTo, Compare("\xC3\x89", "\xC3\xA9", kCFCompareCaseInsensitive));
    EXPECT_EQ(kCFCompareLessThan, Compare("a", "B", kCFCompareCaseInsensitive));
}

TEST_F(CFTextOrder, ALetterAndItsAccentAreTheAccentedLetterWhenAsked)
{
    EXPECT_EQ(kCFCompareEqualTo, Compare("\xC3\xA9", "e\xCC\x81", kCFCompareNonliteral));
    EXPECT_NE(kCFCompareEqualTo, Compare("\xC3\x89", "e\xCC\x81", kCFCompareNonliteral)) << "case counts";
}

TEST_F(CFTextOrder, DigitsAreANumberWhenAsked)
{
    EXPECT_EQ(kCFCompareLessThan, Compare("disk9s2", "disk10s1", kCFCompareNumerically));
    EXPECT_EQ(kCFCompareGreaterThan, Compare("10.5.8", "10.5", kCFCompareNumerically));
    EXPECT_EQ(kCFCompareLessThan, Compare("18446744073709551616", "18446744073709551617", kCFCompareNumerically))
        << "of any length";
    EXPECT_EQ(kCFCompareLessThan, Compare("disk007b", "disk7c", kCFCompareNumerically))
        << "zeros before it are nothing";
}
