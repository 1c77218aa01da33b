#include "services/Processes.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/sysctl.h>
#include <unistd.h>

// Counting processes in the kernel's table.
class ProcessTable : public TMachineTest
{
};

TEST_F(ProcessTable, NoProcessIsCountedThatDoesNotRun)
{
    EXPECT_EQ(0u, NumberOfProcessesWithName("Finder"));
    EXPECT_EQ(0u, NumberOfProcessesWithName(""));
}

TEST_F(ProcessTable, TwoProcessesOfOneNameAreTwo)
{
    StartProcess("Finder");
    EXPECT_EQ(1u, NumberOfProcessesWithName("Finder"));
    StartProcess("Finder");
    StartProcess("Finder2");

    EXPECT_EQ(2u, NumberOfProcessesWithName("Finder"));
}

TEST_F(ProcessTable, NamesAreComparedWholeAndByCase)
{
    StartProcess("Finder");

    EXPECT_EQ(0u, NumberOfProcessesWithName("finder"));
    EXPECT_EQ(0u, NumberOfProcessesWithName("Finde"));
    EXPECT_EQ(0u, NumberOfProcessesWithName("Finder2"));
}

TEST_F(ProcessTable, ANameWithABlankIsFoundHere)
{
    StartProcess("Disk Utility");

    EXPECT_EQ(1u, NumberOfProcessesWithName("Disk Utility"));
}

TEST_F(ProcessTable, ANameOfMoreThan16BytesNeverMatchesAndItsFirst16Do)
{
    StartProcess("ABCDEFGHIJKLMNOP");
    StartProcess("ABCDEFGHIJKLMNOPQ");

    EXPECT_EQ(0u, NumberOfProcessesWithName("ABCDEFGHIJKLMNOPQ"));
    EXPECT_EQ(2u, NumberOfProcessesWithName("ABCDEFGHIJKLMNOP"));
}

TEST_F(ProcessTable, TheTableOfAllProcessesIsAskedForTwice)
{
    std::vector<std::vector<int>> asked;
    const TCallWatch watch("sysctl", [&](const TCallWatch::TArguments& arguments) {
        const int* const levels = reinterpret_cast<const int*>(arguments[0]);
        asked.emplace_back(levels, levels + arguments[1]);
    });
    NumberOfProcessesWithName("Finder");

    const std::vector<int> kAll{1, 14, 0};
    EXPECT_EQ((std::vector<std::vector<int>>{kAll, kAll}), asked);
}

TEST_F(ProcessTable, ATableThatCannotBeSizedOrReadCountsAsNone)
{
    StartProcess("Finder");
    for (const unsigned call : {1u, 2u}) {
        const TFault fault("sysctl", {-1, EPERM}, call);
        EXPECT_EQ(0u, NumberOfProcessesWithName("Finder")) << "call " << call;
        EXPECT_EQ(1u, fault.Reached()) << "call " << call;
    }
}

TEST_F(ProcessTable, WithoutMemoryForTheTableNoneIsCounted)
{
    StartProcess("Finder");
    const TFault fault("malloc", {0, 0});

    EXPECT_EQ(0u, NumberOfProcessesWithName("Finder"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(ProcessTable, ATableThatGrewBetweenTheCallsCountsAsNone)
{
    StartProcess("Finder");
    unsigned calls = 0;
    const TCallWatch watch("sysctl", [&](const TCallWatch::TArguments&) {
        // More than a kernel may leave room for.
        if (++calls == 2)
            for (int i = 0; i < 40; ++i)
                StartProcess("Finder");
    });

    EXPECT_EQ(0u, NumberOfProcessesWithName("Finder"));
}

// The second call says how many records there are; what stood in the block behind them before is none.
TEST_F(ProcessTable, ATableThatShrankBetweenTheCallsIsReadAsFarAsItGoes)
{
    const pid_t process = StartProcess("Finder");
    unsigned calls = 0;
    const TCallWatch watch("sysctl", [&](const TCallWatch::TArguments& arguments) {
        if (++calls != 2)
            return;
        EXPECT_EQ("", machine.Signal(process, SIGKILL));
        EXPECT_TRUE(WaitUntil([&] { return kill(process, 0) != 0; }));
        auto* const block = reinterpret_cast<kinfo_proc*>(arguments[2]);
        const std::size_t size = *reinterpret_cast<const std::size_t*>(arguments[3]);
        for (std::size_t i = 0; i < size / sizeof *block; ++i)
            strcpy(block[i].kp_proc.p_comm, "Finder");
    });

    EXPECT_EQ(0u, NumberOfProcessesWithName("Finder"));
    EXPECT_EQ(2u, calls);
}

TEST_F(ProcessTable, KextCacheRunsWhenAProcessOfThatNameDoes)
{
    EXPECT_FALSE(KextCacheProcessRunning());
    StartProcess("Kextcache");
    EXPECT_FALSE(KextCacheProcessRunning());
    StartProcess("kextcache");
    EXPECT_TRUE(KextCacheProcessRunning());
    StartProcess("kextcache");
    EXPECT_TRUE(KextCacheProcessRunning());
    EXPECT_FALSE(PreviewProcessRunning());
}

TEST_F(ProcessTable, PreviewRunsWhenAProcessOfExactlyThatNameDoes)
{
    StartProcess("preview");
    EXPECT_FALSE(PreviewProcessRunning());
    StartProcess("Preview");
    EXPECT_TRUE(PreviewProcessRunning());
    EXPECT_FALSE(KextCacheProcessRunning());
}

// A process can be there for two names: the other way of asking sees the same ones.
TEST_F(ProcessTable, BothWaysOfAskingSeeTheSameProcess)
{
    StartProcess("SystemUIServer");

    EXPECT_EQ(1u, NumberOfProcessesWithName("SystemUIServer"));
    EXPECT_NE(0, Get_ProcessID("SystemUIServer"));
}
