// Writing the kernel's root device into a boot preferences file.

#include "daemon/BootHelperFiles.h"
#include "foundation/ScopedCFType.h"
#include "services/VolumeUUIDs.h"   // CreateVolumeCFUUID_WithBSD_Name
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"

#include <fstream>

static const char kFile[] = "/tmp/com.apple.Boot.plist";

class BootPreferences : public TBootHelperTest
{
protected:
    void Write(const plist::TValue& list) { std::ofstream(kFile) << plist::Write(list); }

    UInt32 SetRootUUID()
    {
        const TScopedCFType uuid(CreateVolumeCFUUID_WithBSD_Name(kRAIDVolume));
        EXPECT_TRUE(uuid);
        return SetRootUUIDInBootPlist(uuid.Get(), kFile);
    }

    // A list with two keys.
    static plist::TValue Preferences()
    {
        plist::TValue list = plist::TValue::Dictionary();
        list.Set("Kernel", plist::TValue::String("mach_kernel"));
        list.Set("Kernel Flags", plist::TValue::String("-v"));
        return list;
    }
};

TEST_F(BootPreferences, TheUUIDIsAddedAndTheRestStays)
{
    Write(Preferences());
    EXPECT_EQ(1u, SetRootUUID());

    EXPECT_EQ(VolumeText(machine, kRAIDVolume, "UUID"), TextInList(kFile, "Root UUID"));
    EXPECT_EQ("mach_kernel", TextInList(kFile, "Kernel"));
    EXPECT_EQ("-v", TextInList(kFile, "Kernel Flags"));
}

TEST_F(BootPreferences, AnotherUUIDIsReplaced)
{
    plist::TValue list = Preferences();
    list.Set("Root UUID", plist::TValue::Integer(4711));
    Write(list);

    EXPECT_EQ(1u, SetRootUUID());
    EXPECT_EQ(VolumeText(machine, kRAIDVolume, "UUID"), TextInList(kFile, "Root UUID"));
}

TEST_F(BootPreferences, WithoutATextOfTheUUIDNothingIsChanged)
{
    Write(Preferences());
    const TFault fault("CFUUIDCreateString", {0});

    EXPECT_EQ(0u, SetRootUUID());
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ(plist::Write(Preferences()), FileText(kFile));
}

TEST_F(BootPreferences, WhereThereIsNoFileNoneIsMade)
{
    EXPECT_EQ(0u, SetRootUUID());
    EXPECT_EQ("(missing)", FileText(kFile));
}

TEST_F(BootPreferences, WhatHoldsNoDictionaryIsLeftAsItIs)
{
    plist::TValue array = plist::TValue::Array();
    array.items.push_back(Preferences());
    for (const plist::TValue& list : {array, plist::TValue::String("mach_kernel"), plist::TValue::Boolean(true)}) {
        Write(list);
        EXPECT_EQ(0u, SetRootUUID());
        EXPECT_EQ(plist::Write(list), FileText(kFile));
    }

    std::ofstream(kFile) << "Kernel = mach_kernel";
    EXPECT_EQ(0u, SetRootUUID());
    EXPECT_EQ("Kernel = mach_kernel", FileText(kFile));
}

TEST_F(BootPreferences, AFileThatCannotBeWrittenIsGone)
{
    for (const char* const function : {"CFURLWriteDataAndPropertiesToResource", "CFPropertyListCreateXMLData"}) {
        Write(Preferences());
        const TFault fault(function, {0});

        EXPECT_EQ(0u, SetRootUUID()) << function;
        EXPECT_EQ(1u, fault.Reached()) << function;
        EXPECT_EQ("(missing)", FileText(kFile)) << function;
    }
}
