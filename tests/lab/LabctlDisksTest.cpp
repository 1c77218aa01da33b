#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/lab/LabctlRun.h"

#include <string>
#include <unistd.h>
#include <vector>

using namespace lab;

// labctl's subcommands about disks, volumes and firmware variables.
class LabctlDisk : public TLabctlTest
{
protected:
    // labctl did it, and printed this.
    void ExpectOutput(const std::vector<std::string>& arguments, const std::string& expected)
    {
        EXPECT_EQ("exited 0", Run(arguments)) << errors;
        EXPECT_EQ(expected, output);
    }
};

TEST_F(LabctlDisk, ADiskIsAttachedAndDetached)
{
    ExpectSilent({"disk", "attach", "disk9", "--size", "1024"});
    ExpectSilent({"disk", "attach", "disk9s1", "--below", "disk9"});
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_TRUE(OutputHas("-- disk9  External Media, 1.0 KB\n        `-- disk9s1  Untitled 1, 74.5 GB, Apple_HFS\n"))
        << output;
    ExpectSilent({"disk", "detach", "disk9"});
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_FALSE(OutputHas("disk9"));
}

TEST_F(LabctlDisk, DisksThatAreWrongAreRefused)
{
    ExpectRefusal({"disk", "attach", "disk0"}, "a disk has the name disk0 already");
    EXPECT_EQ("exited 1", Run({"disk", "detach", "disk77"}));
    EXPECT_EQ(0u, errors.find("labctl: no disk has the name disk77; the machine has disk0, ")) << errors;
    ExpectMisuse({"disk", "attach"}, "something is missing");
    ExpectMisuse({"disk", "paint", "disk0"}, "a disk is attached or detached, it cannot paint");
    ExpectMisuse({"disk", "attach", "disk9", "--size", "-1"},
                 "--size is a whole number from 0 to 9223372036854775807, not \"-1\"");
}

TEST_F(LabctlDisk, AVolumeOnADiskThatComesIsMountedAndOnOneThatGoesUnmounted)
{
    ExpectSilent({"disk", "attach", "disk9", "--size", "100000000"});
    ExpectSilent({"disk", "attach", "disk9s3", "--below", "disk9", "--volume", "Photos"});
    EXPECT_EQ("/Volumes/Photos", machine.MountPath("disk9s3"));

    ExpectSilent({"disk", "detach", "disk9"});
    EXPECT_EQ("", machine.MountPath("disk9s3"));
    EXPECT_NE(0, access("/Volumes/Photos", F_OK));

    // It comes again with what is on it.
    ExpectSilent({"disk", "attach", "disk9s3"});
    EXPECT_EQ("/Volumes/Photos", machine.MountPath("disk9s3"));
}

TEST_F(LabctlDisk, ADiskThatGoesTakesItsVolumeFromWhoeverUsesIt)
{
    ExpectSilent({"disk", "attach", "disk9", "--volume", "Photos", "--kind", "msdos"});
    EXPECT_EQ("msdos", machine.Volume("disk9").Find("Kind")->text);
    std::ofstream used("/Volumes/Photos/used");

    ExpectSilent({"disk", "detach", "disk9"});
    EXPECT_EQ("", machine.MountPath("disk9"));
}

TEST_F(LabctlDisk, TheKindAndTheIdentityOfNoVolumeAreRefused)
{
    ExpectMisuse({"disk", "attach", "disk9", "--kind", "ufs"}, "--kind needs --volume");
    ExpectMisuse({"disk", "attach", "disk9", "--identity-of", "disk2s3"}, "--identity-of needs --volume");
}

TEST_F(LabctlDisk, AVolumeCanHaveAnothersIdentity)
{
    ExpectSilent({"disk", "attach", "disk2s4", "--below", "disk2", "--volume", "Copy", "--identity-of", "disk2s3"});
    for (const char* const key : {"Identifier", "UUID"})
        EXPECT_EQ(TextOf(machine.Volume("disk2s3"), key), TextOf(machine.Volume("disk2s4"), key)) << key;
    EXPECT_EQ("Copy", TextOf(machine.Volume("disk2s4"), "Name"));

    ExpectRefusal({"disk", "attach", "disk9", "--volume", "Copy", "--identity-of", "disk8"},
                  "there is no volume with an identity on disk8");
    EXPECT_TRUE(machine.Volume("disk9").entries.empty());
}

TEST_F(LabctlDisk, ADiskThatCannotComeLeavesVolumesAlone)
{
    const std::string before = TextOf(machine.Volume("disk3s3"), "Name");
    EXPECT_EQ("exited 1", Run({"disk", "attach", "disk3s3", "--volume", "Other"}));
    EXPECT_EQ(before, TextOf(machine.Volume("disk3s3"), "Name"));
    EXPECT_EQ("exited 1", Run({"disk", "attach", "disk9s1", "--below", "disk77", "--volume", "Other"}));
    EXPECT_TRUE(machine.Volume("disk9s1").entries.empty());
}

TEST_F(LabctlDisk, VolumesAreListedWithWhereTheyAreMounted)
{
    ExpectOutput({"volume"}, "disk0s3    hfs    Boot OSX                 not mounted\n"
                             "disk1s3    hfs    Boot OSX                 not mounted\n"
                             "disk2s3    hfs    Macintosh RAID           /\n"
                             "disk3s3    hfs    Backup                   /Volumes/Backup\n"
                             "disk4s1    msdos  CAMERA                   /Volumes/CAMERA\n");
    const std::string all = output;
    ExpectOutput({"volume", "list"}, all);
}

TEST_F(LabctlDisk, AVolumeIsShownWithAllThatIsKnownOfIt)
{
    ASSERT_EQ("", machine.UnmountVolume("disk3s3"));
    ExpectOutput({"mount", "disk3s3", "rdonly", "nobrowse"}, "/Volumes/Backup\n");
    ExpectSilent({"refuse", "disk3s3", "unmount busy", "delay 20"});
    const std::string identifier = machine.Volume("disk3s3").Find("Identifier")->text;
    const std::string uuid = machine.Volume("disk3s3").Find("UUID")->text;

    ExpectOutput({"volume", "show", "disk3s3"},
                 "Name: Backup\nKind: hfs\nIdentifier: " + identifier + "\nUUID: " + uuid +
                     "\nOwners: true\nJournaled: true\nIndexed: true\nmounted at: /Volumes/Backup, number -103\n"
                     "mount option: rdonly\nmount option: nobrowse\nrefused: unmount busy\nrefused: delay 20\n");
}

TEST_F(LabctlDisk, AVolumeIsMadeAndChanged)
{
    ExpectSilent({"disk", "attach", "disk9"});
    ExpectSilent({"volume", "add", "disk9", "Photos", "--kind", "ufs"});
    ExpectSilent({"volume", "set", "disk9", "Owners", "false"});
    ExpectSilent({"volume", "set", "disk9", "Name", "Pictures"});
    ExpectSilent({"volume", "unset", "disk9", "UUID"});

    const plist::TValue volume = machine.Volume("disk9");
    EXPECT_EQ("ufs", volume.Find("Kind")->text);
    EXPECT_EQ("Pictures", volume.Find("Name")->text);
    EXPECT_EQ(plist::Kind::kBoolean, volume.Find("Owners")->kind);
    EXPECT_FALSE(volume.Find("Owners")->boolean);
    EXPECT_EQ(nullptr, volume.Find("UUID"));
    EXPECT_EQ("", machine.MountPath("disk9"));
    ExpectOutput({"mount", "disk9"}, "/Volumes/Pictures\n");
}

TEST_F(LabctlDisk, VolumesThatAreWrongAreRefused)
{
    const std::string none =
        "there is no volume on disk77; the machine has them on disk0s3, disk1s3, disk2s3, disk3s3 and disk4s1";
    ExpectRefusal({"volume", "show", "disk77"}, none);
    ExpectRefusal({"volume", "set", "disk77", "Name", "x"}, none);
    ExpectRefusal({"volume", "unset", "disk3s3", "Read Only"}, "the volume on disk3s3 has no property Read Only");
    ExpectRefusal({"volume", "add", "disk3s3", "New"},
                  "disk3s3 is mounted, so it cannot be erased; labctl unmount disk3s3 unmounts it");
    ExpectRefusal({"volume", "add", "../disk3s3", "New"},
                  "a volume is named by its disk, such as disk3s3, not by \"../disk3s3\"");
    ExpectMisuse({"volume", "set", "disk3s3", "Owners", "yes"}, "Owners is true or false, not \"yes\"");
    ExpectMisuse({"volume", "set", "disk3s3", "Colour", "red"},
                 "a volume has no property Colour; it has Name, Kind, Identifier, UUID and Blessed Folder, which are "
                 "texts, and Owners, Journaled, Indexed and Read Only, which are true or false");
    ExpectMisuse({"volume", "paint", "disk3s3"}, "volumes are listed, shown, added, set and unset, not paint");
    ExpectMisuse({"volume", "list", "--kind", "hfs"}, "--kind is for a volume that is added");
    ExpectMisuse({"volume", "show"}, "something is missing");
    EXPECT_EQ("Backup", machine.Volume("disk3s3").Find("Name")->text);
}

TEST_F(LabctlDisk, AVolumeIsUnmountedMountedAndRenamed)
{
    ExpectSilent({"unmount", "disk3s3"});
    EXPECT_EQ("", machine.MountPath("disk3s3"));
    ExpectRefusal({"unmount", "disk3s3"}, "disk3s3 cannot be unmounted: it is not mounted");
    ExpectRefusal({"rename", "disk3s3", "New"}, "disk3s3 cannot be renamed: it is not mounted");
    ExpectOutput({"mount", "disk3s3"}, "/Volumes/Backup\n");
    ExpectRefusal({"mount", "disk3s3"}, "disk3s3 cannot be mounted: it is mounted already");
    ExpectOutput({"rename", "disk3s3", "Archive"}, "/Volumes/Archive\n");
    ExpectRefusal({"mount", "disk77"}, "disk77 cannot be mounted: no disk has the name");
    ExpectRefusal({"mount", "disk3"}, "disk3 cannot be mounted: there is no file system on it");
    ExpectRefusal({"unmount", "disk2s3", "--force"}, "disk2s3 cannot be unmounted: the machine started from it");
}

TEST_F(LabctlDisk, AUsedVolumeIsUnmountedByForceAlone)
{
    std::ofstream used("/Volumes/Backup/used");
    ExpectRefusal({"unmount", "disk3s3"},
                  "disk3s3 cannot be unmounted: a program uses it; --force unmounts it nevertheless");
    ExpectSilent({"unmount", "--force", "disk3s3"});
    EXPECT_EQ("", machine.MountPath("disk3s3"));
}

TEST_F(LabctlDisk, WhatDiskArbitrationRefusesIsSaidAndTakenBack)
{
    ExpectSilent({"refuse", "disk3s3", "mount exclusive-access", "delay 5"});
    EXPECT_EQ("mount exclusive-access\ndelay 5\n", machine.ReadText("volumes/disk3s3/refuse"));
    ExpectSilent({"refuse", "disk3s3", "nothing"});
    EXPECT_NE(0, access("/machine/volumes/disk3s3/refuse", F_OK));
    ExpectRefusal({"refuse", "disk3s3", "mount grumpy"},
                  "there is no reason \"grumpy\"; there are error, busy, bad-argument, exclusive-access, no-resources, "
                  "not-found, not-mounted, not-permitted, not-privileged, not-ready, not-writable and unsupported");
    ExpectMisuse({"refuse", "disk3s3"}, "something is missing");
}

TEST_F(LabctlDisk, FirmwareVariablesAreListed)
{
    ASSERT_EQ("exited 0", Run({"nvram"}));
    EXPECT_TRUE(OutputHas("auto-boot?\ttrue\n")) << output;
    EXPECT_FALSE(OutputHas("IOObjectClass"));
    const std::string path = "/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3,\\\\:tbxi";
    ExpectOutput({"nvram", "boot-device"}, "boot-device\t" + path + "\n");
    EXPECT_EQ("exited 1", Run({"nvram", "none"}));
    EXPECT_EQ(0u, errors.find("labctl: there is no firmware variable none; there are auto-boot?, ")) << errors;
}

TEST_F(LabctlDisk, TheTreeShowsVolumesAndWhereTheyAreMounted)
{
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_TRUE(OutputHas("Apple_HFS, volume Backup (hfs) at /Volumes/Backup\n")) << output;
    EXPECT_TRUE(OutputHas("Apple_Boot, boot helper, boot device, volume Boot OSX (hfs) not mounted\n")) << output;
}

TEST_F(LabctlDisk, TheTreeShowsWhichPartitionsAreMembersOfARAIDVolume)
{
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_TRUE(OutputHas("disk0s4  Halvorix, 232.8 GB, Halvorix_RAID, RAID member of disk2s3\n")) << output;
    EXPECT_TRUE(
        OutputHas("disk1s2  Halvorix, 232.5 GB, 5C5D1F40-7B3E-4B0A-9E61-2F8A37C0D915, RAID member of disk2s3\n"))
        << output;
    EXPECT_TRUE(OutputHas("`-- boot members: disk0s4 and disk1s2\n")) << output;

    // A member that no volume can be started from is one nevertheless.
    ASSERT_EQ("", machine.RemoveProperty("disk2s3", "IOBootDevice"));
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_TRUE(OutputHas("Halvorix_RAID, RAID member\n")) << output;
}
