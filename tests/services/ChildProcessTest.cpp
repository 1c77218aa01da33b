#include "services/ChildProcess.h"
#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

class ChildProcess : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever blocks for ever fails at once, and not when the whole run is given up.
        alarm(60);
    }

    // What is run here: a tool that does as it is told.
    TCommand Command(EChildOutput output = kPipeOutput, EChildUser user = kKeepUser,
                     EExecutionFailure executionFailure = kExitWithZero)
    {
        static const char* const kArguments[] = {"ps", "a b", "", "-c", nullptr};
        return {"/bin/ps", kArguments, user, output, executionFailure};
    }

    void LetTool(const std::string& lines) { ASSERT_EQ("", machine.SetToolBehaviour("ps", lines)); }

    // Runs the tool to its end and returns its wait status.
    int StatusOf(const std::string& behaviour)
    {
        EXPECT_EQ("", machine.SetToolBehaviour("ps", behaviour));
        TChildProcess child;
        EXPECT_EQ(kChildStarted, child.Start(Command()));
        int status = -1;
        EXPECT_GT(child.Wait(&status), 0);
        return status;
    }
};

TEST_F(ChildProcess, TheProgramGetsExactlyItsArguments)
{
    TChildProcess child;
    LetTool("exit 0\n");
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    int status = -1;
    const pid_t ended = child.Wait(&status);

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(1u, runs.size());
    EXPECT_EQ("/bin/ps", runs[0].path);
    EXPECT_EQ((std::vector<std::string>{"ps", "a b", "", "-c"}), runs[0].arguments);
    EXPECT_EQ(runs[0].process, ended);
}

TEST_F(ChildProcess, ReadTakesNoMoreThanIsAskedFor)
{
    LetTool("print abcdefgh\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    ASSERT_GT(child.Wait(nullptr), 0);
    char buffer[8] = {};

    EXPECT_EQ(3u, child.Read(buffer, 3));
    EXPECT_STREQ("abc", buffer);
    EXPECT_EQ(5u, child.Read(buffer, 8));
    EXPECT_EQ(0, memcmp("defgh", buffer, 5));
    EXPECT_EQ(0u, child.Read(buffer, 8));
}

TEST_F(ChildProcess, AReadThatFailsReadsAsNothing)
{
    LetTool("print abc\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    ASSERT_GT(child.Wait(nullptr), 0);
    char buffer[8] = {};
    const TFault fault("read", {-1, EIO});

    EXPECT_EQ(0u, child.Read(buffer, 8));
    EXPECT_EQ(3u, child.Read(buffer, 8));
}

TEST_F(ChildProcess, DiscardingTheOutputLetsTheProgramEnd)
{
    LetTool("fill 3000000\nexit 7\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    child.DiscardOutput();
    int status = -1;
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_TRUE(TChildProcess::ExitedWith(status, 7));
}

TEST_F(ChildProcess, DiscardingEndsAtAReadThatFails)
{
    LetTool("print abc\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    ASSERT_GT(child.Wait(nullptr), 0);
    const TFault fault("read", {-1, EIO}, 1, 1);
    const TCallWatch watch("read");
    child.DiscardOutput();

    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(ChildProcess, AProgramWhoseOutputIsClosedGetsSIGPIPE)
{
    LetTool("fill 3000000\nexit 0\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    child.CloseOutput();
    child.CloseOutput();
    int status = -1;
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_EQ(SIGPIPE, status & 0x7F);
}

// Returns what this process's standard output received while the code ran.
static std::string StandardOutputOf(const std::function<void()>& code)
{
    fflush(stdout);
    char name[] = "/tmp/output-XXXXXX";
    const int file = mkstemp(name);
    const int kept = dup(STDOUT_FILENO);
    dup2(file, STDOUT_FILENO);
    code();
    dup2(kept, STDOUT_FILENO);
    close(kept);
    char text[256];
    const ssize_t count = pread(file, text, sizeof text, 0);
    close(file);
    unlink(name);
    return std::string(text, count > 0 ? static_cast<std::size_t>(count) : 0);
}

TEST_F(ChildProcess, OutputThatIsNotAskedForGoesWhereTheCallersGoes)
{
    LetTool("print abc\n");
    const TCallWatch watch("pipe");
    TChildProcess child;
    char buffer[8];
    std::size_t count = 1;
    const std::string output = StandardOutputOf([&] {
        ASSERT_EQ(kChildStarted, child.Start(Command(kKeepOutput)));
        ASSERT_GT(child.Wait(nullptr), 0);
        count = child.Read(buffer, sizeof buffer);
    });

    EXPECT_EQ("abc", output);
    EXPECT_EQ(0u, count);
    EXPECT_EQ(0u, watch.Calls());
}

TEST_F(ChildProcess, OutputThatIsAskedForGoesNowhereElse)
{
    LetTool("print abc\n");
    TChildProcess child;
    const std::string output = StandardOutputOf([&] {
        ASSERT_EQ(kChildStarted, child.Start(Command()));
        ASSERT_GT(child.Wait(nullptr), 0);
    });

    EXPECT_EQ("", output);
}

TEST_F(ChildProcess, WithoutAPipeTheProgramRunsAndPrintsWhereTheCallerPrints)
{
    LetTool("print abc\nexit 7\n");
    const TFault fault("pipe", {-1, EMFILE});
    TChildProcess child;
    char buffer[8];
    int status = -1;
    std::size_t count = 1;
    const std::string output = StandardOutputOf([&] {
        ASSERT_EQ(kChildStarted, child.Start(Command()));
        count = child.Read(buffer, sizeof buffer);
        ASSERT_GT(child.Wait(&status), 0);
    });

    EXPECT_EQ(0u, count);
    EXPECT_EQ("abc", output);
    EXPECT_TRUE(TChildProcess::ExitedWith(status, 7));
}

TEST_F(ChildProcess, AForkThatFailsIsToldAndLeavesNothing)
{
    const TFault fault("fork", {-1, EAGAIN});
    TChildProcess child;

    EXPECT_EQ(kForkFailed, child.Start(Command()));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(ChildProcess, AProgramThatCannotBeExecutedMayLookAsIfItHadEndedWell)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command(kPipeOutput, kKeepUser, kExitWithZero)));
    int status = -1;
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_TRUE(TChildProcess::ExitedWith(status, 0));
}

TEST_F(ChildProcess, OrTheChildGoesOnInTheCallersCode)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));
    const pid_t caller = getpid();
    TChildProcess child;
    const EChildStart started = child.Start(Command(kPipeOutput, kKeepUser, kReturnToCaller));
    if (getpid() != caller)
        _exit(started == kInChild ? 55 : 56);
    int status = -1;
    ASSERT_EQ(kChildStarted, started);
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_TRUE(TChildProcess::ExitedWith(status, 55));
}

// A child that goes on in the caller's code may itself start programs.
TEST_F(ChildProcess, AChildInTheCallersCodeCanStartAnother)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));
    const pid_t caller = getpid();
    TChildProcess child;
    child.Start(Command(kPipeOutput, kKeepUser, kReturnToCaller));
    if (getpid() != caller) {
        TChildProcess grandchild;
        const bool started = grandchild.Start(Command()) == kChildStarted;
        int inner = -1;
        grandchild.Wait(&inner);
        _exit(started && TChildProcess::ExitedWith(inner, 0) ? 55 : 56);
    }
    int status = -1;
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_TRUE(TChildProcess::ExitedWith(status, 55));
}

TEST_F(ChildProcess, TheStatusTellsAnExitFromASignal)
{
    EXPECT_TRUE(TChildProcess::ExitedWith(StatusOf("exit 0\n"), 0));
    EXPECT_TRUE(TChildProcess::ExitedWith(StatusOf("exit 253\n"), 253));
    EXPECT_FALSE(TChildProcess::ExitedWith(StatusOf("exit 1\n"), 0));
    EXPECT_FALSE(TChildProcess::ExitedWith(StatusOf("signal 9\n"), 0));
    EXPECT_FALSE(TChildProcess::ExitedWith(StatusOf("signal 9\n"), 9));
}

TEST_F(ChildProcess, AWaitThatFailsIsToldAndWritesNoStatus)
{
    LetTool("exit 0\n");
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command()));
    int status = 77;
    {
        const TFault fault("waitpid", {-1, EINTR});
        EXPECT_EQ(-1, child.Wait(&status));
    }
    EXPECT_EQ(77, status);
    EXPECT_GT(child.Wait(&status), 0);
}

TEST_F(ChildProcess, RunningTellsSuccessOfAnExitWithZeroAlone)
{
    const TCommand command = Command(kKeepOutput);
    LetTool("exit 0\n");
    EXPECT_EQ(1u, RunAndTellSuccess(command));
    LetTool("exit 1\n");
    EXPECT_EQ(0u, RunAndTellSuccess(command));
    LetTool("exit 253\n");
    EXPECT_EQ(0u, RunAndTellSuccess(command));
    LetTool("signal 9\n");
    EXPECT_EQ(0u, RunAndTellSuccess(command));
}

TEST_F(ChildProcess, RunningTellsOfNoSuccessWhenForkingFails)
{
    const TFault fault("fork", {-1, EAGAIN});
    const TCallWatch watch("waitpid");

    EXPECT_EQ(0u, RunAndTellSuccess(Command(kKeepOutput)));
    EXPECT_EQ(0u, watch.Calls());
}

TEST_F(ChildProcess, RunningTellsOfNoSuccessWhenWaitingFails)
{
    LetTool("exit 0\n");
    {
        const TFault fault("waitpid", {-1, EINTR});
        EXPECT_EQ(0u, RunAndTellSuccess(Command(kKeepOutput)));
    }
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST_F(ChildProcess, RunningTellsSuccessWhereAProgramCouldNotBeExecuted)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));

    EXPECT_EQ(1u, RunAndTellSuccess(Command(kKeepOutput, kKeepUser, kExitWithZero)));
    const TReturns returns =
        ReturnsOf([this] { return RunAndTellSuccess(Command(kKeepOutput, kKeepUser, kReturnToCaller)); });
    EXPECT_EQ((std::vector<long>{1}), returns.inChild);
}

// Reports over a pipe, from the child, when it becomes root.
static bool ChildBecomesRoot(const TCommand& command)
{
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    {
        const TCallWatch watch("setuid", [&](const TCallWatch::TArguments& arguments) {
            const char user = static_cast<char>('0' + arguments[0]);
            if (write(ends[1], &user, 1) != 1)
                abort();
        });
        TChildProcess child;
        child.Start(command);
        child.Wait(nullptr);
    }
    close(ends[1]);
    char user = 0;
    const bool reported = read(ends[0], &user, 1) == 1;
    close(ends[0]);
    return reported && user == '0';
}

TEST_F(ChildProcess, OnlyAChildThatIsToldBecomesRoot)
{
    LetTool("exit 0\n");

    EXPECT_TRUE(ChildBecomesRoot(Command(kKeepOutput, kBecomeRoot)));
    EXPECT_TRUE(ChildBecomesRoot(Command(kPipeOutput, kBecomeRoot)));
    EXPECT_FALSE(ChildBecomesRoot(Command(kKeepOutput, kKeepUser)));
}

TEST_F(ChildProcess, AProgramRunsThoughTheChildCouldNotBecomeRoot)
{
    LetTool("exit 7\n");
    const TFault fault("setuid", {-1, EPERM});
    TChildProcess child;
    ASSERT_EQ(kChildStarted, child.Start(Command(kPipeOutput, kBecomeRoot)));
    int status = -1;
    ASSERT_GT(child.Wait(&status), 0);

    EXPECT_TRUE(TChildProcess::ExitedWith(status, 7));
}

// How many pipes an executed program would inherit.
static int InheritedPipes()
{
    int count = 0;
    for (int descriptor = 3; descriptor < 256; ++descriptor) {
        struct stat info;
        const int flags = fcntl(descriptor, F_GETFD);
        if (flags != -1 && (flags & FD_CLOEXEC) == 0 && fstat(descriptor, &info) == 0 && S_ISFIFO(info.st_mode))
            ++count;
    }
    return count;
}

TEST_F(ChildProcess, ThePipeIsInheritedByNoProgram)
{
    LetTool("exit 0\n");
    const int before = InheritedPipes();
    int inherited = -1;
    TChildProcess child;
    {
        const TCallWatch atFork("fork", [&](const TCallWatch::TArguments&) { inherited = InheritedPipes(); });
        ASSERT_EQ(kChildStarted, child.Start(Command()));
    }
    ASSERT_GT(child.Wait(nullptr), 0);

    EXPECT_EQ(before, inherited);
}

// A child that is forked between another thread's pipe and its becoming close-on-exec would inherit that pipe and hold back
// the end of its output. These two look at both ends of the time in which that could happen.
class ChildProcesses : public ChildProcess
{
protected:
    // Runs a child, and another in a second thread from the moment on in which the first calls `at`.
    // returns  whether the second thread came to call `meanwhile` before the first went on
    bool SecondThreadReaches(const char* meanwhile, const char* at, EChildOutput output)
    {
        LetTool("exit 0\n");
        std::atomic<unsigned> reached{0};
        std::atomic<bool> running{false};
        bool reachedMeanwhile = false;
        std::thread second;
        {
            const TCallWatch watchSecond(meanwhile, [&](const TCallWatch::TArguments&) { ++reached; });
            const TCallWatch watchFirst(at, [&](const TCallWatch::TArguments&) {
                if (second.joinable() || running)
                    return;
                running = true;
                second = std::thread([&] { RunToItsEnd(output); });
                // It is given time to do what it must not.
                reachedMeanwhile = WaitUntil([&] { return reached != 0; }, 0.5);
            });
            RunToItsEnd(output == kKeepOutput ? kPipeOutput : kKeepOutput);
            second.join();
        }
        EXPECT_EQ(2u, machine.ToolRuns().size());
        return reachedMeanwhile;
    }

    void RunToItsEnd(EChildOutput output)
    {
        TChildProcess child;
        EXPECT_EQ(kChildStarted, child.Start(Command(output)));
        EXPECT_GT(child.Wait(nullptr), 0);
    }
};

TEST_F(ChildProcesses, NoOtherThreadForksWhileOneMakesItsPipe)
{
    EXPECT_FALSE(SecondThreadReaches("fork", "pipe", kKeepOutput));
}

TEST_F(ChildProcesses, NoOtherThreadMakesAPipeWhileOneForks)
{
    EXPECT_FALSE(SecondThreadReaches("pipe", "fork", kPipeOutput));
}
