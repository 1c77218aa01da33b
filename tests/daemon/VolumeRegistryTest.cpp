#include "services/IORegistry.h"   // GetIOKitObjectWithBSDName
#include "services/ScopedIOObject.h"
#include "tests/daemon/HfsUtilRuns.h"
#include "tests/daemon/VolumeRecords.h"

#include <unistd.h>

// What happens when a disk appears or disappears. disk2s3 and disk2s5 are on the RAID volume, disk0s3 is not.
class VolumeRegistry : public TVolumeRecordsTest
{
protected:
    using TAsked = std::vector<std::string>;

    void SetUp() override
    {
        TVolumeRecordsTest::SetUp();
        alarm(120);
        ASSERT_EQ("", machine.AddMedium("disk2s5", "disk2", 1000000, false));
        registry.SetEnabled(true);
    }

    // A disk appears, and hfs.util behaves like this from run to run.
    void Appear(const char* bsdName, const std::vector<std::string>& behaviours)
    {
        const THfsUtilScript script(machine, behaviours);
        const TScopedIOObject media(GetIOKitObjectWithBSDName(bsdName));
        ASSERT_TRUE(static_cast<bool>(media));
        registry.VolumeAppeared(bsdName, media.Get());
    }

    // A disk with this identity appears.
    void AppearWith(const char* bsdName, const std::string& identity) { Appear(bsdName, {Prints(identity)}); }

    static std::string Prints(const std::string& identity) { return "print " + identity + "\nexit 253\n"; }

    TAsked Asked() const { return AskedOfHfsUtil(machine); }
};

static const char kFails[] = "print X\nexit 252\n";
static const char kSucceeds[] = "exit 253\n";

TEST_F(VolumeRegistry, ARAIDVolumeIsReadOnceAndRecorded)
{
    AppearWith("disk2s3", "A");

    EXPECT_EQ("A", Of("disk2s3"));
    EXPECT_EQ(1u, registry.Count());
    EXPECT_EQ((TAsked{"-k disk2s3"}), Asked());
}

TEST_F(VolumeRegistry, ForAnotherVolumeNoToolIsRun)
{
    AppearWith("disk0s3", "A");

    EXPECT_EQ(0u, registry.Count());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(VolumeRegistry, WhereItIsDisabledNothingIsRecordedOrRemovedAndNoToolIsRun)
{
    Set("disk2s5", "B");
    registry.SetEnabled(false);
    AppearWith("disk2s3", "A");
    registry.VolumeDisappeared("disk2s5");

    EXPECT_EQ("none", Of("disk2s3"));
    EXPECT_EQ("B", Of("disk2s5"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(VolumeRegistry, AVolumeThatCannotBeReadIsNotRecorded)
{
    Appear("disk2s3", {kFails});

    EXPECT_EQ(0u, registry.Count());
    EXPECT_EQ((TAsked{"-k disk2s3"}), Asked());
}

TEST_F(VolumeRegistry, AVolumeThatAppearsTwiceHasOneRecordAndIsNotRenewed)
{
    AppearWith("disk2s3", "A");
    AppearWith("disk2s3", "A");

    EXPECT_EQ("A", Of("disk2s3"));
    EXPECT_EQ(1u, registry.Count());
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s3"}), Asked());
}

TEST_F(VolumeRegistry, ANameThatIsUsedForAnotherVolumeGetsItsIdentity)
{
    AppearWith("disk2s3", "A");
    AppearWith("disk2s5", "B");
    AppearWith("disk2s3", "C");

    EXPECT_EQ("C", Of("disk2s3"));
    EXPECT_EQ(0u, PlaceOf("disk2s3"));
    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5", "-k disk2s3"}), Asked());
}

TEST_F(VolumeRegistry, ANewcomerWithATakenIdentityIsRenewedAndTheHolderKeepsIt)
{
    AppearWith("disk2s3", "A");
    Appear("disk2s5", {Prints("A"), kSucceeds, Prints("B")});

    EXPECT_EQ("A", Of("disk2s3"));
    EXPECT_EQ("B", Of("disk2s5"));
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5", "-s disk2s5", "-k disk2s5"}), Asked());
}

TEST_F(VolumeRegistry, WhichOneIsRenewedDependsOnTheOrderAndNotOnTheName)
{
    AppearWith("disk2s5", "A");
    Appear("disk2s3", {Prints("A"), kSucceeds, Prints("B")});

    EXPECT_EQ("A", Of("disk2s5"));
    EXPECT_EQ("B", Of("disk2s3"));
    EXPECT_EQ("-s disk2s3", Asked()[2]);
}

TEST_F(VolumeRegistry, IdentitiesThatDifferInTheLastByteAreNotTheSame)
{
    AppearWith("disk2s3", std::string(63, 'a') + "b");
    AppearWith("disk2s5", std::string(63, 'a') + "c");

    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5"}), Asked());
}

TEST_F(VolumeRegistry, IdentitiesThatDifferBehindTheFirst64BytesAreTheSame)
{
    AppearWith("disk2s3", std::string(64, 'a') + "b");
    Appear("disk2s5", {Prints(std::string(64, 'a') + "c"), kSucceeds, Prints("B")});

    EXPECT_EQ("B", Of("disk2s5"));
}

TEST_F(VolumeRegistry, ANewcomerThatCannotBeRenewedIsNotRecorded)
{
    AppearWith("disk2s3", "A");
    Appear("disk2s5", {Prints("A"), kFails});

    EXPECT_EQ("none", Of("disk2s5"));
    EXPECT_EQ("A", Of("disk2s3"));
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5", "-s disk2s5"}), Asked());
}

TEST_F(VolumeRegistry, ANewcomerThatCannotBeReadAgainIsNotRecorded)
{
    AppearWith("disk2s3", "A");
    Appear("disk2s5", {Prints("A"), kSucceeds, kFails});

    EXPECT_EQ("none", Of("disk2s5"));
    EXPECT_EQ("A", Of("disk2s3"));
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5", "-s disk2s5", "-k disk2s5"}), Asked());
}

TEST_F(VolumeRegistry, ARecordThatIsThereStaysWhenTheRenewalFails)
{
    AppearWith("disk2s3", "A");
    AppearWith("disk2s5", "B");
    Appear("disk2s5", {Prints("A"), kFails});

    EXPECT_EQ("B", Of("disk2s5"));
}

TEST_F(VolumeRegistry, WhatIsReadAfterARenewalIsRecordedWhateverItIs)
{
    AppearWith("disk2s3", "A");
    Appear("disk2s5", {Prints("A"), kSucceeds, Prints("A")});

    EXPECT_EQ("A", Of("disk2s5")) << "nothing is compared a second time";
    EXPECT_EQ(4u, Asked().size());
}

TEST_F(VolumeRegistry, AVolumeThatDisappearedHoldsItsIdentityNoLonger)
{
    AppearWith("disk2s3", "A");
    registry.VolumeDisappeared("disk2s3");
    EXPECT_EQ(0u, registry.Count());
    AppearWith("disk2s5", "A");

    EXPECT_EQ("A", Of("disk2s5"));
    EXPECT_EQ((TAsked{"-k disk2s3", "-k disk2s5"}), Asked());
}

TEST_F(VolumeRegistry, OnDisappearingOnlyTheNameMatters)
{
    Set("disk0s3", "A");
    Set("disk2s3", "B");
    registry.VolumeDisappeared("disk0s3");
    registry.VolumeDisappeared("disk9");

    EXPECT_EQ("none", Of("disk0s3"));
    EXPECT_EQ("B", Of("disk2s3"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(VolumeRegistry, AVolumeWithACutNameIsTakenForAnotherWhenItAppearsAgain)
{
    ASSERT_EQ("", machine.AddMedium("disk123456789s12", "disk2", 1000000, false));
    AppearWith("disk123456789s12", "A");
    Appear("disk123456789s12", {Prints("A"), kSucceeds, Prints("B")});

    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("-s disk123456789s12", Asked()[2]);
    registry.VolumeDisappeared("disk123456789s12");
    EXPECT_EQ(2u, registry.Count());
}
