#include "tests/lab/ToolWork.h"

using namespace lab;
using plist::TValue;

class DiskutilTool : public TToolWork
{
protected:
    std::string Diskutil(const std::vector<std::string>& words) { return Run("/usr/sbin/diskutil", words); }
};

TEST_F(DiskutilTool, JournalingIsSwitchedByMountPathOrDisk)
{
    AddMountedVolume("disk9s2", "Tapes");
    EXPECT_EQ("exited 0", Diskutil({"disableJournal", "/Volumes/Tapes"}));
    EXPECT_EQ("Journaling has been disabled on disk9s2\n", output);
    EXPECT_FALSE(Truth("disk9s2", "Journaled"));
    EXPECT_EQ("exited 0", Diskutil({"disableJournal", "/Volumes/Tapes"}));
    EXPECT_EQ("Journaling is already disabled for volume disk9s2\n", output);
    EXPECT_EQ("exited 0", Diskutil({"enableJournal", "disk9s2"}));
    EXPECT_EQ("Journaling has been enabled on disk9s2\n", output);
    EXPECT_TRUE(Truth("disk9s2", "Journaled"));
    EXPECT_EQ("exited 0", Diskutil({"enablejournal", "/dev/disk9s2"}));
}

TEST_F(DiskutilTool, OnlyMountedHFSVolumesThatCanBeWrittenHaveAJournal)
{
    AddMountedVolume("disk9s2", "Camera", "msdos");
    AddVolume("disk9s3", "Tapes");
    AddMountedVolume("disk9s4", "Pressed");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s4", "Read Only", TValue::Boolean(true)));
    for (const char* const volume :
         {"/Volumes/Camera", "disk9s3", "/Volumes/Pressed", "/Volumes/None", "/System", "disk77"}) {
        EXPECT_EQ("exited 1", Diskutil({"disableJournal", volume})) << volume;
        EXPECT_EQ("", output);
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
    EXPECT_TRUE(Truth("disk9s3", "Journaled"));
    EXPECT_TRUE(Truth("disk9s4", "Journaled"));
}

TEST_F(DiskutilTool, AVolumeIsMountedRenamedAndUnmounted)
{
    AddVolume("disk9s2", "Tapes");
    EXPECT_EQ("exited 0", Diskutil({"mount", "disk9s2"})) << errors;
    EXPECT_EQ("Volume disk9s2 mounted\n", output);
    EXPECT_EQ("/Volumes/Tapes", machine.MountPath("disk9s2"));
    EXPECT_EQ("exited 1", Diskutil({"mount", "disk9s2"}));

    EXPECT_EQ("exited 0", Diskutil({"rename", "/Volumes/Tapes", "Reels"})) << errors;
    EXPECT_EQ("Reels", Text("disk9s2", "Name"));
    EXPECT_EQ("/Volumes/Reels", machine.MountPath("disk9s2"));

    EXPECT_EQ("exited 0", Diskutil({"unmount", "/Volumes/Reels"})) << errors;
    EXPECT_EQ("", machine.MountPath("disk9s2"));
    EXPECT_EQ("exited 1", Diskutil({"unmount", "disk9s2"}));
    EXPECT_EQ("exited 1", Diskutil({"mount", "disk77"}));
}

TEST_F(DiskutilTool, ABusyVolumeIsUnmountedByForceAlone)
{
    AddMountedVolume("disk9s2", "Tapes");
    TRunningProgram user({"/bin/sh", "sh", "-c", "cd /Volumes/Tapes && echo in && exec sleep 1000"});
    ASSERT_TRUE(WaitUntil([&] { return user.Output() == "in\n"; })) << user.Errors();
    EXPECT_EQ("exited 1", Diskutil({"unmount", "disk9s2"}));
    EXPECT_EQ("/Volumes/Tapes", machine.MountPath("disk9s2"));
    EXPECT_EQ("exited 0", Diskutil({"unmount", "force", "disk9s2"})) << errors;
    EXPECT_EQ("", machine.MountPath("disk9s2"));
}

TEST_F(DiskutilTool, DisksAreListedInTheColumnsOfTheSystem)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 40060403712, true));
    ASSERT_EQ("", machine.SetProperty("disk9", "Content", TValue::String("Apple_partition_scheme")));
    ASSERT_EQ("", machine.AddMedium("disk9s1", "disk9", 32256, false));
    ASSERT_EQ("", machine.SetProperty("disk9s1", "Content", TValue::String("Apple_partition_map")));
    ASSERT_EQ("", machine.AddMedium("disk9s9", "disk9", 40050000000, false));
    ASSERT_EQ("", machine.AddVolume("disk9s9", "Macintosh HD"));

    // Rows are counted: the third is slice 9.
    EXPECT_EQ("exited 0", Diskutil({"list", "disk9"})) << errors;
    EXPECT_EQ("/dev/disk9\n"
              "   #:                       TYPE NAME                    SIZE       IDENTIFIER\n"
              "   0:     Apple_partition_scheme                        *37.3 Gi    disk9\n"
              "   1:        Apple_partition_map                         31.5 Ki    disk9s1\n"
              "   2:                  Apple_HFS Macintosh HD            37.3 Gi    disk9s9\n",
              output);

    SetSystem("10.4.11");
    EXPECT_EQ("exited 0", Diskutil({"list", "/dev/disk9"}));
    EXPECT_EQ("/dev/disk9\n"
              "   #:                   type name               size      identifier\n"
              "   0: Apple_partition_scheme                    *37.3 GB  disk9\n"
              "   1:    Apple_partition_map                    31.5 KB   disk9s1\n"
              "   2:              Apple_HFS Macintosh HD       37.3 GB   disk9s9\n",
              output);
}

TEST_F(DiskutilTool, AllWholeDisksAreListedAndGUIDsHaveNames)
{
    EXPECT_EQ("exited 0", Diskutil({"list"}));
    for (const char* const text : {"/dev/disk0\n", "/dev/disk1\n", "/dev/disk2\n", "/dev/disk3\n", " EFI ",
                                   "Apple_Boot Boot OSX ", "GUID_partition_scheme"})
        EXPECT_NE(std::string::npos, output.find(text)) << text << output;
    EXPECT_EQ(std::string::npos, output.find("/dev/disk0s")) << output;
    EXPECT_EQ("exited 1", Diskutil({"list", "disk0s3"}));
    EXPECT_EQ("exited 1", Diskutil({"list", "disk77"}));
}

TEST_F(DiskutilTool, InfoTellsWhatIsOnADisk)
{
    AddMountedVolume("disk9s2", "Tapes");
    EXPECT_EQ("exited 0", Diskutil({"info", "/Volumes/Tapes"}));
    for (const std::string& line :
         {std::string("   Device Node:        /dev/disk9s2\n"), std::string("   Mount Point:        /Volumes/Tapes\n"),
          std::string("   File System:        Journaled HFS+\n"), std::string("   Owners:             Enabled\n"),
          "   Volume UUID:        " + Text("disk9s2", "UUID") + "\n"})
        EXPECT_NE(std::string::npos, output.find(line)) << line << output;
    EXPECT_EQ("exited 1", Diskutil({"info", "disk77"}));
}

TEST_F(DiskutilTool, WrongCallsFail)
{
    const std::vector<std::vector<std::string>> calls{{}, {"fly"}, {"enableJournal"}, {"rename", "disk3s3"}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 1", Diskutil(words));
        EXPECT_EQ(0u, errors.find("diskutil: usage: diskutil ")) << errors;
    }
}
