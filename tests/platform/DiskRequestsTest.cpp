#include "tests/platform/DiskRequestsTest.h"

#include <chrono>
#include <fstream>

// What is asked for is done, or refused.
class DiskRequests : public TDiskRequestsTest
{
};

TEST_F(DiskRequests, AVolumeIsMountedAtItsStandardPlace)
{
    EXPECT_EQ("disk8s2: done", Mount());
    EXPECT_EQ("/Volumes/Data", machine.MountPath("disk8s2"));
    EXPECT_EQ(TWords{}, Options());
}

TEST_F(DiskRequests, ArgumentsBecomeOptionsOfTheMount)
{
    EXPECT_EQ("disk8s2: done", MountWith({CFSTR("perm"), CFSTR("nobrowse")}));
    EXPECT_EQ((TWords{"perm", "nobrowse"}), Options());
}

TEST_F(DiskRequests, OneArgumentMayHoldSeveralOptions)
{
    EXPECT_EQ("disk8s2: done", MountWith({CFSTR("perm,rdonly"), CFSTR(""), CFSTR("nobrowse,")}));
    EXPECT_EQ((TWords{"perm", "rdonly", "nobrowse"}), Options());
}

TEST_F(DiskRequests, AnArgumentWithALineFeedIsRefusedAndNothingIsMounted)
{
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBadArgument), MountWith({CFSTR("perm\nforce")}));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, WhatIsMountedAlreadyIsBusy)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Mount());
}

TEST_F(DiskRequests, ADiskWithoutFileSystemCannotBeMounted)
{
    EXPECT_EQ("disk8: " + NameOf(kDAReturnUnsupported), Mount("disk8"));
}

TEST_F(DiskRequests, ADiskThatIsNotThereIsNotFound)
{
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Mount("disk77"));
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Unmount(0, "disk77"));
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Rename("New", "disk77"));
}

TEST_F(DiskRequests, ADiskThatWasSwappedIsAskedForByItsName)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    ASSERT_EQ("", machine.RemoveMedium("disk8s2"));
    ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 99, false));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ("disk8s2: done", RunUntilAnswered(1).back());
    Unschedule(session.Get());
}

TEST_F(DiskRequests, APathAndOptionsThatAreNotKnownAreRefused)
{
    const TScoped<CFURLRef> path(
        CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>("/tmp"), 4, true));
    const std::string refused = "disk8s2: " + NameOf(kDAReturnUnsupported);
    EXPECT_EQ(refused, AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskMount(disk, path.Get(), 0, Answered, this); }));
    EXPECT_EQ(refused, AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskMount(disk, nullptr, 1, Answered, this); }));
    EXPECT_EQ(refused, Unmount(1));
    EXPECT_EQ(refused,
              AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskRename(disk, CFSTR("New"), 1, Answered, this); }));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, AMountedVolumeIsUnmounted)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: done", Unmount());
    EXPECT_EQ("", machine.MountPath("disk8s2"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotMounted), Unmount());
}

TEST_F(DiskRequests, AVolumeWithOpenFilesIsUnmountedByForceAlone)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    std::ofstream file("/Volumes/Data/open");
    ASSERT_TRUE(file.is_open());
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Unmount());
    EXPECT_NE("", machine.MountPath("disk8s2"));
    EXPECT_EQ("disk8s2: done", Unmount(kDADiskUnmountOptionForce));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, AMountedVolumeIsRenamed)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: done", Rename("Other"));
    EXPECT_EQ("/Volumes/Other", machine.MountPath("disk8s2"));
    EXPECT_EQ("Other", machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, ANameMayHoldAnyCharacter)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    const std::string name = "Tr\xC3\xA4ume\\x41 & \"more\"";
    EXPECT_EQ("disk8s2: done", Rename(name));
    EXPECT_EQ(name, machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, WhatIsNotMountedCannotBeRenamed)
{
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotMounted), Rename("Other"));
    EXPECT_EQ("Data", machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, AMachineMayRefuseWithEveryStatus)
{
    const TWords reasons = {"error",          "busy",      "bad-argument", "exclusive-access",
                            "no-resources",   "not-found", "not-mounted",  "not-permitted",
                            "not-privileged", "not-ready", "not-writable", "unsupported"};
    for (size_t i = 0; i < reasons.size(); ++i) {
        ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount " + reasons[i] + "\n"));
        EXPECT_EQ("disk8s2: dissent " + std::to_string(i + 1), Mount()) << reasons[i];
    }
    EXPECT_EQ("", machine.MountPath("disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", ""));
    EXPECT_EQ("disk8s2: done", Mount());
}

TEST_F(DiskRequests, ARefusalIsOfOneKindOfRequest)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "rename not-permitted\n"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotPermitted), Rename("Other"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "unmount not-ready\n"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotReady), Unmount());
    EXPECT_EQ("disk8s2: done", Rename("Other"));
    EXPECT_EQ("/Volumes/Other", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, ADelayPutsOffTheAnswerAndNotTheWork)
{
    using TClock = std::chrono::steady_clock;
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "delay 700\n"));
    const TClock::time_point start = TClock::now();
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_TRUE(WaitUntil([&] { return !machine.MountPath("disk8s2").empty(); }));
    EXPECT_EQ("disk8s2: done", RunUntilAnswered(1).back());
    EXPECT_LE(std::chrono::milliseconds(700), TClock::now() - start);
    Unschedule(session.Get());
}

TEST_F(DiskRequests, ARefusalMayComeLate)
{
    using TClock = std::chrono::steady_clock;
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 300\n"));
    const TClock::time_point start = TClock::now();
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Mount());
    EXPECT_LE(std::chrono::milliseconds(300), TClock::now() - start);
}

TEST_F(DiskRequests, AShortDelayIsOverBeforeALongOne)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 1000, true));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 1500\n"));
    ASSERT_EQ("", machine.SetRefusals("disk9", "mount busy\ndelay 100\n"));
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> slow(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    const TScoped<DADiskRef> quick(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk9"));
    Schedule(session.Get());
    DADiskMount(slow.Get(), nullptr, 0, Answered, this);
    DADiskMount(quick.Get(), nullptr, 0, Answered, this);
    const std::string busy = NameOf(kDAReturnBusy);
    EXPECT_EQ((TWords{"disk9: " + busy, "disk8s2: " + busy}), RunUntilAnswered(2));
    Unschedule(session.Get());
}
