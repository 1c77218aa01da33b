#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

// Disks of the machine's own: disk8 with a partition, both added to the root.
class Disks : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddMedium("disk8", "", 1000000, true));
        ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 512000, false));
    }

    // The disk of that name; the caller releases it.
    DADiskRef Disk(const char* name) const
    {
        return DADiskCreateFromBSDName(kCFAllocatorDefault, fSession.Get(), name);
    }

    // The description of the disk of that name, or null; the caller releases it.
    CFDictionaryRef Description(const char* name) const
    {
        const TScoped<DADiskRef> disk(Disk(name));
        return DADiskCopyDescription(disk.Get());
    }

    // What stands under a key, as text: "true", a number, a string, a path or a UUID; "none" when there is nothing.
    std::string Described(const char* name, CFStringRef key) const
    {
        const TScoped<CFDictionaryRef> description(Description(name));
        const CFTypeRef value = description.Get() != nullptr ? CFDictionaryGetValue(description.Get(), key) : nullptr;
        return value != nullptr ? TextOf(value) : "none";
    }

    static std::string TextOf(CFTypeRef value)
    {
        const CFTypeID type = CFGetTypeID(value);
        char text[256] = "";
        long long number = 0;
        if (type == CFBooleanGetTypeID())
            return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? "true" : "false";
        if (type == CFNumberGetTypeID())
            return CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &number)
                       ? std::to_string(number)
                       : "a fraction";
        if (type == CFURLGetTypeID())
            return CFURLGetFileSystemRepresentation(static_cast<CFURLRef>(value), true, reinterpret_cast<UInt8*>(text),
                                                    sizeof text)
                       ? text
                       : "no path";
        if (type == CFUUIDGetTypeID()) {
            const TScoped<CFStringRef> uuid(CFUUIDCreateString(kCFAllocatorDefault, static_cast<CFUUIDRef>(value)));
            return TextOf(uuid.Get());
        }
        if (type == CFStringGetTypeID() &&
            CFStringGetCString(static_cast<CFStringRef>(value), text, sizeof text, kCFStringEncodingUTF8))
            return text;
        return "of another type";
    }

    const TScoped<DASessionRef> fSession{DASessionCreate(kCFAllocatorDefault)};
};

TEST_F(Disks, ADiskIsMadeForAnyName)
{
    const TScoped<DADiskRef> there(Disk("disk8"));
    const TScoped<DADiskRef> device(Disk("/dev/disk8"));
    const TScoped<DADiskRef> missing(Disk("disk77"));
    EXPECT_STREQ("disk8", DADiskGetBSDName(there.Get()));
    EXPECT_STREQ("disk8", DADiskGetBSDName(device.Get()));
    EXPECT_STREQ("disk77", DADiskGetBSDName(missing.Get()));
}

TEST_F(Disks, WithoutSessionOrNameThereIsNoDisk)
{
    EXPECT_EQ(nullptr, DADiskCreateFromBSDName(kCFAllocatorDefault, nullptr, "disk8"));
    EXPECT_EQ(nullptr, Disk(nullptr));
    const TScoped<DADiskRef> disk(Disk("disk8"));
    const TScopedName media(DADiskCopyIOMedia(disk.Get()));
    EXPECT_EQ(nullptr, DADiskCreateFromIOMedia(kCFAllocatorDefault, nullptr, media.Get()));
}

TEST_F(Disks, ADiskKeepsItsSession)
{
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session, "disk8"));
    EXPECT_EQ(2, CFGetRetainCount(session));
    CFRelease(session);
    EXPECT_EQ(1, CFGetRetainCount(session));
}

TEST_F(Disks, DisksOfOneNameAreEqual)
{
    const TScoped<DADiskRef> one(Disk("disk8"));
    const TScoped<DADiskRef> other(Disk("/dev/disk8"));
    const TScoped<DADiskRef> partition(Disk("disk8s2"));
    const TScoped<DADiskRef> missing(Disk("disk77"));
    const TScoped<DADiskRef> alsoMissing(Disk("disk78"));
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(other.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), partition.Get()));
    EXPECT_FALSE(CFEqual(missing.Get(), alsoMissing.Get()));
}

TEST_F(Disks, ADiskOfASwappedMediumIsAnother)
{
    const TScoped<DADiskRef> before(Disk("disk8s2"));
    ASSERT_EQ("", machine.RemoveMedium("disk8s2"));
    ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 99, false));
    const TScoped<DADiskRef> after(Disk("disk8s2"));
    EXPECT_FALSE(CFEqual(before.Get(), after.Get()));
}

TEST_F(Disks, ADiskIsMadeFromItsMedium)
{
    const TScopedName media(
        IOServiceGetMatchingService(kIOMasterPortDefault, IOBSDNameMatching(kIOMasterPortDefault, 0, "disk8s2")));
    const TScoped<DADiskRef> disk(DADiskCreateFromIOMedia(kCFAllocatorDefault, fSession.Get(), media.Get()));
    const TScoped<DADiskRef> byName(Disk("disk8s2"));
    ASSERT_NE(nullptr, disk.Get());
    EXPECT_STREQ("disk8s2", DADiskGetBSDName(disk.Get()));
    EXPECT_TRUE(CFEqual(disk.Get(), byName.Get()));
}

TEST_F(Disks, NoDiskIsMadeFromWhatIsNoMediumWithAName)
{
    ASSERT_EQ("", machine.AddEntry("Root", "IOMedia", "Nameless"));
    const TScopedName nameless(IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceNameMatching("Nameless")));
    const TScopedName driver(FirstServiceOfClass("com_halvorix_driver_Halvorix"));
    const TScopedName gone(
        IOServiceGetMatchingService(kIOMasterPortDefault, IOBSDNameMatching(kIOMasterPortDefault, 0, "disk8s2")));
    ASSERT_NE(0u, nameless.Get());
    ASSERT_NE(0u, driver.Get());
    ASSERT_EQ("", machine.RemoveMedium("disk8s2"));

    for (const io_service_t service : {nameless.Get(), driver.Get(), gone.Get(), io_service_t{12345}})
        EXPECT_EQ(nullptr, DADiskCreateFromIOMedia(kCFAllocatorDefault, fSession.Get(), service));
}

TEST_F(Disks, TheMediumIsTheEntryWithTheDisksName)
{
    const TScoped<DADiskRef> disk(Disk("disk8s2"));
    const TScopedName media(DADiskCopyIOMedia(disk.Get()));
    const TScopedName entry(
        IOServiceGetMatchingService(kIOMasterPortDefault, IOBSDNameMatching(kIOMasterPortDefault, 0, "disk8s2")));
    EXPECT_NE(0u, media.Get());
    EXPECT_EQ(entry.Get(), media.Get());

    const TScoped<DADiskRef> missing(Disk("disk77"));
    EXPECT_EQ(0u, DADiskCopyIOMedia(missing.Get()));
}

TEST_F(Disks, WhatHasTheNameButIsNoMediumIsNoDisk)
{
    plist::TValue properties = plist::TValue::Dictionary();
    properties.Set("BSD Name", plist::TValue::String("en7"));
    ASSERT_EQ("", machine.AddEntry("Root", "IOService", "Ethernet", properties));
    const TScoped<DADiskRef> disk(Disk("en7"));
    EXPECT_EQ(0u, DADiskCopyIOMedia(disk.Get()));
    EXPECT_EQ(nullptr, Description("en7"));
}

TEST_F(Disks, ADiskThatWasSwappedAnswersForTheNewMedium)
{
    const TScoped<DADiskRef> disk(Disk("disk8s2"));
    const TScopedName before(DADiskCopyIOMedia(disk.Get()));
    ASSERT_EQ("", machine.RemoveMedium("disk8s2"));
    EXPECT_EQ(0u, DADiskCopyIOMedia(disk.Get()));
    EXPECT_EQ(nullptr, DADiskCopyDescription(disk.Get()));

    ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 99, false));
    const TScopedName after(DADiskCopyIOMedia(disk.Get()));
    EXPECT_NE(0u, after.Get());
    EXPECT_NE(before.Get(), after.Get());
    EXPECT_EQ("99", Described("disk8s2", kDADiskDescriptionMediaSizeKey));
}

// Descriptions

TEST_F(Disks, ADescriptionHoldsTheMediumsProperties)
{
    ASSERT_EQ("", machine.SetProperty("disk8s2", "Content", plist::TValue::String("Apple_HFS")));
    ASSERT_EQ("", machine.SetProperty("disk8s2", "Preferred Block Size", plist::TValue::Integer(2048)));
    ASSERT_EQ("", machine.SetProperty("disk8s2", "Removable", plist::TValue::Boolean(true)));
    ASSERT_EQ("", machine.SetProperty("disk8s2", "Writable", plist::TValue::Boolean(false)));
    EXPECT_EQ("disk8s2", Described("disk8s2", kDADiskDescriptionMediaBSDNameKey));
    EXPECT_EQ("512000", Described("disk8s2", kDADiskDescriptionMediaSizeKey));
    EXPECT_EQ("2048", Described("disk8s2", kDADiskDescriptionMediaBlockSizeKey));
    EXPECT_EQ("Apple_HFS", Described("disk8s2", kDADiskDescriptionMediaContentKey));
    EXPECT_EQ("false", Described("disk8s2", kDADiskDescriptionMediaWholeKey));
    EXPECT_EQ("true", Described("disk8", kDADiskDescriptionMediaWholeKey));
    EXPECT_EQ("true", Described("disk8s2", kDADiskDescriptionMediaRemovableKey));
    EXPECT_EQ("false", Described("disk8s2", kDADiskDescriptionMediaWritableKey));
    EXPECT_EQ("IOMedia", Described("disk8s2", kDADiskDescriptionMediaKindKey));
}

TEST_F(Disks, WhatTheMediumDoesNotTellIsLeftOut)
{
    ASSERT_EQ("", machine.RemoveProperty("disk8s2", "Size"));
    EXPECT_EQ("none", Described("disk8s2", kDADiskDescriptionMediaSizeKey));
}

TEST_F(Disks, AMediumsPathIsThatInTheDeviceTreeWhenItHasOne)
{
    EXPECT_EQ("IODeviceTree:/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3",
              Described("disk0s3", kDADiskDescriptionMediaPathKey));
    EXPECT_EQ("IOService:/", Described("disk8", kDADiskDescriptionMediaPathKey).substr(0, 11));
}

TEST_F(Disks, ADiskWithoutFileSystemIsNotMountable)
{
    EXPECT_EQ("false", Described("disk8s2", kDADiskDescriptionVolumeMountableKey));
    EXPECT_EQ("false", Described("disk8s2", kDADiskDescriptionVolumeNetworkKey));
    for (CFStringRef key : {kDADiskDescriptionVolumeNameKey, kDADiskDescriptionVolumeKindKey,
                            kDADiskDescriptionVolumeUUIDKey, kDADiskDescriptionVolumePathKey})
        EXPECT_EQ("none", Described("disk8s2", key));
}

TEST_F(Disks, AVolumeIsDescribedWhetherOrNotItIsMounted)
{
    ASSERT_EQ("", machine.AddVolume("disk8s2", "Tr\xC3\xA4ume", "hfs"));
    ASSERT_EQ("", machine.SetVolumeProperty("disk8s2", "UUID",
                                            plist::TValue::String("0F1E2D3C-4B5A-3697-8899-AABBCCDDEEFF")));
    EXPECT_EQ("true", Described("disk8s2", kDADiskDescriptionVolumeMountableKey));
    EXPECT_EQ("Tr\xC3\xA4ume", Described("disk8s2", kDADiskDescriptionVolumeNameKey));
    EXPECT_EQ("hfs", Described("disk8s2", kDADiskDescriptionVolumeKindKey));
    EXPECT_EQ("0F1E2D3C-4B5A-3697-8899-AABBCCDDEEFF", Described("disk8s2", kDADiskDescriptionVolumeUUIDKey));
    EXPECT_EQ("none", Described("disk8s2", kDADiskDescriptionVolumePathKey));
}

TEST_F(Disks, AVolumeWithoutUUIDIsDescribedWithoutOne)
{
    ASSERT_EQ("", machine.AddVolume("disk8s2", "Plain", "msdos"));
    EXPECT_EQ("none", Described("disk8s2", kDADiskDescriptionVolumeUUIDKey));
    EXPECT_EQ("msdos", Described("disk8s2", kDADiskDescriptionVolumeKindKey));
}

TEST_F(Disks, AMountedVolumeHasThePathWhereItIsMounted)
{
    ASSERT_EQ("", machine.AddVolume("disk8s2", "Data"));
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("/Volumes/Data", Described("disk8s2", kDADiskDescriptionVolumePathKey));

    const TScoped<CFDictionaryRef> description(Description("disk8s2"));
    const CFTypeRef url = CFDictionaryGetValue(description.Get(), kDADiskDescriptionVolumePathKey);
    EXPECT_TRUE(CFURLHasDirectoryPath(static_cast<CFURLRef>(url)));
    ASSERT_EQ("", machine.UnmountVolume("disk8s2"));
    EXPECT_EQ("none", Described("disk8s2", kDADiskDescriptionVolumePathKey));
}

TEST_F(Disks, TheStartUpVolumeIsMountedAtTheRoot)
{
    EXPECT_EQ("/", Described("disk2s3", kDADiskDescriptionVolumePathKey));
}

// Dissenters

TEST_F(Disks, ADissenterKeepsItsStatusAndItsWords)
{
    const TScoped<CFStringRef> words(MakeText("not today"));
    const TScoped<DADissenterRef> dissenter(DADissenterCreate(kCFAllocatorDefault, kDAReturnNotReady, words.Get()));
    EXPECT_EQ(kDAReturnNotReady, DADissenterGetStatus(dissenter.Get()));
    EXPECT_EQ(words.Get(), DADissenterGetStatusString(dissenter.Get()));
    EXPECT_EQ(2, CFGetRetainCount(words.Get()));

    const TScoped<DADissenterRef> silent(DADissenterCreate(kCFAllocatorDefault, kDAReturnBusy, nullptr));
    EXPECT_EQ(nullptr, DADissenterGetStatusString(silent.Get()));
}

TEST_F(Disks, TheStatusesAreThoseOfApplesHeader)
{
    EXPECT_EQ(0xF8DA0001u, static_cast<UInt32>(kDAReturnError));
    EXPECT_EQ(0xF8DA0004u, static_cast<UInt32>(kDAReturnExclusiveAccess));
    EXPECT_EQ(0xF8DA000Cu, static_cast<UInt32>(kDAReturnUnsupported));
}
