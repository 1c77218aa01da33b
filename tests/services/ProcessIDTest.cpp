#include "services/Processes.h"
#include "tests/services/ProcessListText.h"
#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

// Finding processes by running ps.
class ProcessID : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever blocks for ever fails at once, and not when the whole run is given up.
        alarm(60);
    }

    // Lets ps print this text and end.
    void LetPSPrint(const std::string& text, const std::string& then = "")
    {
        ASSERT_EQ("", machine.WriteText("ps-output", text));
        ASSERT_EQ("", machine.SetToolBehaviour("ps", "print-file /machine/ps-output\n" + then));
    }
};

TEST_F(ProcessID, ARunningProcessIsFound)
{
    const pid_t process = StartProcess("SystemUIServer");

    EXPECT_EQ(process, Get_ProcessID("SystemUIServer"));
}

TEST_F(ProcessID, AProcessThatDoesNotRunIsNotFound)
{
    EXPECT_EQ(0, Get_ProcessID("SystemUIServer"));
}

TEST_F(ProcessID, AProcessThatEndedIsNotFound)
{
    const pid_t process = StartProcess("SystemUIServer");
    ASSERT_EQ("", machine.Signal(process, SIGKILL));

    EXPECT_TRUE(WaitUntil([] { return Get_ProcessID("SystemUIServer") == 0; }));
}

TEST_F(ProcessID, PSIsRunOnceWithTheseArguments)
{
    Get_ProcessID("SystemUIServer");

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(1u, runs.size());
    EXPECT_EQ("/bin/ps", runs[0].path);
    EXPECT_EQ((std::vector<std::string>{"ps", "acxww"}), runs[0].arguments);
}

TEST_F(ProcessID, AnotherInstanceIsFoundAndNeverTheCaller)
{
    LetPSPrint(kHeader + Line(getpid(), "halvorixd"));
    EXPECT_EQ(0, Get_ProcessID("halvorixd"));

    LetPSPrint(kHeader + Line(getpid(), "halvorixd") + Line(4711, "halvorixd"));
    EXPECT_EQ(4711, Get_ProcessID("halvorixd"));
}

TEST_F(ProcessID, ALastLineWithoutItsLineFeedIsNotSearched)
{
    const std::string line = Line(5022, "Finder");
    LetPSPrint(kHeader + line.substr(0, line.size() - 1));

    EXPECT_EQ(0, Get_ProcessID("Finder"));
}

TEST_F(ProcessID, WithoutOutputNothingIsFound)
{
    LetPSPrint("");

    EXPECT_EQ(0, Get_ProcessID("Finder"));
}

TEST_F(ProcessID, OutputThatTakesSeveralReadsIsSearchedToItsEnd)
{
    std::string text = kHeader;
    for (long process = 1000; text.size() < 200000; ++process)
        text += Line(process, "loginwindow");
    LetPSPrint(text + Line(5022, "Finder"));

    EXPECT_EQ(5022, Get_ProcessID("Finder"));
}

// The match begins before byte 32,767 of the output and ends behind it, at every place where a word could be cut.
TEST_F(ProcessID, ALineThatIsSplitBetweenTwoReadsIsStillFound)
{
    const std::string match = Line(5022, "Finder");
    for (std::size_t before = 0; before <= match.size(); ++before) {
        std::string text;
        while (text.size() + 200 < 32767 - before)
            text += Line(1000, "loginwindow");
        text += std::string(32767 - before - text.size() - 1, ' ') + "\n" + match + Line(1000, "loginwindow");
        LetPSPrint(text);
        EXPECT_EQ(5022, Get_ProcessID("Finder")) << "with " << before << " bytes before the limit";
    }
}

TEST_F(ProcessID, EveryReadAsksForWhatFitsBehindTheUnfinishedLine)
{
    LetPSPrint("12345");
    std::vector<std::pair<long, long>> asked;   // where to, and how much
    const TCallWatch watch(
        "read", [&](const TCallWatch::TArguments& arguments) { asked.emplace_back(arguments[1], arguments[2]); });
    Get_ProcessID("Finder");

    ASSERT_EQ(2u, asked.size());
    EXPECT_EQ(32767, asked[0].second);
    EXPECT_EQ(32767 - 5, asked[1].second);
    EXPECT_EQ(asked[0].first + 5, asked[1].first);
}

TEST_F(ProcessID, ALineThatIsTooLongIsPassedOver)
{
    LetPSPrint(LineOfLength(256, 5022, "Finder") + LineOfLength(32766, 5033, "Finder") + Line(5044, "Finder"));
    EXPECT_EQ(5044, Get_ProcessID("Finder"));
}

// There is no room behind it to read on.
TEST_F(ProcessID, ALineThatFillsTheWholeBufferEndsTheSearch)
{
    LetPSPrint(LineOfLength(32767, 5033, "Finder") + Line(5044, "Finder"));
    EXPECT_EQ(0, Get_ProcessID("Finder"));
}

// After the match ps prints more than a pipe holds: it must not be left to block while it is waited for.
TEST_F(ProcessID, AProcessIsFoundThoughPSHasMuchMoreToPrint)
{
    LetPSPrint(Line(5022, "Finder"), "fill 3000000\n");

    EXPECT_EQ(5022, Get_ProcessID("Finder"));
}

TEST_F(ProcessID, OnceAProcessIsFoundNothingMoreIsRead)
{
    LetPSPrint(Line(5022, "Finder"));
    const TCallWatch watch("read");
    Get_ProcessID("Finder");

    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(ProcessID, PSIsWaitedForOnceAlsoWhenTheProcessWasFound)
{
    LetPSPrint(Line(5022, "Finder"));
    const TCallWatch watch("waitpid");
    Get_ProcessID("Finder");

    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(ProcessID, HowPSEndsIsOfNoInterest)
{
    LetPSPrint(Line(5022, "Finder"), "exit 3\n");
    EXPECT_EQ(5022, Get_ProcessID("Finder"));

    LetPSPrint(Line(5022, "Finder"), "signal 9\n");
    EXPECT_EQ(5022, Get_ProcessID("Finder"));

    ASSERT_EQ("", machine.SetToolBehaviour("ps", "signal 9\n"));
    EXPECT_EQ(0, Get_ProcessID("Finder"));
}

TEST_F(ProcessID, WithoutMemoryNothingIsFoundAndPSIsNotRun)
{
    LetPSPrint(Line(5022, "Finder"));
    const TFault fault("operator new[] nothrow", {0, 0});

    EXPECT_EQ(0, Get_ProcessID("Finder"));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(ProcessID, TheBufferHolds32768Bytes)
{
    LetPSPrint("");
    std::vector<long> sizes;
    const TCallWatch watch("operator new[] nothrow",
                           [&](const TCallWatch::TArguments& arguments) { sizes.push_back(arguments[0]); });
    Get_ProcessID("Finder");

    EXPECT_EQ((std::vector<long>{32768}), sizes);
}

TEST_F(ProcessID, WithoutAForkNothingIsFoundAndNothingIsWaitedFor)
{
    LetPSPrint(Line(5022, "Finder"));
    const TFault fault("fork", {-1, EAGAIN});
    const TCallWatch watch("waitpid");

    EXPECT_EQ(0, Get_ProcessID("Finder"));
    EXPECT_EQ(0u, watch.Calls());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// ps is run all the same, and prints to where the caller prints.
TEST_F(ProcessID, WithoutAPipeNothingIsFoundAndPSIsWaitedFor)
{
    LetPSPrint(Line(5022, "Finder"));
    const TFault fault("pipe", {-1, EMFILE});
    const TCallWatch watch("waitpid");

    EXPECT_EQ(0, Get_ProcessID("Finder"));
    EXPECT_EQ(1u, watch.Calls());
    EXPECT_EQ(1u, machine.ToolRuns().size());
}

TEST_F(ProcessID, AReadThatFailsEndsTheSearchLikeTheEndOfTheOutput)
{
    LetPSPrint(Line(5022, "Finder"));
    const TFault fault("read", {-1, EIO});

    EXPECT_EQ(0, Get_ProcessID("Finder"));
    EXPECT_EQ(1u, fault.Reached());
}

// The unfinished line that is there still must not be searched again for ever.
TEST_F(ProcessID, ALaterReadThatFailsEndsTheSearchAsWell)
{
    LetPSPrint(" 5022  ??  Ss  0:01 Fin");
    const TFault fault("read", {-1, EINTR}, 2);

    EXPECT_EQ(0, Get_ProcessID("Finder"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(ProcessID, WhenPSCannotBeExecutedTheChildReturnsIntoTheCallersCodeToo)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));

    const TReturns returns = ReturnsOf([] { return Get_ProcessID("Finder"); });
    EXPECT_EQ(std::vector<long>{0}, returns.inCaller);
    EXPECT_EQ(std::vector<long>{0}, returns.inChild);
}

TEST_F(ProcessID, WhenPSIsExecutedOnlyTheCallerReturns)
{
    LetPSPrint(Line(5022, "Finder"));

    const TReturns returns = ReturnsOf([] { return Get_ProcessID("Finder"); });
    EXPECT_EQ(std::vector<long>{5022}, returns.inCaller);
    EXPECT_EQ(std::vector<long>{}, returns.inChild);
}

// Runs code while some of the standard descriptors are closed, as in a daemon that was started without them.
static void Without(const std::vector<int>& descriptors, const std::function<void()>& code)
{
    fflush(stdout);
    std::vector<int> kept;
    for (const int descriptor : descriptors) {
        kept.push_back(fcntl(descriptor, F_DUPFD, 100));
        close(descriptor);
    }
    code();
    for (std::size_t i = 0; i < kept.size(); ++i) {
        dup2(kept[i], descriptors[i]);
        close(kept[i]);
    }
}

TEST_F(ProcessID, ACallerWithoutStandardDescriptorsFindsTheProcess)
{
    LetPSPrint(Line(5022, "Finder"));
    // In this order the pipe's ends become 1 and more, 0 and 1, 0 and 1, 1 and 2.
    for (const std::vector<int>& closed : {std::vector<int>{1}, {0, 1}, {0, 1, 2}, {1, 2}}) {
        int32_t found = 0;
        Without(closed, [&] { found = Get_ProcessID("Finder"); });
        EXPECT_EQ(5022, found) << "without " << closed.size() << " from " << closed[0];
    }
}
