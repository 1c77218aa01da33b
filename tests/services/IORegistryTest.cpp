#include "services/IORegistry.h"
#include "platform/PropertyList.h"
#include "services/ScopedIOObject.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>
#include <vector>

// The machine is a Leopard: disk0 on an Apple partition map, disk1 on a GUID map, each with a boot helper partition
// (disk0s3, disk1s3), the RAID volume disk2, disk3 on FireWire and the removable disk4 on USB.
class RegistryEntry : public TMachineTest
{
protected:
    void Set(const std::string& entry, const std::string& key, const plist::TValue& value)
    {
        ASSERT_EQ("", machine.SetProperty(entry, key, value));
    }
    void SetText(const std::string& entry, const std::string& key, const std::string& text)
    {
        Set(entry, key, plist::TValue::String(text));
    }
    void Remove(const std::string& entry, const std::string& key) { ASSERT_EQ("", machine.RemoveProperty(entry, key)); }

    // The entry with this name, which the caller releases.
    io_object_t Entry(const std::string& name)
    {
        const io_object_t entry = IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(name).c_str());
        EXPECT_NE(0u, entry) << name;
        return entry;
    }
};

// Walking

class RegistryWalk : public RegistryEntry
{
protected:
    // An iterator over all media, from disk0 on. The caller releases it.
    static io_iterator_t Media()
    {
        io_iterator_t media = 0;
        EXPECT_EQ(KERN_SUCCESS,
                  IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOMedia"), &media));
        return media;
    }

    static std::string NameOf(io_object_t object)
    {
        char name[32] = "";
        GetBSDNameAndSizes(object, nullptr, name, sizeof name, nullptr, nullptr);
        return name;
    }

    UInt32 IsChild(const std::string& entry, const char* className)
    {
        const TScopedIOObject object(Entry(entry));
        return IOKitObjectIsChildOfObjectOfClass(object.Get(), className);
    }
};

TEST_F(RegistryWalk, TheLastOfSoManyObjectsIsReturnedAndTheOthersAreReleased)
{
    const TScopedIOObject media(Media());

    const TScopedIOObject third(IterateThroughParentLevels(media.Get(), 3));
    EXPECT_EQ("disk0s3", NameOf(third.Get()));
    const TScopedIOObject fourth(IterateThroughParentLevels(media.Get(), 1));
    EXPECT_EQ("disk0s4", NameOf(fourth.Get()));
}

TEST_F(RegistryWalk, OfNoLevelsThereIsNoObjectAndNoneIsTaken)
{
    const TScopedIOObject media(Media());

    EXPECT_EQ(0u, IterateThroughParentLevels(media.Get(), 0));
    const TScopedIOObject first(IterateThroughParentLevels(media.Get(), 1));
    EXPECT_EQ("disk0", NameOf(first.Get()));
}

TEST_F(RegistryWalk, AnIteratorThatRunsOutReturnsNoObjectAndIsAskedToTheEnd)
{
    const TScopedIOObject media(Media());
    const TCallWatch watch("IOIteratorNext");

    EXPECT_EQ(0u, IterateThroughParentLevels(media.Get(), 500));
    EXPECT_EQ(500u, watch.Calls());
}

TEST_F(RegistryWalk, EveryObjectIsCalledTheParentOfEveryOther)
{
    const TScopedIOObject disk(Entry("disk0"));
    const TScopedIOObject other(Entry("disk1"));

    EXPECT_EQ(1u, IOKitObjectIsParentOfObject(disk.Get(), other.Get()));
    EXPECT_EQ(1u, IOKitObjectIsParentOfObject(io_object_t{0}, io_object_t{0}));
    EXPECT_EQ(1u, IOKitObjectIsParentOfObject());
}

TEST_F(RegistryWalk, AnObjectIsAChildOfItsOwnClass)
{
    // No ancestor of a whole disk is a medium.
    EXPECT_EQ(1u, IsChild("disk0", "IOMedia"));
    EXPECT_EQ(1u, IsChild("disk0s3", "IOStorage"));
}

TEST_F(RegistryWalk, AnObjectIsAChildOfItsAncestorsClassesAndOfThoseTheyAreDerivedFrom)
{
    EXPECT_EQ(1u, IsChild("disk0s3", "IOApplePartitionScheme"));
    EXPECT_EQ(1u, IsChild("disk0s3", "ATADeviceNub"));
    EXPECT_EQ(1u, IsChild("disk0s3", "IOATADevice"));
    EXPECT_EQ(1u, IsChild("disk0s3", "IOPlatformExpertDevice"));
}

TEST_F(RegistryWalk, AnObjectIsNoChildOfWhatStandsBelowOrBesideIt)
{
    EXPECT_EQ(0u, IsChild("disk0", "IOApplePartitionScheme"));
    EXPECT_EQ(0u, IsChild("disk0s3", "IOGUIDPartitionScheme"));
    EXPECT_EQ(0u, IsChild("disk0s3", "IOMediaBSDClient"));
}

TEST_F(RegistryWalk, WithoutAMatchTheWalkEndsAtTheRoot)
{
    EXPECT_EQ(0u, IsChild("disk0s3", "IOCDMedia"));
    EXPECT_EQ(0u, IsChild("disk0s3", ""));
}

// "options" hangs from the computer itself in the device tree, and from its platform expert in the other plane.
TEST_F(RegistryWalk, TheWalkFollowsTheServicePlane)
{
    EXPECT_EQ(1u, IsChild("options", "AppleMacRISC4PE"));
}

TEST_F(RegistryWalk, NoObjectIsAChildOfNothing)
{
    EXPECT_EQ(0u, IOKitObjectIsChildOfObjectOfClass(0, "IOMedia"));
}

TEST_F(RegistryWalk, TheCallerHoldsItsObjectAsBefore)
{
    const io_object_t disk = Entry("disk0s3");
    const std::uint64_t before = HeldByThisProcess().references;
    IOKitObjectIsChildOfObjectOfClass(disk, "IOMedia");
    IOKitObjectIsChildOfObjectOfClass(disk, "IOCDMedia");

    EXPECT_EQ(before, HeldByThisProcess().references);
    EXPECT_EQ(KERN_SUCCESS, IOObjectRelease(disk));
}

// Finding

TEST_F(RegistryEntry, AMediumIsFoundByItsWholeNameAlone)
{
    const TScopedIOObject partition(GetIOKitObjectWithBSDName("disk1s2"));
    char name[32] = "";
    GetBSDNameAndSizes(partition.Get(), nullptr, name, sizeof name, nullptr, nullptr);

    EXPECT_STREQ("disk1s2", name);
    EXPECT_EQ(0u, GetIOKitObjectWithBSDName("disk9"));
    EXPECT_EQ(0u, GetIOKitObjectWithBSDName("disk1s"));
    EXPECT_EQ(0u, GetIOKitObjectWithBSDName("/dev/disk1s2"));
    EXPECT_EQ(0u, GetIOKitObjectWithBSDName(""));
}

TEST_F(RegistryEntry, WithoutAMatchingDictionaryNoMediumIsFound)
{
    const TFault fault("IOBSDNameMatching", {0, 0});

    EXPECT_EQ(0u, GetIOKitObjectWithBSDName("disk1s2"));
    EXPECT_EQ(1u, fault.Reached());
}

// Names and sizes

// What is asked of a medium, all of it preset so that what stays untouched shows.
struct TAnswer
{
    UInt32 isPartition = 77;
    char bsdName[16] = "untouched";
    SInt64 byteSize = 7777;
    SInt32 blockSize = 777;
};

class MediumProperties : public RegistryEntry
{
protected:
    TAnswer AnswerFor(const std::string& entry)
    {
        TAnswer answer;
        const TScopedIOObject media(Entry(entry));
        GetBSDNameAndSizes(media.Get(), &answer.isPartition, answer.bsdName, sizeof answer.bsdName, &answer.byteSize,
                           &answer.blockSize);
        return answer;
    }
};

TEST_F(MediumProperties, AllOfThemAreRead)
{
    Set("disk1s2", "Preferred Block Size", plist::TValue::Integer(4096));
    const TAnswer answer = AnswerFor("disk1s2");

    EXPECT_EQ(1u, answer.isPartition);
    EXPECT_STREQ("disk1s2", answer.bsdName);
    EXPECT_EQ(249697591296, answer.byteSize);
    EXPECT_EQ(4096, answer.blockSize);
}

TEST_F(MediumProperties, AWholeDiskIsNoPartition)
{
    EXPECT_EQ(0u, AnswerFor("disk1").isPartition);
}

TEST_F(MediumProperties, WhatIsNotAskedForIsNotNeeded)
{
    const TScopedIOObject media(Entry("disk1s2"));
    TAnswer answer;
    GetBSDNameAndSizes(media.Get(), nullptr, nullptr, 0, nullptr, nullptr);
    GetBSDNameAndSizes(media.Get(), nullptr, answer.bsdName, sizeof answer.bsdName, nullptr, nullptr);
    EXPECT_STREQ("disk1s2", answer.bsdName);
    GetBSDNameAndSizes(media.Get(), nullptr, nullptr, 0, &answer.byteSize, nullptr);
    EXPECT_EQ(249697591296, answer.byteSize);
    GetBSDNameAndSizes(media.Get(), nullptr, nullptr, 0, nullptr, &answer.blockSize);
    EXPECT_EQ(512, answer.blockSize);
}

TEST_F(MediumProperties, WithoutTheNameNothingIsSaidOfAPartition)
{
    const TScopedIOObject media(Entry("disk1s2"));
    UInt32 isPartition = 77;
    GetBSDNameAndSizes(media.Get(), &isPartition, nullptr, 16, nullptr, nullptr);

    EXPECT_EQ(77u, isPartition);
}

TEST_F(MediumProperties, MissingOnesLeaveWhatWasThereButForTheName)
{
    for (const char* key : {"BSD Name", "Size", "Preferred Block Size"})
        Remove("EFI System Partition", key);
    const TAnswer answer = AnswerFor("EFI System Partition");

    EXPECT_STREQ("", answer.bsdName);
    EXPECT_EQ(0u, answer.isPartition);
    EXPECT_EQ(7777, answer.byteSize);
    EXPECT_EQ(777, answer.blockSize);
}

TEST_F(MediumProperties, ThoseOfAnotherTypeReadAsMissing)
{
    SetText("EFI System Partition", "Size", "209715200");
    Set("EFI System Partition", "Preferred Block Size", plist::TValue::Boolean(true));
    Set("EFI System Partition", "BSD Name", plist::TValue::Data("disk1s1"));
    const TAnswer answer = AnswerFor("EFI System Partition");

    EXPECT_STREQ("", answer.bsdName);
    EXPECT_EQ(7777, answer.byteSize);
    EXPECT_EQ(777, answer.blockSize);
}

TEST_F(MediumProperties, ThoseOfItsAncestorsAreNotItsOwn)
{
    Remove("disk1s2", "Size");

    EXPECT_EQ(7777, AnswerFor("disk1s2").byteSize);
}

TEST_F(MediumProperties, ASizeIsASignedNumber)
{
    Set("disk1s2", "Size", plist::TValue::Integer(-1));

    EXPECT_EQ(-1, AnswerFor("disk1s2").byteSize);
}

TEST_F(MediumProperties, ANameMustFitWithItsNul)
{
    const TScopedIOObject media(Entry("disk1s2"));
    char name[16] = "untouched";
    GetBSDNameAndSizes(media.Get(), nullptr, name, 7, nullptr, nullptr);
    EXPECT_STREQ("", name);
    GetBSDNameAndSizes(media.Get(), nullptr, name, 8, nullptr, nullptr);
    EXPECT_STREQ("disk1s2", name);
}

TEST_F(MediumProperties, WithoutRoomForANameNothingIsWritten)
{
    const TScopedIOObject media(Entry("disk1s2"));
    char name[16] = "untouched";
    GetBSDNameAndSizes(media.Get(), nullptr, name, 0, nullptr, nullptr);

    EXPECT_STREQ("untouched", name);
}

TEST_F(MediumProperties, ANameThatIsNotASCIIIsEmpty)
{
    SetText("EFI System Partition", "BSD Name", "disk\xC3\xA9");

    EXPECT_STREQ("", AnswerFor("EFI System Partition").bsdName);
}

// What a disk is

TEST_F(RegistryEntry, ABootHelperPartitionIsOneOnEitherMap)
{
    EXPECT_EQ(1u, IsDiskAppleBootPartition("disk0s3"));
    EXPECT_EQ(1u, IsDiskAppleBootPartition("disk1s3"));
    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0s4"));
    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0"));
    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk9s3"));
}

TEST_F(RegistryEntry, WhatABootHelperPartitionHoldsIsToldExactly)
{
    for (const char* content : {"apple_boot", "Apple_Boot ", "Apple_Boo", "426f6f74-0000-11aa-aa11-00306543ecac"}) {
        SetText("disk0s3", "Content Hint", content);
        EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0s3")) << content;
    }
}

TEST_F(RegistryEntry, ABootHelperPartitionIsToldByItsHintAlone)
{
    SetText("disk0s3", "Content Hint", "Apple_HFS");
    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0s3")) << "its \"Content\" is still Apple_Boot";
    Set("disk0s3", "Content Hint", plist::TValue::Data("Apple_Boot"));
    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0s3")) << "bytes are no string";
}

TEST_F(RegistryEntry, AHintOfAnAncestorMakesNoBootHelperPartition)
{
    SetText("disk0", "Content Hint", "Apple_Boot");
    Remove("disk0s3", "Content Hint");

    EXPECT_EQ(0u, IsDiskAppleBootPartition("disk0s3"));
}

TEST_F(RegistryEntry, ADiskIsRemovableWhenItSaysSo)
{
    EXPECT_EQ(1u, IsDiskRemovable("disk4"));
    EXPECT_EQ(0u, IsDiskRemovable("disk0"));
    EXPECT_EQ(0u, IsDiskRemovable("disk9"));
}

TEST_F(RegistryEntry, WhetherADiskIsRemovableIsAskedOfItsAncestors)
{
    Remove("disk4s1", "Removable");
    EXPECT_EQ(1u, IsDiskRemovable("disk4s1"));

    Remove("disk4", "Removable");
    EXPECT_EQ(0u, IsDiskRemovable("disk4s1")) << "nobody says";
    Set("Pocket Drive", "Removable", plist::TValue::Boolean(true));
    EXPECT_EQ(1u, IsDiskRemovable("disk4s1"));
}

TEST_F(RegistryEntry, TheNearestAnswerWhetherADiskIsRemovableCounts)
{
    Set("disk4s1", "Removable", plist::TValue::Boolean(false));
    EXPECT_EQ(0u, IsDiskRemovable("disk4s1"));

    Set("disk4s1", "Removable", plist::TValue::Integer(1));
    EXPECT_EQ(0u, IsDiskRemovable("disk4s1")) << "though it is no Boolean, and the disk's own is";
}

TEST_F(RegistryEntry, TheBytesOfADiskAreItsSize)
{
    EXPECT_EQ(250059350016u, NumberBytesOnDisk("disk0"));
    EXPECT_EQ(32256u, NumberBytesOnDisk("disk0s1"));
}

TEST_F(RegistryEntry, ADiskWithoutASizeHasNoBytes)
{
    EXPECT_EQ(0u, NumberBytesOnDisk("disk9"));
    SetText("disk0s3", "Size", "134217728");
    EXPECT_EQ(0u, NumberBytesOnDisk("disk0s3"));
    Remove("disk0s3", "Size");
    EXPECT_EQ(0u, NumberBytesOnDisk("disk0s3"));
}
