#include "daemon/DriverConnection.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstdlib>
#include <ctime>

using TAsked = std::vector<std::string>;

class DriverConnection : public TMachineTest
{
protected:
    // Opens, fetches and closes, as every user of the driver does. Returns what the fetch returned.
    kern_return_t FetchOnce()
    {
        UInt32 listening = 1;
        char record[128];
        IOByteCount size = sizeof record;
        tool.OpenDriverConnection();
        const kern_return_t result =
            tool.CallDriverMethod(kDriverFetchEvent, &listening, sizeof listening, record, &size);
        tool.CloseDriverConnection();
        return result;
    }

    // What a driver that cannot be reached must look like.
    void ExpectNoDriver()
    {
        EXPECT_EQ(5, FetchOnce());
        EXPECT_EQ(0u, tool.fUseCount);
        EXPECT_EQ(0u, tool.fConnection);
        EXPECT_EQ(TAsked{}, AskedOfDriver(machine));
    }

    TOpenedDaemonTool tool;
};

TEST_F(DriverConnection, EveryUseOpensBeginsEndsAndCloses)
{
    EXPECT_EQ(KERN_SUCCESS, FetchOnce());

    EXPECT_EQ((TAsked{"open", "method 0", "method 21 1", "method 1", "close"}), AskedOfDriver(machine));
    EXPECT_EQ(0u, tool.fConnection);
}

TEST_F(DriverConnection, WithoutADriverCallsReturn5AndWriteNothing)
{
    ASSERT_EQ("", machine.UnloadDriver());
    UInt32 listening = 1;
    char record[4] = "abc";
    IOByteCount size = 77;

    tool.OpenDriverConnection();
    EXPECT_EQ(1u, tool.fUseCount) << "a failed open counts as a use";
    EXPECT_EQ(5, tool.CallDriverMethod(kDriverFetchEvent, &listening, sizeof listening, record, &size));
    tool.CloseDriverConnection();

    EXPECT_EQ(0u, tool.fUseCount);
    EXPECT_EQ(77u, size);
    EXPECT_STREQ("abc", record);
}

TEST_F(DriverConnection, ASecondOpenIsCountedAndBeginsNoSecondSession)
{
    tool.OpenDriverConnection();
    tool.OpenDriverConnection();

    EXPECT_EQ(2u, tool.fUseCount);
    EXPECT_EQ((TAsked{"open", "method 0"}), AskedOfDriver(machine));
    tool.CloseDriverConnection();
    tool.CloseDriverConnection();
}

TEST_F(DriverConnection, OnlyTheLastCloseEndsTheSession)
{
    tool.OpenDriverConnection();
    tool.OpenDriverConnection();

    tool.CloseDriverConnection();
    EXPECT_NE(0u, tool.fConnection);
    EXPECT_EQ((TAsked{"open", "method 0"}), AskedOfDriver(machine));
    tool.CloseDriverConnection();
    EXPECT_EQ(0u, tool.fConnection);
    EXPECT_EQ((TAsked{"open", "method 0", "method 1", "close"}), AskedOfDriver(machine));
}

TEST_F(DriverConnection, AnOpenAfterAFailedOneOpensForBoth)
{
    ASSERT_EQ("", machine.UnloadDriver());
    tool.OpenDriverConnection();
    ASSERT_EQ("", machine.LoadDriver());
    tool.OpenDriverConnection();

    EXPECT_NE(0u, tool.fConnection);
    EXPECT_EQ(2u, tool.fUseCount);
    tool.CloseDriverConnection();
    EXPECT_NE(0u, tool.fConnection);
    tool.CloseDriverConnection();
}

TEST_F(DriverConnection, NoOutputSizeIsAnOutputSizeOf0)
{
    tool.OpenDriverConnection();
    const TCallWatch watch("IOConnectMethodStructureIStructureO", [](const TCallWatch::TArguments& arguments) {
        const auto* const outputSize = reinterpret_cast<const IOByteCount*>(arguments[3]);
        ASSERT_NE(nullptr, outputSize);
        EXPECT_EQ(0u, *outputSize);
    });
    EXPECT_EQ(KERN_SUCCESS, tool.CallDriverMethod(kDriverBeginSession, nullptr, 0, nullptr, nullptr));

    EXPECT_EQ(1u, watch.Calls());
    tool.CloseDriverConnection();
}

TEST_F(DriverConnection, AllElseIsPassedOnAsItIsGiven)
{
    UInt32 listening = 1;
    char record[128];
    IOByteCount size = sizeof record;
    TCallWatch::TArguments passed;
    tool.OpenDriverConnection();
    {
        const TCallWatch watch("IOConnectMethodStructureIStructureO",
                               [&passed](const TCallWatch::TArguments& arguments) { passed = arguments; });
        EXPECT_EQ(KERN_SUCCESS, tool.CallDriverMethod(21, &listening, sizeof listening, record, &size));
    }
    EXPECT_EQ((TCallWatch::TArguments{static_cast<long>(tool.fConnection), 21, 4, reinterpret_cast<long>(&size),
                                      reinterpret_cast<long>(&listening), reinterpret_cast<long>(record)}),
              passed);
    EXPECT_EQ(128u, size);
    tool.CloseDriverConnection();
}

TEST_F(DriverConnection, OnlyTheFirstMatchingServiceIsTaken)
{
    const TCallWatch watch("IOIteratorNext");
    FetchOnce();

    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(DriverConnection, NoMasterPortReadsAsNoDriver)
{
    const TFault fault("IOMasterPort", {5, 0});
    ExpectNoDriver();
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DriverConnection, NoMatchingDictionaryReadsAsNoDriver)
{
    const TFault fault("IOServiceMatching", {0, 0});
    ExpectNoDriver();
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DriverConnection, AFailedSearchReadsAsNoDriver)
{
    const TFault fault("IOServiceGetMatchingServices", {5, 0});
    ExpectNoDriver();
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DriverConnection, ASearchWithoutAnIteratorReadsAsNoDriver)
{
    const TFault fault("IOServiceGetMatchingServices", {0, 0});
    ExpectNoDriver();
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DriverConnection, ADriverThatRefusesTheOpenReadsAsNoDriver)
{
    ASSERT_EQ("", machine.WriteText("driver/refuse-open", "-536870201\n"));

    EXPECT_EQ(5, FetchOnce());
    EXPECT_EQ(0u, tool.fUseCount);
    EXPECT_EQ(0u, tool.fConnection);
}

TEST_F(DriverConnection, WhatASessionsBeginAndEndReturnIsIgnored)
{
    ASSERT_EQ("", machine.WriteText("driver/refuse-methods", "-536870206\n"));

    EXPECT_EQ(-536870206, FetchOnce());
    EXPECT_EQ(0u, tool.fConnection);
}

TEST_F(DriverConnection, ADriverThatWasLoadedAgainIsFoundByTheNextUse)
{
    EXPECT_EQ(KERN_SUCCESS, FetchOnce());
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ(5, FetchOnce());
    ASSERT_EQ("", machine.LoadDriver());
    EXPECT_EQ(KERN_SUCCESS, FetchOnce());
}

TEST_F(DriverConnection, ADriverThatVanishesDuringAUseFailsTheCallsOnly)
{
    tool.OpenDriverConnection();
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_NE(KERN_SUCCESS, tool.CallDriverMethod(kDriverBeginSession, nullptr, 0, nullptr, nullptr));
    tool.CloseDriverConnection();

    EXPECT_EQ(0u, tool.fUseCount);
    EXPECT_EQ(0u, tool.fConnection);
}

TEST_F(DriverConnection, OpeningAndClosingTakeTheLockAndCallingDoesNot)
{
    const TCallWatch watch("pthread_mutex_lock");
    tool.OpenDriverConnection();
    EXPECT_EQ(1u, watch.Calls());
    tool.CallDriverMethod(kDriverBeginSession, nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(1u, watch.Calls());
    tool.CloseDriverConnection();
    EXPECT_EQ(2u, watch.Calls());
}

struct TTimeZoneCase
{
    const char* zone;
    long now;
    const char* asked;
};

TEST_F(DriverConnection, TheTimeZoneOffsetIsEastPositiveWithDaylightSaving)
{
    const TTimeZoneCase cases[] = {
        {"PST8PDT,M4.1.0,M10.5.0", 1136073600, "method 18 -28800"},   // 1 January 2006: standard time, west
        {"PST8PDT,M4.1.0,M10.5.0", 1151712000, "method 18 -25200"},   // 1 July 2006: daylight saving
        {"JST-9", 1136073600, "method 18 32400"},                     // east
        {"IST-5:30", 1136073600, "method 18 19800"},                  // no whole hour
        {"UTC0", 1136073600, "method 18 0"},
    };
    for (const TTimeZoneCase& one : cases) {
        setenv("TZ", one.zone, 1);
        tzset();
        machine.Remove("driver/calls");
        const TFault clock("time", {one.now, 0});
        tool.SendTimeZoneOffsetToDriver();

        EXPECT_EQ((TAsked{"open", "method 0", one.asked, "method 1", "close"}), AskedOfDriver(machine)) << one.zone;
    }
}

TEST_F(DriverConnection, WithoutADriverNoTimeZoneOffsetIsSent)
{
    ASSERT_EQ("", machine.UnloadDriver());
    const TCallWatch watch("IOConnectMethodStructureIStructureO");
    tool.SendTimeZoneOffsetToDriver();

    EXPECT_EQ(0u, watch.Calls());
    EXPECT_EQ(0u, tool.fUseCount);
}

TEST_F(DriverConnection, ADriverThatRefusesTheTimeZoneOffsetIsClosedAllTheSame)
{
    ASSERT_EQ("", machine.WriteText("driver/refuse-methods", "5\n"));
    tool.SendTimeZoneOffsetToDriver();

    EXPECT_EQ(0u, tool.fConnection);
    EXPECT_EQ(0u, tool.fUseCount);
}
