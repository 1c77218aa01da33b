#include "services/VolumeUUIDs.h"

#include "foundation/ScopedCFType.h"
#include "platform/PropertyList.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>
#include <string>
#include <sys/stat.h>

class VolumeUUIDs : public TMachineTest
{
protected:
    // What the volume's own description says.
    std::string UUIDOf(const char* bsdName) const
    {
        const plist::TValue volume = machine.Volume(bsdName);
        const plist::TValue* const uuid = volume.Find("UUID");
        return uuid != nullptr ? uuid->text : "";
    }

    // Releases the UUID, whose text it returns; "none" for null.
    static std::string TextOf(CFUUIDRef uuid)
    {
        const TScopedCFType held(uuid);
        if (!held)
            return "none";
        const TScopedCFType string(CFUUIDCreateString(kCFAllocatorDefault, held.Get()));
        char text[64];
        EXPECT_TRUE(CFStringGetCString(string.Get(), text, sizeof text, kCFStringEncodingASCII));
        return text;
    }
};

TEST_F(VolumeUUIDs, ADisksVolumeHasItsUUIDMountedOrNot)
{
    ASSERT_EQ("", machine.MountPath("disk0s3"));

    EXPECT_EQ(UUIDOf("disk3s3"), TextOf(CreateVolumeCFUUID_WithBSD_Name("disk3s3")));
    EXPECT_EQ(UUIDOf("disk0s3"), TextOf(CreateVolumeCFUUID_WithBSD_Name("disk0s3")));
    EXPECT_NE(UUIDOf("disk0s3"), UUIDOf("disk3s3"));
}

// Used when all else is gone; were it not the caller's, this would end the process.
TEST_F(VolumeUUIDs, TheUUIDIsTheCallers)
{
    const CFUUIDRef uuid = CreateVolumeCFUUID_WithBSD_Name("disk3s3");
    ASSERT_NE(nullptr, uuid);

    EXPECT_EQ(1, CFGetRetainCount(uuid));
    EXPECT_EQ(UUIDOf("disk3s3"), TextOf(uuid));
}

TEST_F(VolumeUUIDs, WhatHasNoVolumeWithAUUIDHasNone)
{
    ASSERT_EQ("", machine.RemoveVolumeProperty("disk3s3", "UUID"));

    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("disk3s3")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("disk2")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("disk99s9")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID("Backup")));
}

TEST_F(VolumeUUIDs, AMountedVolumeIsFoundByItsPathOrName)
{
    EXPECT_EQ(UUIDOf("disk2s3"), TextOf(CreateVolumeCFUUID("/")));
    EXPECT_EQ(UUIDOf("disk3s3"), TextOf(CreateVolumeCFUUID("/Volumes/Backup")));
    EXPECT_EQ(UUIDOf("disk3s3"), TextOf(CreateVolumeCFUUID("Backup")));
}

TEST_F(VolumeUUIDs, WhatIsNoMountedVolumeIsNotFound)
{
    ASSERT_EQ(0, mkdir("/Volumes/Backup/folder", 0755));

    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID("/Volumes/Backup/folder")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID("Boot OSX")));
    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID("/nothing")));
}

TEST_F(VolumeUUIDs, EachStepThatFailsGivesNone)
{
    for (const char* const step : {"DASessionCreate", "DADiskCreateFromBSDName", "DADiskCopyDescription"}) {
        SCOPED_TRACE(step);
        const TFault fault(step, {0, 0});
        EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("disk3s3")));
        EXPECT_EQ(1u, fault.Reached());
    }
}

TEST_F(VolumeUUIDs, WhatIsNoUUIDIsNotTakenForOne)
{
    const void* keys[] = {kDADiskDescriptionVolumeUUIDKey};
    const void* values[] = {CFSTR("2AEC3592-139B-38FF-9C66-133AE06D6CC3")};
    const CFDictionaryRef description = CFDictionaryCreate(
        kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const TFault fault("DADiskCopyDescription", {reinterpret_cast<long>(description), 0});

    EXPECT_EQ("none", TextOf(CreateVolumeCFUUID_WithBSD_Name("disk3s3")));
    EXPECT_EQ(1u, fault.Reached());
}
