// Rebuilding one boot helper partition: what happens step by step, and what is left when one of them fails.

#include "daemon/BootHelperPartitions.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"
#include "tests/support/VersionFiles.h"

#include <cerrno>
#include <filesystem>

// The source is a volume that the Mac did not start from.
static const char kSource[] = "/Volumes/Backup";

class BootHelperRebuild : public TBootHelperTest
{
protected:
    void SetUp() override
    {
        TBootHelperTest::SetUp();
        InstallBootableSystem(machine, kSource, "10.5.8");
    }

    UInt32 Rebuild() const { return RebuildBootHelperPartition(kFirstHelper, kSource); }

    // Whether the partition is filled when the source's system is of this version. It is erased in any case.
    bool IsFilledFor(const std::string& version)
    {
        InstallSystem(kSource, version);
        EXPECT_EQ(1u, Rebuild());
        EXPECT_EQ("", machine.MountPath(kFirstHelper));
        const std::set<std::string> files = FilesOn(machine, kFirstHelper);
        EXPECT_TRUE(files.empty() || files == FilesOfFilledHelper()) << version;
        return !files.empty();
    }
};

TEST_F(BootHelperRebuild, ItIsErasedFilledAndUnmounted)
{
    const std::string before = VolumeText(machine, kFirstHelper, "Identifier");
    EXPECT_EQ(1u, Rebuild());

    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_NE(before, VolumeText(machine, kFirstHelper, "Identifier"));
    EXPECT_EQ(VolumeText(machine, kBackup, "UUID"), RootUUIDOn(kFirstHelper));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}

TEST_F(BootHelperRebuild, ItBecomesPlainHFSPlusNamedBootOSX)
{
    EXPECT_EQ(1u, Rebuild());

    const std::vector<std::string> runs = ToolsRun(machine);
    ASSERT_EQ(7u, runs.size());
    EXPECT_EQ("newfs_hfs -v Boot OSX /dev/rdisk0s3", runs[0]);
    EXPECT_EQ("vsdbutil -a /Volumes/Boot OSX", runs[1]);
    EXPECT_EQ("cp -rf /Volumes/Backup/System/Library/CoreServices/boot.efi "
              "/Volumes/Boot OSX/System/Library/CoreServices/",
              runs[2]);
    EXPECT_FALSE(machine.Volume(kFirstHelper).Find("Journaled")->boolean);
}

TEST_F(BootHelperRebuild, MeanwhileItIsMountedWithPermAndNobrowseAndGivenToRoot)
{
    std::vector<std::string> options;
    std::string path;
    const TCallWatch watch("chown", [&](const TCallWatch::TArguments& arguments) {
        path = reinterpret_cast<const char*>(arguments[0]);
        EXPECT_EQ(0, arguments[1]);
        EXPECT_EQ(0, arguments[2]);
        EXPECT_EQ(path, machine.MountPath(kFirstHelper));
        EXPECT_EQ(1u, RunsOf(machine, "vsdbutil").size());
        EXPECT_EQ(0u, RunsOf(machine, "cp").size());
        options = machine.Mounts().back().options;
    });
    EXPECT_EQ(1u, Rebuild());

    EXPECT_EQ(1u, watch.Calls());
    EXPECT_EQ("/Volumes/Boot OSX", path);
    EXPECT_EQ((std::vector<std::string>{"perm", "nobrowse"}), options);
}

TEST_F(BootHelperRebuild, ItIsUnmountedWithoutForce)
{
    long options = -1;
    const TCallWatch watch("DADiskUnmount", [&](const TCallWatch::TArguments& arguments) { options = arguments[1]; });
    EXPECT_EQ(1u, Rebuild());

    EXPECT_EQ(0, options);
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(BootHelperRebuild, WithoutAForkItIsLeftAlone)
{
    const TFault fault("fork", {-1, EAGAIN});

    EXPECT_EQ(1u, Rebuild());
    EXPECT_TRUE(IsUntouched(kFirstHelper));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperRebuild, WhatCannotBeErasedIsMountedAndFilledAllTheSame)
{
    ASSERT_EQ("", machine.SetToolBehaviour("newfs_hfs", "exit 1\n"));
    for (const char* const folder : {"/System", "/com.apple.boot.S"})
        std::filesystem::remove_all(machine.VolumeFiles(kFirstHelper) + folder);
    EXPECT_EQ(1u, Rebuild());

    std::set<std::string> files = FilesOfFilledHelper();
    files.insert("Old");
    EXPECT_EQ(files, FilesOn(machine, kFirstHelper));
    EXPECT_EQ("", machine.MountPath(kFirstHelper));
}

TEST_F(BootHelperRebuild, WhatCannotBeMountedStaysErasedAndEmpty)
{
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "mount not-permitted\n"));

    EXPECT_EQ(1u, Rebuild());
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
    EXPECT_EQ((std::vector<std::string>{"newfs_hfs -v Boot OSX /dev/rdisk0s3"}), ToolsRun(machine));
}

TEST_F(BootHelperRebuild, WhereTheMountPathIsNotFoundItStaysEmptyAndMounted)
{
    const TFault fault("DADiskCopyDescription", {0});

    EXPECT_EQ(1u, Rebuild());
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath(kFirstHelper));
    EXPECT_EQ(std::set<std::string>{}, FilesOn(machine, kFirstHelper));
    EXPECT_EQ((std::vector<std::string>{"newfs_hfs -v Boot OSX /dev/rdisk0s3"}), ToolsRun(machine));
}

TEST_F(BootHelperRebuild, HowVsdbutilEndsDoesNotMatter)
{
    for (const char* const behaviour : {"exit 1\n", "signal 9\n"}) {
        ASSERT_EQ("", machine.SetToolBehaviour("vsdbutil", behaviour));
        EXPECT_EQ(1u, Rebuild());
        EXPECT_TRUE(IsFilled(kFirstHelper)) << behaviour;
    }
    ASSERT_EQ("", machine.SetToolMissing("vsdbutil", true));
    EXPECT_EQ(1u, Rebuild());
    EXPECT_TRUE(IsFilled(kFirstHelper));
}

TEST_F(BootHelperRebuild, AFileSystemWithoutOwnersIsFilledAllTheSame)
{
    const TFault fault("chown", {-1, ENOTSUP});

    EXPECT_EQ(1u, Rebuild());
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(IsFilled(kFirstHelper));
}

TEST_F(BootHelperRebuild, WhatCannotBeGivenToRootStaysEmptyAndIsUnmounted)
{
    for (const int error : {EPERM, EIO, EROFS, ENOENT}) {
        const TFault fault("chown", {-1, error});

        EXPECT_EQ(1u, Rebuild());
        EXPECT_EQ(1u, fault.Reached());
        EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper)) << error;
    }
}

TEST_F(BootHelperRebuild, ASystemBefore105LeavesItErasedAndEmpty)
{
    for (const char* const version : {"10.4.9", "10.4.11", "10.4.15", "10.3.9", "9.2.2"})
        EXPECT_FALSE(IsFilledFor(version)) << version;
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
}

TEST_F(BootHelperRebuild, ASystemFrom105OnFillsIt)
{
    for (const char* const version : {"10.5", "10.5.8", "10.5d1", "10.6"})
        EXPECT_TRUE(IsFilledFor(version)) << version;
}

// As a signed number, 0x80008000 would be negative.
TEST_F(BootHelperRebuild, TheVersionIsComparedUnsigned)
{
    EXPECT_TRUE(IsFilledFor("80.0"));
    EXPECT_TRUE(IsFilledFor("99.9"));
}

TEST_F(BootHelperRebuild, AVolumeWithoutASystemLeavesItErasedAndEmpty)
{
    std::filesystem::remove_all(std::string(kSource) + "/System");

    EXPECT_EQ(1u, Rebuild());
    EXPECT_TRUE(IsErasedAndEmpty(kFirstHelper));
}

TEST_F(BootHelperRebuild, TheVersionThatMattersIsTheSourcesAndNotTheRunningSystems)
{
    InstallSystem("/", "10.4.11");
    EXPECT_TRUE(IsFilledFor("10.5"));
    InstallSystem("/", "10.5.8");
    EXPECT_FALSE(IsFilledFor("10.4.9"));
}

TEST_F(BootHelperRebuild, OneThatIsFilledInPartIsUnmountedAndTheResultIs1)
{
    std::filesystem::remove(std::string(kSource) + "/mach_kernel");
    EXPECT_EQ(1u, Rebuild());

    EXPECT_EQ("", machine.MountPath(kFirstHelper));
    EXPECT_EQ(1u, FilesOn(machine, kFirstHelper).count("com.apple.boot.S/"));
    EXPECT_EQ(0u, FilesOn(machine, kFirstHelper).count("com.apple.boot.S/Library/"));
}

TEST_F(BootHelperRebuild, OneThatCannotBeUnmountedStaysMountedAndTheResultIs1)
{
    ASSERT_EQ("", machine.SetRefusals(kFirstHelper, "unmount busy\n"));

    EXPECT_EQ(1u, Rebuild());
    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath(kFirstHelper));
    EXPECT_EQ(FilesOfFilledHelper(), FilesOn(machine, kFirstHelper));
}
