// Every call that the functions of services/Processes.h make, failing once: whatever fails reads as no such process.

#include "services/Processes.h"
#include "tests/sweep/Operation.h"

#include <cstring>

using SweptProcesses = TMachineTest;

TEST_F(SweptProcesses, AProcessThatCannotBeLookedForIsNone)
{
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print  4711  ??  S  0:00.01 Finder\\x0a\n"));
    TOperation("Get_ProcessID", [] { return Text(Get_ProcessID("Finder")); })
        .Gives("4711")
        .GivesOnFailure("0")
        .GivesOnFailureOf("execv", "0, in a child: 0")
        .DespiteFailureOf({"close", "fcntl", "waitpid"})
        .Sweep();
}

TEST_F(SweptProcesses, AProcessThatIsNotThereStaysNone)
{
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print  4711  ??  S  0:00.01 Finder\\x0a\n"));
    TOperation("Get_ProcessID of none", [] { return Text(Get_ProcessID("Dock")); })
        .Gives("0")
        .GivesOnFailure("0")
        .GivesOnFailureOf("execv", "0, in a child: 0")
        .Sweep();
}

TEST_F(SweptProcesses, ATableThatCannotBeReadHoldsNone)
{
    StartProcess("kextcache");
    StartProcess("Preview");
    TOperation("NumberOfProcessesWithName", [] { return Text(NumberOfProcessesWithName("Preview")); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
    TOperation("KextCacheProcessRunning", [] { return Text(KextCacheProcessRunning()); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
    TOperation("PreviewProcessRunning", [] { return Text(PreviewProcessRunning()); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}
