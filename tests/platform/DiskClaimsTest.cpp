#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

#include <unistd.h>

// Two sessions, each with a disk for the one medium disk8.
class DiskClaims : public TMachineTest
{
protected:
    struct TClient
    {
        TClient()
            : session(DASessionCreate(kCFAllocatorDefault)),
              disk(DADiskCreateFromBSDName(nullptr, session.Get(), "disk8"))
        {
            DASessionScheduleWithRunLoop(session.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
        }
        ~TClient() { DASessionUnscheduleFromRunLoop(session.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode); }

        const TScoped<DASessionRef> session;
        const TScoped<DADiskRef> disk;
    };

    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddMedium("disk8", "", 1000000, true));
    }

    static void Answered(DADiskRef disk, DADissenterRef dissenter, void* context)
    {
        EXPECT_STREQ("disk8", DADiskGetBSDName(disk));
        *static_cast<DAReturn*>(context) =
            dissenter != nullptr ? DADissenterGetStatus(dissenter) : static_cast<DAReturn>(kDAReturnSuccess);
        CFRunLoopStop(CFRunLoopGetCurrent());
    }

    // Claims the disk and returns what that came to. The release callback gets the count of its calls.
    static DAReturn Claim(const TClient& client, DADiskClaimReleaseCallback release = nullptr, int* asked = nullptr)
    {
        DAReturn status = kDAReturnNoResources;
        DADiskClaim(client.disk.Get(), kDADiskClaimOptionDefault, release, asked, Answered, &status);
        CFRunLoopRun();
        return status;
    }

    static DADissenterRef GiveAway(DADiskRef disk, void* asked)
    {
        EXPECT_STREQ("disk8", DADiskGetBSDName(disk));
        ++*static_cast<int*>(asked);
        return nullptr;
    }

    static DADissenterRef Keep(DADiskRef, void* asked)
    {
        ++*static_cast<int*>(asked);
        return DADissenterCreate(kCFAllocatorDefault, kDAReturnNotReady, nullptr);
    }
};

TEST_F(DiskClaims, ADiskIsClaimedUntilItIsGivenUp)
{
    const TClient client;
    EXPECT_FALSE(DADiskIsClaimed(client.disk.Get()));
    EXPECT_EQ(kDAReturnSuccess, Claim(client));
    EXPECT_TRUE(DADiskIsClaimed(client.disk.Get()));
    DADiskUnclaim(client.disk.Get());
    EXPECT_FALSE(DADiskIsClaimed(client.disk.Get()));
    EXPECT_EQ("", machine.ReadText("claims/disk8"));
}

TEST_F(DiskClaims, AClaimEndsWithItsSession)
{
    const TClient other;
    {
        const TClient client;
        EXPECT_EQ(kDAReturnSuccess, Claim(client));
        EXPECT_TRUE(DADiskIsClaimed(other.disk.Get()));
    }
    EXPECT_FALSE(DADiskIsClaimed(other.disk.Get()));
}

TEST_F(DiskClaims, TheSameSessionMayClaimAgain)
{
    const TClient client;
    int asked = 0;
    EXPECT_EQ(kDAReturnSuccess, Claim(client, Keep, &asked));
    EXPECT_EQ(kDAReturnSuccess, Claim(client, Keep, &asked));
    EXPECT_EQ(0, asked);
}

TEST_F(DiskClaims, WhoHasADiskIsAskedAndMayGiveItAway)
{
    const TClient holder;
    const TClient other;
    int asked = 0;
    EXPECT_EQ(kDAReturnSuccess, Claim(holder, GiveAway, &asked));
    EXPECT_EQ(kDAReturnSuccess, Claim(other));
    EXPECT_EQ(1, asked);

    DADiskUnclaim(holder.disk.Get());
    EXPECT_TRUE(DADiskIsClaimed(other.disk.Get())) << "it is the other's now";
}

TEST_F(DiskClaims, WhoHasADiskMayKeepIt)
{
    const TClient holder;
    const TClient other;
    int asked = 0;
    EXPECT_EQ(kDAReturnSuccess, Claim(holder, Keep, &asked));
    EXPECT_EQ(kDAReturnNotReady, Claim(other)) << "as the holder dissents";
    EXPECT_EQ(1, asked);
    DADiskUnclaim(other.disk.Get());
    EXPECT_TRUE(DADiskIsClaimed(holder.disk.Get()));
}

TEST_F(DiskClaims, WhoCannotBeAskedKeepsTheDisk)
{
    const TClient holder;
    const TClient other;
    EXPECT_EQ(kDAReturnSuccess, Claim(holder));
    EXPECT_EQ(kDAReturnExclusiveAccess, Claim(other));
}

TEST_F(DiskClaims, AnotherProcessKeepsItsDiskAsLongAsItLives)
{
    const TClient client;
    pid_t process = 0;
    ASSERT_EQ("", machine.Start({"holder", "", {}, {}, ""}, &process));
    ASSERT_EQ("", machine.WriteText("claims/disk8", std::to_string(process) + "\n"));
    EXPECT_TRUE(DADiskIsClaimed(client.disk.Get()));
    EXPECT_EQ(kDAReturnExclusiveAccess, Claim(client));

    ASSERT_EQ("", machine.Signal(process, SIGKILL));
    EXPECT_TRUE(WaitUntil([&] { return !DADiskIsClaimed(client.disk.Get()); }));
    EXPECT_EQ(kDAReturnSuccess, Claim(client));
}

TEST_F(DiskClaims, AClaimStandsInTheFolderForOtherProcesses)
{
    const TClient client;
    EXPECT_EQ(kDAReturnSuccess, Claim(client));
    EXPECT_EQ(std::to_string(getpid()) + "\n", machine.ReadText("claims/disk8"));
}

TEST_F(DiskClaims, AMachineMayRefuseAClaim)
{
    ASSERT_EQ("", machine.SetRefusals("disk8", "claim not-privileged\n"));
    const TClient client;
    EXPECT_EQ(kDAReturnNotPrivileged, Claim(client));
    EXPECT_FALSE(DADiskIsClaimed(client.disk.Get()));
}

TEST_F(DiskClaims, ADiskThatIsNotThereCannotBeClaimed)
{
    const TClient client;
    ASSERT_EQ("", machine.RemoveMedium("disk8"));
    EXPECT_EQ(kDAReturnNotFound, Claim(client));
}

TEST_F(DiskClaims, AnAnswerThatNobodyWantsIsNotTold)
{
    const TClient client;
    DADiskClaim(client.disk.Get(), kDADiskClaimOptionDefault, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(DADiskIsClaimed(client.disk.Get()));
    DAReturn status = kDAReturnNoResources;
    DADiskClaim(client.disk.Get(), 1, nullptr, nullptr, Answered, &status);
    CFRunLoopRun();
    EXPECT_EQ(kDAReturnUnsupported, status) << "an option that is not known";
}
