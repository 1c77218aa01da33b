#include "lab/OpenFirmware.h"
#include "tests/lab/ToolWork.h"

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

using namespace lab;
using plist::TValue;

class BlessTool : public TToolWork
{
protected:
    std::string Bless(const std::vector<std::string>& words) { return Run("/usr/sbin/bless", words); }

    // The property list that bless printed.
    TValue Printed()
    {
        TValue value;
        std::string error;
        EXPECT_TRUE(plist::Read(output, &value, &error)) << error << " in " << output;
        return value;
    }

    // A line of bless -info.
    static std::string Line(int index, ino_t number, const std::string& text)
    {
        char line[64];
        std::snprintf(line, sizeof line, "finderinfo[%d]: %6u => ", index, static_cast<unsigned>(number));
        return line + text + "\n";
    }
};

TEST_F(BlessTool, WhatIsSetAsBootDeviceIsReadBackForEveryDisk)
{
    for (const std::string& bsdName : TRegistry(machine.Folder()).MediumNames()) {
        ASSERT_EQ("exited 0", Bless({"-device", "/dev/" + bsdName, "-setBoot"})) << errors;
        EXPECT_EQ(OpenFirmwarePath(machine, bsdName) + ",\\\\:tbxi", machine.FirmwareVariable("boot-device"));
        ASSERT_EQ("exited 0", Bless({"-info", "-getBoot"})) << errors;
        EXPECT_EQ("/dev/" + bsdName + "\n", output);
    }
}

TEST_F(BlessTool, TheBootDiskAsAPropertyListHasOneKey)
{
    ASSERT_EQ("exited 0", Bless({"-device", "/dev/disk1s3", "-setBoot"}));
    ASSERT_EQ("exited 0", Bless({"-info", "-getBoot", "-plist"}));
    const TValue printed = Printed();
    ASSERT_EQ(1u, printed.entries.size());
    EXPECT_EQ("/dev/disk1s3", TextOf(printed, "Boot Volume"));
}

TEST_F(BlessTool, TheFolderOfTheStartUpVolumeIsBlessedAndStartedFrom)
{
    ASSERT_EQ("exited 0", Bless({"-device", "/dev/disk1s3", "-setBoot"}));
    ASSERT_EQ("exited 0", Bless({"-folder", "/System/Library/CoreServices", "-setBoot"})) << errors;
    EXPECT_EQ("", output + errors);
    EXPECT_EQ("System/Library/CoreServices", Text("disk2s3", "Blessed Folder"));
    ASSERT_EQ("exited 0", Bless({"-info", "-getBoot"}));
    EXPECT_EQ("/dev/disk2s3\n", output);
}

TEST_F(BlessTool, AFolderOfAnotherVolumeIsBlessedThere)
{
    AddMountedVolume("disk9s2", "Other System");
    ASSERT_EQ("", MakeFolder("/Volumes/Other System/System/Library/CoreServices"));
    ASSERT_EQ("", machine.RemoveVolumeProperty("disk2s3", "Blessed Folder"));

    ASSERT_EQ("exited 0", Bless({"--folder", "/Volumes/Other System/System/Library/CoreServices", "--setBoot"}))
        << errors;
    EXPECT_EQ("System/Library/CoreServices", Text("disk9s2", "Blessed Folder"));
    EXPECT_EQ("", Text("disk2s3", "Blessed Folder"));
    EXPECT_EQ("/disk@9:2,\\\\:tbxi", machine.FirmwareVariable("boot-device"));
}

TEST_F(BlessTool, WithoutSetBootTheFirmwareIsLeftAlone)
{
    const std::string before = machine.FirmwareVariable("boot-device");
    EXPECT_EQ("exited 0", Bless({"-folder", "/System/Library/CoreServices"}));
    EXPECT_EQ("exited 0", Bless({"-device", "/dev/disk1s3"}));
    EXPECT_EQ("exited 0", Bless({"-mount", "/"}));
    EXPECT_EQ(before, machine.FirmwareVariable("boot-device"));
    EXPECT_EQ("exited 0", Bless({"-mount", "/", "-setBoot"}));
    EXPECT_NE(before, machine.FirmwareVariable("boot-device"));
}

TEST_F(BlessTool, AVolumesFoldersAreShown)
{
    AddMountedVolume("disk9s2", "Other System");
    const std::string folder = "/Volumes/Other System/System/Library/CoreServices";
    ASSERT_EQ("", MakeFolder(folder));
    ASSERT_EQ("exited 0", Bless({"-folder", folder}));
    struct stat status
    {
    };
    ASSERT_EQ(0, stat(folder.c_str(), &status));

    ASSERT_EQ("exited 0", Bless({"-info", "/Volumes/Other System"})) << errors;
    EXPECT_EQ(Line(0, status.st_ino, "Blessed System Folder is " + folder) + Line(1, 0, "No Blessed System File") +
                  Line(2, 0, "Open-folder linked list empty") + Line(3, 0, "No OS 9 + X blessed 9 folder") +
                  Line(4, 0, "Unused field unset") + Line(5, status.st_ino, "OS X blessed folder is " + folder) +
                  "64-bit VSDB volume id:  0x" + Text("disk9s2", "Identifier") + "\n",
              output);

    ASSERT_EQ(0, rmdir(folder.c_str()));
    ASSERT_EQ("exited 0", Bless({"-info", "/Volumes/Other System"}));
    EXPECT_EQ(0u, output.find(Line(0, 16, "Blessed System Folder is <missing>"))) << output;

    ASSERT_EQ("", machine.RemoveVolumeProperty("disk9s2", "Blessed Folder"));
    ASSERT_EQ("exited 0", Bless({"-info", "/Volumes/Other System"}));
    EXPECT_EQ(0u, output.find(Line(0, 0, "No Blessed System Folder"))) << output;
    EXPECT_NE(std::string::npos, output.find(Line(5, 0, "No OS 9 + X blessed X folder"))) << output;
}

TEST_F(BlessTool, TheSecondLineWasRewordedInTheCourseOfTiger)
{
    const struct
    {
        const char* version;
        const char* text;
    } kRows[] = {{"10.3.9", "No Startup App folder (ignored anyway)"},
                 {"10.4", "No Startup App folder (ignored anyway)"},
                 {"10.4.11", "No Blessed System File"},
                 {"10.5.8", "No Blessed System File"}};
    for (const auto& row : kRows) {
        SetSystem(row.version);
        ASSERT_EQ("exited 0", Bless({"-info", "/"}));
        EXPECT_NE(std::string::npos, output.find(Line(1, 0, row.text))) << row.version;
    }
}

TEST_F(BlessTool, AVolumesFoldersAsAPropertyListAreNumbersAndPaths)
{
    ASSERT_EQ("exited 0", Bless({"-folder", "/System/Library/CoreServices", "-setBoot"}));
    ASSERT_EQ("", machine.SetVolumeProperty("disk2s3", "Identifier", TValue::String("F000000000000001")));
    ASSERT_EQ("exited 0", Bless({"-info", "-plist"})) << errors;   // the volume that the firmware starts from
    const TValue printed = Printed();
    ASSERT_TRUE(printed.Find("Finder Info"));
    const std::vector<TValue>& numbers = printed.Find("Finder Info")->items;
    ASSERT_EQ(6u, numbers.size());
    EXPECT_EQ("/System/Library/CoreServices", TextOf(numbers[0], "Path"));
    EXPECT_EQ("/System/Library/CoreServices", TextOf(numbers[5], "Relative Path"));
    EXPECT_NE(0, NumberOf(numbers[0], "Directory ID"));
    EXPECT_EQ(0, NumberOf(numbers[3], "Directory ID"));
    EXPECT_EQ("", TextOf(numbers[3], "Path"));
    EXPECT_EQ(static_cast<long long>(0xF000000000000001), NumberOf(printed, "VSDB ID"));
    EXPECT_TRUE(printed.Find("VSDB ID")->wide);
    ASSERT_TRUE(printed.Find("BootBlocks"));
    EXPECT_EQ(1024u, printed.Find("BootBlocks")->Find("Data")->text.size());
}

TEST_F(BlessTool, ABootDeviceThatLeadsToNoDiskIsTold)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", TValue::String("hd:,\\\\:tbxi")));
    for (const char* const option : {"-getBoot", "-plist"}) {
        EXPECT_EQ("exited 1", Bless({"-info", option}));
        EXPECT_EQ("", output);
        EXPECT_EQ("Can't get device for hd:,\\\\:tbxi: 3\n", errors);
    }
}

TEST_F(BlessTool, VerboseTellsTheFirmwaresPathFirst)
{
    ASSERT_EQ("exited 0", Bless({"-device", "/dev/disk0s3", "-setBoot"}));
    const std::string path = OpenFirmwarePath(machine, "disk0s3") + ",\\\\:tbxi";
    ASSERT_EQ("exited 0", Bless({"-info", "-getBoot", "-verbose"}));
    EXPECT_EQ("Current OpenFirmware boot device string is: '" + path + "'\nbsd name is /dev/disk0s3\n/dev/disk0s3\n",
              output);
    SetSystem("10.4.11");
    ASSERT_EQ("exited 0", Bless({"-info", "-getBoot", "-verbose"}));
    EXPECT_EQ(0u, output.find("Current OF: " + path + "\n")) << output;
}

TEST_F(BlessTool, WhatCannotBeBlessedIsRefusedAndNothingChanges)
{
    AddMountedVolume("disk9s2", "Camera", "msdos");
    ASSERT_EQ("", MakeFolder("/Volumes/Camera/System"));
    const std::string before = machine.FirmwareVariable("boot-device");
    const std::vector<std::vector<std::string>> calls{
        {"-folder", "/Volumes/Camera/System", "-setBoot"},
        {"-folder", "/nowhere", "-setBoot"},
        {"-folder", "/System/Library/CoreServices/SystemVersion.plist", "-setBoot"},
        {"-device", "/dev/disk77", "-setBoot"},
        {"-device", "disk0s3", "-setBoot"},
        {"-mount", "/System", "-setBoot"},
        {"-info", "/nowhere"},
        {"-info", "/Volumes/Camera"},
        {},
        {"-setBoot"},
        {"-device"},
        {"-folder", "/", "-device", "/dev/disk0s3"},
        {"-device", "/dev/disk0s3", "-setboot"},
        {"/dev/disk0s3"}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 1", Bless(words)) << ::testing::PrintToString(words);
        EXPECT_EQ(0u, errors.find("bless: ")) << errors;
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
        EXPECT_EQ("", output);
    }
    EXPECT_EQ(before, machine.FirmwareVariable("boot-device"));
    EXPECT_EQ("", Text("disk9s2", "Blessed Folder"));
}
