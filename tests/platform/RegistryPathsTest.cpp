#include "tests/platform/RegistryEntriesTest.h"

// How an entry is found: by its path in a plane, or by what it must match.
class RegistryPaths : public TRegistryEntriesTest
{
};

// Paths

TEST_F(RegistryPaths, APathBeginsBelowTheFirstEntryUnderTheRoot)
{
    EXPECT_EQ("PowerMac7,3", NameOf(At("IOService:/")));
    EXPECT_EQ("options", NameOf(At("IOService:/options")));
    EXPECT_EQ("Whole", NameOf(At("IOService:/pci@0,f2000000/Whole")));
    EXPECT_EQ("PowerMac7,3", NameOf(At("IODeviceTree:/"))) << "its name is that of the service plane";
    EXPECT_EQ("options", NameOf(At("IODeviceTree:/options")));
}

TEST_F(RegistryPaths, WhatHangsFromTheRootItselfIsFoundByItsOwnName)
{
    EXPECT_EQ("Loose", NameOf(At("IOService:/Loose")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/PowerMac7,3/options"))) << "the computer's own name is left out";
    EXPECT_EQ("no entry", NameOf(At("IOService:/PowerMac7,3")));
}

TEST_F(RegistryPaths, ANameAloneFindsTheFirstOfThatName)
{
    const TScopedName first(At("IOService:/pci"));
    const TScopedName same(At("IOService:/pci@0,f2000000"));
    const TScopedName other(At("IOService:/pci@C"));
    EXPECT_EQ(first.Get(), same.Get());
    EXPECT_NE(0u, other.Get());
    EXPECT_NE(first.Get(), other.Get());
}

TEST_F(RegistryPaths, TheFirstThatFitsIsTakenEvenWhenTheRestDoesNotFitIt)
{
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci/IOEthernet")));
    EXPECT_EQ("IOEthernet", NameOf(At("IOService:/pci@C/IOEthernet")));
}

TEST_F(RegistryPaths, DigitsOfALocationAreHexadecimalNumbers)
{
    for (const char* location : {"c", "0C", "000c"})
        EXPECT_EQ("pci", NameOf(At(std::string("IOService:/pci@") + location))) << location;
    for (const char* location : {"", "CC", "C0", "C,0", "x"})
        EXPECT_EQ("no entry", NameOf(At(std::string("IOService:/pci@") + location))) << location;
    EXPECT_EQ("pci", NameOf(At("IOService:/pci@0,F2000000")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci@0:f2000000")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci@0")));
}

TEST_F(RegistryPaths, ANameMayHoldASlashAndAnAtSign)
{
    EXPECT_EQ("A/B@C", NameOf(At("IOService:/pci/Whole/A/B@C@2")));
    EXPECT_EQ("A/B@C", NameOf(At("IOService:/pci/Whole/A/B@C")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci/Whole/A")));
}

TEST_F(RegistryPaths, WhatIsLeftOfAPathMakesItWrong)
{
    for (const char* path :
         {"IOService:/options/", "IOService:/options/more", "IOService:/option", "IOService:/optionss",
          "IOService:", "IOService:options", "IOService", "/options", "IOUSB:/", "", ":/"})
        EXPECT_EQ("no entry", NameOf(At(path))) << path;
}

TEST_F(RegistryPaths, APathIsOf511BytesAtMost)
{
    const std::string filler(511 - std::string("IOService:/").size(), 'x');
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist",
                                    Entry("IORegistryEntry", "Root", "", 1, "",
                                          Entry("IOService", "P", "", 2, "",
                                                Entry("IOService", filler, "", 3, "", "") +
                                                    Entry("IOService", filler + "y", "", 4, "", "")))));
    const TScopedName longest(At("IOService:/" + filler));
    EXPECT_NE(0u, longest.Get());
    EXPECT_EQ("IOService:/" + filler, PathOf(longest.Get(), "IOService"));
    const TScopedName tooLong(At("IOService:/" + filler + "y"));
    EXPECT_EQ(0u, tooLong.Get());
    const TScopedName service(IOServiceGetMatchingService(0, IOServiceNameMatching((filler + "y").c_str())));
    EXPECT_EQ("no path", PathOf(service.Get(), "IOService"));
    io_name_t name;
    EXPECT_EQ(kIOReturnBadArgument, IORegistryEntryGetName(service.Get(), name)) << "names have 127 bytes at most";
}

TEST_F(RegistryPaths, AnotherPortThanTheMasterPortFindsNothing)
{
    EXPECT_EQ(0u, IORegistryEntryFromPath(12345, "IOService:/"));
    EXPECT_EQ(0u, IORegistryEntryFromPath(kIOMasterPortDefault, nullptr));
    EXPECT_EQ(nullptr, IOBSDNameMatching(12345, 0, "disk0"));
    EXPECT_EQ(nullptr, IOOpenFirmwarePathMatching(12345, 0, "/options"));
}

TEST_F(RegistryPaths, AnEntryHasAPathInEachPlaneThatItStandsIn)
{
    const TScopedName partition(WithBSDName("disk0s1"));
    EXPECT_EQ("IOService:/pci@0,f2000000/Whole/One@1", PathOf(partition.Get(), "IOService"));
    EXPECT_EQ("IODeviceTree:/ht@0,f2000000/@0:1", PathOf(partition.Get(), "IODeviceTree"));
    EXPECT_EQ("no path", PathOf(partition.Get(), "IOUSB"));

    const TScopedName loose(WithBSDName("disk9"));
    EXPECT_EQ("IOService:/Loose", PathOf(loose.Get(), "IOService"));
    EXPECT_EQ("no path", PathOf(loose.Get(), "IODeviceTree"));
    const TScopedName first(At("IOService:/"));
    EXPECT_EQ("IOService:/", PathOf(first.Get(), "IOService"));
    EXPECT_EQ("IODeviceTree:/", PathOf(first.Get(), "IODeviceTree"));
}

TEST_F(RegistryPaths, OneEntryHasOneNameInBothPlanes)
{
    const TScopedName service(At("IOService:/pci@0,f2000000/Whole/One@1"));
    const TScopedName inTree(At("IODeviceTree:/ht@0,f2000000/@0:1"));
    const TScopedName byName(WithBSDName("disk0s1"));
    EXPECT_NE(0u, service.Get());
    EXPECT_EQ(service.Get(), inTree.Get());
    EXPECT_EQ(service.Get(), byName.Get());
}

TEST_F(RegistryPaths, EveryEntryOfTheMachineIsFoundByItsPath)
{
    lab::TMachine shipped("/lab/machines/leopard");
    for (const char* file : {"registry/ioreg.plist", "registry/devicetree.plist", "registry/classes.plist"})
        ASSERT_EQ("", machine.WriteText(file, shipped.ReadText(file)));
    const TScopedName services(ServicesOfClass("IOService"));
    int count = 0;
    while (const io_service_t service = IOIteratorNext(services.Get())) {
        const TScopedName owned(service);
        const TScopedName found(At(PathOf(service, "IOService")));
        const TScopedName above(At("IOService:/"));
        EXPECT_EQ(service, found.Get()) << PathOf(service, "IOService");
        ++count;
    }
    EXPECT_LT(20, count);
}

// Matching

TEST_F(RegistryPaths, AServiceIsFoundByItsBSDName)
{
    EXPECT_EQ("Whole", NameOf(WithBSDName("disk0")));
    EXPECT_EQ("A/B@C", NameOf(WithBSDName("disk0s2")));
    EXPECT_EQ("IOEthernet", NameOf(WithBSDName("en0"))) << "services of any class have BSD names";
    for (const char* name : {"disk", "disk00", "DISK0", "/dev/disk0", ""})
        EXPECT_EQ(0u, WithBSDName(name)) << name;
}

TEST_F(RegistryPaths, AServiceIsFoundByItsNameInTheServicePlane)
{
    const TScopedName first(IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceNameMatching("pci")));
    const TScopedName path(At("IOService:/pci@0,f2000000"));
    EXPECT_EQ(path.Get(), first.Get());
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceNameMatching("ht")));
    EXPECT_EQ(nullptr, IOServiceNameMatching(nullptr));
}

TEST_F(RegistryPaths, APartitionsFirmwarePathLeadsToItsMedium)
{
    EXPECT_EQ("One", NameOf(AtFirmwarePath("/ht@0,f2000000/disk@0:1")));
    EXPECT_EQ("One", NameOf(AtFirmwarePath("/ht@0,f2000000/@0:1")));
    EXPECT_EQ("A/B@C", NameOf(AtFirmwarePath("/ht@0,f2000000/disk@0:a")));
    EXPECT_EQ("Whole", NameOf(AtFirmwarePath("/ht/@0:0")));
    EXPECT_EQ("options", NameOf(AtFirmwarePath("/options")));
}

TEST_F(RegistryPaths, AFirmwarePathWithoutServiceFindsNone)
{
    for (const char* path : {"/ht@0,f2000000/disk@0:4", "/ht@0,f2000000/disk", "/ht@0,f2000000/disk@0",
                             "/ht@0,f2000000/@0:1,\\\\:tbxi", "", "ht", "/chosen"})
        EXPECT_EQ(0u, AtFirmwarePath(path)) << path;
    EXPECT_EQ(nullptr, IOOpenFirmwarePathMatching(kIOMasterPortDefault, 0, nullptr));
    EXPECT_EQ(nullptr, IOBSDNameMatching(kIOMasterPortDefault, 0, nullptr));
}

TEST_F(RegistryPaths, AllThatADictionaryAsksForMustFit)
{
    CFMutableDictionaryRef matching = IOServiceMatching("IOMedia");
    const TScoped<CFStringRef> name(MakeText("en0"));
    CFDictionarySetValue(matching, CFSTR("BSD Name"), name.Get());
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, matching));

    matching = MakeTable();
    CFDictionarySetValue(matching, CFSTR("BSD Name"), name.Get());
    EXPECT_EQ("IOEthernet", NameOf(IOServiceGetMatchingService(kIOMasterPortDefault, matching)));

    matching = IOServiceMatching("IOMedia");
    CFDictionarySetValue(matching, CFSTR("BSD Name"), kCFBooleanTrue);
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, matching)) << "a name is text";
}

TEST_F(RegistryPaths, ALookedUpDictionaryIsConsumedWhateverHappens)
{
    CFMutableDictionaryRef matching = IOBSDNameMatching(kIOMasterPortDefault, 0, "disk0");
    CFRetain(matching);
    const TScopedName found(IOServiceGetMatchingService(kIOMasterPortDefault, matching));
    EXPECT_EQ(1, CFGetRetainCount(matching));
    EXPECT_EQ(0u, IOServiceGetMatchingService(12345, matching));
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, nullptr));
}
