#include "daemon/Termination.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <csignal>

class Termination : public TMachineTest
{
};

TEST_F(Termination, TheHandlerBlocksEverySignalThatCanBeBlocked)
{
    ASSERT_EQ(0, InstallTerminationHandler());
    for (const int ending : {SIGINT, SIGTERM}) {
        struct sigaction action;
        ASSERT_EQ(0, sigaction(ending, nullptr, &action));
        EXPECT_EQ(0, action.sa_flags & (SA_RESTART | SA_NODEFER | SA_SIGINFO));
        for (int number = 1; number < 32; ++number) {
            const bool canBeBlocked = number != SIGKILL && number != SIGSTOP;
            EXPECT_TRUE(!canBeBlocked || sigismember(&action.sa_mask, number) == 1)
                << ending << " lets through " << number;
        }
    }
}

TEST_F(Termination, AHandlerThatCannotBeInstalledForSIGINTIsNotTriedForSIGTERM)
{
    const TCallWatch watch("sigaction");
    const TFault fault("sigaction", {-1, EINVAL});

    EXPECT_EQ(-1, InstallTerminationHandler());
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(Termination, AHandlerThatCannotBeInstalledForSIGTERMIsReported)
{
    const TFault fault("sigaction", {-1, EINVAL}, 2);

    EXPECT_EQ(-1, InstallTerminationHandler());
    EXPECT_EQ(1u, fault.Reached());
}
