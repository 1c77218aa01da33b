// The program halvorixevents with an output that takes nothing, goes away or is missing: the daemon never waits for it.

#include "tests/clients/EventSource.h"
#include "tests/clients/Listener.h"
#include "tests/clients/SampleEvents.h"
#include "tests/clients/SlowReader.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

using ListenerOutput = Listener;

TEST_F(ListenerOutput, AStoppedReaderOfJSONNeverHoldsUpTheDaemonAndEveryEventIsAccountedFor)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--json"}));
    source.Accept();

    const std::size_t kSent = 100000;
    source.SendMany(BytesOf(SampleEvent(3, "disk2s3")), kSent);
    EXPECT_LT(source.LongestSend(), 2);
    source.EndStream();

    const std::string& text = reader.ReadAllOf(program);
    EXPECT_EQ("exited 0", program.WaitForEnd());
    const std::size_t delivered = CountOf("\"type\":3", text);
    EXPECT_EQ(kSent, delivered + DroppedInJSON(text));
    EXPECT_EQ(kSent, delivered + DroppedInReport(program.Errors()));
    EXPECT_GT(delivered, 1000u);    // the buffer was used
    EXPECT_LT(delivered, 50000u);   // and has an end
}

TEST_F(ListenerOutput, AStoppedReaderOfRawOutputGetsWholeEventsAndTheReportGoesToStandardError)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--raw"}));
    source.Accept();

    const std::string event = BytesOf(SampleEvent(3, "disk2s3"));
    const std::size_t kSent = 100000;
    source.SendMany(event, kSent);
    EXPECT_LT(source.LongestSend(), 2);
    source.EndStream();

    const std::string& bytes = reader.ReadAllOf(program);
    ASSERT_EQ(0u, bytes.size() % event.size());
    EXPECT_EQ(bytes.size() / event.size(), CountOf(event, bytes));
    EXPECT_EQ(kSent, bytes.size() / event.size() + DroppedInReport(program.Errors()));
    EXPECT_NE(0u, DroppedInReport(program.Errors()));
}

TEST_F(ListenerOutput, SaysInTheStreamWhatIsMissingWhereItIsMissing)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--json"}));
    source.Accept();
    source.SendMany(BytesOf(SampleEvent(3, "")), 10000);
    source.WaitUntilRead();

    // Once the reader has caught up, the next event follows what is said of those before it.
    std::size_t quiet = 0;
    EXPECT_TRUE(WaitUntil([&] {
        const std::size_t before = reader.Read().size();
        quiet = reader.Read().size() == before ? quiet + 1 : 0;
        return quiet > 20;
    }));
    source.Send(BytesOf(SampleEvent(4, "")));
    EXPECT_TRUE(WaitUntil([&] { return CountOf("\"type\":4", reader.Read()) == 1; }));

    const std::vector<std::string> lines = Lines(reader.Read());
    ASSERT_GT(lines.size(), 2u);
    EXPECT_EQ(0u, lines[lines.size() - 2].find("{\"dropped\":")) << lines[lines.size() - 2];
    EXPECT_EQ(10000u, CountOf("\"type\":3", reader.Read()) + DroppedInJSON(reader.Read()));
    EXPECT_EQ("", program.Errors());
}

TEST_F(ListenerOutput, ASignalEndsItAlthoughItsReaderIsStoppedAndWhatWaitedCountsAsDropped)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--raw"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    const std::size_t kSent = 20000;
    source.SendMany(event, kSent);
    source.WaitUntilRead();

    program.Signal(SIGTERM);
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(kSent, reader.Read().size() / event.size() + DroppedInReport(program.Errors()));
}

// Whether the process stands still, by /proc. A signal that stops takes effect a moment after it is sent.
static bool IsStopped(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("State:\tT", 0) == 0)
            return true;
    }
    return false;
}

TEST_F(ListenerOutput, ASignalLetsOutWhatItsReaderTakes)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--raw"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    const std::size_t kSent = 5000;
    source.SendMany(event, kSent);
    source.WaitUntilRead();

    // The signal finds most of the output waiting, and room for all of it.
    program.Signal(SIGSTOP);
    ASSERT_TRUE(WaitUntil([&program] { return IsStopped(program.Process()); }));
    reader.MakeRoom(1048576);
    program.Signal(SIGTERM);
    program.Signal(SIGCONT);
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(kSent * event.size(), reader.Read().size());
    EXPECT_EQ("", program.Errors());
}

TEST_F(ListenerOutput, EndsSilentlyWithZeroWhenItsReaderHasGone)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({}));
    source.Accept();
    source.SendMany(BytesOf(SampleEvent(3, "")), 2000);
    source.WaitUntilRead();

    reader.Leave();
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ("", program.Errors());
}

TEST_F(ListenerOutput, NoticesWithoutAnEventThatItsReaderHasGone)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({}));
    source.Accept();

    reader.Leave();
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_TRUE(source.ClientIsGone());
}

TEST_F(ListenerOutput, APipeThatItCouldReadItselfIsNoReaderThatWent)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(Redirected("1<>/tmp/slow-reader", {"--raw"}));
    source.Accept();

    const std::string event = BytesOf(SampleEvent(3, ""));
    source.Send(event);
    source.WaitUntilRead();
    source.Send(event);
    EXPECT_TRUE(WaitUntil([&] { return reader.Read() == event + event; }));
    EXPECT_TRUE(program.IsRunning());
}

// A terminal whose keyboard and screen the test is; programs inherit it.
class ListenerTerminal : public Listener
{
protected:
    void SetUp() override
    {
        Listener::SetUp();
        fScreen = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_EQ(0, grantpt(fScreen));
        ASSERT_EQ(0, unlockpt(fScreen));
        fTerminal = open(ptsname(fScreen), O_RDWR | O_NOCTTY);
        ASSERT_GE(fTerminal, 0);
    }

    void TearDown() override
    {
        close(fTerminal);
        close(fScreen);
        Listener::TearDown();
    }

    // Runs the program on the terminal, which takes little or nothing, and sends it a flood.
    void ExpectNobodyIsHeldUp()
    {
        TEventSource source;
        TRunningProgram program(Redirected(">&" + std::to_string(fTerminal), {}));
        source.Accept();
        source.SendMany(BytesOf(SampleEvent(3, "")), 20000);
        ASSERT_LT(source.LongestSend(), 2);
        source.WaitUntilRead();
        EXPECT_EQ(0, fcntl(fTerminal, F_GETFL) & O_NONBLOCK);   // others write to it, too

        program.Signal(SIGINT);
        EXPECT_EQ("exited 0", program.WaitForEnd());
        EXPECT_GT(DroppedInReport(program.Errors()), 10000u);
    }

    int fScreen = -1;
    int fTerminal = -1;
};

TEST_F(ListenerTerminal, StoppedByControlSHoldsUpNobody)
{
    ASSERT_EQ(0, tcflow(fTerminal, TCOOFF));
    ExpectNobodyIsHeldUp();
}

TEST_F(ListenerTerminal, WhoseScreenIsFrozenHoldsUpNobody)
{
    // In the end there is room for a part of a line: a write would wait although select calls the terminal ready.
    ExpectNobodyIsHeldUp();
}

TEST_F(ListenerTerminal, ShowsEvents)
{
    TEventSource source;
    TRunningProgram program(Redirected(">&" + std::to_string(fTerminal), {"--count", "1"}));
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));
    EXPECT_EQ("exited 0", program.WaitForEnd());

    char bytes[200] = "";
    EXPECT_LT(0, read(fScreen, bytes, sizeof bytes - 1));
    EXPECT_NE(std::string::npos, std::string(bytes).find("  type 3  4: 0405060708090a0b  16: "));
}

TEST_F(ListenerOutput, RefusesToRunWithMoreInheritedDescriptorsThanItCanWaitFor)
{
    rlimit limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    ASSERT_GE(limit.rlim_max, 1100u);
    limit.rlim_cur = 1100;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    std::vector<int> inherited;
    for (int next = 0; next < 1030; inherited.push_back(next))
        ASSERT_GE(next = dup(STDERR_FILENO), 0);

    TEventSource source;
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Command({}), nullptr, &errors));
    EXPECT_EQ("halvorixevents: cannot wait for signals: Too many open files\n", errors);
    for (const int descriptor : inherited)
        close(descriptor);
}

TEST_F(ListenerOutput, AFullDiskEndsItWithOne)
{
    TEventSource source;
    TRunningProgram program(Redirected(">/dev/full", {}));
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));

    EXPECT_EQ("exited 1", program.WaitForEnd());
    EXPECT_EQ("halvorixevents: cannot write: No space left on device\n", program.Errors());
}

TEST_F(ListenerOutput, RefusesAClosedOutputRatherThanWriteToTheSocket)
{
    TEventSource source;
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Redirected(">&-", {}), nullptr, &errors));
    EXPECT_EQ("halvorixevents: standard output is closed; give it a file, a pipe or a terminal\n", errors);
}

TEST_F(ListenerOutput, AClosedStandardErrorDoesNotBecomeAnotherDescriptor)
{
    TEventSource source;
    TRunningProgram program(Redirected("2>&- <&-", {"--reconnect"}));
    source.Accept();
    source.EndStream();   // it says so, to nobody
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));

    EXPECT_TRUE(Shows(program, "type 3"));
}

}   // namespace
