// What the daemon does about starting up from a RAID volume, by the system that runs and by the event.

#include "daemon/BootEvents.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"
#include "tests/support/VersionFiles.h"

#include <cstring>

// No function here uses the tool.
static THXDaemonTool* const kTool = nullptr;

class BootEvents : public TBootHelperTest
{
protected:
    // The start-up volume is a RAID volume with 10.5.8; this is another running system.
    static void Run(const std::string& version) { InstallSystem("/", version); }

    // What the firmware starts from, as bless was told.
    std::vector<std::string> BlessRuns() const { return RunsOf(machine, "bless"); }

    static TDriverEventRecord Record(SInt32 type, const std::string& bsdName)
    {
        TDriverEventRecord record = {};
        record.type = type;
        memcpy(record.bsdName, bsdName.data(), std::min(bsdName.size(), sizeof record.bsdName));
        return record;
    }

    static void Handle(SInt32 type, const std::string& bsdName)
    {
        const TDriverEventRecord record = Record(type, bsdName);
        HandleBootDriverEvent(kTool, &record);
    }

    bool NothingWasDone() const
    {
        return machine.ToolRuns().empty() && IsUntouched(kFirstHelper) && IsUntouched(kSecondHelper);
    }
};

// At start-up

using BootCheck = BootEvents;

TEST_F(BootCheck, OwnersAreHonouredOnTheHelpersOfTheStartUpVolume)
{
    CheckBootHelperPartitionsAtStartup();

    EXPECT_EQ((std::vector<std::string>{"vsdbutil -a /Volumes/Boot OSX", "vsdbutil -a /Volumes/Boot OSX"}),
              ToolsRun(machine));
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}

TEST_F(BootCheck, BeforeTheSystem105NothingIsTouched)
{
    const TCallWatch mounts("DADiskMountWithArguments");
    for (const char* const version : {"10.4.9", "10.4.11", "10.4.15", "10.3.9"}) {
        Run(version);
        CheckBootHelperPartitionsAtStartup();
        EXPECT_EQ(0u, mounts.Calls()) << version;
    }
    EXPECT_TRUE(NothingWasDone());
}

TEST_F(BootCheck, From105OnItIsDone)
{
    std::size_t runs = 0;
    for (const char* const version : {"10.5", "10.5d1", "10.6", "80.0"}) {
        Run(version);
        CheckBootHelperPartitionsAtStartup();
        runs += 2;
        EXPECT_EQ(runs, machine.ToolRuns().size()) << version;
    }
}

TEST_F(BootCheck, AStartUpVolumeThatIsNoRAIDVolumeIsLeftAlone)
{
    ASSERT_EQ("", machine.RemoveProperty("HalvorixVolume", "Halvorix Volume ID"));
    const TCallWatch mounts("DADiskMountWithArguments");
    CheckBootHelperPartitionsAtStartup();

    EXPECT_EQ(0u, mounts.Calls());
    EXPECT_TRUE(NothingWasDone());
}

TEST_F(BootCheck, WhereTheStartUpVolumesDiskIsNotFoundNothingIsTouched)
{
    {
        const TFault fault("PBHGetVolParmsSync", {nsvErr});
        CheckBootHelperPartitionsAtStartup();
        EXPECT_EQ(1u, fault.Reached());
    }
    const TFault fault("IOBSDNameMatching", {0});
    CheckBootHelperPartitionsAtStartup();

    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(NothingWasDone());
}

// Which event does what

TEST_F(BootEvents, Type1RebuildsTheHelpersOfItsVolume)
{
    Handle(1, kRAIDVolume);

    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
    EXPECT_EQ("kextcache -f -u /", LastToolRun(machine));
    EXPECT_TRUE(BlessRuns().empty());
}

TEST_F(BootEvents, Type2MakesItsVolumeTheStartUpVolume)
{
    Handle(2, kRAIDVolume);

    EXPECT_EQ((std::vector<std::string>{"bless -device /dev/disk0s3 -setBoot"}), ToolsRun(machine));
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}

TEST_F(BootEvents, AnyOtherTypeDoesNothing)
{
    for (const SInt32 type : {3, 0, -1, -2, 4, 257, 258, 65537})
        Handle(type, kRAIDVolume);

    EXPECT_TRUE(NothingWasDone());
}

TEST_F(BootEvents, AnEventLeavesItsRecordAlone)
{
    const TDriverEventRecord before = Record(2, kRAIDVolume);
    TDriverEventRecord record = before;
    HandleBootDriverEvent(kTool, &record);

    EXPECT_EQ(0, memcmp(&before, &record, sizeof record));
}

// The byte behind the record is what a name without an end would run on into.
TEST_F(BootEvents, ANameThatFillsItsFieldEndsThere)
{
    const std::string name = "disk2s3456789012";
    ASSERT_EQ(sizeof TDriverEventRecord::bsdName, name.size());
    ASSERT_EQ("", machine.SetProperty(kRAIDVolume, "BSD Name", plist::TValue::String(name)));
    struct
    {
        TDriverEventRecord record;
        char behind[8];
    } held = {Record(2, name), "3456789"};
    HandleBootDriverEvent(kTool, &held.record);

    EXPECT_EQ((std::vector<std::string>{"bless -device /dev/disk0s3 -setBoot"}), ToolsRun(machine));
}

TEST_F(BootEvents, AnEmptyNameIsNoVolume)
{
    Handle(1, "");
    Handle(2, "");
    Run("10.4.11");
    Handle(2, "");

    EXPECT_TRUE(NothingWasDone());
}

// Boot files

TEST_F(BootEvents, BeforeTheSystem105BootFilesAreNotUpdated)
{
    for (const char* const version : {"10.4.9", "10.4.15", "10.3.9"}) {
        Run(version);
        Handle(1, kRAIDVolume);
        UpdateBootFilesForVolume(kTool, kRAIDVolume);
    }
    EXPECT_TRUE(NothingWasDone());
}

TEST_F(BootEvents, From105OnBootFilesAreUpdated)
{
    std::size_t rebuilt = 0;
    for (const char* const version : {"10.5", "10.5d1", "80.0"}) {
        Run(version);
        UpdateBootFilesForVolume(kTool, kRAIDVolume);
        rebuilt += 2;
        EXPECT_EQ(rebuilt, RunsOf(machine, "newfs_hfs").size()) << version;
    }
}

TEST_F(BootEvents, AVolumeThatIsNotMountedIsNotUpdated)
{
    ASSERT_EQ("", machine.SetProperty(kBackup, "IOBootDevice", MemberList({machine.EntryPath("disk0s4")})));
    ASSERT_EQ("", machine.UnmountVolume(kBackup));
    UpdateBootFilesForVolume(kTool, kBackup);
    UpdateBootFilesForVolume(kTool, "disk99s9");

    EXPECT_TRUE(NothingWasDone());
}

// It is asked for by its disk and found by where that is mounted.
TEST_F(BootEvents, AVolumeThatIsNotTheStartUpVolumeIsUpdatedFromWhereItIsMounted)
{
    InstallBootableSystem(machine, "/Volumes/Backup", "10.5.8");
    ASSERT_EQ("", machine.SetProperty(kBackup, "IOBootDevice", MemberList({machine.EntryPath("disk1s2")})));
    UpdateBootFilesForVolume(kTool, kBackup);

    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
    EXPECT_EQ(VolumeText(machine, kBackup, "UUID"), RootUUIDOn(kSecondHelper));
    EXPECT_EQ("kextcache -f -u /Volumes/Backup", LastToolRun(machine));
}

// The start-up volume

TEST_F(BootEvents, From105OnTheFirstMembersHelperBecomesTheBootDevice)
{
    for (const char* const version : {"10.5", "10.5.8", "10.5d1", "80.0"}) {
        Run(version);
        SelectBootVolume(kTool, kRAIDVolume);
        EXPECT_EQ("bless -device /dev/disk0s3 -setBoot", LastToolRun(machine)) << version;
    }
    EXPECT_EQ(4u, machine.ToolRuns().size());
}

TEST_F(BootEvents, BeforeTheSystem105TheVolumesFolderIsBlessed)
{
    for (const char* const version : {"10.4.9", "10.4.15", "10.3.9"}) {
        Run(version);
        SelectBootVolume(kTool, kBackup);
        EXPECT_EQ("bless -folder /Volumes/Backup/System/Library/CoreServices -setBoot", LastToolRun(machine))
            << version;
    }
    EXPECT_EQ(3u, machine.ToolRuns().size());
}

TEST_F(BootEvents, TheVersionThatMattersIsTheRunningSystemsAndNotTheVolumes)
{
    ASSERT_EQ("", machine.SetProperty(kBackup, "IOBootDevice", MemberList({machine.EntryPath("disk1s2")})));
    InstallSystem("/Volumes/Backup", "10.4.9");
    SelectBootVolume(kTool, kBackup);
    EXPECT_EQ("bless -device /dev/disk1s3 -setBoot", LastToolRun(machine));
    UpdateBootFilesForVolume(kTool, kBackup);
    EXPECT_TRUE(IsErasedAndEmpty(kSecondHelper));

    Run("10.4.9");
    InstallSystem("/Volumes/Backup", "10.5.8");
    SelectBootVolume(kTool, kBackup);
    EXPECT_EQ("bless -folder /Volumes/Backup/System/Library/CoreServices -setBoot", LastToolRun(machine));
    UpdateBootFilesForVolume(kTool, kBackup);
    EXPECT_EQ(1u, RunsOf(machine, "newfs_hfs").size());
}
