#include "services/BootDevice.h"
#include "platform/PropertyList.h"
#include "services/ScopedIOObject.h"
#include "tests/services/BootTools.h"
#include "tests/support/Faults.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

class BootDevice : public TBootToolTest
{
};

// Reading the firmware

TEST_F(BootDevice, AnOpenFirmwarePathLeadsToItsService)
{
    const TScopedIOObject controller(
        GetIOKitObjectWithOpenFirmwarePath("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@1"));
    ASSERT_TRUE(controller);
    io_name_t name = "";
    EXPECT_EQ(KERN_SUCCESS, IORegistryEntryGetName(controller.Get(), name));
    EXPECT_STREQ("k2-sata", name);

    io_string_t path = "";
    EXPECT_EQ(KERN_SUCCESS, IORegistryEntryGetPath(controller.Get(), "IOService", path));
    EXPECT_NE(nullptr, strstr(path, "k2-sata@1")) << path;
}

TEST_F(BootDevice, AnOpenFirmwarePathToNothingHasNoService)
{
    EXPECT_EQ(0u, GetIOKitObjectWithOpenFirmwarePath("/ht@0,f2000000/pci@9"));
}

TEST_F(BootDevice, WithoutAMatchingDictionaryThereIsNoService)
{
    const TFault fault("IOOpenFirmwarePathMatching", {0, 0});

    EXPECT_EQ(0u, GetIOKitObjectWithOpenFirmwarePath("/ht@0,f2000000/pci@7"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(BootDevice, TheBootPathIsTheFirmwaresBootDevice)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::String("hd:3,\\\\:tbxi")));
    std::vector<char> path(1024, '=');

    EXPECT_EQ(1u, GetBootPath(path.data(), 1024));
    EXPECT_STREQ("hd:3,\\\\:tbxi", path.data());
    EXPECT_EQ(std::vector<char>(1024 - 12, 0), std::vector<char>(path.begin() + 12, path.end()));
}

TEST_F(BootDevice, ABootPathLeavesTwoBytesFree)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::String("hd:3")));
    char path[8] = "=======";

    EXPECT_EQ(0u, GetBootPath(path, 5));
    EXPECT_EQ(1u, GetBootPath(path, 6));
    EXPECT_STREQ("hd:3", path);
    EXPECT_EQ('=', path[6]);
}

TEST_F(BootDevice, WithHardlyAnyRoomThereIsNoBootPath)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::String("")));
    char path[4] = "===";

    EXPECT_EQ(0u, GetBootPath(nullptr, 1024));
    EXPECT_EQ(0u, GetBootPath(path, 0));
    EXPECT_STREQ("===", path);
    EXPECT_EQ(0u, GetBootPath(path, 1));
    EXPECT_EQ(0, memcmp("\0==", path, 3));
    EXPECT_EQ(1u, GetBootPath(path, 2));
}

TEST_F(BootDevice, ABootPathThatIsNoStringIsNone)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::Data("hd:3")));
    char path[64] = "=";

    EXPECT_EQ(0u, GetBootPath(path, sizeof path));
    EXPECT_STREQ("", path);
}

TEST_F(BootDevice, ABootPathThatIsNotASCIIIsNone)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::String("hd:\xC3\xA9")));
    char path[64] = "=";

    EXPECT_EQ(0u, GetBootPath(path, sizeof path));
}

TEST_F(BootDevice, AFirmwareWithoutABootDeviceHasNoBootPath)
{
    ASSERT_EQ("", machine.RemoveDeviceTreeProperty("/options", "boot-device"));
    char path[64] = "=";

    EXPECT_EQ(0u, GetBootPath(path, sizeof path));
    EXPECT_STREQ("", path);
}

TEST_F(BootDevice, AFirmwareWithoutOptionsHasNoBootPath)
{
    const TFault fault("IORegistryEntryFromPath", {0});
    char path[64] = "=";

    EXPECT_EQ(0u, GetBootPath(path, sizeof path));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_STREQ("", path);
}

// Setting the firmware's boot device

TEST_F(BootDevice, ThePathIsPutIntoTheVariableWithNothingBetween)
{
    EXPECT_EQ(1u, SetBootPath("/ht@0,f2000000/pci@7/disk@0:3"));
    EXPECT_EQ((TArguments{"nvram", "boot-device=/ht@0,f2000000/pci@7/disk@0:3,\\\\:tbxi"}),
              OnlyRunOf("/usr/sbin/nvram"));
}

TEST_F(BootDevice, ThePlaneBeforeAPathMakesNoDifference)
{
    EXPECT_EQ(1u, SetBootPath("IODeviceTree:/pci@7/disk@0:3"));
    EXPECT_EQ((TArguments{"nvram", "boot-device=/pci@7/disk@0:3,\\\\:tbxi"}), OnlyRunOf("/usr/sbin/nvram"));
}

TEST_F(BootDevice, OnlyAWholePlaneIsTakenOffAndOnlyOnce)
{
    SetBootPath("IODeviceTree");
    EXPECT_EQ((TArguments{"nvram", "boot-device=IODeviceTree,\\\\:tbxi"}), LastArguments());
    SetBootPath("IODeviceTree:IODeviceTree:/x");
    EXPECT_EQ((TArguments{"nvram", "boot-device=IODeviceTree:/x,\\\\:tbxi"}), LastArguments());
    SetBootPath("IOService:/x");
    EXPECT_EQ((TArguments{"nvram", "boot-device=IOService:/x,\\\\:tbxi"}), LastArguments());
    SetBootPath("");
    EXPECT_EQ((TArguments{"nvram", "boot-device=,\\\\:tbxi"}), LastArguments());
}

TEST_F(BootDevice, APathMayFillTheVariableTo1056Bytes)
{
    const std::string longest = "/" + std::string(1056 - 1 - 12 - 8 - 1, 'x');

    EXPECT_EQ(1u, SetBootPath(("IODeviceTree:" + longest).c_str()));
    EXPECT_EQ((TArguments{"nvram", "boot-device=" + longest + ",\\\\:tbxi"}), OnlyRunOf("/usr/sbin/nvram"));
}

TEST_F(BootDevice, APathThatIsTooLongRunsNothing)
{
    EXPECT_EQ(0u, SetBootPath(std::string(1056 - 1 - 12 - 8 + 1, 'x').c_str()));
    EXPECT_EQ(0u, SetBootPath(std::string(5000, 'x').c_str()));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// Setting by bless

TEST_F(BootDevice, APartitionIsBlessedAsADevice)
{
    EXPECT_EQ(1u, SetBootDeviceWithBSD_Name("disk0s3"));
    EXPECT_EQ((TArguments{"bless", "-device", "/dev/disk0s3", "-setBoot"}), OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDevice, ADevicesNameIsCutTo1023Bytes)
{
    SetBootDeviceWithBSD_Name(std::string(2000, 'x').c_str());
    EXPECT_EQ((TArguments{"bless", "-device", "/dev/" + std::string(1018, 'x'), "-setBoot"}),
              OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDevice, TheRootVolumeIsBlessedByItsSystemFolder)
{
    EXPECT_EQ(1u, SetBootVolumeWithVolumePathname("/"));
    EXPECT_EQ((TArguments{"bless", "-folder", "/System/Library/CoreServices", "-setBoot"}),
              OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDevice, AnotherVolumeIsBlessedByItsOwnSystemFolder)
{
    EXPECT_EQ(1u, SetBootVolumeWithVolumePathname("/Volumes/X"));
    EXPECT_EQ((TArguments{"bless", "-folder", "/Volumes/X/System/Library/CoreServices", "-setBoot"}),
              OnlyRunOf("/usr/sbin/bless"));
}

TEST_F(BootDevice, ASlashIsPutBehindEveryPathButTheRoots)
{
    SetBootVolumeWithVolumePathname("/Volumes/X/");
    EXPECT_EQ("/Volumes/X//System/Library/CoreServices", LastArguments().at(2));
    SetBootVolumeWithVolumePathname("//");
    EXPECT_EQ("///System/Library/CoreServices", LastArguments().at(2));
    SetBootVolumeWithVolumePathname("");
    EXPECT_EQ("/System/Library/CoreServices", LastArguments().at(2));
}

TEST_F(BootDevice, AVolumesPathIsCutTo1023BytesAndItsSystemFolderIsNot)
{
    SetBootVolumeWithVolumePathname(("/" + std::string(2000, 'x')).c_str());
    EXPECT_EQ("/" + std::string(1022, 'x') + "/System/Library/CoreServices", LastArguments().at(2));
}

TEST_F(BootDevice, AVolumeIsBlessedByItsDiskWhereverItIsMounted)
{
    EXPECT_EQ(1u, SetBootVolumeWithBSD_Name("disk3s3"));
    EXPECT_EQ((TArguments{"bless", "-folder", "/Volumes/Backup/System/Library/CoreServices", "-setBoot"}),
              LastArguments());
    EXPECT_EQ(1u, SetBootVolumeWithBSD_Name("disk2s3"));
    EXPECT_EQ((TArguments{"bless", "-folder", "/System/Library/CoreServices", "-setBoot"}), LastArguments());
}

TEST_F(BootDevice, AVolumeThatIsNotMountedIsNotBlessed)
{
    EXPECT_EQ(0u, SetBootVolumeWithBSD_Name("disk0s3"));
    EXPECT_EQ(0u, SetBootVolumeWithBSD_Name("disk9"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// Everything that runs a tool to set something.
static const std::function<UInt32()> kSetters[] = {
    [] { return SetBootPath("/pci@7/disk@0:3"); }, [] { return SetBootDeviceWithBSD_Name("disk0s3"); },
    [] { return SetBootVolumeWithVolumePathname("/Volumes/X"); }, [] { return SetBootVolumeWithBSD_Name("disk2s3"); }};

TEST_F(BootDevice, OnlyAToolThatExitedWith0HasSetWhatItWasTo)
{
    for (const auto& set : kSetters) {
        LetTools("exit 0\n");
        EXPECT_EQ(1u, set());
        LetTools("exit 1\n");
        EXPECT_EQ(0u, set());
        LetTools("exit 255\n");
        EXPECT_EQ(0u, set());
        LetTools("signal 15\n");
        EXPECT_EQ(0u, set());
    }
}

TEST_F(BootDevice, WithoutAForkNothingIsSetAndNothingIsWaitedFor)
{
    for (const auto& set : kSetters) {
        const TFault fault("fork", {-1, EAGAIN});
        const TCallWatch watch("waitpid");
        EXPECT_EQ(0u, set());
        EXPECT_EQ(0u, watch.Calls());
    }
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootDevice, AMissingToolSeemsToHaveSetWhatItWasTo)
{
    ASSERT_EQ("", machine.SetToolMissing("nvram", true));
    ASSERT_EQ("", machine.SetToolMissing("bless", true));

    for (const auto& set : kSetters)
        EXPECT_EQ(1u, set());
}

TEST_F(BootDevice, AToolKeepsItsUserAndPrintsWhereTheCallerPrints)
{
    const TCallWatch pipes("pipe");
    // Called in the child, so it tells by a file.
    const TCallWatch users("setuid", [](const TCallWatch::TArguments&) { close(creat("/tmp/became-root", 0600)); });
    for (const auto& set : kSetters)
        EXPECT_EQ(1u, set());

    EXPECT_EQ(0u, pipes.Calls());
    EXPECT_NE(0, access("/tmp/became-root", F_OK));
}

// What comes of it, when the tools do their work.

class BootEffect : public TBootToolTest
{
protected:
    void SetUp() override
    {
        TBootToolTest::SetUp();
        LetTools("");
    }
};

TEST_F(BootEffect, ABootPathThatIsSetIsReadBack)
{
    EXPECT_EQ(1u, SetBootPath("IODeviceTree:/pci@f4000000/ata-6@D/disk@0:3"));
    char path[1024] = "";
    EXPECT_EQ(1u, GetBootPath(path, sizeof path));
    EXPECT_STREQ("/pci@f4000000/ata-6@D/disk@0:3,\\\\:tbxi", path);
}

TEST_F(BootEffect, APartitionThatIsBlessedIsTheFirmwaresBootDevice)
{
    EXPECT_EQ(1u, SetBootDeviceWithBSD_Name("disk1s3"));
    EXPECT_EQ("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@1/@0:3,\\\\:tbxi", machine.FirmwareVariable("boot-device"));
}

TEST_F(BootEffect, AVolumeThatIsBlessedHasASystemFolderAndIsToldOf)
{
    ASSERT_EQ(0, system("mkdir -p /Volumes/Backup/System/Library/CoreServices"));

    EXPECT_EQ(1u, SetBootVolumeWithBSD_Name("disk3s3"));
    const plist::TValue volume = machine.Volume("disk3s3");
    const plist::TValue* const folder = volume.Find("Blessed Folder");
    ASSERT_NE(nullptr, folder);
    EXPECT_EQ("System/Library/CoreServices", folder->text);
    char name[32] = "";
    EXPECT_EQ(1u, GetBootVolumeBSD_Name(name, sizeof name));
    EXPECT_STREQ("disk3s3", name);
}

TEST_F(BootEffect, AVolumeWithoutASystemFolderIsNotBlessed)
{
    const std::string before = machine.FirmwareVariable("boot-device");

    EXPECT_EQ(0u, SetBootVolumeWithBSD_Name("disk3s3"));
    EXPECT_EQ(before, machine.FirmwareVariable("boot-device"));
}

TEST_F(BootEffect, TheBootDeviceOfARAIDVolumeIsSet)
{
    SetBootDeviceWithBSD_Name("disk1s3");
    SetBootDeviceForBootRootVolume("disk2s3");

    EXPECT_EQ("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3,\\\\:tbxi", machine.FirmwareVariable("boot-device"));
}
