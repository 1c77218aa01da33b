#include "clients/CommandLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TArguments = std::vector<std::string>;

// What these arguments ask for; that they make sense is expected.
TOptions Read(const TArguments& arguments)
{
    TOptions options;
    EXPECT_EQ("", ReadCommandLine(arguments, &options));
    return options;
}

std::string ErrorOf(const TArguments& arguments)
{
    TOptions options;
    return ReadCommandLine(arguments, &options);
}

TEST(CommandLine, NoArgumentsListenAtTheDaemonsSocketAndPrintText)
{
    const TOptions options = Read({});

    EXPECT_EQ(TOptions::ETask::kListen, options.task);
    EXPECT_EQ(EFormat::kText, options.format);
    EXPECT_EQ("/tmp/com.halvorix.halvorixd/driverevents", options.socketPath);
    EXPECT_FALSE(options.wait);
    EXPECT_FALSE(options.reconnect);
    EXPECT_EQ(0u, options.count);
}

TEST(CommandLine, EachOptionIsUnderstood)
{
    EXPECT_EQ(EFormat::kJSON, Read({"--json"}).format);
    EXPECT_EQ(EFormat::kRaw, Read({"--raw"}).format);
    EXPECT_TRUE(Read({"--wait"}).wait);
    EXPECT_TRUE(Read({"--reconnect"}).reconnect);
    EXPECT_EQ(TOptions::ETask::kShowHelp, Read({"--help"}).task);
    EXPECT_EQ(TOptions::ETask::kShowVersion, Read({"--version"}).task);
}

TEST(CommandLine, AValueStandsNextOrAfterAnEqualsSign)
{
    EXPECT_EQ(12u, Read({"--count", "12"}).count);
    EXPECT_EQ(12u, Read({"--count=12"}).count);
    EXPECT_EQ("/tmp/x", Read({"--socket", "/tmp/x"}).socketPath);
    EXPECT_EQ("/tmp/x=y", Read({"--socket=/tmp/x=y"}).socketPath);
    EXPECT_EQ("--json", Read({"--socket", "--json"}).socketPath);
}

TEST(CommandLine, TheLastOfTwoCounts)
{
    EXPECT_EQ(3u, Read({"--count", "2", "--count=3"}).count);
    EXPECT_EQ(EFormat::kJSON, Read({"--json", "--json"}).format);
}

TEST(CommandLine, HelpAndVersionEndTheReading)
{
    EXPECT_EQ(TOptions::ETask::kShowHelp, Read({"--help", "--nonsense"}).task);
    EXPECT_EQ(TOptions::ETask::kShowVersion, Read({"--version", "--help"}).task);
    EXPECT_NE("", ErrorOf({"--nonsense", "--help"}));
}

TEST(CommandLine, TwoHyphensEndTheOptions)
{
    EXPECT_TRUE(Read({"--wait", "--"}).wait);
    EXPECT_EQ("it takes options alone, not '--wait'; --help lists them", ErrorOf({"--", "--wait"}));
}

TEST(CommandLine, AHundredAndThreeBytesOfPathAreTakenAndOneMoreIsNot)
{
    const std::string longest(103, 'p');
    EXPECT_EQ(longest, Read({"--socket", longest}).socketPath);
    EXPECT_EQ("--socket takes a path of 1 to 103 bytes, not of 104", ErrorOf({"--socket", longest + "p"}));
}

TEST(CommandLine, ACountOfEighteenDigitsIsTakenAndOneMoreIsNot)
{
    EXPECT_EQ(999999999999999999u, Read({"--count", "999999999999999999"}).count);
    EXPECT_NE("", ErrorOf({"--count", "1000000000000000000"}));
}

struct TMisuse
{
    TArguments arguments;
    const char* error;
};

class CommandLineMisuse : public ::testing::TestWithParam<TMisuse>
{
};

TEST_P(CommandLineMisuse, IsToldInOneLine)
{
    EXPECT_EQ(GetParam().error, ErrorOf(GetParam().arguments));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, CommandLineMisuse,
    ::testing::Values(TMisuse{{"--jsn"}, "there is no option --jsn; --help lists those that there are"},
                      TMisuse{{"-j"}, "there is no option -j; --help lists those that there are"},
                      TMisuse{{"-"}, "there is no option -; --help lists those that there are"},
                      TMisuse{{"--json=yes"}, "there is no option --json=yes; --help lists those that there are"},
                      TMisuse{{"--counts=3"}, "there is no option --counts=3; --help lists those that there are"},
                      TMisuse{{"disk2"}, "it takes options alone, not 'disk2'; --help lists them"},
                      TMisuse{{""}, "it takes options alone, not ''; --help lists them"},
                      TMisuse{{"--json", "--raw"}, "--json and --raw exclude each other; choose one"},
                      TMisuse{{"--raw", "--json"}, "--json and --raw exclude each other; choose one"},
                      TMisuse{{"--count"}, "--count needs a number after it"},
                      TMisuse{{"--count", "0"}, "--count takes a number of events from 1 to 18 digits, not '0'"},
                      TMisuse{{"--count", "-1"}, "--count takes a number of events from 1 to 18 digits, not '-1'"},
                      TMisuse{{"--count="}, "--count takes a number of events from 1 to 18 digits, not ''"},
                      TMisuse{{"--count", "3x"}, "--count takes a number of events from 1 to 18 digits, not '3x'"},
                      TMisuse{{"--socket"}, "--socket needs a path after it"},
                      TMisuse{{"--socket="}, "--socket takes a path of 1 to 103 bytes, not of 0"}));

}   // namespace
