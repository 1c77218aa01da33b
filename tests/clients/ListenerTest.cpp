// The program halvorixevents, seen from outside: what it prints, how it ends, how it waits for the daemon.

#include "tests/clients/Listener.h"
#include "tests/clients/EventSource.h"
#include "tests/clients/SampleEvents.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const char kNoDaemon[] =
    "halvorixevents: no daemon listens at /tmp/com.halvorix.halvorixd/driverevents; start halvorixd, "
    "or wait for it with --wait\n";

// The time of two attempts to connect.
void LetItTryTwice()
{
    using TClock = std::chrono::steady_clock;
    const TClock::time_point end = TClock::now() + std::chrono::milliseconds(600);
    EXPECT_TRUE(WaitUntil([&] { return TClock::now() > end; }));
}

// Connects to the socket as one more client. Returns the connection.
int Call()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::string(HALVORIX_EVENT_SOCKET).copy(address.sun_path, sizeof address.sun_path - 1);
    const int caller = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    return caller;
}

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
    LetItTryTwice();
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
    LetItTryTwice();
    EXPECT_EQ(0, unlink(HALVORIX_EVENT_SOCKET));   // and then is not there at all
    LetItTryTwice();
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
    const int caller = Call();   // nobody else finds room until this one is accepted
    TRunningProgram program(Command({}));
    LetItTryTwice();
    EXPECT_TRUE(program.IsRunning());

    source.Accept();
    source.Accept();
    source.Send(BytesOf(SampleEvent(3, "")));
    EXPECT_TRUE(Shows(program, "type 3"));
    close(caller);
}

TEST_F(Listener, EndsAtASignalWhileTheDaemonHasTooManyCallers)
{
    TEventSource source(HALVORIX_EVENT_SOCKET, 0);
    TRunningProgram program(Command({"--reconnect"}));
    source.Accept();
    const int caller = Call();
    source.EndStream();
    EXPECT_TRUE(WaitUntil([&] { return !program.Errors().empty(); }));
    LetItTryTwice();

    program.Signal(SIGINT);
    EXPECT_EQ("exited 0", program.WaitForEnd());
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
    ASSERT_TRUE(WaitUntil([&] { return source.ClientIsGone(); }));
    // It may not have stopped yet when the first of these comes.
    EXPECT_TRUE(WaitUntil([&] {
        program.Signal(SIGCONT);
        return source.SomebodyWaits();
    }));
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
