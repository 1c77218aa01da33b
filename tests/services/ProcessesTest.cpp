#include "services/Processes.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A line as ps prints it, with its line feed.
static std::string Line(long process, const std::string& command)
{
    char front[64];
    snprintf(front, sizeof front, "%5ld  ??  Ss     0:01.25 ", process);
    return front + command + "\n";
}

static const char kHeader[] = "  PID  TT  STAT      TIME COMMAND\n";

// A line of exactly this many bytes, its line feed not counted, whose command is `command`.
static std::string LineOfLength(std::size_t length, long process, const std::string& command)
{
    const std::string line = Line(process, command);
    return std::string(length + 1 - line.size(), ' ') + line;
}

// What a search found and left.
struct TFound
{
    int32_t process;
    uint32_t remainder;
    std::string tail;   // the first `remainder` bytes of the buffer
};

static TFound Search(const std::string& text, const char* name)
{
    // On the heap, so that a byte too far is seen by the sanitizer.
    std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
    TFound found{0, 0xDEADBEEF, ""};
    found.process = SearchBufferFor_PID(buffer.data(), &found.remainder, name);
    if (found.remainder < buffer.size())
        found.tail.assign(buffer.data(), found.remainder);
    return found;
}

// Process IDs of four digits: no process of a machine that has just been started has one, the caller above all.
class ProcessLines : public TMachineTest
{
};

TEST_F(ProcessLines, TheFirstLineWithTheCommandIsFound)
{
    const TFound found = Search(kHeader + Line(5011, "init") + Line(5022, "Finder") + Line(5033, "Finder"), "Finder");
    EXPECT_EQ(5022, found.process);
    EXPECT_EQ(0u, found.remainder);
}

TEST_F(ProcessLines, WhenAProcessIsFoundNoTailIsKept)
{
    EXPECT_EQ(0u, Search(Line(5022, "Finder") + "unfinished", "Finder").remainder);
}

TEST_F(ProcessLines, WithoutAMatchTheUnfinishedLineMovesToTheFront)
{
    const TFound found = Search(Line(5011, "init") + " 5022  ??  Ss   0:01 Fin", "Finder");
    EXPECT_EQ(0, found.process);
    EXPECT_EQ(24u, found.remainder);
    EXPECT_EQ(" 5022  ??  Ss   0:01 Fin", found.tail);
}

TEST_F(ProcessLines, ATailThatOverlapsItsNewPlaceArrivesWhole)
{
    const std::string tail = "0123456789abcdefghijklmnopqrstuvwxyz";
    const TFound found = Search("x\n" + tail, "Finder");
    EXPECT_EQ(tail, found.tail);
}

TEST_F(ProcessLines, TheTailIsMovedWithoutItsNUL)
{
    char buffer[] = "12345\nabc";
    uint32_t remainder = 0;
    SearchBufferFor_PID(buffer, &remainder, "Finder");

    EXPECT_EQ(3u, remainder);
    EXPECT_EQ(0, memcmp("abc45", buffer, 5));
}

TEST_F(ProcessLines, AfterTheLastLineNothingRemains)
{
    EXPECT_EQ(0u, Search(Line(5011, "init"), "Finder").remainder);
    EXPECT_EQ(0u, Search("\n", "Finder").remainder);
    EXPECT_EQ(0u, Search("", "Finder").remainder);
}

TEST_F(ProcessLines, AnUnfinishedLineIsNotSearched)
{
    const std::string line = Line(5022, "Finder");
    const TFound found = Search(line.substr(0, line.size() - 1), "Finder");
    EXPECT_EQ(0, found.process);
    EXPECT_EQ(line.size() - 1, found.remainder);
}

TEST_F(ProcessLines, ALineOf255BytesIsReadAndOneOf256IsNot)
{
    EXPECT_EQ(5022, Search(LineOfLength(255, 5022, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(LineOfLength(256, 5022, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(LineOfLength(5000, 5022, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, BehindALineThatIsTooLongTheNextIsRead)
{
    const TFound found = Search(LineOfLength(256, 5022, "Finder") + Line(5033, "Finder"), "Finder");
    EXPECT_EQ(5033, found.process);
}

TEST_F(ProcessLines, AWordMayFillTheLine)
{
    const std::string longName(255 - strlen("5001 a b c "), 'N');
    EXPECT_EQ(5001, Search("5001 a b c " + longName + "\n", longName.c_str()).process);
    EXPECT_EQ(0, Search("5001 a b c " + longName + "N\n", (longName + "N").c_str()).process);
}

TEST_F(ProcessLines, TheCallersOwnLineIsPassedOver)
{
    EXPECT_EQ(0, Search(Line(getpid(), "Finder"), "Finder").process);
    EXPECT_EQ(getpid() + 1, Search(Line(getpid(), "Finder") + Line(getpid() + 1, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, AProcessIDOfZeroIsPassedOver)
{
    EXPECT_EQ(5033, Search(Line(0, "Finder") + Line(5033, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(Line(0, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, ANegativeProcessIDIsAnAnswer)
{
    EXPECT_EQ(-7, Search(Line(-7, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, NamesAreComparedWholeAndByCase)
{
    const std::string text = Line(5001, "Finder2") + Line(5002, "finder") + Line(5003, "Finde") + Line(5004, "FINDER");
    EXPECT_EQ(0, Search(text, "Finder").process);
    EXPECT_EQ(5002, Search(text, "finder").process);
}

TEST_F(ProcessLines, OnlyTheFifthWordIsTheCommand)
{
    EXPECT_EQ(0, Search("5001 Finder Finder Finder other\n", "Finder").process);
    EXPECT_EQ(0, Search("5001 a b c d Finder\n", "Finder").process);
}

TEST_F(ProcessLines, ACommandWithABlankEndsAtIt)
{
    EXPECT_EQ(0, Search(Line(5022, "Disk Utility"), "Disk Utility").process);
    EXPECT_EQ(5022, Search(Line(5022, "Disk Utility"), "Disk").process);
}

TEST_F(ProcessLines, AnEmptyNameIsNeverFound)
{
    EXPECT_EQ(0, Search("5001 a b c\n5001 a b c \n" + Line(5022, ""), "").process);
}

TEST_F(ProcessLines, LinesThatDoNotParseArePassedOver)
{
    EXPECT_EQ(0, Search(kHeader, "COMMAND").process);
    const std::string text = "\n \n5001\n5001 a\n5001 a b\n5001 a b Finder\nx 5001 a b c Finder\n";
    EXPECT_EQ(5033, Search(text + Line(5033, "Finder"), "Finder").process);
}

// Each of these reads as scanf reads it; what that is stands beside the line.
TEST_F(ProcessLines, NumbersAndBlanksReadAsScanfReadsThem)
{
    const struct
    {
        const char* line;
        int32_t process;
    } kLines[] = {
        {"+5012 a b c Finder\n", 5012},   // a sign belongs to the number
        {"-5012 a b c Finder\n", -5012},
        {"005012 a b c Finder\n", 5012},   // decimal, whatever it begins with
        {"0x5012 a b c Finder\n", 0},      // the number is 0 and the rest a word: one too many
        {"0x5012 b c Finder\n", 0},        // the number is 0
        {"5012a b c Finder\n", 5012},      // the number ends where its digits do
        {"5012.5 b c Finder\n", 5012},
        {"- 5012 a b c Finder\n", 0},   // a sign alone is no number
        {"--5012 a b c Finder\n", 0},
        {"\t\v\f\r 5012\ta\vb\fc\rFinder\n", 5012},   // every kind of blank parts words
        {"5012 a b c Finder\r\n", 5012},              // and so does the end of a DOS line
        {"5012 a b c Finder \t \n", 5012},
        {"5012 a b c Finder\xA0\n", 0},   // a byte above 127 is no blank
        {"5012 a b c \x01"
         "Finder\n",
         0},   // nor is a control character
    };
    for (const auto& each : kLines)
        EXPECT_EQ(each.process, Search(each.line, "Finder").process) << each.line;
}

// The rule, written down again: lines below 256 bytes, read by scanf.
static TFound SearchByScanf(const std::string& text, const std::string& name)
{
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = text.substr(start, end - start);
        int process = 0;
        char words[4][256];
        if (line.size() < 256 &&
            sscanf(line.c_str(), "%d %255s %255s %255s %255s", &process, words[0], words[1], words[2], words[3]) == 5 &&
            process != getpid() && process != 0 && words[3] == name)
            return {process, 0, ""};
    }
    return {0, static_cast<uint32_t>(text.size() - start), text.substr(start)};
}

TEST_F(ProcessLines, GeneratedTextsAreReadAsScanfReadsThem)
{
    const std::string kPieces[] = {"Finder",
                                   "Finde",
                                   "finder",
                                   "F",
                                   "a",
                                   "??",
                                   "Ss",
                                   "0:01.25",
                                   "x.y",
                                   "0",
                                   "1",
                                   "22",
                                   "333",
                                   "-4",
                                   "+5",
                                   "0x6",
                                   "007",
                                   "2147483647",
                                   "2147483648",
                                   "-2147483648",
                                   "-2147483649",
                                   "4294967295",
                                   "4294967296",
                                   "4294967297",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "99999999999999999999999",
                                   "-99999999999999999999999",
                                   "-",
                                   "+",
                                   "+-1",
                                   "\x80",
                                   "\xFF",
                                   "\x01",
                                   std::to_string(getpid()),
                                   std::string(100, 'w'),
                                   std::string(250, ' '),
                                   "\t",
                                   "\r",
                                   "\v",
                                   "\f"};
    std::mt19937 random(4711);
    const auto pick = [&](std::size_t limit) { return static_cast<unsigned>(random() % limit); };

    unsigned matches = 0;
    for (unsigned round = 0; round < 20000; ++round) {
        std::string text;
        for (unsigned line = pick(4); line != 0; --line) {
            // Half of them in the shape of a line, so that many match.
            const bool shaped = pick(2) == 0;
            for (unsigned piece = shaped ? 4 : pick(8); piece != 0; --piece)
                text += kPieces[pick(sizeof kPieces / sizeof *kPieces)] + (pick(8) != 0 ? " " : "");
            text += shaped ? "Finder\n" : "\n";
        }
        if (pick(2) == 0)
            text += kPieces[pick(sizeof kPieces / sizeof *kPieces)];
        const TFound expected = SearchByScanf(text, "Finder");
        const TFound found = Search(text, "Finder");
        ASSERT_EQ(expected.process, found.process) << text;
        ASSERT_EQ(expected.remainder, found.remainder) << text;
        ASSERT_EQ(expected.tail, found.tail) << text;
        matches += found.process != 0;
    }
    // A generator that never matched would try nothing.
    EXPECT_GT(matches, 2000u);
}

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

    pid_t StartProcess(const std::string& name)
    {
        lab::TStart start;
        start.name = name;
        pid_t process = 0;
        EXPECT_EQ("", machine.Start(start, &process));
        return process;
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

// What both sides of the fork say: whether it is the process that called, and what it was told.
struct TReport
{
    int isCaller;
    int32_t found;
};

// Calls Get_ProcessID in a process of its own, where whoever comes back from it reports.
static std::vector<TReport> ReportsOfCallers()
{
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    const pid_t sacrificed = fork();
    if (sacrificed == 0) {
        const pid_t caller = getpid();
        TReport report;
        report.found = Get_ProcessID("Finder");
        report.isCaller = getpid() == caller;
        _exit(write(ends[1], &report, sizeof report) != sizeof report);
    }
    close(ends[1]);
    std::vector<TReport> reports;
    for (TReport report; read(ends[0], &report, sizeof report) == sizeof report;)
        reports.push_back(report);
    close(ends[0]);
    waitpid(sacrificed, nullptr, 0);
    return reports;
}

TEST_F(ProcessID, WhenPSCannotBeExecutedTheChildReturnsIntoTheCallersCodeToo)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));

    const std::vector<TReport> reports = ReportsOfCallers();
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ(1, reports[0].isCaller + reports[1].isCaller);
    EXPECT_EQ(0, reports[0].found);
    EXPECT_EQ(0, reports[1].found);
}

TEST_F(ProcessID, WhenPSIsExecutedOnlyTheCallerReturns)
{
    LetPSPrint(Line(5022, "Finder"));

    const std::vector<TReport> reports = ReportsOfCallers();
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ(1, reports[0].isCaller);
    EXPECT_EQ(5022, reports[0].found);
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
