#include <CoreServices/CoreServices.h>

#include <cmath>
#include <gtest/gtest.h>

static UTCDateTime DateOf(CFAbsoluteTime moment)
{
    UTCDateTime date = {77, 77, 77};
    EXPECT_EQ(noErr, UCConvertCFAbsoluteTimeToUTCDateTime(moment, &date));
    return date;
}

TEST(UTCDates, CountFrom1904)
{
    const UTCDateTime date = DateOf(0);
    EXPECT_EQ(0, date.highSeconds);
    EXPECT_EQ(3061152000u, UInt32{date.lowSeconds});
    EXPECT_EQ(0, date.fraction);
    EXPECT_EQ(0u, UInt32{DateOf(-3061152000.0).lowSeconds});
}

TEST(UTCDates, CarryIntoTheHighSeconds)
{
    // 6 February 2040, 6:28:15 and 16 UTC
    EXPECT_EQ(0, DateOf(1233815295.0).highSeconds);
    EXPECT_EQ(0xffffffffu, UInt32{DateOf(1233815295.0).lowSeconds});
    EXPECT_EQ(1, DateOf(1233815296.0).highSeconds);
    EXPECT_EQ(0u, UInt32{DateOf(1233815296.0).lowSeconds});
}

TEST(UTCDates, AFractionCountsUpwardsBefore2001Too)
{
    EXPECT_EQ(0x4000, DateOf(0.25).fraction);
    EXPECT_EQ(0x4000, DateOf(-0.75).fraction);
    EXPECT_EQ(3061151999u, UInt32{DateOf(-0.75).lowSeconds});
}

TEST(UTCDates, WhatDoesNotFitIsRefused)
{
    UTCDateTime date = {77, 77, 77};
    EXPECT_EQ(kUTCUnderflowErr, UCConvertCFAbsoluteTimeToUTCDateTime(-3061152000.5, &date));
    EXPECT_EQ(kUTCOverflowErr, UCConvertCFAbsoluteTimeToUTCDateTime(281474976710656.0 - 3061152000.0, &date));
    EXPECT_EQ(paramErr, UCConvertCFAbsoluteTimeToUTCDateTime(NAN, &date));
    EXPECT_EQ(paramErr, UCConvertCFAbsoluteTimeToUTCDateTime(0, nullptr));
    EXPECT_EQ(77u, UInt32{date.lowSeconds});
    EXPECT_EQ(0xffff, DateOf(281474976710655.0 - 3061152000.0).highSeconds);
}
