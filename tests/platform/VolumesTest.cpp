#include "platform/Volumes.h"

#include "tests/platform/MountedVolumesTest.h"

class Volumes : public TMountedVolumesTest
{
};

TEST_F(Volumes, AVolumeIsWhatItsPropertyListSays)
{
    ASSERT_EQ("", machine.AddVolume("disk7s2", "Data"));
    ASSERT_EQ("", machine.SetVolumeProperty("disk7s2", "Identifier", plist::TValue::String("0123456789ABCDEF")));
    ASSERT_EQ("", machine.SetVolumeProperty("disk7s2", "UUID", plist::TValue::String("A-B")));
    ASSERT_EQ("", machine.SetVolumeProperty("disk7s2", "Journaled", plist::TValue::Boolean(false)));

    platform::TVolume volume;
    ASSERT_TRUE(platform::FindVolume("disk7s2", &volume));
    EXPECT_EQ("disk7s2", volume.bsdName);
    EXPECT_EQ("Data", volume.name);
    EXPECT_EQ("hfs", volume.kind);
    EXPECT_EQ("0123456789ABCDEF", volume.identifier);
    EXPECT_EQ("A-B", volume.uuid);
    EXPECT_TRUE(volume.owners);
    EXPECT_FALSE(volume.journaled);
    EXPECT_FALSE(volume.readOnly);
}

TEST_F(Volumes, WithoutANameOrAKindThereIsNoVolume)
{
    platform::TVolume volume;
    volume.name = "untouched";
    EXPECT_FALSE(platform::FindVolume("disk77", &volume));
    ASSERT_EQ("", machine.AddVolume("disk7s2", "Data"));
    ASSERT_EQ("", machine.RemoveVolumeProperty("disk7s2", "Kind"));
    EXPECT_FALSE(platform::FindVolume("disk7s2", &volume));
    ASSERT_EQ("", machine.AddVolume("disk7s3", "Data"));
    ASSERT_EQ("", machine.SetVolumeProperty("disk7s3", "Name", plist::TValue::Integer(3)));
    EXPECT_FALSE(platform::FindVolume("disk7s3", &volume));
    EXPECT_EQ("untouched", volume.name);
}

TEST_F(Volumes, ABrokenPropertyListIsNoVolume)
{
    ASSERT_EQ("", machine.AddVolume("disk7s2", "Data"));
    ASSERT_EQ("", machine.WriteText("volumes/disk7s2/volume.plist", "<plist><dict><key>Name</key>"));

    platform::TVolume volume;
    EXPECT_FALSE(platform::FindVolume("disk7s2", &volume));
}

TEST_F(Volumes, MountsStandInTheOrderOfMounting)
{
    // Neither the order of their names nor that of their numbers upwards.
    Mount("disk1s9", "/Volumes/b", -102);
    Mount("disk9s1", "/Volumes/a", -101);

    const std::vector<platform::TMount> mounts = platform::Mounts();
    ASSERT_EQ(3u, mounts.size());
    EXPECT_EQ("disk2s3", mounts[0].bsdName);
    EXPECT_EQ("disk9s1", mounts[1].bsdName);
    EXPECT_EQ("disk1s9", mounts[2].bsdName);
    EXPECT_EQ("/Volumes/b", mounts[2].path);
    EXPECT_EQ(-102, mounts[2].number);
}

TEST_F(Volumes, AFileThatIsBeingWrittenIsNoMount)
{
    ASSERT_EQ("", machine.WriteText("mounts/.disk9s1.70", "path /Volumes/a\nnumber -101\n"));
    ASSERT_EQ("", machine.WriteText("mounts/disk9s1.70.3", "path /Volumes/a\nnumber -101\n"));
    ASSERT_EQ("", machine.WriteText("mounts/disk9s2", "path /Volumes/a\n"));

    EXPECT_EQ(1u, platform::Mounts().size());
}

TEST_F(Volumes, AMountKeepsItsPathWithBlanksAndItsOptions)
{
    ASSERT_EQ("", machine.WriteText("mounts/disk9s1",
                                    "path /Volumes/My Data 1\nnumber -101\noption nobrowse\noption rdonly"));

    platform::TMount mount;
    ASSERT_TRUE(platform::FindMount("disk9s1", &mount));
    EXPECT_EQ("/Volumes/My Data 1", mount.path);
    EXPECT_EQ((std::vector<std::string>{"nobrowse", "rdonly"}), mount.options);
    EXPECT_FALSE(platform::FindMount("disk9s2", &mount));
}

TEST_F(Volumes, RefusalsHaveAReasonForEachRequestAndADelay)
{
    ASSERT_EQ("", machine.AddVolume("disk7s2", "Data"));
    EXPECT_TRUE(platform::ReadRefusals("disk7s2").reasons.empty());
    EXPECT_EQ(0u, platform::ReadRefusals("disk7s2").delay);

    ASSERT_EQ("", machine.WriteText("volumes/disk7s2/refuse", "mount busy\nclaim not-permitted\ndelay 250\n"));

    const platform::TRefusals refusals = platform::ReadRefusals("disk7s2");
    EXPECT_EQ((std::map<std::string, std::string>{{"claim", "not-permitted"}, {"mount", "busy"}}), refusals.reasons);
    EXPECT_EQ(250u, refusals.delay);
}
