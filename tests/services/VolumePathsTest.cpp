#include "services/VolumePaths.h"
#include "foundation/ScopedCFType.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

// The machine started from disk2s3; Backup, on disk3s3, is mounted beside it. The boot helper partitions are not.
class VolumePaths : public TMachineTest
{
protected:
    // The device of a volume, "-" when there is none. The whole buffer is cleared in either case.
    static std::string DeviceOf(const std::string& volume)
    {
        std::vector<char> name(64, '=');
        const UInt32 found = ExtractBSDNameFromVolumeName(volume.c_str(), name.data(), name.size());
        const auto end = std::find(name.begin(), name.end(), 0);
        EXPECT_TRUE(std::all_of(end, name.end(), [](char byte) { return byte == 0; })) << volume;
        if (found == 0) {
            EXPECT_STREQ("", name.data()) << volume;
            return "-";
        }
        EXPECT_EQ(1u, found) << volume;
        return name.data();
    }

    // Where a disk is mounted, "-" when it is not.
    static std::string PathOf(const char* bsdName)
    {
        char path[1024] = "";
        const UInt32 found = GetVolumePathnameWithBSDName(bsdName, path, sizeof path);
        return found == 1 ? path : "-";
    }
};

TEST_F(VolumePaths, AVolumeIsFoundByItsMountPath)
{
    EXPECT_EQ("disk2s3", DeviceOf("/"));
    EXPECT_EQ("disk3s3", DeviceOf("/Volumes/Backup"));
    EXPECT_EQ("disk3s3", DeviceOf("/Volumes/Backup/"));
}

TEST_F(VolumePaths, AVolumeIsFoundByItsNameAlone)
{
    EXPECT_EQ("disk3s3", DeviceOf("Backup"));
    EXPECT_EQ("disk2s3", DeviceOf("Macintosh RAID"));
}

TEST_F(VolumePaths, WhatLiesInAVolumeIsNotTheVolume)
{
    ASSERT_EQ(0, mkdir("/Volumes/Backup/Folder", 0755));

    EXPECT_EQ("-", DeviceOf("/Volumes/Backup/Folder"));
    EXPECT_EQ("-", DeviceOf("Backup/Folder"));
    EXPECT_EQ("-", DeviceOf("/Volumes"));
    EXPECT_EQ("-", DeviceOf("/tmp"));
}

TEST_F(VolumePaths, WhatIsNowhereIsNoVolume)
{
    EXPECT_EQ("-", DeviceOf("Nowhere"));
    EXPECT_EQ("-", DeviceOf("/Volumes/Nowhere"));
    EXPECT_EQ("-", DeviceOf("disk3s3"));
}

TEST_F(VolumePaths, AVolumeThatIsUnmountedIsFoundNoMore)
{
    ASSERT_EQ("", machine.UnmountVolume("disk3s3"));

    EXPECT_EQ("-", DeviceOf("Backup"));
}

TEST_F(VolumePaths, ANameThatIsTooLongForAPathIsNotCut)
{
    // Cut to 1023 bytes this is "/Volumes/" and so many slashes, which is no volume, or with a volume in front one.
    const std::string path = "Backup" + std::string(1023 - 9 - 6, '/');

    EXPECT_EQ("disk3s3", DeviceOf(path));
    EXPECT_EQ("-", DeviceOf(path + "Folder"));
}

TEST_F(VolumePaths, ADeviceIsCutToTheRoomForIt)
{
    char name[10] = "=========";

    EXPECT_EQ(1u, ExtractBSDNameFromVolumeName("Backup", name, 6));
    EXPECT_EQ(0, memcmp("disk3\0===", name, 9));
}

TEST_F(VolumePaths, WithoutRoomTheDeviceIsFoundButNotWritten)
{
    char name[10] = "=========";

    EXPECT_EQ(1u, ExtractBSDNameFromVolumeName("Backup", name, 0));
    EXPECT_STREQ("=========", name);
}

TEST_F(VolumePaths, VolumesAreAskedForFromTheFirstOn)
{
    std::vector<long> asked;
    const TCallWatch watch("FSGetVolumeInfo",
                           [&](const TCallWatch::TArguments& arguments) { asked.push_back(arguments[1]); });

    EXPECT_EQ("disk2s3", DeviceOf("/"));
    EXPECT_EQ((std::vector<long>{1}), asked);
    EXPECT_EQ("-", DeviceOf("/tmp"));
    ASSERT_GE(asked.size(), 4u);
    for (std::size_t i = 1; i < asked.size(); ++i)
        EXPECT_EQ(static_cast<long>(i), asked[i]);
}

TEST_F(VolumePaths, TheVolumesEndAtTheFirstThatFails)
{
    const TFault fault("FSGetVolumeInfo", {nsvErr}, 1, 1);
    const TCallWatch watch("FSGetVolumeInfo");

    EXPECT_EQ("-", DeviceOf("/"));
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(VolumePaths, AVolumeWithoutParametersHasNoDevice)
{
    const TFault fault("PBHGetVolParmsSync", {nsvErr});

    EXPECT_EQ("-", DeviceOf("/"));
    EXPECT_EQ(1u, fault.Reached());
}

// It succeeds and fills nothing in, as for a volume from a server.
TEST_F(VolumePaths, AVolumeWhoseParametersNameNoDeviceHasNone)
{
    const TFault fault("PBHGetVolParmsSync", {noErr});

    EXPECT_EQ("-", DeviceOf("/"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(VolumePaths, AMountedDiskHasAPath)
{
    EXPECT_EQ("/", PathOf("disk2s3"));
    EXPECT_EQ("/Volumes/Backup", PathOf("disk3s3"));
}

TEST_F(VolumePaths, ADiskThatIsNotMountedHasNoPath)
{
    EXPECT_EQ("-", PathOf("disk0s3"));
    EXPECT_EQ("-", PathOf("disk0"));
    EXPECT_EQ("-", PathOf("disk9"));
    ASSERT_EQ("", machine.UnmountVolume("disk3s3"));
    EXPECT_EQ("-", PathOf("disk3s3"));
}

TEST_F(VolumePaths, APathMustFitWithItsNul)
{
    char path[32] = "";

    EXPECT_EQ(0u, GetVolumePathnameWithBSDName("disk3s3", path, 15));
    EXPECT_EQ(1u, GetVolumePathnameWithBSDName("disk3s3", path, 16));
    EXPECT_STREQ("/Volumes/Backup", path);
}

TEST_F(VolumePaths, WithoutEachOfWhatDiskArbitrationMakesThereIsNoPath)
{
    for (const char* function : {"DASessionCreate", "DADiskCreateFromBSDName", "DADiskCopyDescription"}) {
        const TFault fault(function, {0, 0});
        EXPECT_EQ("-", PathOf("disk2s3")) << function;
        EXPECT_EQ(1u, fault.Reached()) << function;
    }
}

TEST_F(VolumePaths, APathThatIsNoURLIsNone)
{
    const void* key = kDADiskDescriptionVolumePathKey;
    const void* value = CFSTR("/Volumes/Backup");
    const CFDictionaryRef description = CFDictionaryCreate(
        kCFAllocatorDefault, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const TFault fault("DADiskCopyDescription", {reinterpret_cast<long>(description)});

    EXPECT_EQ("-", PathOf("disk3s3"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(VolumePaths, TheBytesOfAVolumeAreThoseOfItsMedium)
{
    EXPECT_EQ(249556033536u, NumberBytesInVolumeIOMedia("/"));
    EXPECT_EQ(119000000000u, NumberBytesInVolumeIOMedia("/Volumes/Backup"));
    EXPECT_EQ(119000000000u, NumberBytesInVolumeIOMedia("Backup"));
}

TEST_F(VolumePaths, WhatIsNoVolumeHasNoBytes)
{
    EXPECT_EQ(0u, NumberBytesInVolumeIOMedia("Nowhere"));
    EXPECT_EQ(0u, NumberBytesInVolumeIOMedia("/Volumes"));
    EXPECT_EQ(0u, NumberBytesInVolumeIOMedia(""));
}
