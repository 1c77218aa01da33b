#include "tests/platform/RegistryEntriesTest.h"

// What is found around an entry, and in it.
class RegistryEntries : public TRegistryEntriesTest
{
};

constexpr IOOptionBits kTowardsParents = kIORegistryIterateRecursively | kIORegistryIterateParents;

// Classes and neighbours

TEST_F(RegistryEntries, AnEntryConformsToItsClassAndThoseItIsDerivedFrom)
{
    const TScopedName disk(WithBSDName("disk0"));
    EXPECT_TRUE(IOObjectConformsTo(disk.Get(), "IOMedia"));
    EXPECT_TRUE(IOObjectConformsTo(disk.Get(), "IOService"));
    EXPECT_FALSE(IOObjectConformsTo(disk.Get(), "IOEthernet"));
    EXPECT_FALSE(IOObjectConformsTo(12345, "IOService"));
    io_name_t className = "";
    EXPECT_EQ(KERN_SUCCESS, IOObjectGetClass(disk.Get(), className));
    EXPECT_STREQ("IOMedia", className);
}

TEST_F(RegistryEntries, TheEntryAboveIsThatOfThePlane)
{
    const TScopedName partition(WithBSDName("disk0s1"));
    io_registry_entry_t parent = 77;
    EXPECT_EQ(KERN_SUCCESS, IORegistryEntryGetParentEntry(partition.Get(), "IOService", &parent));
    EXPECT_EQ("Whole", NameOf(parent));
    EXPECT_EQ(KERN_SUCCESS, IORegistryEntryGetParentEntry(partition.Get(), "IODeviceTree", &parent));
    EXPECT_EQ("pci", NameOf(parent));
}

TEST_F(RegistryEntries, TheRootHasNothingAboveIt)
{
    const TScopedName first(At("IOService:/"));
    io_registry_entry_t root = 0;
    ASSERT_EQ(KERN_SUCCESS, IORegistryEntryGetParentEntry(first.Get(), "IOService", &root));
    const TScopedName owned(root);
    io_registry_entry_t none = 77;
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetParentEntry(root, "IOService", &none));
    EXPECT_EQ(0u, none);
    EXPECT_EQ("no path", PathOf(root, "IOService"));
}

TEST_F(RegistryEntries, ThereIsNothingAboveInAPlaneThatTheEntryIsNotIn)
{
    const TScopedName chosen(At("IODeviceTree:/chosen"));
    io_registry_entry_t parent = 77;
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetParentEntry(chosen.Get(), "IOService", &parent));
    EXPECT_EQ(kIOReturnBadArgument, IORegistryEntryGetParentEntry(chosen.Get(), "IOUSB", &parent));
    EXPECT_EQ(0u, parent);
}

// Properties

TEST_F(RegistryEntries, EachPropertyIsAFreshObject)
{
    const TScopedName disk(WithBSDName("disk0"));
    const TScoped<CFTypeRef> one(IORegistryEntryCreateCFProperty(disk.Get(), CFSTR("BSD Name"), nullptr, 0));
    const TScoped<CFTypeRef> other(IORegistryEntryCreateCFProperty(disk.Get(), CFSTR("BSD Name"), nullptr, 0));
    EXPECT_NE(one.Get(), other.Get());
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));
    EXPECT_EQ(1, CFGetRetainCount(one.Get()));
}

TEST_F(RegistryEntries, APropertyHasTheTypeThatTheRegistryHolds)
{
    EXPECT_EQ("disk0", Property("IOService:/pci/Whole", CFSTR("BSD Name")));
    EXPECT_EQ("5", Property("IOService:/pci/Whole", CFSTR("Depth")));
    EXPECT_EQ("none", Property("IOService:/pci/Whole", CFSTR("Above")));

    const TScopedName disk(WithBSDName("disk0"));
    const TScoped<CFTypeRef> flag(IORegistryEntryCreateCFProperty(disk.Get(), CFSTR("Removable"), nullptr, 0));
    EXPECT_EQ(static_cast<CFTypeRef>(kCFBooleanFalse), flag.Get());
    const TScopedName chosen(At("IODeviceTree:/chosen"));
    const TScoped<CFTypeRef> data(IORegistryEntryCreateCFProperty(chosen.Get(), CFSTR("stdin"), nullptr, 0));
    const TScoped<CFDataRef> expected(MakeBytes("\1\2"));
    EXPECT_TRUE(CFEqual(expected.Get(), data.Get()));
}

TEST_F(RegistryEntries, WhatTellsOfTheEntryIsNoProperty)
{
    for (CFStringRef key : {CFSTR("IOObjectClass"), CFSTR("IORegistryEntryID"), CFSTR("IORegistryEntryName"),
                            CFSTR("IORegistryEntryLocation"), CFSTR("IORegistryEntryChildren")})
        EXPECT_EQ("none", Property("IOService:/pci@C", key));
}

TEST_F(RegistryEntries, TheFirmwaresVariablesAreThoseOfTheDeviceTree)
{
    EXPECT_EQ("of the device tree", Property("IOService:/options", CFSTR("boot-device")));
    EXPECT_EQ("of the device tree", Property("IODeviceTree:/options", CFSTR("boot-device")));
    EXPECT_EQ("4", Property("IODeviceTree:/ht", CFSTR("Depth"))) << "others have the service plane's";
}

TEST_F(RegistryEntries, AllPropertiesComeInADictionaryOfTheCallersOwn)
{
    const TScopedName disk(WithBSDName("disk0"));
    CFMutableDictionaryRef properties = nullptr;
    ASSERT_EQ(KERN_SUCCESS, IORegistryEntryCreateCFProperties(disk.Get(), &properties, kCFAllocatorDefault, 0));
    const TScoped<CFMutableDictionaryRef> owned(properties);
    EXPECT_EQ(3, CFDictionaryGetCount(properties));
    CFDictionarySetValue(properties, CFSTR("Removable"), kCFBooleanTrue);
    EXPECT_EQ(kCFBooleanTrue, CFDictionaryGetValue(properties, CFSTR("Removable")));

    EXPECT_EQ(MACH_SEND_INVALID_DEST, IORegistryEntryCreateCFProperties(12345, &properties, kCFAllocatorDefault, 0));
    EXPECT_EQ(nullptr, properties);
}

TEST_F(RegistryEntries, ASearchBeginsWithTheEntryItself)
{
    EXPECT_EQ("5", Search("IOService:/pci/Whole", CFSTR("Depth"), kTowardsParents));
    EXPECT_EQ("5", Search("IOService:/pci/Whole", CFSTR("Depth"), kIORegistryIterateRecursively));
}

TEST_F(RegistryEntries, ASearchTowardsTheParentsFindsTheNearest)
{
    EXPECT_EQ("5", Search("IOService:/pci/Whole/One", CFSTR("Depth"), kTowardsParents));
    EXPECT_EQ("yes", Search("IOService:/pci/Whole/One", CFSTR("Above"), kTowardsParents));
    EXPECT_EQ("4", Search("IOService:/pci/Whole/One", CFSTR("Depth"), kTowardsParents, "IODeviceTree"));
    EXPECT_EQ("none", Search("IOService:/Loose", CFSTR("Depth"), kTowardsParents)) << "neighbours are no parents";
}

TEST_F(RegistryEntries, ASearchTowardsTheChildrenFindsTheFirst)
{
    EXPECT_EQ("4", Search("IOService:/pci", CFSTR("Depth"), kIORegistryIterateRecursively));
    EXPECT_EQ("disk0", Search("IOService:/pci", CFSTR("BSD Name"), kIORegistryIterateRecursively));
    EXPECT_EQ("en0", Search("IOService:/pci@C", CFSTR("BSD Name"), kIORegistryIterateRecursively));
    EXPECT_EQ("none", Search("IOService:/pci/Whole/One", CFSTR("Depth"), kIORegistryIterateRecursively));
}

TEST_F(RegistryEntries, ASearchThatIsNotRecursiveLooksAtTheEntryAlone)
{
    EXPECT_EQ("none", Search("IOService:/pci/Whole", CFSTR("Above"), kIORegistryIterateParents));
    EXPECT_EQ("none", Search("IOService:/pci", CFSTR("BSD Name"), 0));
    EXPECT_EQ("4", Search("IOService:/pci", CFSTR("Depth"), 0));
}

TEST_F(RegistryEntries, ASearchInAPlaneThatTheEntryIsNotInLooksAtTheEntryAlone)
{
    EXPECT_EQ("disk9", Search("IOService:/Loose", CFSTR("BSD Name"), kTowardsParents, "IODeviceTree"));
    EXPECT_EQ("none", Search("IOService:/pci/Whole", CFSTR("Above"), kTowardsParents, "IOUSB"));
}

TEST_F(RegistryEntries, AnEntryThatWentAwayHasNothingLeft)
{
    const TScopedName disk(WithBSDName("disk0"));
    machine.Remove("registry/ioreg.plist");
    machine.Remove("registry/devicetree.plist");

    io_name_t text;
    io_string_t path;
    io_registry_entry_t parent = 77;
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetName(disk.Get(), text));
    EXPECT_EQ(kIOReturnNoDevice, IOObjectGetClass(disk.Get(), text));
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetPath(disk.Get(), "IOService", path));
    EXPECT_EQ(kIOReturnNoDevice, IORegistryEntryGetParentEntry(disk.Get(), "IOService", &parent));
    EXPECT_EQ(0u, parent);
    EXPECT_FALSE(IOObjectConformsTo(disk.Get(), "IOMedia"));
    EXPECT_EQ("none", Text(IORegistryEntryCreateCFProperty(disk.Get(), CFSTR("BSD Name"), nullptr, 0)));
    EXPECT_EQ("none", Text(IORegistryEntrySearchCFProperty(disk.Get(), "IOService", CFSTR("Depth"), nullptr, 3)));
}

TEST_F(RegistryEntries, WhatIsNoEntryHasNoPropertiesEither)
{
    const TScopedName services(ServicesOfClass("IOMedia"));
    for (const io_object_t object : {services.Get(), io_object_t{12345}, io_object_t{0}}) {
        io_name_t text;
        io_string_t path;
        EXPECT_EQ(MACH_SEND_INVALID_DEST, IORegistryEntryGetName(object, text));
        EXPECT_EQ(MACH_SEND_INVALID_DEST, IOObjectGetClass(object, text));
        EXPECT_EQ(MACH_SEND_INVALID_DEST, IORegistryEntryGetPath(object, "IOService", path));
        EXPECT_EQ("none", Text(IORegistryEntryCreateCFProperty(object, CFSTR("BSD Name"), nullptr, 0)));
    }
}
