#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/support/Links.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace lab;
using plist::TValue;

// What init mounts at the machine's start, and when it is asked.
class Mounts : public TMachineTest
{
protected:
    // A disk with a volume of this name, not mounted.
    void AddDisk(const std::string& bsdName, const std::string& name)
    {
        ASSERT_EQ("", machine.AddMedium(bsdName, "", 1 << 20, true));
        ASSERT_EQ("", machine.AddVolume(bsdName, name));
    }

    // Likewise, mounted. Returns where.
    std::string AddMounted(const std::string& bsdName, const std::string& name)
    {
        AddDisk(bsdName, name);
        EXPECT_EQ("", machine.MountVolume(bsdName));
        return machine.MountPath(bsdName);
    }

    // Writes a request as it stands and returns init's answer, without its line feed.
    std::string AnswerTo(const std::string& request)
    {
        EXPECT_EQ("", machine.WriteText("requests/by-hand", request));
        EXPECT_TRUE(WaitUntil([&] { return !machine.ReadText("replies/by-hand").empty(); }));
        const std::string answer = ReadLine("/machine/replies/by-hand");
        machine.Remove("replies/by-hand");
        return answer;
    }

    int NumberOf(const std::string& bsdName) const
    {
        for (const TMount& mount : machine.Mounts()) {
            if (mount.bsdName == bsdName)
                return mount.number;
        }
        return 0;
    }
};

static bool IsThere(const std::string& path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0;
}

// Whether nothing can be written there since the file system is read-only.
static bool IsReadOnly(const std::string& folder)
{
    return access(folder.c_str(), W_OK) != 0 && errno == EROFS;
}

TEST_F(Mounts, TheStartupVolumeIsTheRootAndComesFirst)
{
    const std::vector<TMount> mounts = machine.Mounts();
    ASSERT_EQ(3u, mounts.size());
    EXPECT_EQ("disk2s3", mounts[0].bsdName);
    EXPECT_EQ("/", mounts[0].path);
    EXPECT_EQ(-100, mounts[0].number);
    EXPECT_EQ("/", LinkTarget("/Volumes/Macintosh RAID"));
}

TEST_F(Mounts, TheOtherVolumesFollowInTheOrderOfTheirDisks)
{
    const std::vector<TMount> mounts = machine.Mounts();
    ASSERT_EQ(3u, mounts.size());
    EXPECT_EQ("disk3s3", mounts[1].bsdName);
    EXPECT_EQ("/Volumes/Backup", mounts[1].path);
    EXPECT_EQ(-101, mounts[1].number);
    EXPECT_EQ("disk4s1", mounts[2].bsdName);
    EXPECT_EQ("/Volumes/CAMERA", mounts[2].path);
    EXPECT_EQ(-102, mounts[2].number);
    EXPECT_TRUE(mounts[1].options.empty());
}

TEST_F(Mounts, HelperPartitionsAreNotMountedOnAnyMap)
{
    for (const char* const disk : {"disk0s3", "disk1s3"}) {
        EXPECT_FALSE(machine.Volume(disk).entries.empty()) << disk;
        EXPECT_EQ("", machine.MountPath(disk)) << disk;
    }
    EXPECT_FALSE(IsThere("/Volumes/Boot OSX"));
}

TEST_F(Mounts, AVolumesFilesAreThoseAtItsMountPoint)
{
    EXPECT_EQ("The backups of this Macintosh.", ReadLine("/Volumes/Backup/Read Me"));
    ASSERT_EQ("", ReplaceFile("/Volumes/Backup/new", "text"));
    EXPECT_EQ("text", ReadLine(machine.VolumeFiles("disk3s3") + "/new"));
    struct stat root
    {
    };
    struct stat volume
    {
    };
    ASSERT_EQ(0, stat("/Volumes", &root));
    ASSERT_EQ(0, stat("/Volumes/Backup", &volume));
    EXPECT_NE(root.st_ino, volume.st_ino);
}

TEST_F(Mounts, TwoHelpersOfOneNameAreMountedBesideEachOther)
{
    EXPECT_EQ("ok /Volumes/Boot OSX", AnswerTo("mount disk0s3\n"));
    EXPECT_EQ("ok /Volumes/Boot OSX 1", AnswerTo("mount disk1s3\n"));
    EXPECT_EQ("kernel of 10.5.7", ReadLine("/Volumes/Boot OSX 1/com.apple.boot.S/mach_kernel"));
}

TEST_F(Mounts, ANameThatIsTakenGetsTheFirstNumberThatIsFree)
{
    EXPECT_EQ("/Volumes/Backup 1", AddMounted("disk9", "Backup"));
    ASSERT_EQ("", ReplaceFile("/Volumes/Backup 2", "a file"));
    EXPECT_EQ("/Volumes/Backup 3", AddMounted("disk10", "Backup"));
    EXPECT_EQ("/Volumes/Macintosh RAID 1", AddMounted("disk11", "Macintosh RAID"));
    ASSERT_EQ("", machine.UnmountVolume("disk9"));
    EXPECT_EQ("/Volumes/Backup 1", AddMounted("disk12", "Backup"));
}

TEST_F(Mounts, ASlashInANameIsAColonInThePath)
{
    EXPECT_EQ("/Volumes/2008:2009", AddMounted("disk9", "2008/2009"));
    EXPECT_EQ("/Volumes/.. 1", AddMounted("disk10", ".."));
    EXPECT_EQ("/Volumes/Untitled", AddMounted("disk11", ""));
}

TEST_F(Mounts, OptionsAreKeptWithTheMount)
{
    AddDisk("disk9", "Photos");
    ASSERT_EQ("", machine.MountVolume("disk9", {"perm", "nobrowse"}));
    ASSERT_EQ(4u, machine.Mounts().size());
    EXPECT_EQ((std::vector<std::string>{"perm", "nobrowse"}), machine.Mounts()[3].options);
    EXPECT_FALSE(IsReadOnly("/Volumes/Photos"));
    EXPECT_EQ("a mount option is a word, not \"two\\x0alines\"", machine.MountVolume("disk9", {"two\nlines"}));
}

TEST_F(Mounts, WhatIsReadOnlyIsMountedSo)
{
    AddDisk("disk9", "By Option");
    ASSERT_EQ("", machine.MountVolume("disk9", {"rdonly"}));
    EXPECT_TRUE(IsReadOnly("/Volumes/By Option"));
    EXPECT_EQ("", ReplaceFile(machine.VolumeFiles("disk9") + "/new", "text")) << "the mount is, not the folder";

    AddDisk("disk10", "By Volume");
    ASSERT_EQ("", machine.SetVolumeProperty("disk10", "Read Only", TValue::Boolean(true)));
    ASSERT_EQ("", machine.MountVolume("disk10"));
    EXPECT_TRUE(IsReadOnly("/Volumes/By Volume"));
    EXPECT_EQ("refused not-writable", AnswerTo("rename disk10\nname New\n"));

    AddDisk("disk11", "By Medium");
    ASSERT_EQ("", machine.SetProperty("disk11", "Writable", TValue::Boolean(false)));
    ASSERT_EQ("", machine.MountVolume("disk11"));
    EXPECT_TRUE(IsReadOnly("/Volumes/By Medium"));
    EXPECT_EQ("disk11 cannot be renamed: it is read-only", machine.RenameVolume("disk11", "New"));
}

TEST_F(Mounts, AnUnmountedVolumeLeavesNothing)
{
    EXPECT_EQ("ok /Volumes/Backup", AnswerTo("unmount disk3s3\n"));
    EXPECT_FALSE(IsThere("/Volumes/Backup"));
    EXPECT_EQ("", machine.ReadText("mounts/disk3s3"));
    EXPECT_EQ("The backups of this Macintosh.", ReadLine(machine.VolumeFiles("disk3s3") + "/Read Me"));
}

TEST_F(Mounts, AVolumeNumberIsNeverUsedTwice)
{
    ASSERT_EQ("", machine.UnmountVolume("disk3s3"));
    ASSERT_EQ("", machine.MountVolume("disk3s3"));
    EXPECT_EQ(-103, NumberOf("disk3s3"));
    AddMounted("disk9", "Photos");
    EXPECT_EQ(-104, NumberOf("disk9"));
}

TEST_F(Mounts, AVolumeInUseIsUnmountedByForceAlone)
{
    std::ofstream used("/Volumes/Backup/used");
    EXPECT_EQ("refused busy", AnswerTo("unmount disk3s3\n"));
    EXPECT_EQ("/Volumes/Backup", machine.MountPath("disk3s3"));
    EXPECT_TRUE(IsThere("/Volumes/Backup/Read Me"));

    EXPECT_EQ("ok /Volumes/Backup", AnswerTo("unmount disk3s3\nforce\n"));
    EXPECT_FALSE(IsThere("/Volumes/Backup"));
    EXPECT_TRUE((used << "more").good()) << "who had the file open keeps it";
}

TEST_F(Mounts, TheStartupVolumeIsNeverUnmounted)
{
    EXPECT_EQ("refused busy", AnswerTo("unmount disk2s3\nforce\n"));
    EXPECT_EQ("/", machine.MountPath("disk2s3"));
    EXPECT_EQ("/", LinkTarget("/Volumes/Macintosh RAID"));
}

TEST_F(Mounts, WhatCannotBeMountedIsRefusedWithTheReason)
{
    EXPECT_EQ("refused not-found", AnswerTo("mount disk77\n"));
    EXPECT_EQ("refused not-found", AnswerTo("mount ../disk3s3\n"));
    EXPECT_EQ("refused unsupported", AnswerTo("mount disk3\n"));
    EXPECT_EQ("refused busy", AnswerTo("mount disk3s3\n"));
    EXPECT_EQ("refused busy", AnswerTo("mount disk2s3\n"));
    EXPECT_EQ("refused not-mounted", AnswerTo("unmount disk0s3\n"));
    EXPECT_EQ("refused not-found", AnswerTo("unmount disk77\n"));
    EXPECT_EQ("refused not-mounted", AnswerTo("rename disk0s3\nname New\n"));
    EXPECT_EQ("refused not-found", AnswerTo("rename disk77\nname New\n"));
    EXPECT_EQ("refused bad-argument", AnswerTo("rename disk3s3\n"));
    EXPECT_EQ("refused bad-argument", AnswerTo("rename disk3s3\nname two\\x0alines\n"));
    EXPECT_EQ(3u, machine.Mounts().size());
}

TEST_F(Mounts, ANameThatNoFolderCanHaveIsAnErrorAndChangesNothing)
{
    const std::string name(300, 'n');
    EXPECT_EQ("error cannot make the folder /Volumes/" + name + ": File name too long",
              AnswerTo("rename disk3s3\nname " + name + "\n"));
    EXPECT_EQ("Backup", TextOf(machine.Volume("disk3s3"), "Name"));
    EXPECT_EQ("/Volumes/Backup", machine.MountPath("disk3s3"));
    EXPECT_TRUE(IsThere("/Volumes/Backup/Read Me"));
}

TEST_F(Mounts, ARenamedVolumeMovesEvenInUseAndKeepsItsNumber)
{
    std::ofstream used("/Volumes/Backup/used");
    EXPECT_EQ("ok /Volumes/Archiv \xc3\xa4", AnswerTo("rename disk3s3\nname Archiv \\xc3\\xa4\n"));
    EXPECT_EQ("Archiv \xc3\xa4", TextOf(machine.Volume("disk3s3"), "Name"));
    EXPECT_EQ("/Volumes/Archiv \xc3\xa4", machine.MountPath("disk3s3"));
    EXPECT_EQ(-101, NumberOf("disk3s3"));
    EXPECT_TRUE(IsThere("/Volumes/Archiv \xc3\xa4/Read Me"));
    EXPECT_FALSE(IsThere("/Volumes/Backup"));
}

TEST_F(Mounts, AVolumeThatIsRenamedToItsOwnNameStaysWhereItIs)
{
    EXPECT_EQ("", machine.RenameVolume("disk3s3", "Backup"));
    EXPECT_EQ("/Volumes/Backup", machine.MountPath("disk3s3"));
    ASSERT_EQ("/Volumes/Backup 1", AddMounted("disk9", "Backup"));
    EXPECT_EQ("", machine.RenameVolume("disk9", "Backup"));
    EXPECT_EQ("/Volumes/Backup 1", machine.MountPath("disk9"));
    EXPECT_EQ("", machine.RenameVolume("disk9", "Read/Write"));
    EXPECT_EQ("/Volumes/Read:Write", machine.MountPath("disk9"));
    EXPECT_EQ("Read/Write", TextOf(machine.Volume("disk9"), "Name"));
}

TEST_F(Mounts, TheStartupVolumeIsRenamedAndStaysTheRoot)
{
    EXPECT_EQ("ok /", AnswerTo("rename disk2s3\nname Backup\n"));
    EXPECT_EQ("/", machine.MountPath("disk2s3"));
    EXPECT_EQ("/", LinkTarget("/Volumes/Backup 1")) << "there is a Backup";
    EXPECT_FALSE(IsThere("/Volumes/Macintosh RAID"));
    EXPECT_EQ("ok /", AnswerTo("rename disk2s3\nname System\n"));
    EXPECT_EQ("/", LinkTarget("/Volumes/System"));
    EXPECT_FALSE(IsThere("/Volumes/Backup 1"));
    EXPECT_TRUE(IsThere("/Volumes/Backup/Read Me"));
}

TEST_F(Mounts, AVolumeWhoseDiskIsGoneCanStillBeUnmounted)
{
    ASSERT_EQ("", machine.RemoveMedium("disk3"));
    EXPECT_EQ("/Volumes/Backup", machine.MountPath("disk3s3"));
    EXPECT_EQ("refused not-found", AnswerTo("rename disk3s3\nname New\n"));
    EXPECT_EQ("ok /Volumes/Backup", AnswerTo("unmount disk3s3\n"));
    EXPECT_EQ("refused not-found", AnswerTo("mount disk3s3\n"));
}

TEST_F(Mounts, WhatDiskArbitrationIsToRefuseIsNotRefusedToTheMachinesOwner)
{
    ASSERT_EQ("", machine.SetRefusals("disk3s3", "unmount busy\nmount error\nrename error"));
    EXPECT_EQ("", machine.RenameVolume("disk3s3", "New"));
    EXPECT_EQ("", machine.UnmountVolume("disk3s3"));
    EXPECT_EQ("", machine.MountVolume("disk3s3"));
}
