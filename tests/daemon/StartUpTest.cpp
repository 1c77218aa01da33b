// The daemon as a process: how it starts, in which order, and how it ends.

#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <algorithm>
#include <csignal>
#include <future>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

static bool SocketIsThere()
{
    struct stat info;
    return stat(kEventSocket, &info) == 0;
}

// When the tool ran whose argument vector is this; times are of the monotonic clock.
static std::vector<double> TimesOfPs(const lab::TMachine& machine)
{
    std::vector<double> times;
    for (const lab::TToolRun& run : machine.ToolRuns()) {
        EXPECT_EQ("/bin/ps", run.path);
        EXPECT_EQ((std::vector<std::string>{"ps", "acxww"}), run.arguments);
        times.push_back(run.seconds);
    }
    return times;
}

static std::vector<double> TimesOfCall(const lab::TMachine& machine, const std::string& what)
{
    std::vector<double> times;
    for (const lab::TDriverCall& call : machine.DriverCalls()) {
        if (call.what.rfind(what, 0) == 0)
            times.push_back(call.seconds);
    }
    return times;
}

// The processes that ps shows under this name.
static int ProcessesNamed(const std::string& name)
{
    std::string listing;
    RunToEnd({"/host/usr/bin/ps", "ps", "acxww"}, &listing, nullptr);
    int found = 0;
    std::size_t begin = 0;
    for (std::size_t end = listing.find('\n'); end != std::string::npos; end = listing.find('\n', begin)) {
        const std::string line = listing.substr(begin, end - begin);
        found += line.size() >= name.size() && line.compare(line.size() - name.size(), name.size(), name) == 0;
        begin = end + 1;
    }
    return found;
}

class StartUp : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
    }
};

class StartUpBeforeLogin : public TMachineTest
{
};

TEST_F(StartUp, ItRunsUntilSIGTERMAndEndsWithStatus0)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    EXPECT_TRUE(daemon.IsRunning());
    daemon.Signal(SIGTERM);

    EXPECT_EQ("exited 0", daemon.WaitForEnd());
    EXPECT_EQ("", daemon.Output() + daemon.Errors());
}

TEST_F(StartUp, SIGINTEndsItWithStatus0)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    daemon.Signal(SIGINT);

    EXPECT_EQ("exited 0", daemon.WaitForEnd());
}

TEST_F(StartUp, TheSocketIsLeftBehindAndTheNextInstanceReplacesIt)
{
    {
        TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
        ASSERT_TRUE(WaitForEventSocket());
        daemon.Signal(SIGTERM);
        daemon.WaitForEnd();
    }
    EXPECT_TRUE(SocketIsThere());
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    EXPECT_TRUE(WaitForEventSocket());
}

TEST_F(StartUp, AnyArgumentEndsItWithStatus1AndNothingIsStarted)
{
    for (const char* argument : {"foo", "help", "HELP", "?", "-h", ""}) {
        TRunningProgram daemon(DaemonCommand({argument}));
        EXPECT_EQ("exited 1", daemon.WaitForEnd()) << argument;
        EXPECT_EQ("", daemon.Output() + daemon.Errors()) << argument;
    }
    EXPECT_TRUE(machine.DriverCalls().empty());
    EXPECT_TRUE(machine.ToolRuns().empty());
    EXPECT_FALSE(SocketIsThere());
}

TEST_F(StartUp, AnInstanceWithAnArgumentLeavesARunningOneAlone)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    TListener listener;
    EXPECT_EQ("exited 1", RunToEnd(DaemonCommand({"help"}), nullptr, nullptr));
    EXPECT_EQ("exited 1", RunToEnd(DaemonCommand({"foo"}), nullptr, nullptr));

    EXPECT_TRUE(HearsEvents(machine, &listener));
    EXPECT_TRUE(daemon.IsRunning());
}

TEST_F(StartUp, ItsStepsComeInOrder)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return !TimesOfCall(machine, "method 21").empty(); }));
    struct stat info;
    ASSERT_EQ(0, stat(kEventSocket, &info));
    const std::vector<double> ps = TimesOfPs(machine);
    const std::vector<double> timeZone = TimesOfCall(machine, "method 18");
    const std::vector<double> fetches = TimesOfCall(machine, "method 21");

    ASSERT_EQ(2u, ps.size()) << "one look for SystemUIServer, one for an older instance";
    ASSERT_EQ(1u, timeZone.size());
    EXPECT_LT(ps[0], timeZone[0]);
    EXPECT_LT(timeZone[0], ps[1]);
    EXPECT_LT(ps[1], fetches[0]);
}

TEST_F(StartUp, TheMachinesTimeZoneIsSentOnce)
{
    TRunningProgram daemon(DaemonCommand(), {"TZ=JST-9", "ASAN_OPTIONS=leak_check_at_exit=0"});
    ASSERT_TRUE(WaitUntil([this] { return TimesOfCall(machine, "method 21").size() >= 2; }));

    EXPECT_EQ(1u, TimesOfCall(machine, "method 18").size());
    EXPECT_EQ(1u, TimesOfCall(machine, "method 18 32400").size());
}

TEST_F(StartUp, ASecondInstanceEndsTheFirstAndTakesOver)
{
    TRunningProgram first(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());
    TListener firstListener;
    TRunningProgram second(DaemonCommand(), NoLeakCheckAtExit());

    EXPECT_EQ("exited 0", first.WaitForEnd());
    EXPECT_TRUE(WaitUntil([&firstListener] { return firstListener.Receive().empty() && firstListener.AtEnd(); }));
    ASSERT_TRUE(WaitForEventSocket());
    TListener secondListener;
    EXPECT_TRUE(HearsEvents(machine, &secondListener));
    EXPECT_TRUE(second.IsRunning());
}

TEST_F(StartUpBeforeLogin, NothingIsOpenedUntilSystemUIServerRuns)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return machine.ToolRuns().size() >= 3; }));
    EXPECT_TRUE(machine.DriverCalls().empty());
    EXPECT_FALSE(SocketIsThere());
    const std::vector<double> looks = TimesOfPs(machine);
    EXPECT_GE(looks[2] - looks[0], 2.0) << "one look a second";

    StartLoginSession(machine);
    EXPECT_TRUE(WaitForEventSocket());
    EXPECT_TRUE(WaitUntil([this] { return TimesOfCall(machine, "method 18").size() == 1; }));
}

TEST_F(StartUpBeforeLogin, AfterStartUpThereAreThreeThreadsAndNoChild)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    StartLoginSession(machine);
    ASSERT_TRUE(WaitUntil([this] { return TimesOfCall(machine, "method 21").size() >= 2; }));
    ASSERT_TRUE(WaitForDisks(machine, daemon.Process()));
    // A sanitizer or an emulator keeps threads of its own, here as in the daemon.
    std::promise<void> seen;
    std::thread here([&seen] { seen.get_future().wait(); });
    const int foreign = ThreadsOf(getpid()) - 2;
    seen.set_value();
    here.join();

    EXPECT_EQ(3, ThreadsOf(daemon.Process()) - foreign);
    EXPECT_EQ(0, ChildrenOf(daemon.Process()));
}

TEST_F(StartUpBeforeLogin, WithoutPsTheDaemonWaitsAndDoesNotMultiply)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    StartLoginSession(machine);
    ASSERT_TRUE(WaitUntil([] { return ProcessesNamed("halvorixd") == 1; }));
    // Long enough for three looks that fail.
    const THeld before = HeldByThisProcess();
    int most = 0;
    for (int look = 0; look < 60; ++look) {
        WaitUntil([] { return false; }, 0.05);
        most = std::max(most, ProcessesNamed("halvorixd"));
    }
    EXPECT_LE(most, 2) << "the daemon, and for a moment a child on its way out";
    EXPECT_TRUE(WaitUntil([] { return ProcessesNamed("halvorixd") == 1; }));
    EXPECT_EQ(before.children, HeldByThisProcess().children);
    EXPECT_FALSE(SocketIsThere());

    ASSERT_EQ("", machine.SetToolMissing("ps", false));
    EXPECT_TRUE(WaitForEventSocket());
    // A child has the daemon's name until it executes its tool.
    EXPECT_TRUE(WaitUntil([] { return ProcessesNamed("halvorixd") == 1; }));
}

TEST_F(StartUpBeforeLogin, ATerminationSignalEndsTheWait)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([this] { return !machine.ToolRuns().empty(); }));
    daemon.Signal(SIGTERM);

    EXPECT_EQ("exited 0", daemon.WaitForEnd());
}

// What a failing start-up ends with, by the daemon with the table of faults linked in.
class FailingStartUp : public StartUp
{
protected:
    std::string EndWithFaults(const std::string& faults)
    {
        // The server's mutex is lost with the tool, as documented: the process ends right behind it.
        TRunningProgram daemon(FaultyDaemonCommand(),
                               {"HALVORIX_FAULTS=" + faults, "ASAN_OPTIONS=leak_check_at_exit=0"});
        const std::string end = daemon.WaitForEnd();
        EXPECT_EQ("", daemon.Output() + daemon.Errors());
        return end;
    }
};

TEST_F(FailingStartUp, ASignalHandlerThatCannotBeInstalledIsTheExitStatus)
{
    EXPECT_EQ("exited 255", EndWithFaults("sigaction 1 1 -1 22 2"));
    EXPECT_EQ("exited 255", EndWithFaults("sigaction 1 1 -1 22 15"));
    EXPECT_EQ("exited 7", EndWithFaults("sigaction 1 1 7 22 15"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(FailingStartUp, NoMemoryForTheToolIsTheLowByteOfMinus108)
{
    EXPECT_EQ("exited 148", EndWithFaults("operator_new_nothrow 1 1 0 0"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(FailingStartUp, AServiceWithoutASocketFolderIsStatus2)
{
    mkdir("/tmp/com.halvorix.halvorixd", 0700);
    EXPECT_EQ("exited 2", EndWithFaults(""));
}

TEST_F(FailingStartUp, AnAcceptThreadThatCannotBeCreatedIsStatus1)
{
    // The exit status looks only at the number, and a thread that could not be created has that of a bad parameter.
    EXPECT_EQ("exited 1", EndWithFaults("pthread_create 1 1 11 0"));
}

TEST_F(FailingStartUp, NoMemoryForAServiceIsStatus2)
{
    EXPECT_EQ("exited 2", EndWithFaults("strdup 1 1 0 0"));
    EXPECT_EQ("exited 2", EndWithFaults("operator_new_nothrow 1 1 0 0 " + std::to_string(sizeof(pthread_mutex_t))));
}

TEST_F(FailingStartUp, WithoutADiskArbitrationSessionEventsStillFlow)
{
    TRunningProgram daemon(FaultyDaemonCommand(), {"HALVORIX_FAULTS=DASessionCreate 1 1 0 0"});
    ASSERT_TRUE(WaitForEventSocket());
    TListener listener;
    EXPECT_TRUE(HearsEvents(machine, &listener));
    EXPECT_TRUE(daemon.IsRunning());
}

TEST_F(FailingStartUp, ARunLoopThatReturnsLeavesTheDaemonRunning)
{
    TRunningProgram daemon(FaultyDaemonCommand(), {"HALVORIX_FAULTS=CFRunLoopRun 1 1 0 0"});
    ASSERT_TRUE(WaitForEventSocket());
    TListener listener;
    EXPECT_TRUE(HearsEvents(machine, &listener));
    daemon.Signal(SIGTERM);
    EXPECT_EQ("exited 0", daemon.WaitForEnd());
}
