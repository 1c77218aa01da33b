#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <chrono>
#include <cmath>
#include <limits>

class CFNumbers : public TMachineTest
{
protected:
    static CFNumberRef Integer(SInt64 value)
    {
        return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value);
    }
    static CFNumberRef Real(double value) { return CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value); }
};

TEST_F(CFNumbers, AnIntegerThatFitsIsReadExactly)
{
    const TScoped<CFNumberRef> number(Integer(-2));
    std::int32_t value = 77;
    EXPECT_TRUE(CFNumberGetValue(number.Get(), kCFNumberSInt32Type, &value));
    EXPECT_EQ(-2, value);
}

TEST_F(CFNumbers, AnIntegerThatDoesNotFitKeepsItsLowBitsAndSaysSo)
{
    const TScoped<CFNumberRef> number(Integer(0x100000005));
    std::int32_t value = 77;
    EXPECT_FALSE(CFNumberGetValue(number.Get(), kCFNumberSInt32Type, &value));
    EXPECT_EQ(5, value);
}

TEST_F(CFNumbers, AFractionIsCutOffAndSaysSo)
{
    const TScoped<CFNumberRef> number(Real(-2.75));
    SInt64 value = 77;
    EXPECT_FALSE(CFNumberGetValue(number.Get(), kCFNumberSInt64Type, &value));
    EXPECT_EQ(-2, value);
}

TEST_F(CFNumbers, AWholeFractionIsAnIntegerToo)
{
    const TScoped<CFNumberRef> number(Real(12.0));
    SInt64 value = 77;
    EXPECT_TRUE(CFNumberGetValue(number.Get(), kCFNumberSInt64Type, &value));
    EXPECT_EQ(12, value);
    EXPECT_TRUE(CFNumberIsFloatType(number.Get()));
}

TEST_F(CFNumbers, WhatIsBeyondAnIntegerBecomesItsNearestEnd)
{
    for (const double beyond : {1e300, std::numeric_limits<double>::infinity(), 9223372036854775808.0}) {
        const TScoped<CFNumberRef> number(Real(beyond));
        SInt64 value = 77;
        EXPECT_FALSE(CFNumberGetValue(number.Get(), kCFNumberSInt64Type, &value));
        EXPECT_EQ(std::numeric_limits<SInt64>::max(), value);
    }
    const TScoped<CFNumberRef> none(Real(std::nan("")));
    SInt64 value = 77;
    EXPECT_FALSE(CFNumberGetValue(none.Get(), kCFNumberSInt64Type, &value));
    EXPECT_EQ(0, value);
}

TEST_F(CFNumbers, AnIntegerThatADoubleCannotHoldSaysSo)
{
    const TScoped<CFNumberRef> number(Integer((1LL << 53) + 1));
    double value = 77;
    EXPECT_FALSE(CFNumberGetValue(number.Get(), kCFNumberDoubleType, &value));
    EXPECT_EQ(9007199254740992.0, value);
}

TEST_F(CFNumbers, NumbersCompareByValueWhateverTheirTypes)
{
    const TScoped<CFNumberRef> five(Integer(5));
    const TScoped<CFNumberRef> fiveReal(Real(5));
    const TScoped<CFNumberRef> more(Real(5.5));
    EXPECT_TRUE(CFEqual(five.Get(), fiveReal.Get()));
    EXPECT_EQ(CFHash(five.Get()), CFHash(fiveReal.Get()));
    EXPECT_EQ(kCFCompareLessThan, CFNumberCompare(five.Get(), more.Get(), nullptr));
    EXPECT_EQ(kCFCompareGreaterThan, CFNumberCompare(more.Get(), five.Get(), nullptr));
}

TEST_F(CFNumbers, NeighboursThatADoubleCannotTellApartAreDifferent)
{
    const TScoped<CFNumberRef> integer(Integer((1LL << 53) + 1));
    const TScoped<CFNumberRef> real(Real(9007199254740992.0));
    EXPECT_FALSE(CFEqual(integer.Get(), real.Get()));
    EXPECT_EQ(kCFCompareGreaterThan, CFNumberCompare(integer.Get(), real.Get(), nullptr));
}

TEST_F(CFNumbers, NotANumberEqualsItself)
{
    const TScoped<CFNumberRef> one(Real(std::nan("")));
    const TScoped<CFNumberRef> other(Real(std::nan("")));
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));
}

TEST_F(CFNumbers, AnUnknownTypeMakesNoNumber)
{
    const int value = 1;
    EXPECT_EQ(nullptr, CFNumberCreate(kCFAllocatorDefault, static_cast<CFNumberType>(15), &value));
}

TEST_F(CFNumbers, DatesAreTheirMoments)
{
    const TScoped<CFDateRef> one(CFDateCreate(kCFAllocatorDefault, 245766896));
    const TScoped<CFDateRef> other(CFDateCreate(kCFAllocatorDefault, 245766896));
    EXPECT_EQ(245766896, CFDateGetAbsoluteTime(one.Get()));
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));
}

TEST_F(CFNumbers, TheClockCountsFromTheYear2001)
{
    // Not time(), which may still tell of the second before.
    const auto secondsFrom1970 = [] {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    const double before = secondsFrom1970();
    const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
    const double after = secondsFrom1970();
    EXPECT_LE(before - 978307200, now + 0.001);
    EXPECT_GE(after - 978307200, now - 0.001);
}

TEST_F(CFNumbers, TheClockHasFractionsOfASecond)
{
    EXPECT_TRUE(WaitUntil([] {
        const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
        return now != std::floor(now);
    }));
}
