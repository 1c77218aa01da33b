// The example clients do what docs/clients.md says of them, and are what it shows.

#include "tests/clients/EventSource.h"
#include "tests/clients/SampleEvents.h"
#include "tests/clients/SlowReader.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"
#include "tests/support/RunningProgram.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char kPython[] = "/host/usr/bin/python3";

struct TExample
{
    const char* language;
    const char* name;
    const char* file;
    bool isCompiled;   // or else it is run by a program of the host
    bool missesEvents;
};

const TExample kExamples[] = {
    {"C", "listen", "listen.c", true, true},
    {"CPlusPlus", "listen", "listen.cpp", true, true},
    {"Python", "listen.py", "listen.py", false, true},
    {"Shell", "listen.sh", "listen.sh", false, false},
};

std::vector<std::string> CommandOf(const TExample& example)
{
    const std::string file = std::string("/product/examples/") + example.file;
    if (!example.isCompiled && file.back() == 'y')
        return {kPython, "python3", file};
    if (!example.isCompiled)
        return {"/bin/bash", "bash", file};
    return lab::CommandFor(file.back() == 'c' ? "/product/examples/listen-c" : "/product/examples/listen-cpp", {});
}

// What an example prints of an event before which it missed none.
std::string LineOf(const TExample& example, std::int32_t type)
{
    return "type " + std::to_string(type) + (example.missesEvents ? ", 0 missed before it\n" : "\n");
}

// How many events an output tells of: those that are printed and those that are said to be missing.
unsigned long EventsToldIn(const std::string& output)
{
    unsigned long events = 0;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        long type = 0;
        unsigned long missed = 0;
        EXPECT_LE(1, sscanf(line.c_str(), "type %ld, %lu missed before it", &type, &missed)) << line;
        events += 1 + missed;
    }
    return events;
}

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
        fCommand = CommandOf(GetParam());
        if (GetParam().isCompiled)
            return;
        // A program of the host even where we are code for another processor.
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
    EXPECT_TRUE(WaitUntil([&] { return program.Output() == LineOf(GetParam(), 3); }));
    source.WaitUntilRead();
    source.Send(Event(70000).substr(14));
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(LineOf(GetParam(), 3) + LineOf(GetParam(), 70000), program.Output());
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

    unsigned long sent = 10000;
    EXPECT_TRUE(WaitUntil([&] {
        source.Send(Event(4));
        ++sent;
        return reader.Read().find("\ntype 4") != std::string::npos;
    }));
    source.EndStream();
    const std::string output = reader.ReadAllOf(program);
    EXPECT_EQ("exited 0", program.WaitForEnd());

    // None is lost that is not counted, but for those behind the last that is printed.
    EXPECT_LT(10000u, EventsToldIn(output));
    EXPECT_GE(sent, EventsToldIn(output));
    const bool missesNone =
        EventsToldIn(output) == static_cast<unsigned long>(std::count(output.begin(), output.end(), '\n'));
    EXPECT_EQ(GetParam().missesEvents, !missesNone);
}

TEST_P(Example, SaysThatNoDaemonRuns)
{
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(fCommand, nullptr, &errors));
    EXPECT_EQ(std::string(GetParam().name) +
                  ": no daemon listens at /tmp/com.halvorix.halvorixd/driverevents; start halvorixd\n",
              errors);
}

INSTANTIATE_TEST_SUITE_P(Languages, Example, ::testing::ValuesIn(kExamples),
                         [](const auto& example) { return example.param.language; });

using ExamplesAndTheDaemon = TMachineTest;

TEST_F(ExamplesAndTheDaemon, AreShownInTheGuideAsTheyAre)
{
    const std::string guide = TextOf("clients.md");
    for (const TExample& example : kExamples) {
        const std::string text = TextOf(example.file);
        ASSERT_NE("", text);
        EXPECT_NE(std::string::npos, guide.find("\n" + text + "```\n")) << example.file;
    }
}

// Types that read the same in either byte order, since some examples are programs of the host.
constexpr std::int32_t kFirstType = 0x03000003;
constexpr std::int32_t kSecondType = 0x04000004;

TEST_F(ExamplesAndTheDaemon, AllHearWhatTheDaemonSends)
{
    StartLoginSession(machine);
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    std::vector<std::unique_ptr<TRunningProgram>> programs;
    for (const TExample& example : kExamples)
        programs.push_back(std::make_unique<TRunningProgram>(CommandOf(example)));
    const auto allShow = [&](std::int32_t type) {
        for (std::size_t i = 0; i < programs.size(); ++i) {
            if (programs[i]->Output().find(LineOf(kExamples[i], type)) == std::string::npos)
                return false;
        }
        return true;
    };
    lab::TEvent event;
    event.type = kFirstType;
    // Again and again, since none is kept for those who connect later.
    EXPECT_TRUE(WaitUntil([&] {
        if (machine.WaitingEvents() == 0) {
            EXPECT_EQ("", machine.PostEvents({event}));
        }
        return allShow(kFirstType);
    }));
    event.type = kSecondType;
    EXPECT_EQ("", machine.PostEvents({event}));
    EXPECT_TRUE(WaitUntil([&] { return allShow(kSecondType); }));

    EndDaemon(&daemon);
    for (const auto& program : programs)
        EXPECT_EQ("exited 0", program->WaitForEnd()) << program->Errors();
}

}   // namespace
