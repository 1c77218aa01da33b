#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/support/MachineTest.h"

#include <string>
#include <vector>

using namespace lab;
using plist::TValue;

// The I/O Registry as tests change it: any entry by its name, the device tree by path.
class Entries : public TMachineTest
{
protected:
    TValue PropertyOf(const std::string& name, const std::string& key)
    {
        TRegistry registry("/machine");
        const TFoundEntry found = registry.FindNamed(name);
        const TValue* const value = found.entry ? found.entry->Find(key) : nullptr;
        return value ? *value : TValue::String("none");
    }

    TValue TreePropertyOf(const std::string& path, const std::string& key)
    {
        TRegistry registry("/machine");
        const TValue* const entry = registry.AtDeviceTreePath(path);
        const TValue* const value = entry ? entry->Find(key) : nullptr;
        return value ? *value : TValue::String("none");
    }
};

static const char* const kDisk0InTheTree = "/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3";

TEST_F(Entries, AnEntryIsNamedByItsBSDNameBeforeItsName)
{
    TValue decoy = TValue::Dictionary();
    decoy.Set("Mark", TValue::String("decoy"));
    ASSERT_EQ("", machine.AddEntry("Root", "IOService", "disk3s3", decoy));
    ASSERT_EQ("", machine.SetProperty("disk3s3", "Mark", TValue::String("medium")));
    EXPECT_EQ("medium", PropertyOf("disk3s3", "Mark").text);
    EXPECT_EQ("disk3s3", PropertyOf("disk3s3", "BSD Name").text);

    ASSERT_EQ("", machine.SetProperty("Root", "Mark", TValue::String("root")));
    TRegistry registry("/machine");
    EXPECT_EQ("root", TextOf(registry.Root(), "Mark"));
}

TEST_F(Entries, AnEntryIsAddedWithItsPropertiesAndAnIdentifierOfItsOwn)
{
    TValue properties = TValue::Dictionary();
    properties.Set("Weight", TValue::Integer(7));
    ASSERT_EQ("", machine.AddEntry("options", "IOService", "new", properties));
    const long long first = PropertyOf("new", "IORegistryEntryID").integer;
    EXPECT_EQ(7, PropertyOf("new", "Weight").integer);
    EXPECT_EQ("IOService", PropertyOf("new", "IOObjectClass").text);
    EXPECT_LT(0x100000100, first);
    ASSERT_EQ("", machine.AddEntry("new", "IOService", "newer"));
    EXPECT_LT(first, PropertyOf("newer", "IORegistryEntryID").integer);
    EXPECT_EQ("IOService:/AppleMacRISC4PE/options/new/newer", machine.EntryPath("newer"));
    EXPECT_EQ("no entry of the I/O Registry has the BSD name or the name \"none\"",
              machine.AddEntry("none", "IOService", "newest"));
}

TEST_F(Entries, AnEntryInBothPlanesIsChangedInBoth)
{
    ASSERT_EQ("", machine.SetProperty("disk0s3", "Mark", TValue::Integer(1)));
    EXPECT_EQ(1, TreePropertyOf(kDisk0InTheTree, "Mark").integer);
    ASSERT_EQ("", machine.SetDeviceTreeProperty(kDisk0InTheTree, "Mark", TValue::Integer(2)));
    EXPECT_EQ(2, PropertyOf("disk0s3", "Mark").integer);
    ASSERT_EQ("", machine.RemoveDeviceTreeProperty(kDisk0InTheTree, "Mark"));
    EXPECT_EQ("none", PropertyOf("disk0s3", "Mark").text);
    EXPECT_EQ("none", TreePropertyOf(kDisk0InTheTree, "Mark").text);
    EXPECT_EQ("the entry has no property Mark", machine.RemoveProperty("disk0s3", "Mark"));
}

TEST_F(Entries, WhatMakesUpTheTreeIsNoProperty)
{
    for (const char* const key : {"IORegistryEntryChildren", "IORegistryEntryID", "IORegistryEntryName",
                                  "IORegistryEntryLocation", "IOObjectClass"}) {
        const std::string error = std::string(key) + " is no property of an entry but makes up the tree";
        EXPECT_EQ(error, machine.SetProperty("disk3s3", key, TValue::String("x")));
        EXPECT_EQ(error, machine.RemoveProperty("disk3s3", key));
    }
    EXPECT_EQ("IOMedia", PropertyOf("disk3s3", "IOObjectClass").text);
}

TEST_F(Entries, AMediumThatIsRemovedIsGoneFromTheDeviceTreeAsWell)
{
    ASSERT_EQ("", machine.RemoveMedium("disk0"));
    EXPECT_EQ("none", TreePropertyOf(kDisk0InTheTree, "BSD Name").text);
    EXPECT_EQ("none", TreePropertyOf("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:0", "BSD Name").text);
    EXPECT_EQ("disk1s3", TreePropertyOf("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@1/@0:3", "BSD Name").text);
}

TEST_F(Entries, PathsBeginBelowTheComputersOwnEntry)
{
    EXPECT_EQ("IOService:/IOResources/com_halvorix_driver_Halvorix/HalvorixVolume@0/IOBlockStorageDriver/Halvorix RAID "
              "Volume Media/IOApplePartitionScheme/Macintosh RAID@3",
              machine.EntryPath("disk2s3"));
    EXPECT_EQ("IOService:/", machine.EntryPath("PowerMac7,3"));
    EXPECT_EQ("", machine.EntryPath("Root"));
    EXPECT_EQ("", machine.EntryPath("none"));
    ASSERT_EQ("", machine.AddMedium("disk9", "", 512, true));
    EXPECT_EQ("", machine.EntryPath("disk9")) << "stands beside the computer";
}

TEST_F(Entries, TheBootMembersPathsAreThoseOfTheirEntries)
{
    const TValue members = PropertyOf("disk2s3", "IOBootDevice");
    ASSERT_EQ(2u, members.items.size());
    EXPECT_EQ(machine.EntryPath("disk1s2"), TextOf(members.items[1], "IOBootDevicePath"));
}

TEST_F(Entries, TheDeviceTreeIsChangedByPath)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/", "Mark", TValue::String("computer")));
    EXPECT_EQ("computer", PropertyOf("PowerMac7,3", "Mark").text);
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/chosen", "bootpath", TValue::Data(std::string("hd:", 4))));
    EXPECT_EQ(std::string("hd:", 4), TreePropertyOf("/chosen", "bootpath").text);
    for (const char* const path : {"", "options", "/none", "/ht", "/options/none"})
        EXPECT_EQ(std::string("the device tree has no entry ") + path,
                  machine.SetDeviceTreeProperty(path, "Mark", TValue::Integer(1)));
    EXPECT_EQ("the device tree has no entry /none", machine.RemoveDeviceTreeProperty("/none", "Mark"));
}

TEST_F(Entries, AFirmwareVariableIsReadAsText)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", TValue::String("hd:,\\\\:tbxi")));
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-volume", TValue::Integer(3)));
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", "aht-kbd-lang", TValue::Data("en")));
    EXPECT_EQ("hd:,\\\\:tbxi", machine.FirmwareVariable("boot-device"));
    EXPECT_EQ("3", machine.FirmwareVariable("boot-volume"));
    EXPECT_EQ("en", machine.FirmwareVariable("aht-kbd-lang"));
    EXPECT_EQ("true", machine.FirmwareVariable("auto-boot?"));
    EXPECT_EQ("false", machine.FirmwareVariable("little-endian?"));
    EXPECT_EQ("", machine.FirmwareVariable("none"));
}
