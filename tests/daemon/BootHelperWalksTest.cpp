// Going through the boot helper partitions of a RAID volume: the order, and what stops the walk.

#include "daemon/BootHelperPartitions.h"
#include "services/VolumeOperations.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"
#include "tests/support/VersionFiles.h"

#include <atomic>
#include <thread>

// What each of the two walks does alike.
class TWalkTest : public TBootHelperTest
{
protected:
    void SetUp() override
    {
        TBootHelperTest::SetUp();
        first = machine.EntryPath("disk0s4");
        second = machine.EntryPath("disk1s2");
    }

    void SetMembers(const plist::TValue& list)
    {
        ASSERT_EQ("", machine.SetProperty(kRAIDVolume, "IOBootDevice", list));
    }

    // A list of a good member, one that is not, and another good one.
    void SetMiddleMember(const plist::TValue& member)
    {
        plist::TValue list = MemberList({first});
        list.items.push_back(member);
        list.items.push_back(MemberList({second}).items[0]);
        SetMembers(list);
    }

    // Elements of which none leads to a partition.
    std::vector<plist::TValue> BadMembers() const
    {
        plist::TValue withoutPath = plist::TValue::Dictionary();
        withoutPath.Set("IOBootDeviceSize", plist::TValue::Integer(4096));
        plist::TValue pathAsData = plist::TValue::Dictionary();
        pathAsData.Set("IOBootDevicePath", plist::TValue::Data(first));
        std::vector<plist::TValue> members = {plist::TValue::String(first), plist::TValue::Array(), withoutPath,
                                              pathAsData};
        // No entry has the first three paths; the last leads to one that is no disk.
        for (const std::string& path :
             {first + "/nothing", std::string(), first + "\xC3\xA9", machine.EntryPath("IOGUIDPartitionScheme")})
            members.push_back(MemberList({path}).items[0]);
        return members;
    }

    std::string first;   // registry paths of the members
    std::string second;
};

class BootHelperUpdate : public TWalkTest
{
protected:
    UInt32 Update() const { return UpdateBootHelperPartitions("/"); }

    std::vector<std::string> Erased() const { return RunsOf(machine, "newfs_hfs"); }
    std::vector<std::string> CacheRuns() const { return RunsOf(machine, "kextcache"); }
};

static const char kEraseFirst[] = "newfs_hfs -v Boot OSX /dev/rdisk0s3";
static const char kEraseSecond[] = "newfs_hfs -v Boot OSX /dev/rdisk1s3";
static const char kUpdateCache[] = "kextcache -f -u /";

TEST_F(BootHelperUpdate, AllAreRebuiltInTheListsOrderAndThenTheCache)
{
    EXPECT_EQ(1u, Update());

    EXPECT_EQ((std::vector<std::string>{kEraseFirst, kEraseSecond}), Erased());
    EXPECT_EQ((std::vector<std::string>{kUpdateCache}), CacheRuns());
    EXPECT_EQ(kUpdateCache, LastToolRun(machine));
    for (const char* const helper : {kFirstHelper, kSecondHelper}) {
        EXPECT_TRUE(IsFilled(helper)) << helper;
        EXPECT_EQ(VolumeText(machine, kRAIDVolume, "UUID"), RootUUIDOn(helper));
    }
}

TEST_F(BootHelperUpdate, AnotherOrderOfTheListIsAnotherOrder)
{
    SetMembers(MemberList({second, first}));
    EXPECT_EQ(1u, Update());

    EXPECT_EQ((std::vector<std::string>{kEraseSecond, kEraseFirst}), Erased());
}

TEST_F(BootHelperUpdate, OneIsDoneWithBeforeTheNextIsErased)
{
    EXPECT_EQ(1u, Update());

    const std::vector<std::string> runs = ToolsRun(machine);
    ASSERT_EQ(15u, runs.size());
    EXPECT_EQ(kEraseFirst, runs[0]);
    EXPECT_EQ(kEraseSecond, runs[7]);
}

TEST_F(BootHelperUpdate, OfAnEmptyListOnlyTheCacheIsUpdated)
{
    SetMembers(plist::TValue::Array());

    EXPECT_EQ(1u, Update());
    EXPECT_EQ((std::vector<std::string>{kUpdateCache}), ToolsRun(machine));
}

TEST_F(BootHelperUpdate, HowTheCachesUpdateEndsIsTheResult)
{
    SetMembers(plist::TValue::Array());
    ASSERT_EQ("", machine.SetToolBehaviour("kextcache", "exit 0\n"));
    EXPECT_EQ(1u, Update());
    ASSERT_EQ("", machine.SetToolBehaviour("kextcache", "exit 1\n"));
    EXPECT_EQ(0u, Update());
    ASSERT_EQ("", machine.SetToolBehaviour("kextcache", "signal 9\n"));
    EXPECT_EQ(0u, Update());
}

TEST_F(BootHelperUpdate, WithoutAListOfMembersNothingIsDone)
{
    for (const plist::TValue& list : {MemberList({first}).items[0], plist::TValue::String(first)}) {
        SetMembers(list);
        EXPECT_EQ(0u, Update());
    }
    ASSERT_EQ("", machine.RemoveProperty(kRAIDVolume, "IOBootDevice"));
    EXPECT_EQ(0u, Update());

    EXPECT_TRUE(machine.ToolRuns().empty());
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}

TEST_F(BootHelperUpdate, AVolumeThatIsNotThereIsNotUpdated)
{
    EXPECT_EQ(0u, UpdateBootHelperPartitions("/Volumes/Nothing"));
    const TFault fault("IOBSDNameMatching", {0});
    EXPECT_EQ(0u, Update());

    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperUpdate, AMemberThatLeadsToNoPartitionIsTheEnd)
{
    unsigned round = 0;
    for (const plist::TValue& member : BadMembers()) {
        SetMiddleMember(member);
        EXPECT_EQ(0u, Update()) << round;

        EXPECT_TRUE(IsFilled(kFirstHelper)) << round;
        EXPECT_TRUE(IsUntouched(kSecondHelper)) << round;
        EXPECT_EQ(++round, Erased().size());
    }
    EXPECT_EQ(0u, CacheRuns().size());
}

TEST_F(BootHelperUpdate, AFirstMemberThatLeadsToNoPartitionLeavesAllUntouched)
{
    SetMembers(MemberList({first + "/nothing", first, second}));

    EXPECT_EQ(0u, Update());
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// Its name stays what it is then, and what would be erased is the member with the RAID volume's data.
TEST_F(BootHelperUpdate, AMemberOnNoKnownMapIsTheEndAndNotErased)
{
    ASSERT_EQ("", machine.RemoveProperty("IOGUIDPartitionScheme", "Content Mask"));

    EXPECT_EQ(0u, Update());
    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_EQ((std::vector<std::string>{kEraseFirst}), Erased());
    EXPECT_EQ(0u, CacheRuns().size());
}

TEST_F(BootHelperUpdate, OneThatCannotBeMountedDoesNotStopTheWalk)
{
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "mount not-permitted\n"));

    EXPECT_EQ(1u, Update());
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
    EXPECT_EQ(1u, CacheRuns().size());
}

TEST_F(BootHelperUpdate, OnASystemBefore105AllStayErasedAndEmptyAndTheCacheAlone)
{
    InstallSystem("/", "10.4.9");

    EXPECT_EQ(1u, Update());
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
    EXPECT_TRUE(IsErasedAndEmpty(kSecondHelper));
    EXPECT_EQ(0u, CacheRuns().size());
}

// The name is no path of its files, unless the current folder is the one with the volumes.
TEST_F(BootHelperUpdate, AVolumeGivenByItsNameAloneLeavesThemErasedAndEmpty)
{
    InstallBootableSystem(machine, "/Volumes/Backup", "10.5.8");
    ASSERT_EQ("", machine.SetProperty(kBackup, "IOBootDevice", MemberList({first})));

    EXPECT_EQ(1u, UpdateBootHelperPartitions("Backup"));
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
    EXPECT_TRUE(CacheRuns().empty());
}

// Two threads at once

TEST_F(BootHelperUpdate, ThreadsWaitForNoRequestButTheirOwn)
{
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "delay 10000\n"));
    std::atomic<bool> firstIsDone{false};
    std::thread slow([&] {
        EXPECT_EQ(1u, RebuildBootHelperPartition(kFirstHelper, "/"));
        firstIsDone = true;
    });
    // It is mounted, but the answer is not there yet.
    EXPECT_TRUE(WaitUntil([this] { return !machine.MountPath(kFirstHelper).empty(); }));
    EXPECT_EQ(1u, MountVolume(kSecondHelper, 0));
    EXPECT_EQ(1u, UnmountVolume(kSecondHelper, 0));
    EXPECT_FALSE(firstIsDone);
    EXPECT_EQ("", machine.SetRefusals(kFirstHelper, ""));
    slow.join();

    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}

// Ownership alone

class BootHelperOwnership : public TWalkTest
{
protected:
    UInt32 Enable() const { return EnableOwnershipOnBootHelperPartitions("/"); }
};

TEST_F(BootHelperOwnership, EachIsMountedSeenToAndUnmounted)
{
    for (const char* const helper : {kFirstHelper, kSecondHelper})
        ASSERT_EQ("", machine.SetVolumeProperty(helper, "Owners", plist::TValue::Boolean(false)));
    std::vector<std::string> mounted;
    const TCallWatch watch("DADiskUnmount", [&](const TCallWatch::TArguments& arguments) {
        EXPECT_EQ(0, arguments[1]);
        const lab::TMount mount = machine.Mounts().back();
        mounted.push_back(mount.bsdName + " " + Joined(mount.options));
    });
    EXPECT_EQ(1u, Enable());

    EXPECT_EQ((std::vector<std::string>{"disk0s3 perm nobrowse", "disk1s3 perm nobrowse"}), mounted);
    EXPECT_EQ((std::vector<std::string>{"vsdbutil -a /Volumes/Boot OSX", "vsdbutil -a /Volumes/Boot OSX"}),
              ToolsRun(machine));
    for (const char* const helper : {kFirstHelper, kSecondHelper}) {
        EXPECT_TRUE(IsUntouched(helper));
        EXPECT_TRUE(machine.Volume(helper).Find("Owners")->boolean);
    }
}

TEST_F(BootHelperOwnership, NothingElseChanges)
{
    std::vector<std::string> before;
    std::vector<std::string> after;
    const auto look = [this](std::vector<std::string>* seen) {
        for (const char* const helper : {kFirstHelper, kSecondHelper}) {
            seen->push_back(plist::Write(machine.Volume(helper)));
            for (const std::string& file : FilesOn(machine, helper))
                seen->push_back(file);
        }
        seen->push_back(FileText(machine.VolumeFiles(kRAIDVolume) + "/System/Library/Extensions.mkext"));
    };
    look(&before);
    EXPECT_EQ(1u, Enable());

    look(&after);
    EXPECT_EQ(before, after);
}

TEST_F(BootHelperOwnership, OneThatCannotBeMountedIsTheEnd)
{
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "mount not-permitted\n"));

    EXPECT_EQ(0u, Enable());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperOwnership, OneWhoseMountPathIsNotFoundStaysMountedAndIsTheEnd)
{
    const TFault fault("DADiskCopyDescription", {0});

    EXPECT_EQ(0u, Enable());
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath(kFirstHelper));
    EXPECT_EQ("", machine.MountPath(kSecondHelper));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperOwnership, HowVsdbutilEndsDoesNotMatter)
{
    ASSERT_EQ("", machine.SetToolBehaviour("vsdbutil", "exit 1\n"));

    EXPECT_EQ(1u, Enable());
    EXPECT_EQ(2u, machine.ToolRuns().size());
}

TEST_F(BootHelperOwnership, AMemberThatLeadsToNoPartitionIsTheEnd)
{
    std::size_t runs = 0;
    for (const plist::TValue& member : BadMembers()) {
        SetMiddleMember(member);
        EXPECT_EQ(0u, Enable());
        EXPECT_EQ(++runs, machine.ToolRuns().size());
    }
}

TEST_F(BootHelperOwnership, WithoutAListOfMembersNothingIsDone)
{
    SetMembers(plist::TValue::String(first));
    EXPECT_EQ(0u, Enable());
    ASSERT_EQ("", machine.RemoveProperty(kRAIDVolume, "IOBootDevice"));
    EXPECT_EQ(0u, Enable());
    EXPECT_EQ(0u, EnableOwnershipOnBootHelperPartitions("/Volumes/Nothing"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperOwnership, OfAnEmptyListThereIsNothingToDo)
{
    SetMembers(plist::TValue::Array());

    EXPECT_EQ(1u, Enable());
    EXPECT_TRUE(machine.ToolRuns().empty());
}
