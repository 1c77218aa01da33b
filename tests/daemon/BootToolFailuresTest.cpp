// Every tool that the daemon runs, missing and misbehaving, while boot events come: the daemon goes on.

#include "tests/daemon/RunningBootDaemon.h"

class BootToolFailures : public TRunningBootDaemonTest
{
protected:
    void SetUp() override
    {
        TRunningBootDaemonTest::SetUp();
        ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
        // The disks that are there are looked at by the main thread; a round of events later that is over.
        ASSERT_TRUE(WaitUntil([this] { return RunsOf(machine, "hfs.util").size() >= 1; }));
        ASSERT_NO_FATAL_FAILURE(HandleBootEvents());
        descriptors = DescriptorsOf(daemon->Process());
    }

    // Boot events of both types while the tool is as it is. Their effects are others' to judge.
    void HandleBootEvents()
    {
        ASSERT_NO_FATAL_FAILURE(Handle({1, 2}, kRAIDVolume));
        EXPECT_TRUE(daemon->IsRunning()) << daemon->Errors();
        EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
        EXPECT_TRUE(HelpersAreUnmounted());
    }

    // Lets the RAID volumes vanish and come back, so that their identities are looked at.
    void ReloadDriver()
    {
        ASSERT_EQ("", machine.UnloadDriver());
        ASSERT_EQ("", machine.LoadDriver());
    }

    // Boot events while the tool fails in one way after the other, and then all is well again.
    void TryFailuresOf(const std::string& tool)
    {
        for (const char* const behaviour : {"exit 1\n", "signal 9\n", "fill 5000\nprint \\x00\\xff\\x0a\nexit 3\n"}) {
            ASSERT_EQ("", machine.SetToolBehaviour(tool, behaviour));
            ASSERT_NO_FATAL_FAILURE(HandleBootEvents()) << behaviour;
        }
        ASSERT_EQ("", machine.SetToolBehaviour(tool, ""));
        ASSERT_EQ("", machine.SetToolMissing(tool, true));
        ASSERT_NO_FATAL_FAILURE(HandleBootEvents());
        ASSERT_EQ("", machine.SetToolMissing(tool, false));

        ASSERT_NO_FATAL_FAILURE(HandleBootEvents());
        EXPECT_TRUE(IsFilled(kFirstHelper));
        EXPECT_TRUE(IsFilled(kSecondHelper));
        EXPECT_TRUE(WaitUntil([this] { return DescriptorsOf(daemon->Process()) <= descriptors; }));
    }

    int descriptors = 0;
};

TEST_F(BootToolFailures, WhateverBecomesOfNewfsHFSTheDaemonGoesOn)
{
    TryFailuresOf("newfs_hfs");
}

TEST_F(BootToolFailures, WhateverBecomesOfVsdbutilTheDaemonGoesOn)
{
    TryFailuresOf("vsdbutil");
}

TEST_F(BootToolFailures, WhateverBecomesOfCpTheDaemonGoesOn)
{
    TryFailuresOf("cp");
}

TEST_F(BootToolFailures, WhateverBecomesOfKextcacheTheDaemonGoesOn)
{
    TryFailuresOf("kextcache");
}

TEST_F(BootToolFailures, WhateverBecomesOfBlessTheDaemonGoesOn)
{
    TryFailuresOf("bless");
}

TEST_F(BootToolFailures, WhateverBecomesOfHfsUtilTheDaemonGoesOn)
{
    for (const char* const behaviour : {"exit 1\n", "signal 9\n", "fill 5000\nexit 253\n", "exit 253\n"}) {
        const std::size_t before = RunsOf(machine, "hfs.util").size();
        ASSERT_EQ("", machine.SetToolBehaviour("hfs.util", behaviour));
        ASSERT_NO_FATAL_FAILURE(ReloadDriver());
        EXPECT_TRUE(WaitUntil([&] { return RunsOf(machine, "hfs.util").size() > before; })) << behaviour;
        ASSERT_NO_FATAL_FAILURE(HandleBootEvents());
    }
    ASSERT_EQ("", machine.SetToolMissing("hfs.util", true));
    ASSERT_NO_FATAL_FAILURE(ReloadDriver());
    ASSERT_NO_FATAL_FAILURE(HandleBootEvents());
    EXPECT_TRUE(IsFilled(kFirstHelper));
}
