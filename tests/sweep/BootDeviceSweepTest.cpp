// Every call that the functions of services/BootDevice.h and services/BootMembers.h make, failing once.

#include "foundation/ScopedCFType.h"
#include "services/BootDevice.h"
#include "services/BootMembers.h"
#include "services/ScopedIOObject.h"
#include "tests/sweep/Operation.h"

#include <cstring>

// nvram and bless are run, and wait for nobody's start-up disk: they exit with 0. A tool that cannot be executed reads as
// one that did its work.
class SweptBootDevice : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.SetToolBehaviour("nvram", "exit 0\n"));
        ASSERT_EQ("", machine.SetToolBehaviour("bless", "exit 0\n"));
    }

    // A tool that is to set something, for which all that is needed must be had.
    static TOperation SettingTool(const char* name, std::function<std::string()> work)
    {
        TOperation operation(name, std::move(work));
        operation.Gives("1").GivesOnFailure("0").DespiteFailureOf({"close", "execv", "setuid"});
        return operation;
    }

    // What bless was told since this was asked last: the device or folder; "nothing" when it was not run.
    std::string LastBlessed()
    {
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        const std::string last = runs.size() > fRuns ? runs.back().arguments.at(2) : "nothing";
        fRuns = runs.size();
        return last;
    }

    std::string EntryPath(const char* name) const { return machine.EntryPath(name); }

private:
    std::size_t fRuns = 0;
};

TEST_F(SweptBootDevice, APathThatCannotBeFollowedLeadsToNoObject)
{
    TOperation("GetIOKitObjectWithOpenFirmwarePath",
               [] {
                   const TScopedIOObject object(
                       GetIOKitObjectWithOpenFirmwarePath("/ht@0,f2000000/pci@7/k2-sata-root@C"));
                   return object ? "object" : "0";
               })
        .Gives("object")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptBootDevice, ABootPathThatCannotBeReadIsEmpty)
{
    char clean[256];
    ASSERT_EQ(1u, GetBootPath(clean, sizeof clean));
    TOperation("GetBootPath",
               [] {
                   char path[256] = "before";
                   const UInt32 result = GetBootPath(path, sizeof path);
                   return Text(result) + " " + path;
               })
        .Gives(std::string("1 ") + clean)
        .GivesOnFailure("0 ")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptBootDevice, WhatCannotBeSetIsReportedAsFailed)
{
    SettingTool("SetBootPath", [] { return Text(SetBootPath("/ht/pci@7/k2-sata-root@C")); }).Sweep();
    SettingTool("SetBootDeviceWithBSD_Name", [] { return Text(SetBootDeviceWithBSD_Name("disk0s3")); }).Sweep();
    SettingTool("SetBootVolumeWithVolumePathname", [] { return Text(SetBootVolumeWithVolumePathname("/")); }).Sweep();
    SettingTool("SetBootVolumeWithBSD_Name", [] { return Text(SetBootVolumeWithBSD_Name("disk2s3")); }).Sweep();
}

TEST_F(SweptBootDevice, ABootVolumeThatCannotBeReadHasNoName)
{
    ASSERT_EQ("", machine.SetToolBehaviour("bless", ""));
    TOperation("GetBootVolumeBSD_Name",
               [] {
                   char name[32] = "before";
                   const UInt32 result = GetBootVolumeBSD_Name(name, sizeof name);
                   return Text(result) + " " + name;
               })
        .Gives("1 disk0s3")
        .GivesOnFailure("0 ")
        .GivesOnFailureOf("execv", "0 , in a child: 0 ")
        .GivesOnFailureOf("read", "1 disk0s3", kByCaller, 2)   // what is behind the list is of no interest
        .DespiteFailureOf({"CFPropertyListIsValid", "close", "fcntl"})
        .Sweep();
}

TEST_F(SweptBootDevice, TheNameOfAPartitionWithoutAMapStaysAsItIs)
{
    const TScopedIOObject partition(IORegistryEntryFromPath(kIOMasterPortDefault, EntryPath("disk1s2").c_str()));
    TOperation("GetBSDSliceNumberForAppleBootPartition",
               [&] {
                   char name[32] = "disk1s2";
                   GetBSDSliceNumberForAppleBootPartition(partition.Get(), name);
                   return std::string(name);
               })
        .Gives("disk1s3")
        .GivesOnFailure("disk1s2")
        .Sweep();
}

TEST_F(SweptBootDevice, ABootDeviceOfWhichAPartIsMissingIsNotSet)
{
    TOperation("SetBootDeviceForBootRootVolume",
               [] {
                   SetBootDeviceForBootRootVolume("disk2s3");
                   return "bless";
               })
        .Showing([this] { return LastBlessed(); })
        .Gives("bless /dev/disk0s3")
        .GivesOnFailure("bless nothing")
        .DespiteFailureOf({"IOObjectRelease", "close", "waitpid"})
        .Sweep();
}

TEST_F(SweptBootDevice, MembersThatCannotBeReadAreNone)
{
    const TScopedIOObject volume(IORegistryEntryFromPath(kIOMasterPortDefault, EntryPath("disk2s3").c_str()));
    TOperation("CreateBootMemberList",
               [&] {
                   const TScopedCFType members(CreateBootMemberList(volume.Get()));
                   return members ? Text(CFArrayGetCount(members.Get())) : "none";
               })
        .Gives("2")
        .GivesOnFailure("none")
        .Sweep();

    const TScopedCFType members(CreateBootMemberList(volume.Get()));
    TOperation("FindBootHelperPartition",
               [&] {
                   char name[kBootHelperNameSize] = "";
                   return std::string(FindBootHelperPartition(CFArrayGetValueAtIndex(members.Get(), 1), name) ? name
                                                                                                              : "none");
               })
        .Gives("disk1s3")
        .GivesOnFailure("none")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}
