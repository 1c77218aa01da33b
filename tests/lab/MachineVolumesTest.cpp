#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/support/MachineTest.h"

#include <set>
#include <string>
#include <unistd.h>
#include <vector>

using namespace lab;
using plist::TValue;

// What a machine's folder says of its volumes, and how it is changed.
class MachineVolumes : public TMachineTest
{
};

TEST_F(MachineVolumes, AnHFSVolumeHasAnIdentityOfItsOwn)
{
    std::set<std::string> identifiers;
    std::set<std::string> uuids;
    for (const char* const disk : {"disk9s1", "disk9s2", "disk9s3"}) {
        ASSERT_EQ("", machine.AddVolume(disk, "Same Name"));
        const TValue volume = machine.Volume(disk);
        EXPECT_EQ("Same Name", TextOf(volume, "Name"));
        EXPECT_EQ("hfs", TextOf(volume, "Kind"));
        EXPECT_TRUE(TruthOf(volume, "Owners") && TruthOf(volume, "Journaled") && TruthOf(volume, "Indexed"));
        EXPECT_EQ(16u, TextOf(volume, "Identifier").size());
        EXPECT_EQ(std::string::npos, TextOf(volume, "Identifier").find_first_not_of("0123456789ABCDEF"));
        EXPECT_EQ(36u, TextOf(volume, "UUID").size());
        identifiers.insert(TextOf(volume, "Identifier"));
        uuids.insert(TextOf(volume, "UUID"));
    }
    EXPECT_EQ(3u, identifiers.size());
    EXPECT_EQ(3u, uuids.size());
}

TEST_F(MachineVolumes, OtherKindsHaveNoIdentifierAndOnlyUFSAUUID)
{
    ASSERT_EQ("", machine.AddVolume("disk9s1", "A", "ufs"));
    ASSERT_EQ("", machine.AddVolume("disk9s2", "B", "msdos"));
    EXPECT_EQ(nullptr, machine.Volume("disk9s1").Find("Identifier"));
    EXPECT_NE("", TextOf(machine.Volume("disk9s1"), "UUID"));
    EXPECT_FALSE(TruthOf(machine.Volume("disk9s1"), "Journaled"));
    EXPECT_EQ(nullptr, machine.Volume("disk9s2").Find("Identifier"));
    EXPECT_EQ(nullptr, machine.Volume("disk9s2").Find("UUID"));
}

TEST_F(MachineVolumes, AVolumeThatIsAddedAgainIsErased)
{
    ASSERT_EQ("", machine.AddVolume("disk9s1", "A"));
    ASSERT_EQ("", ReplaceFile(machine.VolumeFiles("disk9s1") + "/file", "text"));
    ASSERT_EQ("", machine.SetRefusals("disk9s1", "mount busy"));
    const std::string before = TextOf(machine.Volume("disk9s1"), "Identifier");

    ASSERT_EQ("", machine.AddVolume("disk9s1", "B"));
    EXPECT_TRUE(NamesInFolder(machine.VolumeFiles("disk9s1")).empty());
    EXPECT_EQ("", machine.ReadText("volumes/disk9s1/refuse"));
    EXPECT_NE(before, TextOf(machine.Volume("disk9s1"), "Identifier"));
}

TEST_F(MachineVolumes, NamesThatAreNoDisksNeverReachTheFolder)
{
    for (const char* const name : {"", "..", ".hidden", "../disk3s3", "a/b"}) {
        const std::string error =
            std::string("a volume is named by its disk, such as disk3s3, not by \"") + name + "\"";
        EXPECT_EQ(error, machine.AddVolume(name, "A"));
        EXPECT_EQ(error, machine.SetRefusals(name, "mount busy"));
        EXPECT_TRUE(machine.Volume(name).entries.empty());
    }
}

TEST_F(MachineVolumes, PropertiesAreSetAndRemoved)
{
    ASSERT_EQ("", machine.SetVolumeProperty("disk3s3", "Owners", TValue::Boolean(false)));
    ASSERT_EQ("", machine.SetVolumeProperty("disk3s3", "Read Only", TValue::Boolean(true)));
    ASSERT_EQ("", machine.RemoveVolumeProperty("disk3s3", "UUID"));

    const TValue volume = machine.Volume("disk3s3");
    EXPECT_FALSE(TruthOf(volume, "Owners"));
    EXPECT_TRUE(TruthOf(volume, "Read Only"));
    EXPECT_EQ(nullptr, volume.Find("UUID"));
    EXPECT_EQ("the volume on disk3s3 has no property UUID", machine.RemoveVolumeProperty("disk3s3", "UUID"));
    EXPECT_NE("", machine.SetVolumeProperty("disk77", "Owners", TValue::Boolean(false)));
    EXPECT_NE(0, access("/machine/volumes/disk77", F_OK));
}

TEST_F(MachineVolumes, OnlyWhatDiskArbitrationKnowsCanBeRefused)
{
    EXPECT_EQ("", machine.SetRefusals("disk3s3", "mount busy\nunmount not-permitted\nrename error\nclaim "
                                                 "exclusive-access\ndelay 10"));
    const std::string kept = machine.ReadText("volumes/disk3s3/refuse");
    EXPECT_EQ(5u, SplitLines(kept).size());
    for (const char* const line :
         {"mount", "eat busy", "mount busy now", "mount grumpy", "delay", "delay soon", "delay -1", "delay 1.5", " "})
        EXPECT_NE("", machine.SetRefusals("disk3s3", line)) << line;
    EXPECT_EQ(kept, machine.ReadText("volumes/disk3s3/refuse"));
    EXPECT_EQ("", machine.SetRefusals("disk3s3", ""));
    EXPECT_NE(0, access("/machine/volumes/disk3s3/refuse", F_OK));
    EXPECT_EQ("", machine.SetRefusals("disk3s3", "")) << "nothing to take back is no error";
}
