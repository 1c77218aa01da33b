#include "services/SystemVersion.h"

#include "foundation/NumVersions.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/VersionFiles.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

static const std::string kSystemVolume = "/tmp/volume";

// The version that is found, or what stands for a call that did not write it.
static UInt32 VersionOn(const std::string& volume)
{
    NumVersion version = ReturnNumVersionOfNumber(0x77777777);
    EXPECT_EQ(&version, ReturnSystemVersionOnVolume(&version, volume.c_str()));
    return ReturnNumberOfNumVersion(version);
}

class SystemVersion : public TMachineTest
{
protected:
    // What is found when the file has these bytes.
    UInt32 VersionFor(const std::string& bytes)
    {
        WriteVersionFile(kSystemVolume, "SystemVersion.plist", bytes);
        return VersionOn(kSystemVolume);
    }
};

TEST_F(SystemVersion, TheStartUpVolumeHasTheMachinesSystem)
{
    EXPECT_EQ(0x10588000u, VersionOn("/"));
}

TEST_F(SystemVersion, ASlashAtTheEndOfTheVolumesPathMakesNoDifference)
{
    InstallSystem(kSystemVolume, "10.4.11");

    EXPECT_EQ(0x104B8000u, VersionOn(kSystemVolume));
    EXPECT_EQ(0x104B8000u, VersionOn(kSystemVolume + "/"));
}

// "" + "/System/..." is the start-up volume's.
TEST_F(SystemVersion, AnEmptyPathIsTheRoot)
{
    EXPECT_EQ(0x10588000u, VersionOn(""));
}

TEST_F(SystemVersion, AServersVersionFileIsTheSecondChoice)
{
    WriteVersionFile(kSystemVolume, "ServerVersion.plist", VersionList("<string>10.3.9</string>"));
    EXPECT_EQ(0x10398000u, VersionOn(kSystemVolume));
    EXPECT_EQ(0x10398000u, VersionOn(kSystemVolume + "/"));

    InstallSystem(kSystemVolume, "10.4");
    EXPECT_EQ(0x10408000u, VersionOn(kSystemVolume));
}

TEST_F(SystemVersion, AFirstChoiceOfNoUseDoesNotMakeTheSecondCount)
{
    WriteVersionFile(kSystemVolume, "ServerVersion.plist", VersionList("<string>10.3.9</string>"));

    EXPECT_EQ(0u, VersionFor("no property list"));
    EXPECT_EQ(0u, VersionFor(VersionList("<string>ten</string>")));
}

TEST_F(SystemVersion, AVolumeWithoutASystemHasNoVersion)
{
    ASSERT_EQ(0, mkdir(kSystemVolume.c_str(), 0755));

    EXPECT_EQ(0u, VersionOn(kSystemVolume));
    EXPECT_EQ(0u, VersionOn("/tmp/nothing"));
}

TEST_F(SystemVersion, WhatIsNoDictionaryWithAVersionHasNone)
{
    const std::string before = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";
    EXPECT_EQ(0u, VersionFor(""));
    EXPECT_EQ(0u, VersionFor(before));
    EXPECT_EQ(0u, VersionFor(before + "<string>10.5</string></plist>"));
    EXPECT_EQ(0u, VersionFor(before + "<array><string>10.5</string></array></plist>"));
    EXPECT_EQ(0u, VersionFor(before + "<dict/></plist>"));
    EXPECT_EQ(0u, VersionFor(VersionList("<integer>10</integer>")));
    EXPECT_EQ(0u, VersionFor(VersionList("<data>MTAuNQ==</data>")));
}

TEST_F(SystemVersion, WhatIsNoVersionIsNone)
{
    EXPECT_EQ(0u, VersionFor(VersionList("<string></string>")));
    EXPECT_EQ(0u, VersionFor(VersionList("<string>10.5.</string>")));
    EXPECT_EQ(0u, VersionFor(VersionList("<string>Tiger</string>")));
}

// "10.4 7" is 10.4 as well, whatever comes behind the digit: the texts differ in nothing but their length.
TEST_F(SystemVersion, AVersionHasAtMost15Bytes)
{
    EXPECT_EQ(0x10408000u, VersionFor(VersionList("<string>10.4 7777777777</string>")));
    EXPECT_EQ(0u, VersionFor(VersionList("<string>10.4 77777777777</string>")));
}

// In Mac Roman an e with an acute accent is one byte, in UTF-8 it is two; in ASCII it is none.
TEST_F(SystemVersion, TheBytesAreThoseOfTheSystemsEncoding)
{
    EXPECT_EQ(0x10408000u, VersionFor(VersionList("<string>10.4 777777777\xC3\xA9</string>")));
}

TEST_F(SystemVersion, AFileThatCannotBeReadHasNoVersion)
{
    InstallSystem(kSystemVolume, "10.4.11");
    {
        const TFault fault("open", {-1, EACCES});
        EXPECT_EQ(0u, VersionOn(kSystemVolume));
        EXPECT_EQ(1u, fault.Reached());
    }
    {
        const TFault fault("read", {-1, EIO});
        EXPECT_EQ(0u, VersionOn(kSystemVolume));
    }
    const TFault fault("operator new[] nothrow", {0, 0});
    EXPECT_EQ(0u, VersionOn(kSystemVolume));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(SystemVersion, AFileThatBecameShorterHasNoVersion)
{
    InstallSystem(kSystemVolume, "10.4.11");
    const TStatEdit edit([](const char*, struct stat* info) { ++info->st_size; });

    EXPECT_EQ(0u, VersionOn(kSystemVolume));
}

TEST_F(SystemVersion, AFolderInPlaceOfTheFileHasNoVersion)
{
    WriteVersionFile(kSystemVolume, "other", "");
    ASSERT_EQ(0, mkdir((kSystemVolume + "/System/Library/CoreServices/SystemVersion.plist").c_str(), 0755));

    EXPECT_EQ(0u, VersionOn(kSystemVolume));
}

// A list and a complaint about it: what the parser may hand out is not believed.
TEST_F(SystemVersion, AListWithAComplaintHasNoVersion)
{
    InstallSystem(kSystemVolume, "10.4.11");
    const void* keys[] = {CFSTR("ProductVersion")};
    const void* values[] = {CFSTR("10.4.11")};
    const CFDictionaryRef list = CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                                    &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    {
        const TFault fault("CFPropertyListCreateFromXMLData", {reinterpret_cast<long>(list), 0});
        const TCallWatch watch("CFPropertyListCreateFromXMLData", [](const TCallWatch::TArguments& arguments) {
            *reinterpret_cast<CFStringRef*>(arguments[3]) =
                CFStringCreateWithCString(kCFAllocatorDefault, "line 1 is strange", kCFStringEncodingASCII);
        });
        EXPECT_EQ(0u, VersionOn(kSystemVolume));
    }
}

// Makes folders in /tmp, and returns a path of that many bytes for something in the last of them.
static std::string MakeLongPath(std::size_t length)
{
    std::string path = "/tmp";
    while (path.size() + 202 < length) {
        path += "/" + std::string(200, 'v');
        EXPECT_EQ(0, mkdir(path.c_str(), 0755));
    }
    return path + "/" + std::string(length - path.size() - 1, 'v');
}

// The longest path that fits takes 1,023 bytes and its NUL.
TEST_F(SystemVersion, APathThatIsTooLongIsNotCut)
{
    const std::string file = "/System/Library/CoreServices/SystemVersion.plist";
    const std::string volume = MakeLongPath(1023 - file.size());
    InstallSystem(volume, "10.4.11");
    EXPECT_EQ(0x104B8000u, VersionOn(volume));

    // Behind such a path, one byte more: a link to the same folder whose name is longer by one.
    const std::string longer = volume + "v";
    ASSERT_EQ(0, symlink(volume.c_str(), longer.c_str()));
    WriteVersionFile(volume, "SystemVersion.plis", VersionList("<string>10.3</string>"));
    EXPECT_EQ(0u, VersionOn(longer));
}

// What is left of it when it is cut would tell a version.
TEST_F(SystemVersion, AVolumesPathThatFillsTheRoomAloneHasNoVersion)
{
    const std::string path = MakeLongPath(1023);
    std::ofstream(path) << VersionList("<string>10.3</string>");
    ASSERT_EQ(0, access(path.c_str(), R_OK));

    EXPECT_EQ(0u, VersionOn(path));
    EXPECT_EQ(0u, VersionOn(path + "v"));
}
