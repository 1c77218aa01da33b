#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/support/MachineTest.h"

#include <map>
#include <set>
#include <string>
#include <vector>

using namespace lab;
using plist::TValue;

// The machines that ship, each looked at as the folder it is.
class MachineFolders : public TMachineTest
{
protected:
    static const std::vector<std::string>& Names()
    {
        static const std::vector<std::string>& names =
            *new std::vector<std::string>{"leopard", "panther", "tiger", "workshop"};
        return names;
    }

    static std::string FolderOf(const std::string& name) { return "/lab/machines/" + name; }
};

static void Visit(const TValue& entry, const std::function<void(const TValue&)>& look)
{
    look(entry);
    for (const TValue& child : ChildrenOf(entry))
        Visit(child, look);
}

static TValue Plane(const std::string& folder, const std::string& file)
{
    TValue value;
    EXPECT_EQ("", ReadPropertyList(folder + "/registry/" + file, &value));
    return value;
}

TEST_F(MachineFolders, EveryEntryHasAClassANameAndAnIdentifierOfItsOwn)
{
    for (const std::string& name : Names()) {
        std::set<long long> seen;
        const long long next = std::atoll(ReadLine(FolderOf(name) + "/registry/next-id").c_str());
        Visit(Plane(FolderOf(name), "ioreg.plist"), [&](const TValue& entry) {
            const long long identifier = NumberOf(entry, "IORegistryEntryID");
            EXPECT_TRUE(seen.insert(identifier).second) << name << " " << identifier;
            EXPECT_LT(0, identifier);
            EXPECT_LT(identifier, next);
            EXPECT_NE("", TextOf(entry, "IOObjectClass"));
            EXPECT_NE(nullptr, entry.Find("IORegistryEntryName"));
        });
        EXPECT_LT(50u, seen.size()) << name;
    }
}

TEST_F(MachineFolders, EveryClassLeadsToTheRegistryEntry)
{
    for (const std::string& name : Names()) {
        const TValue classes = Plane(FolderOf(name), "classes.plist");
        Visit(Plane(FolderOf(name), "ioreg.plist"), [&](const TValue& entry) {
            std::string className = TextOf(entry, "IOObjectClass");
            for (int steps = 0; steps < 20 && className != "IORegistryEntry"; ++steps)
                className = TextOf(classes, className);
            EXPECT_EQ("IORegistryEntry", className) << name << " " << TextOf(entry, "IOObjectClass");
        });
    }
}

TEST_F(MachineFolders, WhatStandsInBothPlanesIsOneEntry)
{
    for (const std::string& name : Names()) {
        std::map<long long, std::string> classes;
        Visit(Plane(FolderOf(name), "ioreg.plist"), [&](const TValue& entry) {
            classes[NumberOf(entry, "IORegistryEntryID")] = TextOf(entry, "IOObjectClass");
        });
        Visit(Plane(FolderOf(name), "devicetree.plist"), [&](const TValue& entry) {
            const std::string entryName = TextOf(entry, "IORegistryEntryName");
            if (entryName == "chosen" || entryName == "aliases")   // what no driver serves is in the device tree alone
                return;
            EXPECT_EQ(classes[NumberOf(entry, "IORegistryEntryID")], TextOf(entry, "IOObjectClass")) << name;
        });
    }
}

TEST_F(MachineFolders, EveryMediumHasWhatTheKernelPublishes)
{
    for (const std::string& name : Names()) {
        std::set<long long> minors;
        Visit(Plane(FolderOf(name), "ioreg.plist"), [&](const TValue& entry) {
            if (TextOf(entry, "IOObjectClass") != "IOMedia")
                return;
            const std::string bsdName = TextOf(entry, "BSD Name");
            const bool whole = bsdName.find('s', 4) == std::string::npos;
            EXPECT_EQ(whole, TruthOf(entry, "Whole")) << bsdName;
            EXPECT_EQ(!whole, TruthOf(entry, "Leaf")) << bsdName;
            EXPECT_EQ(14, NumberOf(entry, "BSD Major")) << bsdName;
            EXPECT_TRUE(minors.insert(NumberOf(entry, "BSD Minor")).second) << bsdName;
            EXPECT_EQ(0, NumberOf(entry, "Size") % 512) << bsdName;
            EXPECT_EQ(512, NumberOf(entry, "Preferred Block Size")) << bsdName;
            for (const char* const key : {"Content", "Content Hint", "Ejectable", "Removable", "Writable"})
                EXPECT_NE(nullptr, entry.Find(key)) << bsdName << " " << key;
        });
        EXPECT_LT(8u, minors.size()) << name;
    }
}

TEST_F(MachineFolders, TheStartupVolumeIsADiskWithASystem)
{
    for (const std::string& name : Names()) {
        const std::string disk = ReadLine(FolderOf(name) + "/startup-volume");
        TRegistry registry(FolderOf(name));
        EXPECT_NE(nullptr, registry.FindMedium(disk).entry) << name;
        TValue version;
        EXPECT_EQ("", ReadPropertyList(FolderOf(name) + "/volumes/" + disk +
                                           "/files/System/Library/CoreServices/SystemVersion.plist",
                                       &version));
        // The name ends with the system's version.
        const std::string title = ReadLine(FolderOf(name) + "/name");
        EXPECT_EQ(title.substr(title.rfind(' ') + 1), TextOf(version, "ProductVersion"));
    }
}

TEST_F(MachineFolders, EveryVolumeWithFilesIsADisk)
{
    for (const std::string& name : Names()) {
        TRegistry registry(FolderOf(name));
        for (const std::string& disk : NamesInFolder(FolderOf(name) + "/volumes"))
            EXPECT_NE(nullptr, registry.FindMedium(disk).entry) << name << " " << disk;
    }
}

TEST_F(MachineFolders, EachHasARAIDVolumeBelowTheLoadedDriver)
{
    for (const std::string& name : Names()) {
        TRegistry registry(FolderOf(name));
        const TFoundEntry driver = registry.FindClass("com_halvorix_driver_Halvorix");
        ASSERT_NE(nullptr, driver.entry) << name;
        bool marked = false;
        bool hasVolume = false;
        Visit(*driver.entry, [&](const TValue& entry) {
            marked = marked || entry.Find("Halvorix Volume ID");
            hasVolume = hasVolume || TextOf(entry, "Content") == "Apple_HFS";
        });
        EXPECT_TRUE(marked && hasVolume) << name;
    }
}

TEST_F(MachineFolders, TwoOfTheWorkshopsRAIDVolumesAreOneToHfsUtil)
{
    const TMachine workshop(FolderOf("workshop"));
    for (const char* const key : {"Name", "Identifier", "UUID"})
        EXPECT_EQ(TextOf(workshop.Volume("disk3s3"), key), TextOf(workshop.Volume("disk4s3"), key)) << key;
    TRegistry registry(FolderOf("workshop"));
    const TFoundEntry driver = registry.FindClass("com_halvorix_driver_Halvorix");
    std::set<std::string> below;
    Visit(*driver.entry, [&](const TValue& entry) { below.insert(TextOf(entry, "BSD Name")); });
    EXPECT_EQ(1u, below.count("disk3s3"));
    EXPECT_EQ(1u, below.count("disk4s3"));
}

TEST_F(MachineFolders, TheWorkshopsServerHasItsVersionInAFileOfItsOwn)
{
    const std::string folder = FolderOf("workshop") + "/volumes/disk5s3/files/System/Library/CoreServices";
    const std::vector<std::string> files = NamesInFolder(folder);
    EXPECT_EQ((std::vector<std::string>{"BootX", "ServerVersion.plist", "boot.efi"}), files);
    TRegistry registry(FolderOf("workshop"));
    const TValue* const members = registry.FindMedium("disk5s3").entry->Find("IOBootDevice");
    ASSERT_NE(nullptr, members);
    EXPECT_EQ(2u, members->items.size());
}

TEST_F(MachineFolders, TheWorkshopsRegistryIsAsLargeAsARealOne)
{
    std::size_t entries = 0;
    Visit(Plane(FolderOf("workshop"), "ioreg.plist"), [&](const TValue&) { ++entries; });
    EXPECT_LE(500u, entries);
}

TEST_F(MachineFolders, OnlyLeopardStartsFromItsRAIDVolume)
{
    for (const std::string& name : Names()) {
        TRegistry registry(FolderOf(name));
        const std::string startup = ReadLine(FolderOf(name) + "/startup-volume");
        bool belowDriver = false;
        Visit(*registry.FindClass("com_halvorix_driver_Halvorix").entry,
              [&](const TValue& entry) { belowDriver = belowDriver || TextOf(entry, "BSD Name") == startup; });
        EXPECT_EQ(name == "leopard", belowDriver) << name;
    }
}

TEST_F(MachineFolders, LeopardsVolumeNamesTwoBootMembersOnMapsOfBothKinds)
{
    TRegistry registry(FolderOf("leopard"));
    const TValue* const members = registry.FindMedium("disk2s3").entry->Find("IOBootDevice");
    ASSERT_NE(nullptr, members);
    ASSERT_EQ(2u, members->items.size());
    EXPECT_EQ("IODeviceTree:/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:4",
              TextOf(members->items[0], "IOBootDevicePath"));
    const std::string second = TextOf(members->items[1], "IOBootDevicePath");
    EXPECT_EQ(0u, second.find("IOService:/AppleMacRISC4PE/")) << second;
    EXPECT_NE(std::string::npos, second.find("/IOGUIDPartitionScheme/Halvorix@2")) << second;
}

TEST_F(MachineFolders, EveryVolumeHasAnIdentityThatNoOtherHas)
{
    std::set<std::string> identifiers;
    std::set<std::string> uuids;
    for (const std::string& name : Names()) {
        const TMachine folder(FolderOf(name));
        for (const std::string& disk : NamesInFolder(FolderOf(name) + "/volumes")) {
            const TValue volume = folder.Volume(disk);
            EXPECT_NE("", TextOf(volume, "Name")) << name << " " << disk;
            if (TextOf(volume, "Kind") != "hfs" || (name == "workshop" && disk == "disk4s3"))   // the copy
                continue;
            EXPECT_TRUE(identifiers.insert(TextOf(volume, "Identifier")).second) << name << " " << disk;
            EXPECT_TRUE(uuids.insert(TextOf(volume, "UUID")).second) << name << " " << disk;
            EXPECT_EQ(16u, TextOf(volume, "Identifier").size());
            EXPECT_EQ(36u, TextOf(volume, "UUID").size());
            EXPECT_EQ('3', TextOf(volume, "UUID")[14]) << "made from a name";
        }
    }
    EXPECT_EQ(21u, identifiers.size());
}

TEST_F(MachineFolders, EveryHelperPartitionHoldsWhatAnOlderSystemLeft)
{
    for (const char* const disk : {"disk0s3", "disk1s3"}) {
        const TMachine folder(FolderOf("leopard"));
        EXPECT_EQ("Boot OSX", TextOf(folder.Volume(disk), "Name"));
        EXPECT_FALSE(TruthOf(folder.Volume(disk), "Journaled"));
        TValue version;
        EXPECT_EQ("", ReadPropertyList(folder.VolumeFiles(disk) + "/System/Library/CoreServices/SystemVersion.plist",
                                       &version));
        EXPECT_EQ("10.5.7", TextOf(version, "ProductVersion"));
    }
}

TEST_F(MachineFolders, EveryStartupVolumeHoldsWhatHelpersAreFilledFrom)
{
    for (const std::string& name : Names()) {
        const TMachine folder(FolderOf(name));
        const std::string startup = ReadLine(FolderOf(name) + "/startup-volume");
        EXPECT_EQ("System/Library/CoreServices", TextOf(folder.Volume(startup), "Blessed Folder")) << name;
        for (const char* const file :
             {"System/Library/CoreServices/BootX", "System/Library/CoreServices/boot.efi",
              "System/Library/CoreServices/SystemVersion.plist", "System/Library/Extensions.mkext", "mach_kernel",
              "Library/Preferences/SystemConfiguration/com.apple.Boot.plist", "usr/standalone/ppc/bootx.bootinfo"}) {
            std::string text;
            EXPECT_TRUE(ReadFile(folder.VolumeFiles(startup) + "/" + file, &text)) << name << " " << file;
        }
    }
}

TEST_F(MachineFolders, TheFirmwareStartsFromADiskOfTheMachineAndItsAliasesLeadToNodes)
{
    for (const std::string& name : Names()) {
        const TMachine folder(FolderOf(name));
        TRegistry registry(FolderOf(name));
        std::string device = folder.FirmwareVariable("boot-device");
        const std::size_t booter = device.rfind(",\\\\:tbxi");
        ASSERT_NE(std::string::npos, booter) << name;
        EXPECT_NE(nullptr, registry.AtDeviceTreePath(device.substr(0, booter))) << name << " " << device;
        const TValue* const aliases = registry.AtDeviceTreePath("/aliases");
        ASSERT_NE(nullptr, aliases) << name;
        for (const char* const alias : {"hd", "fw"}) {
            ASSERT_NE(nullptr, aliases->Find(alias)) << name;
            std::string path = aliases->Find(alias)->text.c_str();
            path = path.substr(0, path.rfind("/@0"));   // a drive has a node for each partition and none for itself
            EXPECT_NE(nullptr, registry.AtDeviceTreePath(path)) << name << " " << path;
        }
        EXPECT_NE("", TextOf(*registry.AtDeviceTreePath("/"), "IOPlatformSerialNumber")) << name;
    }
}

TEST_F(MachineFolders, LeopardHasDisksOnThreeBuses)
{
    std::set<std::string> buses;
    Visit(Plane(FolderOf("leopard"), "ioreg.plist"), [&](const TValue& entry) {
        const TValue* const protocol = entry.Find("Protocol Characteristics");
        if (protocol)
            buses.insert(TextOf(*protocol, "Physical Interconnect"));
    });
    EXPECT_EQ((std::set<std::string>{"FireWire", "SATA", "USB"}), buses);
}

TEST_F(MachineFolders, EveryPartitionSchemeSaysWhatItMakesOfItsDisk)
{
    for (const std::string& name : Names()) {
        std::string content;
        Visit(Plane(FolderOf(name), "ioreg.plist"), [&](const TValue& entry) {
            if (TruthOf(entry, "Whole"))
                content = TextOf(entry, "Content");
            if (entry.Find("Content Mask")) {
                EXPECT_EQ(content, TextOf(entry, "Content Mask")) << name;
            }
        });
        EXPECT_NE("", content) << name;
    }
}

TEST_F(MachineFolders, PantherHasNoSpotlight)
{
    const auto hasSpotlight = [&](const std::string& name) {
        std::string paths;
        ReadFile(FolderOf(name) + "/tools/paths", &paths);
        return paths.find("mdutil /usr/bin/mdutil\n") != std::string::npos;
    };
    EXPECT_FALSE(hasSpotlight("panther"));
    EXPECT_TRUE(hasSpotlight("tiger"));
    EXPECT_TRUE(hasSpotlight("leopard"));
}
