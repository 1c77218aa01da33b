// The registry's records alone.

#include "tests/daemon/VolumeRecords.h"
#include "tests/support/Faults.h"

class VolumeRecords : public TVolumeRecordsTest
{
};

TEST_F(VolumeRecords, AtFirstThereAreNoneAndTheRegistryIsDisabled)
{
    EXPECT_EQ(0u, registry.Count());
    EXPECT_FALSE(registry.Enabled());
    EXPECT_EQ("none", Of("disk2"));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("A"))));
}

TEST_F(VolumeRecords, OneIsTheNameIn16BytesAndTheIdentityIn64)
{
    std::string identity = Identity("0123456789ABCDEF");
    identity.back() = 'z';
    registry.SetVolumeIDForBSDName("disk3s2", Bytes(identity));

    const TVolumeRecord* const record = registry.FindRecordByBSDName("disk3s2");
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(std::string("disk3s2\0\0\0\0\0\0\0\0\0", 16) + identity,
              std::string(reinterpret_cast<const char*>(record), 80));
}

TEST_F(VolumeRecords, ANameOf15BytesIsKeptWhole)
{
    Set("disk123456789s1", "A");

    EXPECT_EQ("A", Of("disk123456789s1"));
    EXPECT_EQ(1u, registry.Count());
}

TEST_F(VolumeRecords, ANameOf16BytesAndMoreIsCutTo15AndNotFoundWhole)
{
    for (const char* const name : {"disk123456789s12", "disk123456789s123456"}) {
        TVolumeRegistry other;
        other.SetVolumeIDForBSDName(name, Bytes(Identity("A")));

        EXPECT_EQ(nullptr, other.FindRecordByBSDName(name));
        const TVolumeRecord* const record = other.FindRecordByBSDName("disk123456789s1");
        ASSERT_NE(nullptr, record);
        EXPECT_EQ(0, record->bsdName[15]);
        other.RemoveRecordForBSDName(name);
        EXPECT_EQ(1u, other.Count());
    }
}

TEST_F(VolumeRecords, ACutNameIsAddedAgainEachTimeAndTheFirstIsFound)
{
    Set("disk123456789s12", "A");
    Set("disk123456789s12", "B");
    Set("disk123456789s13", "C");
    EXPECT_EQ(3u, registry.Count());
    EXPECT_EQ("A", Of("disk123456789s1"));

    registry.RemoveRecordForBSDName("disk123456789s1");
    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("B", Of("disk123456789s1"));
}

TEST_F(VolumeRecords, ANameThatIsKnownIsOverwrittenInPlace)
{
    Set("disk2", "A");
    Set("disk3", "B");
    const TVolumeRecord* const record = registry.FindRecordByBSDName("disk2");
    Set("disk2", "C");

    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("C", Of("disk2"));
    EXPECT_EQ("B", Of("disk3"));
    EXPECT_EQ(0u, PlaceOf("disk2"));
    EXPECT_EQ(record, registry.FindRecordByBSDName("disk2"));
}

TEST_F(VolumeRecords, ANameIsComparedWhole)
{
    Set("disk2s1", "A");

    EXPECT_EQ("none", Of("disk2"));
    EXPECT_EQ("none", Of("disk2s10"));
    EXPECT_EQ("none", Of("Disk2s1"));
    EXPECT_EQ("none", Of(""));
}

TEST_F(VolumeRecords, AllBytesOfAnIdentityAreCompared)
{
    std::string withoutEnd = Identity("A");
    withoutEnd.back() = 'z';
    Set("disk2", "A");

    EXPECT_NE(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("A"))));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(withoutEnd)));
    EXPECT_EQ(nullptr, registry.FindRecordByVolumeID(Bytes(Identity("a"))));
}

TEST_F(VolumeRecords, TheFirstWithAnIdentityIsFound)
{
    Set("disk2", "A");
    Set("disk3", "B");
    Set("disk4", "B");

    EXPECT_STREQ("disk3", registry.FindRecordByVolumeID(Bytes(Identity("B")))->bsdName);
}

TEST_F(VolumeRecords, TheyStandInTheOrderOfTheirFirstAppearance)
{
    for (const char* const name : {"disk4", "disk2", "disk3", "disk1"})
        Set(name, name);
    registry.RemoveRecordForBSDName("disk2");
    Set("disk4", "again");
    Set("disk2", "back");

    EXPECT_EQ(0u, PlaceOf("disk4"));
    EXPECT_EQ(1u, PlaceOf("disk3"));
    EXPECT_EQ(2u, PlaceOf("disk1"));
    EXPECT_EQ(3u, PlaceOf("disk2"));
    EXPECT_EQ("disk3", Of("disk3"));
    EXPECT_EQ("back", Of("disk2"));
}

TEST_F(VolumeRecords, ThePlaceOfAnUnknownNameIsNotWritten)
{
    Set("disk2", "A");

    EXPECT_EQ(77u, PlaceOf("disk3"));
    EXPECT_NE(nullptr, registry.FindRecordByBSDName("disk2", nullptr));
}

TEST_F(VolumeRecords, ContainsSaysWhetherANameIsKnown)
{
    Set("disk2", "A");
    EXPECT_TRUE(registry.ContainsBSDName("disk2"));
    EXPECT_FALSE(registry.ContainsBSDName("disk3"));
    registry.RemoveRecordForBSDName("disk2");
    EXPECT_FALSE(registry.ContainsBSDName("disk2"));
}

TEST_F(VolumeRecords, RemovingAnUnknownNameRemovesNothing)
{
    Set("disk2", "A");
    registry.RemoveRecordForBSDName("disk3");
    registry.RemoveRecordForBSDName("");

    EXPECT_EQ("A", Of("disk2"));
}

TEST_F(VolumeRecords, WithoutMemoryNothingIsAdded)
{
    Set("disk2", "A");
    {
        const TFault fault("operator new[] nothrow", {0, 0, 2 * 80});
        Set("disk3", "B");
        EXPECT_EQ(1u, fault.Reached());
    }
    EXPECT_EQ(1u, registry.Count());
    EXPECT_EQ("A", Of("disk2"));
    Set("disk3", "B");
    EXPECT_EQ("B", Of("disk3"));
}

TEST_F(VolumeRecords, WithoutMemoryForTheRestNothingIsRemoved)
{
    Set("disk2", "A");
    Set("disk3", "B");
    {
        const TFault fault("operator new[] nothrow", {0, 0, 80});
        registry.RemoveRecordForBSDName("disk2");
        EXPECT_EQ(1u, fault.Reached());
    }
    EXPECT_EQ(2u, registry.Count());
    EXPECT_EQ("A", Of("disk2"));
    registry.RemoveRecordForBSDName("disk2");
    EXPECT_EQ("none", Of("disk2"));
}
