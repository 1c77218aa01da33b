// The real daemon and the boot helper partitions, judged by what is on the machine's disks afterwards.

#include "tests/daemon/RunningBootDaemon.h"
#include "tests/support/VersionFiles.h"

class BootEndToEnd : public TRunningBootDaemonTest
{
protected:
    // The boot device, as the system's own tool tells it.
    static std::string BootDevice()
    {
        std::string output;
        EXPECT_EQ("exited 0", RunToEnd({"/usr/sbin/bless", "bless", "-info", "-getBoot"}, &output, nullptr));
        return output;
    }

    std::string Printed() const { return daemon->Output() + daemon->Errors(); }
};

TEST_F(BootEndToEnd, WhenItStartsOwnersAreHonouredOnTheHelpers)
{
    for (const char* const helper : {kFirstHelper, kSecondHelper})
        ASSERT_EQ("", machine.SetVolumeProperty(helper, "Owners", plist::TValue::Boolean(false)));
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));

    for (const char* const helper : {kFirstHelper, kSecondHelper}) {
        EXPECT_TRUE(WaitUntil([&] { return machine.Volume(helper).Find("Owners")->boolean; })) << helper;
        EXPECT_TRUE(IsUntouched(helper)) << helper;
    }
    EXPECT_EQ("", Printed());
}

TEST_F(BootEndToEnd, AnEventOfType1RebuildsTheHelpersOfItsVolume)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    Handle({1}, kRAIDVolume);

    const std::string volume = machine.VolumeFiles(kRAIDVolume);
    for (const char* const helper : {kFirstHelper, kSecondHelper}) {
        const std::string files = machine.VolumeFiles(helper);
        EXPECT_TRUE(IsFilled(helper)) << helper;
        EXPECT_EQ(VolumeText(machine, kRAIDVolume, "UUID"), RootUUIDOn(helper));
        EXPECT_EQ(FileText(volume + "/mach_kernel"), FileText(files + "/com.apple.boot.S/mach_kernel"));
        EXPECT_EQ(FileText(volume + "/System/Library/Extensions.mkext"),
                  FileText(files + "/com.apple.boot.S/System/Library/Extensions.mkext"));
    }
    EXPECT_EQ((std::vector<std::string>{"kextcache -f -u /"}), RunsOf(machine, "kextcache"));
    EXPECT_EQ("", Printed());
}

TEST_F(BootEndToEnd, AnEventOfType2MakesTheFirstHelperTheBootDevice)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    EXPECT_EQ("exited 0",
              RunToEnd({"/usr/sbin/bless", "bless", "-device", "/dev/disk1s3", "-setBoot"}, nullptr, nullptr));
    ASSERT_EQ("/dev/disk1s3\n", BootDevice());
    Handle({2}, kRAIDVolume);

    EXPECT_EQ("/dev/disk0s3\n", BootDevice());
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_EQ("", Printed());
}

TEST_F(BootEndToEnd, BeforeTheSystem105TheVolumeItselfIsBlessedAndNoHelperIsTouched)
{
    InstallSystem("/", "10.4.11");
    InstallBootableSystem(machine, "/Volumes/Backup", "10.4.11");
    ASSERT_NO_FATAL_FAILURE(StartDaemon(0));
    ASSERT_EQ("", VolumeText(machine, kBackup, "Blessed Folder"));
    Handle({1}, kRAIDVolume);
    EXPECT_TRUE(RunsOf(machine, "newfs_hfs").empty());
    Handle({2}, kBackup);

    EXPECT_EQ("System/Library/CoreServices", VolumeText(machine, kBackup, "Blessed Folder"));
    EXPECT_EQ("/dev/disk3s3\n", BootDevice());
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
    EXPECT_TRUE(RunsOf(machine, "vsdbutil").empty());
    EXPECT_EQ("", Printed());
}

TEST_F(BootEndToEnd, AHelperThatCannotBeMountedStaysErasedWhileTheNextIsRebuilt)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "mount not-permitted\n"));
    Handle({1}, kRAIDVolume);

    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
    EXPECT_EQ(1u, RunsOf(machine, "kextcache").size());
}

TEST_F(BootEndToEnd, AMemberWhosePathNoEntryHasStopsTheWalk)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    const std::string good = machine.EntryPath("disk0s4");
    ASSERT_EQ("", machine.SetProperty(kRAIDVolume, "IOBootDevice",
                                      MemberList({good, good + "/nothing", machine.EntryPath("disk1s2")})));
    Handle({1}, kRAIDVolume);

    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
    EXPECT_TRUE(RunsOf(machine, "kextcache").empty());
}

TEST_F(BootEndToEnd, AServersSystemFillsTheHelpersToo)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    WriteVersionFile("/", "ServerVersion.plist", VersionList("<string>10.5.8</string>"));
    ASSERT_EQ(0, unlink("/System/Library/CoreServices/SystemVersion.plist"));
    Handle({1}, kRAIDVolume);

    EXPECT_EQ(1u, FilesOn(machine, kSecondHelper).count("System/Library/CoreServices/ServerVersion.plist"));
    EXPECT_EQ(1u, FilesOn(machine, kSecondHelper).count("com.apple.boot.S/System/Library/Extensions.mkext"));
    // cp has said of the other that it is not there.
    EXPECT_NE(std::string::npos, daemon->Errors().find("SystemVersion.plist"));
}

TEST_F(BootEndToEnd, EventsForClientsWaitForBootEventsBeforeThem)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    Handle({1, 2, 1}, kRAIDVolume);

    EXPECT_EQ(4u, RunsOf(machine, "newfs_hfs").size());
    EXPECT_EQ(1u, RunsOf(machine, "bless").size());
    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
}
