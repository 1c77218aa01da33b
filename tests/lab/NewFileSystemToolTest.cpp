#include "tests/lab/ToolWork.h"

#include <unistd.h>

using namespace lab;
using plist::TValue;

class NewFileSystemTool : public TToolWork
{
protected:
    void SetUp() override
    {
        TToolWork::SetUp();
        AddVolume("disk9s2", "Tapes");
        WriteFile("disk9s2");
    }

    void WriteFile(const std::string& bsdName)
    {
        ASSERT_EQ("", MakeFolder(machine.VolumeFiles(bsdName) + "/Folder/Inside"));
        ASSERT_EQ("", ReplaceFile(machine.VolumeFiles(bsdName) + "/Folder/Inside/file", "text"));
    }

    std::string NewfsHfs(const std::vector<std::string>& words) { return Run("/sbin/newfs_hfs", words); }
    std::string Newfs(const std::vector<std::string>& words) { return Run("/sbin/newfs", words); }

    std::vector<std::string> Files(const std::string& bsdName) { return NamesInFolder(machine.VolumeFiles(bsdName)); }
};

TEST_F(NewFileSystemTool, EverythingOnTheDiskIsErased)
{
    ASSERT_EQ("", ReplaceFile(machine.VolumeFiles("disk9s2") + "/.hidden", "text"));
    const TValue before = machine.Volume("disk9s2");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Blessed Folder", TValue::String("Folder")));

    EXPECT_EQ("exited 0", NewfsHfs({"-v", "Boot OSX", "/dev/rdisk9s2"}));
    EXPECT_EQ("Initialized /dev/rdisk9s2 as a 64 MB HFS Plus volume\n", output);
    EXPECT_EQ("", errors);

    EXPECT_TRUE(Files("disk9s2").empty());
    EXPECT_NE(0, access((machine.VolumeFiles("disk9s2") + "/.hidden").c_str(), F_OK));
    EXPECT_EQ(0, access(machine.VolumeFiles("disk9s2").c_str(), W_OK));
    EXPECT_EQ("Boot OSX", Text("disk9s2", "Name"));
    EXPECT_EQ("hfs", Text("disk9s2", "Kind"));
    EXPECT_EQ("", Text("disk9s2", "Blessed Folder"));
    EXPECT_FALSE(Truth("disk9s2", "Owners"));
    EXPECT_NE(TextOf(before, "Identifier"), Text("disk9s2", "Identifier"));
    EXPECT_NE(TextOf(before, "UUID"), Text("disk9s2", "UUID"));
}

TEST_F(NewFileSystemTool, OptionsSayWhatKindOfVolumeIsMade)
{
    const struct
    {
        std::vector<std::string> words;
        bool journaled;
        bool caseSensitive;
        const char* output;   // behind the device
    } kRows[] = {
        {{"-v", "New", "disk9s2"}, false, false, "HFS Plus volume"},
        {{"-J", "8MB", "-v", "New", "disk9s2"}, true, false, "HFS Plus volume with a 8MB journal"},
        {{"-s", "-v", "New", "disk9s2"}, false, true, "case-sensitive HFS Plus volume"},
        // What follows -J is a size only when it begins with a digit.
        {{"-J", "-s", "-v", "New", "disk9s2"}, true, true, "case-sensitive HFS Plus volume with a 8192k journal"},
        {{"-J", "-v", "New", "disk9s2"}, true, false, "HFS Plus volume with a 8192k journal"},
        {{"-w", "-v", "New", "-b", "4096", "disk9s2"}, false, false, "HFS Plus volume"},
        {{"-h", "-v", "New", "disk9s2"}, false, false, "HFS volume"},
    };
    for (const auto& row : kRows) {
        ASSERT_EQ("exited 0", NewfsHfs(row.words)) << errors;
        EXPECT_EQ("Initialized disk9s2 as a 64 MB " + std::string(row.output) + "\n", output);
        EXPECT_EQ("New", Text("disk9s2", "Name"));
        EXPECT_EQ(row.journaled, Truth("disk9s2", "Journaled")) << row.output;
        EXPECT_EQ(row.caseSensitive, Truth("disk9s2", "Case Sensitive")) << row.output;
    }
}

TEST_F(NewFileSystemTool, UfsVolumesHaveAUUIDAndNoIdentifier)
{
    EXPECT_EQ("exited 0", Newfs({"-v", "Source", "/dev/rdisk9s2"}));
    EXPECT_EQ("/dev/rdisk9s2:\t131072 sectors\n", output);
    EXPECT_EQ("ufs", Text("disk9s2", "Kind"));
    EXPECT_EQ("Source", Text("disk9s2", "Name"));
    EXPECT_EQ("", Text("disk9s2", "Identifier"));
    EXPECT_EQ(36u, Text("disk9s2", "UUID").size());
    EXPECT_TRUE(Files("disk9s2").empty());
}

TEST_F(NewFileSystemTool, ADiskThatHadNoVolumeGetsOneThatCanBeMounted)
{
    ASSERT_EQ("", machine.AddMedium("disk9s3", "", 1 << 20, false));
    EXPECT_EQ("exited 0", NewfsHfs({"disk9s3"}));
    EXPECT_EQ("untitled", Text("disk9s3", "Name"));
    ASSERT_EQ("", machine.MountVolume("disk9s3"));
    EXPECT_EQ("/Volumes/untitled", machine.MountPath("disk9s3"));
}

TEST_F(NewFileSystemTool, AMountedVolumeIsNotErased)
{
    ASSERT_EQ("", machine.MountVolume("disk9s2"));
    EXPECT_EQ("exited 1", NewfsHfs({"-v", "New", "/dev/rdisk9s2"}));
    EXPECT_EQ("newfs_hfs: /dev/rdisk9s2: Resource busy\n", errors);
    EXPECT_EQ("exited 1", Newfs({"-v", "New", "/dev/rdisk9s2"}));
    EXPECT_EQ("newfs: /dev/rdisk9s2: Resource busy\n", errors);
    EXPECT_EQ("Tapes", Text("disk9s2", "Name"));
    EXPECT_EQ("text", ReadLine("/Volumes/Tapes/Folder/Inside/file"));

    ASSERT_EQ("", machine.UnmountVolume("disk9s2"));
    EXPECT_EQ("exited 0", NewfsHfs({"-v", "New", "/dev/rdisk9s2"}));
}

TEST_F(NewFileSystemTool, WhatCannotBeWrittenIsNotErased)
{
    ASSERT_EQ("", machine.SetProperty("disk9s2", "Writable", TValue::Boolean(false)));
    EXPECT_EQ("exited 1", NewfsHfs({"-v", "New", "/dev/rdisk9s2"}));
    EXPECT_EQ("newfs_hfs: /dev/rdisk9s2: Permission denied\n", errors);
    EXPECT_EQ("exited 1", NewfsHfs({"/dev/rdisk77"}));
    EXPECT_EQ("newfs_hfs: /dev/rdisk77: No such file or directory\n", errors);
    EXPECT_EQ(1u, Files("disk9s2").size());
}

TEST_F(NewFileSystemTool, ADryRunErasesNothing)
{
    EXPECT_EQ("exited 0", NewfsHfs({"-N", "-v", "New", "disk9s2"}));
    EXPECT_EQ("exited 0", Newfs({"-N", "disk9s2"}));
    EXPECT_EQ("Tapes", Text("disk9s2", "Name"));
    EXPECT_EQ(1u, Files("disk9s2").size());
}

TEST_F(NewFileSystemTool, WhatDiskArbitrationRefusesStaysRefused)
{
    ASSERT_EQ("", machine.SetRefusals("disk9s2", "mount busy"));
    ASSERT_EQ("exited 0", NewfsHfs({"disk9s2"}));
    EXPECT_EQ("mount busy\n", machine.ReadText("volumes/disk9s2/refuse"));
}

TEST_F(NewFileSystemTool, WrongCallsEraseNothing)
{
    const std::vector<std::vector<std::string>> calls{
        {}, {"-v", "disk9s2"}, {"-x", "disk9s2"}, {"disk9s2", "-J"}, {"-h", "-J", "disk9s2"}, {""}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 1", NewfsHfs(words));
        EXPECT_EQ("exited 1", Newfs(words));
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
    EXPECT_EQ(1u, Files("disk9s2").size());
}
