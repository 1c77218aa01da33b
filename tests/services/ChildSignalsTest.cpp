// Signals while a child is being made: none may be handled in the middle of it, and none may be lost.

#include "services/ChildProcess.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

static volatile sig_atomic_t gHandled = 0;

static void NoteSignal(int)
{
    gHandled = 1;
}

// Whether a child has ended; it stays a zombie.
static bool HasEnded(pid_t child)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT | WNOHANG) == 0 && info.si_pid == child;
}

class ChildSignals : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        alarm(60);   // whoever waits for ever fails
        struct sigaction action = {};
        action.sa_handler = NoteSignal;
        ASSERT_EQ(0, sigaction(SIGTERM, &action, nullptr));
    }

    // Runs a tool as it is told, and returns its wait status.
    int StatusOf(
        const std::string& behaviour, const std::function<void()>& meanwhile = [] {})
    {
        static const char* const kArguments[] = {"ps", nullptr};
        EXPECT_EQ("", machine.SetToolBehaviour("ps", behaviour));
        TChildProcess child;
        EXPECT_EQ(kChildStarted, child.Start({"/bin/ps", kArguments, kKeepUser, kPipeOutput, kExitWithZero}));
        meanwhile();
        int status = -1;
        EXPECT_GT(child.Wait(&status), 0);
        return status;
    }
};

// The C library's fork holds locks that exit waits for.
TEST_F(ChildSignals, WhatComesDuringAForkIsHandledBehindIt)
{
    bool handledInside = true;
    {
        const TCallWatch forks("fork", [&handledInside](const TCallWatch::TArguments&) {
            raise(SIGTERM);
            handledInside = gHandled != 0;
        });
        StatusOf("exit 0\n", [] { EXPECT_EQ(1, gHandled) << "by the time that the child was started"; });
        EXPECT_EQ(1u, forks.Calls());
    }
    EXPECT_FALSE(handledInside);
}

TEST_F(ChildSignals, TheProgramHandlesThemAsItsCallerDid)
{
    const int status = StatusOf("hang\n", [this] {
        EXPECT_TRUE(WaitUntil([this] { return !machine.ToolRuns().empty(); }));
        const pid_t tool = machine.ToolRuns().at(0).process;
        kill(tool, SIGTERM);
        if (!WaitUntil([tool] { return HasEnded(tool); }))
            kill(tool, SIGKILL);
    });

    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGTERM, WTERMSIG(status));
    EXPECT_EQ(0, gHandled);
}
