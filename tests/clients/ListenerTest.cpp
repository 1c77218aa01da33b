// The program halvorixevents, seen from outside: what it prints, how it ends, and that the daemon never waits for it.

#include "tests/clients/EventSource.h"
#include "tests/clients/SampleEvents.h"
#include "tests/clients/SlowReader.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

using TArguments = std::vector<std::string>;

const char kNoDaemon[] =
    "halvorixevents: no daemon listens at /tmp/com.halvorix.halvorixd/driverevents; start halvorixd, "
    "or wait for it with --wait\n";

std::vector<std::string> Command(const TArguments& arguments)
{
    return lab::CommandFor("/product/halvorixevents", arguments);
}

// The same program with its standard descriptors changed as the shell's redirection says.
std::vector<std::string> Redirected(const std::string& redirection, const TArguments& arguments)
{
    return WithRedirection(redirection, Command(arguments));
}

std::vector<std::string> ToSlowReader(const TArguments& arguments)
{
    return WithOutputTo(kSlowReader, Command(arguments));
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::size_t CountOf(const std::string& wanted, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; at += wanted.size())
        ++count;
    return count;
}

// The sum of the numbers N of all {"dropped":N}.
unsigned long DroppedInJSON(const std::string& text)
{
    const std::string mark = "{\"dropped\":";
    unsigned long sum = 0;
    for (const std::string& line : Lines(text))
        if (line.compare(0, mark.size(), mark) == 0)
            sum += std::stoul(line.substr(mark.size()));
    return sum;
}

// The number that the report on standard error begins with; 0 when there is no report.
unsigned long DroppedInReport(const std::string& errors)
{
    const std::string mark = "halvorixevents: ";
    return errors.find("dropped, since the output was not read in time\n") == std::string::npos
               ? 0
               : std::stoul(errors.substr(mark.size()));
}

class Listener : public TMachineTest
{
protected:
    // Waits until the output holds this text.
    static bool Shows(const TRunningProgram& program, const std::string& text)
    {
        return WaitUntil([&] { return program.Output().find(text) != std::string::npos; });
    }
};

TEST_F(Listener, PrintsAnEventBeforeTheNextOneComes)
{
    TEventSource source;
    TRunningProgram program(Command({}));
    source.Accept();

    source.Send(BytesOf(SampleEvent(3, "disk2s3")));
    EXPECT_TRUE(Shows(program, "  type 3  disk2s3 (a guess)  4: 0405060708090a0b  16: 1011"));
    source.Send(BytesOf(SampleEvent(4, "")));
    EXPECT_TRUE(Shows(program, "  type 4  4: 0405"));
    EXPECT_EQ(2u, Lines(program.Output()).size());
    EXPECT_TRUE(program.IsRunning());
}

TEST_F(Listener, PutsTogetherEventsThatComeInPieces)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw"}));
    source.Accept();
    const std::string bytes = BytesOf(SampleEvent(3, "disk2s3")) + BytesOf(SampleEvent(4, "disk4"));

    std::size_t sent = 0;
    for (const std::size_t piece : {1u, 127u, 1u, 1u, 126u}) {
        source.Send(bytes.substr(sent, piece));
        source.WaitUntilRead();
        sent += piece;
    }
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(bytes, program.Output());
    EXPECT_EQ("", program.Errors());
}

TEST_F(Listener, CutsApartEventsThatComeTogether)
{
    TEventSource source;
    TRunningProgram program(Command({"--json"}));
    source.Accept();

    const std::string third = BytesOf(SampleEvent(5, ""));
    source.Send(BytesOf(SampleEvent(3, "")) + BytesOf(SampleEvent(4, "")) + third.substr(0, 64));
    EXPECT_TRUE(Shows(program, "\"type\":4"));
    EXPECT_EQ(2u, Lines(program.Output()).size());
    source.Send(third.substr(64));
    EXPECT_TRUE(Shows(program, "\"type\":5"));
}

TEST_F(Listener, RawOutputIsTheStreamByteForByte)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw"}));
    source.Accept();

    std::string all;
    for (int i = 0; i < 3000; ++i)
        all += BytesOf(SampleEvent(3 + i * 7919, "name " + std::to_string(i)));
    source.Send(all);
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_TRUE(all == program.Output());
    EXPECT_EQ("", program.Errors());
}

TEST_F(Listener, EndsWithZeroAndSilentWhenTheStreamEnds)
{
    TEventSource source;
    TRunningProgram program(Command({}));
    source.Accept();
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ("", program.Output());
    EXPECT_EQ("", program.Errors());
}

TEST_F(Listener, TellsOfAnEventThatIsTornOffAndLeavesItOut)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    source.Send(event + event.substr(0, 40));
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(event, program.Output());
    EXPECT_EQ("halvorixevents: the stream ended within an event; of its 128 bytes 40 came and are left out\n",
              program.Errors());
}

TEST_F(Listener, ListensAtAnotherPath)
{
    TEventSource source("/tmp/elsewhere/events");
    TRunningProgram program(Command({"--socket", "/tmp/elsewhere/events"}));
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));

    EXPECT_TRUE(Shows(program, "type 3"));
}

TEST_F(Listener, EndsAfterTheCountAlthoughMoreCameWithIt)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw", "--count", "2"}));
    source.Accept();
    const std::string two = BytesOf(SampleEvent(3, "")) + BytesOf(SampleEvent(4, ""));
    source.Send(two + BytesOf(SampleEvent(5, "")));

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(two, program.Output());
    EXPECT_EQ("", program.Errors());
}

// Without a daemon

TEST_F(Listener, SaysInOneLineThatNoDaemonRuns)
{
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Command({}), nullptr, &errors));
    EXPECT_EQ(kNoDaemon, errors);
}

TEST_F(Listener, TakesTheSocketThatADaemonLeftBehindForNoDaemon)
{
    {
        TEventSource ended;
    }
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Command({"--reconnect"}), nullptr, &errors));
    EXPECT_EQ(kNoDaemon, errors);
}

TEST_F(Listener, WaitsForTheDaemonToAppear)
{
    TRunningProgram program(Command({"--wait"}));
    const auto whole = std::chrono::milliseconds(600);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitUntil([&] { return std::chrono::steady_clock::now() - start > whole; }));
    EXPECT_TRUE(program.IsRunning());

    TEventSource source;
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));
    EXPECT_TRUE(Shows(program, "type 3"));
    EXPECT_EQ("", program.Errors());
}

TEST_F(Listener, WaitingDoesNotComeBackAfterTheStreamEnded)
{
    TEventSource source;
    TRunningProgram program(Command({"--wait"}));
    source.Accept();
    source.EndStream();

    EXPECT_EQ("exited 0", program.WaitForEnd());
}

TEST_F(Listener, ComesBackToTheNextDaemon)
{
    auto first = std::make_unique<TEventSource>();
    TRunningProgram program(Command({"--reconnect"}));
    first->Accept();
    first->Send(BytesOf(SampleEvent(3, "")));
    EXPECT_TRUE(Shows(program, "type 3"));
    first.reset();   // its socket stays and refuses

    const std::string lost = "halvorixevents: the daemon closed the stream; waiting for the next one\n";
    EXPECT_TRUE(WaitUntil([&] { return program.Errors() == lost; }));
    EXPECT_EQ(0, unlink(HALVORIX_EVENT_SOCKET));   // and then is not there at all
    TEventSource second;
    second.Accept();
    second.Send(BytesOf(SampleEvent(4, "")));

    EXPECT_TRUE(Shows(program, "type 4"));
    EXPECT_EQ(lost, program.Errors());
}

TEST_F(Listener, WhatWasTornOffDoesNotMixWithTheNextStream)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw", "--reconnect"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    source.Send(event.substr(0, 100));
    source.Accept();
    source.Send(event);

    EXPECT_TRUE(WaitUntil([&] { return program.Output() == event; }));
    EXPECT_NE(std::string::npos, program.Errors().find("100 came"));
}

TEST_F(Listener, TriesAgainWhileTheDaemonHasTooManyCallers)
{
    TEventSource source(HALVORIX_EVENT_SOCKET, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::string(HALVORIX_EVENT_SOCKET).copy(address.sun_path, sizeof address.sun_path - 1);
    const int caller = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(0, connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address));

    TRunningProgram program(Command({}));
    source.Accept();   // the caller, after which there is room again
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));
    EXPECT_TRUE(Shows(program, "type 3"));
    close(caller);
}

TEST_F(Listener, SaysWhyItCannotConnect)
{
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Command({"--wait", "--socket", "/mach_kernel/x"}), nullptr, &errors));
    EXPECT_EQ("halvorixevents: cannot connect to /mach_kernel/x: Not a directory\n", errors);
}

// Signals

class ListenerSignal : public Listener, public ::testing::WithParamInterface<int>
{
};

TEST_P(ListenerSignal, EndsTheProgramWithZeroAndSilent)
{
    TEventSource source;
    TRunningProgram program(Command({"--raw"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    source.Send(event);
    EXPECT_TRUE(WaitUntil([&] { return program.Output() == event; }));
    source.Send(event.substr(0, 5));   // nobody tore this off
    source.WaitUntilRead();

    program.Signal(GetParam());
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(event, program.Output());
    EXPECT_EQ("", program.Errors());
}

INSTANTIATE_TEST_SUITE_P(Ends, ListenerSignal, ::testing::Values(SIGINT, SIGTERM));

TEST_F(Listener, EndsAtASignalWhileItComesBack)
{
    TEventSource source;
    TRunningProgram program(Command({"--reconnect"}));
    source.Accept();
    source.EndStream();
    EXPECT_TRUE(WaitUntil([&] { return !program.Errors().empty(); }));

    program.Signal(SIGINT);
    EXPECT_EQ("exited 0", program.WaitForEnd());
}

TEST_F(Listener, LeavesTheDaemonWhileItIsStoppedFromTheKeyboard)
{
    TEventSource source;
    TRunningProgram program(Command({}));
    source.Accept();

    program.Signal(SIGTSTP);
    EXPECT_TRUE(WaitUntil([&] { return source.ClientIsGone(); }));
    // It may not have stopped yet when the first of these comes.
    EXPECT_TRUE(WaitUntil([&] {
        program.Signal(SIGCONT);
        return source.SomebodyWaits();
    }));
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));
    EXPECT_TRUE(Shows(program, "type 3"));
}

// Outputs that take nothing

TEST_F(Listener, AStoppedReaderOfJSONNeverHoldsUpTheDaemonAndEveryEventIsAccountedFor)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--json"}));
    source.Accept();

    const std::size_t kSent = 100000;
    for (std::size_t i = 0; i < kSent; ++i)
        source.Send(BytesOf(SampleEvent(3, "disk2s3")));
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

TEST_F(Listener, AStoppedReaderOfRawOutputGetsWholeEventsAndTheReportGoesToStandardError)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--raw"}));
    source.Accept();

    const std::string event = BytesOf(SampleEvent(3, "disk2s3"));
    const std::size_t kSent = 100000;
    for (std::size_t i = 0; i < kSent; ++i)
        source.Send(event);
    EXPECT_LT(source.LongestSend(), 2);
    source.EndStream();

    const std::string& bytes = reader.ReadAllOf(program);
    ASSERT_EQ(0u, bytes.size() % event.size());
    EXPECT_EQ(bytes.size() / event.size(), CountOf(event, bytes));
    EXPECT_EQ(kSent, bytes.size() / event.size() + DroppedInReport(program.Errors()));
    EXPECT_NE(0u, DroppedInReport(program.Errors()));
}

TEST_F(Listener, SaysInTheStreamWhatIsMissingWhereItIsMissing)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--json"}));
    source.Accept();
    for (int i = 0; i < 10000; ++i)
        source.Send(BytesOf(SampleEvent(3, "")));
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

TEST_F(Listener, ASignalEndsItAlthoughItsReaderIsStoppedAndWhatWaitedCountsAsDropped)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({"--raw"}));
    source.Accept();
    const std::string event = BytesOf(SampleEvent(3, ""));
    const std::size_t kSent = 20000;
    for (std::size_t i = 0; i < kSent; ++i)
        source.Send(event);
    source.WaitUntilRead();

    program.Signal(SIGTERM);
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ(kSent, reader.Read().size() / event.size() + DroppedInReport(program.Errors()));
}

TEST_F(Listener, EndsSilentlyWithZeroWhenItsReaderHasGone)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({}));
    source.Accept();
    for (int i = 0; i < 2000; ++i)
        source.Send(BytesOf(SampleEvent(3, "")));
    source.WaitUntilRead();

    reader.Leave();
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_EQ("", program.Errors());
}

TEST_F(Listener, NoticesWithoutAnEventThatItsReaderHasGone)
{
    TEventSource source;
    TSlowReader reader;
    TRunningProgram program(ToSlowReader({}));
    source.Accept();

    reader.Leave();
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_TRUE(source.ClientIsGone());
}

TEST_F(Listener, APipeThatItCouldReadItselfIsNoReaderThatWent)
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

TEST_F(Listener, AStoppedTerminalHoldsUpNobodyAndStaysBlockingForOthers)
{
    const int keyboard = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(0, grantpt(keyboard));
    ASSERT_EQ(0, unlockpt(keyboard));
    const std::string name = ptsname(keyboard);
    const int terminal = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(0, tcflow(terminal, TCOOFF));   // control-S
    TEventSource source;
    TRunningProgram program(WithOutputTo(name, Command({})));
    source.Accept();

    for (int i = 0; i < 20000; ++i)
        source.Send(BytesOf(SampleEvent(3, "")));
    source.WaitUntilRead();
    EXPECT_LT(source.LongestSend(), 2);
    EXPECT_EQ(0, fcntl(terminal, F_GETFL) & O_NONBLOCK);
    program.Signal(SIGINT);
    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_GT(DroppedInReport(program.Errors()), 19000u);
    close(terminal);
    close(keyboard);
}

TEST_F(Listener, RefusesToRunWithMoreInheritedDescriptorsThanItCanWaitFor)
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

TEST_F(Listener, AFullDiskEndsItWithOne)
{
    TEventSource source;
    TRunningProgram program(Redirected(">/dev/full", {}));
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));

    EXPECT_EQ("exited 1", program.WaitForEnd());
    EXPECT_EQ("halvorixevents: cannot write: No space left on device\n", program.Errors());
}

TEST_F(Listener, RefusesAClosedOutputRatherThanWriteToTheSocket)
{
    TEventSource source;
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd(Redirected(">&-", {}), nullptr, &errors));
    EXPECT_EQ("halvorixevents: standard output is closed; give it a file, a pipe or a terminal\n", errors);
}

TEST_F(Listener, AClosedStandardErrorDoesNotBecomeTheSocket)
{
    TEventSource source;
    TRunningProgram program(Redirected("2>&- <&-", {"--reconnect"}));
    source.Accept();
    source.EndStream();   // it says so, to nobody
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));

    EXPECT_TRUE(Shows(program, "type 3"));
}

// The command line

TEST_F(Listener, MisuseEndsWithTwoAndOneLine)
{
    std::string output;
    std::string errors;
    EXPECT_EQ("exited 2", RunToEnd(Command({"--jsn"}), &output, &errors));
    EXPECT_EQ("", output);
    EXPECT_EQ("halvorixevents: there is no option --jsn; --help lists those that there are\n", errors);
}

TEST_F(Listener, HelpNamesEveryOptionOnStandardOutput)
{
    std::string output;
    std::string errors;
    EXPECT_EQ("exited 0", RunToEnd(Command({"--help"}), &output, &errors));
    for (const char* option :
         {"--json", "--raw", "--count N", "--wait", "--reconnect", "--socket PATH", "--version", "--help"})
        EXPECT_EQ(1u, CountOf("\n  " + std::string(option) + " ", output)) << option;
    EXPECT_EQ("", errors);
}

TEST_F(Listener, VersionIsTheNameAndANumber)
{
    std::string output;
    EXPECT_EQ("exited 0", RunToEnd(Command({"--version"}), &output, nullptr));
    EXPECT_EQ(0u, output.find("halvorixevents 1."));
    EXPECT_EQ(output.size() - 1, output.find('\n'));
}

}   // namespace
