#include "platform/PropertyList.h"
#include "services/BootDevice.h"
#include "services/ScopedIOObject.h"
#include "tests/services/BootTools.h"
#include "tests/support/Faults.h"

#include <cstring>
#include <string>
#include <vector>

// The boot helper partition beside a member

class BootSlice : public TMachineTest
{
protected:
    // What becomes of the name beside an entry.
    std::string Beside(const std::string& entry, const std::string& name)
    {
        const TScopedIOObject object(IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(entry).c_str()));
        EXPECT_TRUE(object) << entry;
        char text[32] = "";
        EXPECT_LT(name.size(), sizeof text);
        strcpy(text, name.c_str());
        GetBSDSliceNumberForAppleBootPartition(object.Get(), text);
        return text;
    }

    std::string OnGUIDMap(const std::string& name) { return Beside("disk1s2", name); }
    std::string OnAppleMap(const std::string& name) { return Beside("disk0s4", name); }

    void SetMap(const std::string& entry, const plist::TValue& map)
    {
        ASSERT_EQ("", machine.SetProperty(entry, "Content Mask", map));
    }
};

TEST_F(BootSlice, OnAGUIDMapItIsTheSliceBehind)
{
    EXPECT_EQ("disk1s4", OnGUIDMap("disk1s3"));
    EXPECT_EQ("disk1s11", OnGUIDMap("disk1s10"));
    EXPECT_EQ("disk1s10", OnGUIDMap("disk1s9"));
}

TEST_F(BootSlice, OnAnAppleMapItIsTheSliceBefore)
{
    EXPECT_EQ("disk1s2", OnAppleMap("disk1s3"));
    EXPECT_EQ("disk1s9", OnAppleMap("disk1s10"));
    EXPECT_EQ("disk1s-1", OnAppleMap("disk1s0"));
}

TEST_F(BootSlice, OnAnyOtherMapItIsTheSliceBeforeAsWell)
{
    for (const char* map : {"FDisk_partition_scheme", "", "guid_partition_scheme", "GUID_partition_scheme "}) {
        SetMap("IOGUIDPartitionScheme", plist::TValue::String(map));
        EXPECT_EQ("disk1s2", OnGUIDMap("disk1s3")) << map;
    }
}

TEST_F(BootSlice, AWholeDisksNameIsRuinedAsTheRuleSays)
{
    EXPECT_EQ("dis1", OnGUIDMap("disk1"));
    EXPECT_EQ("dis-1", OnAppleMap("disk1"));
}

TEST_F(BootSlice, WhatStandsBehindTheLastSIsReadAsFarAsItIsANumber)
{
    EXPECT_EQ("disk1s4", OnGUIDMap("disk1s3x"));
    EXPECT_EQ("disk1s4", OnGUIDMap("disk1s003"));
    EXPECT_EQ("disk1s2s4", OnGUIDMap("disk1s2s3"));
    EXPECT_EQ("disks1", OnGUIDMap("disks"));
    EXPECT_EQ("disks-1", OnAppleMap("disks"));
}

TEST_F(BootSlice, ANameWithoutAnSStays)
{
    EXPECT_EQ("", OnGUIDMap(""));
    EXPECT_EQ("hd1", OnGUIDMap("hd1"));
    EXPECT_EQ("DISK1S3", OnGUIDMap("DISK1S3"));
}

TEST_F(BootSlice, WithoutAMapTheNameStays)
{
    ASSERT_EQ("", machine.RemoveProperty("IOGUIDPartitionScheme", "Content Mask"));

    EXPECT_EQ("disk1s3", OnGUIDMap("disk1s3"));
}

TEST_F(BootSlice, WithAMapThatIsNoStringTheNameStays)
{
    SetMap("IOGUIDPartitionScheme", plist::TValue::Data("GUID_partition_scheme"));

    EXPECT_EQ("disk1s3", OnGUIDMap("disk1s3"));
}

TEST_F(BootSlice, TheNearestMapCountsItsOwnFirst)
{
    SetMap("disk1", plist::TValue::String("Apple_partition_scheme"));
    EXPECT_EQ("disk1s4", OnGUIDMap("disk1s3"));
    SetMap("disk1s2", plist::TValue::String("Apple_partition_scheme"));
    EXPECT_EQ("disk1s2", OnGUIDMap("disk1s3"));
}

// The boot device of a RAID volume

class BootDeviceOfRAIDVolume : public TBootToolTest
{
protected:
    static plist::TValue Member(const plist::TValue& path)
    {
        plist::TValue member = plist::TValue::Dictionary();
        member.Set("IOBootDevicePath", path);
        return member;
    }

    plist::TValue MemberAt(const std::string& entry) { return Member(plist::TValue::String(machine.EntryPath(entry))); }

    static plist::TValue ListOf(const std::vector<plist::TValue>& members)
    {
        plist::TValue list = plist::TValue::Array();
        list.items = members;
        return list;
    }

    // What is run for the RAID volume when this is its list of boot members.
    std::vector<lab::TToolRun> RunsFor(const plist::TValue& list)
    {
        EXPECT_EQ("", machine.SetProperty("disk2s3", "IOBootDevice", list));
        SetBootDeviceForBootRootVolume("disk2s3");
        return machine.ToolRuns();
    }
};

TEST_F(BootDeviceOfRAIDVolume, ItIsTheBootHelperPartitionOfTheFirstMember)
{
    SetBootDeviceForBootRootVolume("disk2s3");
    EXPECT_EQ((TArguments{"bless", "-device", "/dev/disk0s3", "-setBoot"}), OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDeviceOfRAIDVolume, OfAMemberOnAGUIDMapItIsTheSliceBehind)
{
    RunsFor(ListOf({MemberAt("disk1s2"), MemberAt("disk0s4")}));
    EXPECT_EQ((TArguments{"bless", "-device", "/dev/disk1s3", "-setBoot"}), OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDeviceOfRAIDVolume, OfAMemberOnNoKnownMapNothingIsRun)
{
    ASSERT_EQ("", machine.RemoveProperty("IOGUIDPartitionScheme", "Content Mask"));

    EXPECT_TRUE(RunsFor(ListOf({MemberAt("disk1s2")})).empty());
}

TEST_F(BootDeviceOfRAIDVolume, BlessThatFailsIsOfNoInterestAndNotRepeated)
{
    LetTools("exit 1\n");
    SetBootDeviceForBootRootVolume("disk2s3");
    EXPECT_EQ(1u, machine.ToolRuns().size());
}

TEST_F(BootDeviceOfRAIDVolume, WithoutTheVolumeNothingIsRun)
{
    SetBootDeviceForBootRootVolume("disk9s3");
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootDeviceOfRAIDVolume, WithoutBootMembersNothingIsRun)
{
    ASSERT_EQ("", machine.RemoveProperty("disk2s3", "IOBootDevice"));
    SetBootDeviceForBootRootVolume("disk2s3");
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootDeviceOfRAIDVolume, MembersThatAreNoListRunNothing)
{
    EXPECT_TRUE(RunsFor(MemberAt("disk0s4")).empty());
}

TEST_F(BootDeviceOfRAIDVolume, AnEmptyListOfMembersRunsNothing)
{
    EXPECT_TRUE(RunsFor(ListOf({})).empty());
}

// Each has a good second member, which must not be used in the first one's place.
TEST_F(BootDeviceOfRAIDVolume, AFirstMemberThatIsNoDictionaryRunsNothing)
{
    EXPECT_TRUE(RunsFor(ListOf({plist::TValue::String("IOService:/"), MemberAt("disk1s2")})).empty());
}

TEST_F(BootDeviceOfRAIDVolume, AFirstMemberWithoutAPathRunsNothing)
{
    EXPECT_TRUE(RunsFor(ListOf({plist::TValue::Dictionary(), MemberAt("disk1s2")})).empty());
    EXPECT_TRUE(RunsFor(ListOf({Member(plist::TValue::Integer(1)), MemberAt("disk1s2")})).empty());
}

TEST_F(BootDeviceOfRAIDVolume, AFirstMemberThatIsNowhereRunsNothing)
{
    EXPECT_TRUE(RunsFor(ListOf({Member(plist::TValue::String("IOService:/x")), MemberAt("disk1s2")})).empty());
    EXPECT_TRUE(RunsFor(ListOf({Member(plist::TValue::String("")), MemberAt("disk1s2")})).empty());
}

// The path fits with its NUL into 1024 bytes or is not looked up.
TEST_F(BootDeviceOfRAIDVolume, APathThatIsTooLongIsNotLookedUp)
{
    const TCallWatch watch("IORegistryEntryFromPath");
    RunsFor(ListOf({Member(plist::TValue::String("IOService:/" + std::string(1023 - 11, 'x')))}));
    EXPECT_EQ(1u, watch.Calls());
    RunsFor(ListOf({Member(plist::TValue::String("IOService:/" + std::string(1024 - 11, 'x')))}));
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(BootDeviceOfRAIDVolume, AFirstMemberThatIsNoDiskRunsNothing)
{
    EXPECT_TRUE(RunsFor(ListOf({MemberAt("IOGUIDPartitionScheme"), MemberAt("disk1s2")})).empty());
}
