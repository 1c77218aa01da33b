// The example clients do what docs/clients.md says of them, and are what it shows.

#include "tests/clients/EventSource.h"
#include "tests/clients/SampleEvents.h"
#include "tests/clients/SlowReader.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char kPython[] = "/host/usr/bin/python3";

struct TExample
{
    const char* name;
    const char* file;
    bool isPython;
};

std::string TextOf(const std::string& file)
{
    std::ostringstream text;
    text << std::ifstream("/product/examples/" + file).rdbuf();
    return text.str();
}

class Example : public TMachineTest, public ::testing::WithParamInterface<TExample>
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        fCommand = lab::CommandFor("/product/examples/listen", {});
        if (!GetParam().isPython)
            return;
        fCommand = {kPython, "python3", "/product/examples/listen.py"};
        // Python is a program of the host even where we are code for another processor.
        std::string order;
        RunToEnd({kPython, "python3", "-c", "import sys; print(sys.byteorder)"}, &order, nullptr);
        const std::uint16_t one = 1;
        fReversed = (order == "little\n") != (*reinterpret_cast<const char*>(&one) == 1);
    }

    // An event of this type, in the byte order of the example.
    std::string Event(std::int32_t type) const
    {
        std::string bytes = BytesOf(SampleEvent(type, ""));
        if (fReversed)
            std::reverse(bytes.begin() + 12, bytes.begin() + 16);
        return bytes;
    }

    std::vector<std::string> fCommand;

private:
    bool fReversed = false;
};

TEST_P(Example, PrintsTheTypeOfEachEventThatComesInPieces)
{
    TEventSource source;
    TRunningProgram program(fCommand);
    source.Accept();
    source.Send(Event(3) + Event(70000).substr(0, 14));
    EXPECT_TRUE(WaitUntil([&] { return program.Output() == "type 3, 0 missed before it\n"; }));
    source.WaitUntilRead();
    source.Send(Event(70000).substr(14));
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ("type 3, 0 missed before it\ntype 70000, 0 missed before it\n", program.Output());
    EXPECT_EQ("", program.Errors());
}

TEST_P(Example, ReadsOnWhileNobodyReadsItsOutput)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(WithOutputTo(kSlowReader, fCommand));
    source.Accept();
    const std::string event = Event(3);
    source.SendMany(event, 10000);
    source.WaitUntilRead();
    EXPECT_LT(source.LongestSend(), 2);

    reader.Read();
    source.Send(Event(4));
    EXPECT_TRUE(WaitUntil([&] { return reader.Read().find("type 4, ") != std::string::npos; }));
    EXPECT_EQ(std::string::npos, reader.Read().find("type 4, 0 missed"));
}

TEST_P(Example, SaysThatNoDaemonRuns)
{
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(fCommand, nullptr, &errors));
    EXPECT_EQ(std::string(GetParam().name) +
                  ": no daemon listens at /tmp/com.halvorix.halvorixd/driverevents; start halvorixd\n",
              errors);
}

TEST_P(Example, IsShownInTheGuideAsItIs)
{
    const std::string text = TextOf(GetParam().file);
    ASSERT_NE("", text);
    EXPECT_NE(std::string::npos, TextOf("clients.md").find("\n" + text + "```\n"));
}

INSTANTIATE_TEST_SUITE_P(Languages, Example,
                         ::testing::Values(TExample{"listen", "listen.c", false},
                                           TExample{"listen.py", "listen.py", true}),
                         [](const auto& example) { return example.param.isPython ? "Python" : "C"; });

}   // namespace
