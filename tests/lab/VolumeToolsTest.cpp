#include "tests/lab/ToolWork.h"

#include <memory>

using namespace lab;
using plist::TValue;

class MdutilTool : public TToolWork
{
protected:
    std::string Mdutil(const std::vector<std::string>& words) { return Run("/usr/bin/mdutil", words); }
};

TEST_F(MdutilTool, IndexingIsSwitchedAndItsStateToldUnderTheVolumesPath)
{
    AddMountedVolume("disk9s2", "Tapes");
    EXPECT_EQ("exited 0", Mdutil({"-s", "/Volumes/Tapes"}));
    EXPECT_EQ("/Volumes/Tapes:\n\tStatus: Indexing Enabled\n", output);

    EXPECT_EQ("exited 0", Mdutil({"-i", "off", "/Volumes/Tapes"}));
    EXPECT_FALSE(Truth("disk9s2", "Indexed"));
    EXPECT_EQ("exited 0", Mdutil({"-s", "/Volumes/Tapes/"}));
    EXPECT_EQ("/Volumes/Tapes:\n\tStatus: Indexing Disabled\n", output);

    EXPECT_EQ("exited 0", Mdutil({"-i", "on", "/Volumes/Tapes"}));
    EXPECT_TRUE(Truth("disk9s2", "Indexed"));
    EXPECT_EQ("exited 0", Mdutil({"-s", "/"}));
    EXPECT_EQ(0u, output.find("/:\n")) << output;
}

TEST_F(MdutilTool, OnlyMountedVolumesThatCanBeWrittenHaveAnIndex)
{
    AddVolume("disk9s2", "Tapes");
    for (const char* const path : {"/Volumes/Tapes", "disk9s2", "/Volumes", "/nowhere"}) {
        EXPECT_EQ("exited 1", Mdutil({"-s", path})) << path;
        EXPECT_EQ("mdutil: could not resolve path \"" + std::string(path) + "\": it is no mounted volume\n", errors);
        EXPECT_EQ("", output);
    }
    EXPECT_EQ("exited 1", Mdutil({"-i", "off", "/Volumes/Tapes"}));
    EXPECT_TRUE(Truth("disk9s2", "Indexed"));

    ASSERT_EQ("", machine.SetVolumeProperty("disk3s3", "Read Only", TValue::Boolean(true)));
    EXPECT_EQ("exited 1", Mdutil({"-i", "off", machine.MountPath("disk3s3")}));
}

TEST_F(MdutilTool, WrongCallsFail)
{
    const std::vector<std::vector<std::string>> calls{{}, {"-s"}, {"-i", "maybe", "/"}, {"-i", "on"}, {"/"}};
    for (const std::vector<std::string>& words : calls)
        EXPECT_EQ("exited 1", Mdutil(words));
}

class VsdbutilTool : public TToolWork
{
protected:
    std::string Vsdbutil(const std::vector<std::string>& words) { return Run("/usr/sbin/vsdbutil", words); }
};

TEST_F(VsdbutilTool, OwnershipIsSwitchedAndTold)
{
    AddMountedVolume("disk9s2", "Tapes");
    EXPECT_EQ("exited 0", Vsdbutil({"-d", "/Volumes/Tapes"}));
    EXPECT_FALSE(Truth("disk9s2", "Owners"));
    EXPECT_EQ("exited 0", Vsdbutil({"-c", "/Volumes/Tapes"}));
    EXPECT_EQ("Permissions on '/Volumes/Tapes' are disabled.\n", output);

    EXPECT_EQ("exited 0", Vsdbutil({"-a", "/Volumes/Tapes"}));
    EXPECT_EQ("", output);
    EXPECT_TRUE(Truth("disk9s2", "Owners"));
    EXPECT_EQ("exited 0", Vsdbutil({"-c", "/Volumes/Tapes"}));
    EXPECT_EQ("Permissions on '/Volumes/Tapes' are enabled.\n", output);
}

TEST_F(VsdbutilTool, AnyPathOnAVolumeMeansTheVolume)
{
    AddMountedVolume("disk9s2", "Tapes");
    AddMountedVolume("disk9s3", "Tapes 2");
    ASSERT_EQ("", MakeFolder("/Volumes/Tapes 2/Folder"));
    EXPECT_EQ("exited 0", Vsdbutil({"-d", "/Volumes/Tapes 2/Folder"}));
    EXPECT_TRUE(Truth("disk9s2", "Owners"));
    EXPECT_FALSE(Truth("disk9s3", "Owners"));

    EXPECT_EQ("exited 0", Vsdbutil({"-d", "/System/Library"}));
    EXPECT_FALSE(Truth("disk2s3", "Owners"));
}

TEST_F(VsdbutilTool, AVolumeWithoutAUUIDHasItsComplaintOnStandardErrorAndNoEntry)
{
    AddMountedVolume("disk9s2", "Camera", "msdos");
    EXPECT_EQ("exited 0", Vsdbutil({"-c", "/Volumes/Camera"}));
    EXPECT_EQ("", output);
    EXPECT_EQ("vsdbutil: no valid volume UUID found on '/Volumes/Camera': permissions are disabled.\n", errors);
    EXPECT_EQ("exited 1", Vsdbutil({"-d", "/Volumes/Camera"}));
    EXPECT_TRUE(Truth("disk9s2", "Owners"));
}

TEST_F(VsdbutilTool, VolumesThatWereNeverSeenAreTakenInAtOnce)
{
    AddMountedVolume("disk9s2", "Tapes");
    ASSERT_EQ("", machine.RemoveVolumeProperty("disk9s2", "Owners"));
    EXPECT_EQ("exited 0", Vsdbutil({"-c", "/Volumes/Tapes"}));
    EXPECT_EQ("No entry found for '/Volumes/Tapes'.\n", output);

    EXPECT_EQ("exited 0", Vsdbutil({"-i"}));
    EXPECT_EQ("exited 0", Vsdbutil({"-c", "/Volumes/Tapes"}));
    EXPECT_EQ("Permissions on '/Volumes/Tapes' are disabled.\n", output);
    EXPECT_TRUE(Truth("disk2s3", "Owners"));
}

TEST_F(VsdbutilTool, WhatOthersChangeMeanwhileIsKept)
{
    AddMountedVolume("disk9s2", "Tapes");
    auto lock = std::make_unique<TFileLock>(machine.Folder() + "/lock");
    TValue volume = machine.Volume("disk9s2");
    volume.Set("Journaled", TValue::Boolean(false));
    TRunningProgram program({"/usr/sbin/vsdbutil", "vsdbutil", "-d", "/Volumes/Tapes"});
    // The kernel's list of locks shows who waits for one.
    const std::string waiter = "-> FLOCK  ADVISORY  WRITE " + std::to_string(program.Process()) + " ";
    std::string locks;
    EXPECT_TRUE(WaitUntil([&] {
        ReadFile("/proc/locks", &locks);
        return locks.find(waiter) != std::string::npos || !program.IsRunning();
    })) << locks;
    EXPECT_EQ("", machine.WriteText("volumes/disk9s2/volume.plist", plist::Write(volume)));
    lock.reset();

    EXPECT_EQ("exited 0", program.WaitForEnd());
    EXPECT_FALSE(Truth("disk9s2", "Journaled"));
    EXPECT_FALSE(Truth("disk9s2", "Owners"));
}

TEST_F(VsdbutilTool, WrongCallsFail)
{
    const std::vector<std::vector<std::string>> calls{{}, {"-a"}, {"-x", "/"}, {"-i", "/"}, {"-a", "/nowhere"}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 1", Vsdbutil(words));
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
}
