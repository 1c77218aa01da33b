#include "daemon/VolumeRegistry.h"
#include "services/IORegistry.h"   // GetIOKitObjectWithBSDName
#include "services/ScopedIOObject.h"
#include "tests/daemon/HfsUtilRuns.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <unistd.h>

static std::string Identity(std::string text)
{
    text.resize(kVolumeIDSize);
    return text;
}

static const UInt8* Bytes(const std::string& identity)
{
    return reinterpret_cast<const UInt8*>(identity.data());
}

// The records alone. Identities are "A", "B" ... with zeros behind.
class VolumeRecords : public TMachineTest
{
protected:
    void Set(const char* bsdName, const std::string& identity)
    {
        registry.SetVolumeIDForBSDName(bsdName, Bytes(Identity(identity)));
    }

    // The identity in the record of this name, without the zeros; "none" without a record.
    std::string Of(const char* bsdName) const
    {
        char bytes[kVolumeIDSize + 1];
        memset(bytes, 77, sizeof bytes);
        bytes[kVolumeIDSize] = 0;
        if (registry.CopyVolumeIDForBSDName(bsdName, reinterpret_cast<UInt8*>(bytes)))
            return bytes;
        EXPECT_EQ(std::string(kVolumeIDSize, 77), bytes) << "untouched";
        return "none";
    }

    // Where the record of this name is; 77 without one.
    UInt32 PlaceOf(const char* bsdName) const
    {
        UInt32 index = 77;
        registry.FindRecordByBSDName(bsdName, &index);
        return index;
    }

    TVolumeRegistry registry;
};

TEST_F(VolumeRecords, AtFirstThereAreNoneAndTheRegistryIsDisabled)
{
    EXPECT_EQ(0u, registry.Count());
    EXPECT_FALSE(registry.Enabled());
    EXPECT_EQ("none", Of("disk2"));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("A"))));
}

TEST_F(VolumeRecords, OneIsTheNameIn16BytesAndTheIdentityIn64)
{
    std::string identity = Identity("0123456789ABCDEF");
    identity.back() = 'z';
    registry.SetVolumeIDForBSDName("disk3s2", Bytes(identity));

    const TVolumeRecord* const record = registry.FindRecordByBSDName("disk3s2");
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(std::string("disk3s2\0\0\0\0\0\0\0\0\0", 16) + identity,
              std::string(reinterpret_cast<const char*>(record), 80));
}

TEST_F(VolumeRecords, ANameOf15BytesIsKeptWhole)
{
    Set("disk123456789s1", "A");

    EXPECT_EQ("A", Of("disk123456789s1"));
    EXPECT_EQ(1u, registry.Count());
}

TEST_F(VolumeRecords, ANameOf16BytesAndMoreIsCutTo15AndNotFoundWhole)
{
    for (const char* const name : {"disk123456789s12", "disk123456789s123456"}) {
        TVolumeRegistry other;
        other.SetVolumeIDForBSDName(name, Bytes(Identity("A")));

        EXPECT_EQ(nullptr, other.FindRecordByBSDName(name));
        const TVolumeRecord* const record = other.FindRecordByBSDName("disk123456789s1");
        ASSERT_NE(nullptr, record);
        EXPECT_EQ(0, record->bsdName[15]);
        other.RemoveRecordForBSDName(name);
        EXPECT_EQ(1u, other.Count());
    }
}

TEST_F(VolumeRecords, ACutNameIsAddedAgainEachTimeAndTheFirstIsFound)
{
    Set("disk123456789s12", "A");
    Set("disk123456789s12", "B");
    Set("disk123456789s13", "C");
    EXPECT_EQ(3u, registry.Count());
    EXPECT_EQ("A", Of("disk123456789s1"));

    registry.RemoveRecordForBSDName("disk123456789s1");
    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("B", Of("disk123456789s1"));
}

TEST_F(VolumeRecords, ANameThatIsKnownIsOverwrittenInPlace)
{
    Set("disk2", "A");
    Set("disk3", "B");
    const TVolumeRecord* const record = registry.FindRecordByBSDName("disk2");
    Set("disk2", "C");

    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("C", Of("disk2"));
    EXPECT_EQ("B", Of("disk3"));
    EXPECT_EQ(0u, PlaceOf("disk2"));
    EXPECT_EQ(record, registry.FindRecordByBSDName("disk2"));
}

TEST_F(VolumeRecords, ANameIsComparedWhole)
{
    Set("disk2s1", "A");

    EXPECT_EQ("none", Of("disk2"));
    EXPECT_EQ("none", Of("disk2s10"));
    EXPECT_EQ("none", Of("Disk2s1"));
    EXPECT_EQ("none", Of(""));
}

TEST_F(VolumeRecords, AllBytesOfAnIdentityAreCompared)
{
    std::string withoutEnd = Identity("A");
    withoutEnd.back() = 'z';
    Set("disk2", "A");

    EXPECT_NE(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("A"))));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(withoutEnd)));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("a"))));
}

TEST_F(VolumeRecords, TheFirstWithAnIdentityIsFound)
{
    Set("disk2", "A");
    Set("disk3", "B");
    Set("disk4", "B");

    EXPECT_STREQ("disk3", registry.FindRecordByVolumeID(Bytes(Identity("B")))->bsdName);
}

TEST_F(VolumeRecords, TheyStandInTheOrderOfTheirFirstAppearance)
{
    for (const char* const name : {"disk4", "disk2", "disk3", "disk1"})
        Set(name, name);
    registry.RemoveRecordForBSDName("disk2");
    Set("disk4", "again");
    Set("disk2", "back");

    EXPECT_EQ(0u, PlaceOf("disk4"));
    EXPECT_EQ(1u, PlaceOf("disk3"));
    EXPECT_EQ(2u, PlaceOf("disk1"));
    EXPECT_EQ(3u, PlaceOf("disk2"));
    EXPECT_EQ("disk3", Of("disk3"));
    EXPECT_EQ("back", Of("disk2"));
}

TEST_F(VolumeRecords, ThePlaceOfAnUnknownNameIsNotWritten)
{
    Set("disk2", "A");

    EXPECT_EQ(77u, PlaceOf("disk3"));
    EXPECT_NE(nullptr, registry.FindRecordByBSDName("disk2", nullptr));
}

TEST_F(VolumeRecords, ContainsSaysWhetherANameIsKnown)
{
    Set("disk2", "A");
    EXPECT_TRUE(registry.ContainsBSDName("disk2"));
    EXPECT_FALSE(registry.ContainsBSDName("disk3"));
    registry.RemoveRecordForBSDName("disk2");
    EXPECT_FALSE(registry.ContainsBSDName("disk2"));
}

TEST_F(VolumeRecords, RemovingAnUnknownNameRemovesNothing)
{
    Set("disk2", "A");
    registry.RemoveRecordForBSDName("disk3");
    registry.RemoveRecordForBSDName("");

    EXPECT_EQ("A", Of("disk2"));
}

TEST_F(VolumeRecords, WithoutMemoryNothingIsAdded)
{
    Set("disk2", "A");
    {
        const TFault fault("operator new[] nothrow", {0, 0, 2 * 80});
        Set("disk3", "B");
        EXPECT_EQ(1u, fault.Reached());
    }
    EXPECT_EQ(1u, registry.Count());
    EXPECT_EQ("A", Of("disk2"));
    Set("disk3", "B");
    EXPECT_EQ("B", Of("disk3"));
}

// What happens when a disk appears or disappears. disk2s3 and disk2s5 are on the RAID volume, disk0s3 is not.
class VolumeRegistry : public VolumeRecords
{
protected:
    using TAsked = std::vector<std::string>;

    void SetUp() override
    {
        VolumeRecords::SetUp();
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
