#include "services/KextCache.h"

#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/VersionFiles.h"

#include <cerrno>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

static const char kUpdatedVolume[] = "/tmp/volume";

// The machine runs 10.5.8 unless a test says otherwise, and so does the volume.
class KextCache : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        InstallSystem(kUpdatedVolume, "10.5.8");
        ASSERT_EQ("", machine.SetToolBehaviour("kextcache", "exit 0\n"));
    }

    UInt32 ResultFor(const std::string& behaviour)
    {
        EXPECT_EQ("", machine.SetToolBehaviour("kextcache", behaviour));
        return UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume);
    }

    // Whether kextcache is run when these systems are installed; 1 must be returned either way.
    bool IsRunFor(const std::string& onVolume, const std::string& running)
    {
        InstallSystem(kUpdatedVolume, onVolume);
        InstallSystem("/", running);
        const std::size_t before = machine.ToolRuns().size();
        EXPECT_EQ(1u, UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume));
        return machine.ToolRuns().size() > before;
    }
};

TEST_F(KextCache, KextcacheIsRunWithTheVolumeAndNoMore)
{
    EXPECT_EQ(1u, UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume));

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(1u, runs.size());
    EXPECT_EQ("/usr/sbin/kextcache", runs[0].path);
    EXPECT_EQ((std::vector<std::string>{"kextcache", "-f", "-u", kUpdatedVolume}), runs[0].arguments);
}

TEST_F(KextCache, BothSystemsMustBe105OrLater)
{
    EXPECT_TRUE(IsRunFor("10.5", "10.5"));
    EXPECT_TRUE(IsRunFor("10.6", "10.5.8"));
    EXPECT_FALSE(IsRunFor("10.4.11", "10.5.8"));
    EXPECT_FALSE(IsRunFor("10.5.8", "10.4.11"));
    EXPECT_FALSE(IsRunFor("10.4.15", "10.5"));
}

// 0x10502001 is not below 0x10500000; 0x104F8000 is.
TEST_F(KextCache, ADevelopmentVersionOf105Counts)
{
    EXPECT_TRUE(IsRunFor("10.5d1", "10.5d1"));
}

TEST_F(KextCache, WhereThereIsNoSystemThereIsNothingToDo)
{
    EXPECT_EQ(1u, UpdateAppleBootPartitionsMKextCacheForVolume("/tmp/nothing"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(KextCache, OnlyAnExitWithZeroIsSuccess)
{
    EXPECT_EQ(1u, ResultFor("exit 0\n"));
    EXPECT_EQ(0u, ResultFor("exit 1\n"));
    EXPECT_EQ(0u, ResultFor("exit 71\n"));
    EXPECT_EQ(0u, ResultFor("signal 9\n"));
}

TEST_F(KextCache, AMissingKextcacheLooksLikeSuccessAndNobodyIsDoubled)
{
    ASSERT_EQ("", machine.SetToolMissing("kextcache", true));

    const TReturns returns = ReturnsOf([] { return UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume); });
    EXPECT_EQ(std::vector<long>{1}, returns.inCaller);
    EXPECT_TRUE(returns.inChild.empty());
}

TEST_F(KextCache, WithoutAForkOrAWaitThereIsNoSuccess)
{
    {
        const TFault fault("fork", {-1, EAGAIN});
        EXPECT_EQ(0u, UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume));
    }
    {
        const TFault fault("waitpid", {-1, EINTR});
        EXPECT_EQ(0u, UpdateAppleBootPartitionsMKextCacheForVolume(kUpdatedVolume));
    }
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

TEST_F(KextCache, WhatKextcachePrintsIsNobodysBusiness)
{
    const TCallWatch pipes("pipe");

    EXPECT_EQ(1u, ResultFor("print updated\n"));
    EXPECT_EQ(0u, pipes.Calls());
}
