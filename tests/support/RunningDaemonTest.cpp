#include "tests/support/RunningDaemonTest.h"

void TRunningDaemonTest::SetUp()
{
    TMachineTest::SetUp();
    StartLoginSession(machine);
    daemon = std::make_unique<TRunningProgram>(Command(), Environment());
    ASSERT_TRUE(WaitForEventSocket());
    ASSERT_TRUE(WaitForDisks(machine, daemon->Process()));
}

void TRunningDaemonTest::TearDown()
{
    if (daemon != nullptr) {
        EndDaemon(daemon.get());
        if (!mayPrint) {
            EXPECT_EQ("", daemon->Output() + daemon->Errors());
        }
        daemon.reset();
    }
    TMachineTest::TearDown();
}
