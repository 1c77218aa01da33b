#include "tests/platform/MountedVolumesTest.h"

#include <cstring>
#include <unistd.h>

class VolumeInfo : public TMountedVolumesTest
{
protected:
    void SetUp() override
    {
        TMountedVolumesTest::SetUp();
        EXPECT_EQ("", machine.AddVolume("disk9s1", "Data"));
        Mount("disk9s1", "/Volumes/Data 1", -103);
        EXPECT_EQ("", machine.AddVolume("disk1s9", "Windows", "msdos"));
        Mount("disk1s9", "/Volumes/Windows", -105);
    }

    // The device by which the volume goes, or its error in words.
    static std::string DeviceOf(FSVolumeRefNum number, SInt32 size, GetVolParmsInfoBuffer* buffer, SInt32* actual)
    {
        HParamBlockRec block = {};
        block.ioParam.ioVRefNum = number;
        block.ioParam.ioBuffer = reinterpret_cast<Ptr>(buffer);
        block.ioParam.ioReqCount = size;
        block.ioParam.ioResult = 77;
        const OSErr error = PBHGetVolParmsSync(&block);
        EXPECT_EQ(error, block.ioParam.ioResult);
        *actual = block.ioParam.ioActCount;
        if (error != noErr)
            return "error " + std::to_string(error);
        return buffer->vMDeviceID != nullptr ? static_cast<const char*>(buffer->vMDeviceID) : "";
    }
};

TEST_F(VolumeInfo, MountedVolumesAreCountedFromOneUntilThereIsNone)
{
    std::vector<FSVolumeRefNum> numbers;
    std::vector<std::string> names;
    std::vector<std::string> roots;
    FSVolumeRefNum number = 0;
    HFSUniStr255 name = {};
    FSRef root = {};
    ItemCount index = 1;
    OSErr error = noErr;
    while ((error = FSGetVolumeInfo(kFSInvalidVolumeRefNum, index, &number, kFSVolInfoNone, nullptr, &name, &root)) ==
           noErr) {
        numbers.push_back(number);
        names.push_back(TextOf(name));
        roots.push_back(PathOf(root));
        ++index;
    }

    EXPECT_EQ(nsvErr, error);
    EXPECT_EQ((std::vector<FSVolumeRefNum>{-100, -103, -105}), numbers);
    ASSERT_EQ(3u, names.size());
    EXPECT_EQ("Data", names[1]);   // the volume's own, not its mount point's
    EXPECT_EQ("Windows", names[2]);
    EXPECT_EQ((std::vector<std::string>{"/", "/Volumes/Data 1", "/Volumes/Windows"}), roots);
}

TEST_F(VolumeInfo, ARootComparesEqualToItsMountPointAlone)
{
    ASSERT_EQ(0, mkdir("/Volumes/Data 1/below", 0777));
    FSRef root = {};
    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 2, nullptr, kFSVolInfoNone, nullptr, nullptr, &root));

    const FSRef same = ReferenceTo("/Volumes/Data 1/");
    EXPECT_EQ(noErr, FSCompareFSRefs(&root, &same));
    for (const char* path : {"/Volumes/Data 1/below", "/Volumes", "/", "/Volumes/Windows"}) {
        const FSRef other = ReferenceTo(path);
        EXPECT_NE(noErr, FSCompareFSRefs(&root, &other)) << path;
    }
}

TEST_F(VolumeInfo, TheStartUpVolumeIsAlsoWhatItsLinkAmongTheVolumesLeadsTo)
{
    ASSERT_EQ(0, symlink("/", "/Volumes/A link to the start-up volume"));
    FSRef root = {};
    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 1, nullptr, kFSVolInfoNone, nullptr, nullptr, &root));

    const FSRef byLink = ReferenceTo("/Volumes/A link to the start-up volume");
    EXPECT_EQ(noErr, FSCompareFSRefs(&root, &byLink));
}

TEST_F(VolumeInfo, AVolumeIsAlsoFoundByItsNumber)
{
    FSVolumeRefNum number = 0;
    HFSUniStr255 name = {};
    EXPECT_EQ(noErr, FSGetVolumeInfo(-103, 0, &number, kFSVolInfoNone, nullptr, &name, nullptr));
    EXPECT_EQ(-103, number);
    EXPECT_EQ("Data", TextOf(name));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(-104, 0, &number, kFSVolInfoNone, nullptr, nullptr, nullptr));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(0, 0, &number, kFSVolInfoNone, nullptr, nullptr, nullptr));
    EXPECT_EQ(-103, number);
}

TEST_F(VolumeInfo, AVolumeWhoseMountPointIsGoneDoesNotCount)
{
    ASSERT_EQ(0, rmdir("/Volumes/Data 1"));

    FSVolumeRefNum number = 0;
    EXPECT_EQ(noErr, FSGetVolumeInfo(0, 2, &number, kFSVolInfoNone, nullptr, nullptr, nullptr));
    EXPECT_EQ(-105, number);
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(0, 3, nullptr, kFSVolInfoNone, nullptr, nullptr, nullptr));
}

TEST_F(VolumeInfo, OnlyWhatIsAskedForIsFilled)
{
    FSVolumeInfo info;
    memset(&info, 77, sizeof info);
    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 2, nullptr, kFSVolInfoFSInfo, &info, nullptr, nullptr));
    EXPECT_EQ(0x482b, info.signature);
    EXPECT_EQ(0, info.filesystemID);
    EXPECT_EQ(0x4d4d4d4d4d4d4d4dull, UInt64{info.totalBytes});

    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 3, nullptr, kFSVolInfoSizes, &info, nullptr, nullptr));
    EXPECT_NE(0x4d4d4d4d4d4d4d4dull, UInt64{info.totalBytes});
    EXPECT_LE(UInt64{info.freeBytes}, UInt64{info.totalBytes});
    EXPECT_EQ(0x482b, info.signature);
    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 3, nullptr, kFSVolInfoFSInfo, &info, nullptr, nullptr));
    EXPECT_EQ(0, info.signature);
    EXPECT_EQ(77, info.flags >> 8);
    EXPECT_EQ(errFSBadInfoBitmap, FSGetVolumeInfo(0, 3, nullptr, 0x10000, &info, nullptr, nullptr));
}

TEST_F(VolumeInfo, TheDeviceOfAVolumeIsReachableWithARequestOf32Bytes)
{
    GetVolParmsInfoBuffer buffer = {};
    SInt32 actual = 0;
    EXPECT_EQ("disk9s1", DeviceOf(-103, 32, &buffer, &actual));
    EXPECT_EQ(32, actual);
    EXPECT_EQ(255u, UniCharCount{buffer.vMMaxNameLength});

    // The text stays, and stays the same.
    GetVolParmsInfoBuffer again = {};
    EXPECT_EQ("disk2s3", DeviceOf(-100, 32, &again, &actual));
    EXPECT_STREQ("disk9s1", static_cast<const char*>(buffer.vMDeviceID));
}

TEST_F(VolumeInfo, AShorterRequestEndsAtAField)
{
    GetVolParmsInfoBuffer buffer = {};
    SInt32 actual = 0;
    EXPECT_EQ("disk9s1", DeviceOf(-103, 31, &buffer, &actual));
    EXPECT_EQ(28, actual);
    EXPECT_EQ(0u, UniCharCount{buffer.vMMaxNameLength});
    buffer = {};
    EXPECT_EQ("", DeviceOf(-103, 27, &buffer, &actual));
    EXPECT_EQ(24, actual);
    EXPECT_EQ(5, buffer.vMVersion);
}

TEST_F(VolumeInfo, NoSuchVolumeHasNoDevice)
{
    GetVolParmsInfoBuffer buffer = {};
    SInt32 actual = 0;
    EXPECT_EQ("error -35", DeviceOf(-104, 32, &buffer, &actual));
    EXPECT_EQ("error -50", DeviceOf(-103, 32, nullptr, &actual));
    EXPECT_EQ(paramErr, PBHGetVolParmsSync(nullptr));
}

// What init mounts is what the File Manager finds.
class MountedByInit : public TMachineTest
{
};

TEST_F(MountedByInit, AVolumeIsFoundUntilItIsUnmounted)
{
    ASSERT_EQ("", machine.AddMedium("disk7s2", "", 1 << 20, false));
    ASSERT_EQ("", machine.AddVolume("disk7s2", "To/day"));
    ASSERT_EQ("", machine.MountVolume("disk7s2"));
    FSRef wanted = {};
    ASSERT_EQ(noErr,
              FSPathMakeRef(reinterpret_cast<const UInt8*>(machine.MountPath("disk7s2").c_str()), &wanted, nullptr));

    ItemCount index = 1;
    HFSUniStr255 name = {};
    FSVolumeRefNum number = 0;
    FSRef root = {};
    while (FSGetVolumeInfo(0, index, &number, kFSVolInfoNone, nullptr, &name, &root) == noErr &&
           FSCompareFSRefs(&root, &wanted) != noErr)
        ++index;
    EXPECT_EQ("To/day", std::string(name.unicode, name.unicode + name.length));
    EXPECT_LT(number, -100);

    ASSERT_EQ("", machine.UnmountVolume("disk7s2"));
    EXPECT_EQ(nsvErr, FSGetVolumeInfo(number, 0, nullptr, kFSVolInfoNone, nullptr, nullptr, nullptr));
}

TEST_F(MountedByInit, TheStartUpVolumeIsTheFirst)
{
    FSVolumeRefNum number = 0;
    FSRef root = {};
    ASSERT_EQ(noErr, FSGetVolumeInfo(0, 1, &number, kFSVolInfoNone, nullptr, nullptr, &root));
    FSRef slash = {};
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), &slash, nullptr));

    EXPECT_EQ(-100, number);
    EXPECT_EQ(noErr, FSCompareFSRefs(&slash, &root));
}
