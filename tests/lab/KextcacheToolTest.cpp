#include "tests/lab/ToolWork.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

using namespace lab;
using plist::TValue;

static const char* const kCache = "/System/Library/Extensions.mkext";
static const char* const kCopy = "/com.apple.boot.S/System/Library/Extensions.mkext";

class KextcacheTool : public TToolWork
{
protected:
    std::string Kextcache(const std::vector<std::string>& words) { return Run("/usr/sbin/kextcache", words); }

    // A volume with a system, mounted at /Volumes/System.
    void AddSystem()
    {
        AddMountedVolume("disk9s2", "System");
        ASSERT_EQ("", MakeFolder("/Volumes/System/System/Library/CoreServices"));
        ASSERT_EQ("", MakeFolder("/Volumes/System/System/Library/Extensions/One.kext"));
        ASSERT_EQ("", MakeFolder("/Volumes/System/System/Library/Extensions/Two.kext"));
        TValue version = TValue::Dictionary();
        version.Set("ProductVersion", TValue::String("10.5.2"));
        ASSERT_EQ(
            "", ReplaceFile("/Volumes/System/System/Library/CoreServices/SystemVersion.plist", plist::Write(version)));
    }

    // Lets the file have been changed so many seconds after 2008 began.
    static void SetTime(const std::string& path, time_t seconds)
    {
        const timespec times[] = {{1199145600 + seconds, 0}, {1199145600 + seconds, 0}};
        ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0)) << path;
    }

    static time_t TimeOf(const std::string& path)
    {
        struct stat status
        {
        };
        return stat(path.c_str(), &status) == 0 ? status.st_mtime - 1199145600 : -1;
    }
};

TEST_F(KextcacheTool, AMissingCacheGathersTheExtensions)
{
    AddSystem();
    EXPECT_EQ("exited 0", Kextcache({"-u", "/Volumes/System"})) << errors;
    EXPECT_EQ("", output + errors);
    std::string cache;
    ReadFile("/Volumes/System" + std::string(kCache), &cache);
    EXPECT_EQ("kernel extensions of 10.5.2\nOne.kext\nTwo.kext\n", cache);
}

TEST_F(KextcacheTool, OnlyWhatIsOutOfDateIsUpdatedUnlessForced)
{
    AddSystem();
    const std::string cache = "/Volumes/System" + std::string(kCache);
    const std::string extensions = "/Volumes/System/System/Library/Extensions";
    ASSERT_EQ("", ReplaceFile(cache, "old"));
    SetTime(extensions, 100);

    SetTime(cache, 200);
    EXPECT_EQ("exited 0", Kextcache({"-u", "/Volumes/System"}));
    EXPECT_EQ(200, TimeOf(cache));
    EXPECT_EQ("exited 0", Kextcache({"-f", "-u", "/Volumes/System"}));
    EXPECT_LT(200, TimeOf(cache));
    EXPECT_EQ("kernel extensions of 10.5.2", ReadLine(cache));

    SetTime(cache, 50);
    EXPECT_EQ("exited 0", Kextcache({"-u", "/Volumes/System"}));
    EXPECT_LT(200, TimeOf(cache));
}

TEST_F(KextcacheTool, TheCopiesOnTheBootHelperPartitionsOfARaidVolumeFollow)
{
    // One beside a member on an Apple map, one beside a member on a GUID map.
    for (const std::string helper : {"disk0s3", "disk1s3"}) {
        const std::string copy = machine.VolumeFiles(helper) + kCopy;
        ASSERT_EQ("", MakeFolder(copy.substr(0, copy.rfind('/'))));
        ASSERT_EQ("", ReplaceFile(copy, "old"));
        SetTime(copy, 0);
    }
    EXPECT_EQ("exited 0", Kextcache({"-f", "-u", "/"})) << errors;
    for (const std::string helper : {"disk0s3", "disk1s3"}) {
        const std::string copy = machine.VolumeFiles(helper) + kCopy;
        EXPECT_LT(0, TimeOf(copy)) << helper;
        EXPECT_EQ("kernel extensions of 10.5.8", ReadLine(copy)) << helper;
    }
}

TEST_F(KextcacheTool, AHelperPartitionThatIsNotFilledStaysEmpty)
{
    ASSERT_EQ("exited 0", Run("/sbin/newfs_hfs", {"-v", "Boot OSX", "/dev/rdisk0s3"}));
    EXPECT_EQ("exited 0", Kextcache({"-f", "-u", "/"})) << errors;
    EXPECT_TRUE(NamesInFolder(machine.VolumeFiles("disk0s3")).empty());
}

TEST_F(KextcacheTool, OtherFormsWriteTheFileTheyAreTold)
{
    AddSystem();
    EXPECT_EQ("exited 0", Kextcache({"-m", "/tmp/cache", "/Volumes/System/System/Library/Extensions"})) << errors;
    std::string cache;
    ReadFile("/tmp/cache", &cache);
    EXPECT_NE(std::string::npos, cache.find("\nOne.kext\nTwo.kext\n")) << cache;

    SetTime(kCache, 0);
    EXPECT_EQ("exited 0", Kextcache({"-e"})) << errors;
    EXPECT_LT(0, TimeOf(kCache));
}

TEST_F(KextcacheTool, WhatHoldsNoSystemIsRefused)
{
    AddMountedVolume("disk9s3", "Data");
    AddSystem();
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Read Only", TValue::Boolean(true)));
    for (const char* const volume : {"/Volumes/Data", "/Volumes/System", "/System", "/nowhere"}) {
        EXPECT_EQ("exited 1", Kextcache({"-f", "-u", volume})) << volume;
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
    EXPECT_EQ(-1, TimeOf("/Volumes/System" + std::string(kCache)));
}

TEST_F(KextcacheTool, WrongCallsEndWithTheStatusOfUsage)
{
    const std::vector<std::vector<std::string>> calls{{}, {"-f"}, {"-u"}, {"-x"}, {"-m"}, {"/"}, {""}};
    for (const std::vector<std::string>& words : calls)
        EXPECT_EQ("exited 64", Kextcache(words));
    SetSystem("10.4.11");
    EXPECT_EQ("exited 64", Kextcache({"-f", "-u", "/"}));
    EXPECT_EQ("kextcache: unrecognized option -u\n", errors);
}
