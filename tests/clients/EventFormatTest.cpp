#include "clients/EventFormat.h"

#include "tests/clients/SampleEvents.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

// Three in the afternoon in Berlin, and two seconds.
const TMilliseconds kAfternoon = 1194098702123;

class EventFormat : public ::testing::Test
{
protected:
    void SetUp() override { SetTimeZone("UTC0"); }

    static void SetTimeZone(const char* rule)
    {
        setenv("TZ", rule, 1);
        tzset();
    }
};

std::string TwoDigits(unsigned number)
{
    static const char kDigits[] = "0123456789abcdef";
    return {kDigits[number >> 4], kDigits[number & 15]};
}

TEST_F(EventFormat, TextShowsTimeTypeGuessAndTheFirstOpaqueBytes)
{
    EXPECT_EQ("2007-11-03 14:05:02  type 3  disk2s3 (a guess)  4: 0405060708090a0b  "
              "16: 101112131415161718191a1b1c1d1e1f...\n",
              FormatEvent(EFormat::kText, SampleEvent(3, "disk2s3"), kAfternoon));
}

TEST_F(EventFormat, TextGivesTheTimeOfThisPlace)
{
    SetTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");

    EXPECT_EQ("2007-11-03 15:05:02 ", FormatEvent(EFormat::kText, SampleEvent(3, ""), kAfternoon).substr(0, 20));
}

TEST_F(EventFormat, TextNamesNoDeviceWhereNothingLooksLikeOne)
{
    EXPECT_EQ("2007-11-03 14:05:02  type 3  4: 0405060708090a0b  16: 101112131415161718191a1b1c1d1e1f...\n",
              FormatEvent(EFormat::kText, SampleEvent(3, "Macintosh HD"), kAfternoon));
}

TEST_F(EventFormat, TextEndsInDotsOnlyWhenSomethingIsLeftOut)
{
    HalvorixEvent event = SampleEvent(3, "");
    memset(event.body, 0, sizeof event.body);
    EXPECT_EQ("  16: 00000000000000000000000000000000\n", FormatEvent(EFormat::kText, event, kAfternoon).substr(48));

    event.body[95] = 1;
    EXPECT_EQ("  16: 00000000000000000000000000000000...\n", FormatEvent(EFormat::kText, event, kAfternoon).substr(48));
}

TEST_F(EventFormat, JSONHoldsTheWholeRecordInTheOrderItCame)
{
    HalvorixEvent event = SampleEvent(0x03000003, "disk2s3");
    event.queueEmpty = 0x01000001;
    std::string middle;
    for (unsigned i = 16; i < 112; ++i)
        middle += TwoDigits(i);

    EXPECT_EQ("{\"received\":\"2007-11-03T14:05:02.123Z\",\"type\":50331651,\"queueEmpty\":true,"
              "\"deviceGuess\":\"disk2s3\",\"record\":\"01000001"
              "0405060708090a0b03000003" +
                  middle + "6469736b327333000000000000000000\"}\n",
              FormatEvent(EFormat::kJSON, event, kAfternoon));
}

TEST_F(EventFormat, JSONGivesUniversalTimeWhateverThePlace)
{
    SetTimeZone("PST8PDT,M3.2.0,M11.1.0");

    EXPECT_EQ("{\"received\":\"2007-11-03T14:05:02.123Z\"",
              FormatEvent(EFormat::kJSON, SampleEvent(3, ""), kAfternoon).substr(0, 38));
}

TEST_F(EventFormat, JSONKeepsLeadingZerosOfThousandths)
{
    EXPECT_NE(std::string::npos, FormatEvent(EFormat::kJSON, SampleEvent(3, ""), kAfternoon - 116).find(":02.007Z"));
}

TEST_F(EventFormat, JSONHasNullWhereThereIsNothingToGuessAndFalseWhileMoreWaits)
{
    HalvorixEvent event = SampleEvent(3, "\"}");
    event.queueEmpty = 0;

    const std::string line = FormatEvent(EFormat::kJSON, event, kAfternoon);
    EXPECT_NE(std::string::npos, line.find("\"queueEmpty\":false,\"deviceGuess\":null,"));
    EXPECT_EQ(line.size() - 1, line.find('\n'));
}

TEST_F(EventFormat, TheTypeIsReadInTheOrderOfThisMachine)
{
    const HalvorixEvent event = SampleEvent(77, "");

    EXPECT_NE(std::string::npos, FormatEvent(EFormat::kText, event, kAfternoon).find("  type 77  "));
    EXPECT_NE(std::string::npos, FormatEvent(EFormat::kJSON, event, kAfternoon).find("\"type\":77,"));
}

TEST_F(EventFormat, RawIsTheRecord)
{
    const HalvorixEvent event = SampleEvent(3, "disk2s3");

    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&event), 128), FormatEvent(EFormat::kRaw, event, kAfternoon));
}

TEST_F(EventFormat, WhatWasDroppedIsSaidExceptInRawOutput)
{
    EXPECT_EQ("1 event was dropped here, since this output was not read in time\n", FormatDropped(EFormat::kText, 1));
    EXPECT_EQ("12 events were dropped here, since this output was not read in time\n",
              FormatDropped(EFormat::kText, 12));
    EXPECT_EQ("{\"dropped\":12}\n", FormatDropped(EFormat::kJSON, 12));
    EXPECT_EQ("", FormatDropped(EFormat::kRaw, 12));
}

struct TGuess
{
    const char* name;   // fills the 16 bytes up with zeros
    bool isDevice;
};

class DeviceGuess : public ::testing::TestWithParam<TGuess>
{
};

TEST_P(DeviceGuess, TakesWhatAMacWouldCallADisk)
{
    std::string device = "untouched";
    EXPECT_EQ(GetParam().isDevice, GuessDevice(SampleEvent(3, GetParam().name), &device));
    EXPECT_EQ(GetParam().isDevice ? GetParam().name : "untouched", device);
}

INSTANTIATE_TEST_SUITE_P(Names, DeviceGuess,
                         ::testing::Values(TGuess{"disk0", true}, TGuess{"disk2s3", true}, TGuess{"disk10s12", true},
                                           TGuess{"disk123456s4321", true},     // 15 bytes and the zero byte
                                           TGuess{"disk123456s43210", false},   // no zero byte
                                           TGuess{"", false}, TGuess{"disk", false},
                                           TGuess{"disk2s", false},     // a slice without number
                                           TGuess{"disks1", false},     // a disk without number
                                           TGuess{"disk02", false},     // no Mac writes numbers so
                                           TGuess{"disk2s01", false},   // likewise
                                           TGuess{"disk2s3s1", false}, TGuess{"disk2x3", false},
                                           TGuess{"disk2s3 ", false}, TGuess{" disk2s3", false},
                                           TGuess{"disk-1", false}, TGuess{"Disk2", false}, TGuess{"rdisk2", false},
                                           TGuess{"/dev/disk2", false}, TGuess{"Macintosh HD", false}));

TEST(DeviceGuessBytes, WhatFollowsTheZeroByteDoesNotMatter)
{
    HalvorixEvent event = SampleEvent(3, "disk2s3");
    memset(event.name + 8, 0xFF, 8);

    std::string device;
    EXPECT_TRUE(GuessDevice(event, &device));
    EXPECT_EQ("disk2s3", device);
}

TEST(DeviceGuessBytes, ANameThatFillsTheFieldIsNotReadBeyondIt)
{
    // The bytes behind the record would make it a name.
    struct
    {
        HalvorixEvent event;
        char behind[16];
    } memory = {SampleEvent(3, "disk123456789012"), ""};

    std::string device;
    EXPECT_FALSE(GuessDevice(memory.event, &device));
}

}   // namespace
