#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

// A machine with two planes: a disk of two partitions below a controller that stands in both, a disk below the root, and
// the firmware's variables.
class RegistryEntries : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.WriteText("registry/classes.plist", "<dict><key>IOMedia</key><string>IOService</string>"
                                                                  "<key>IODTNVRAM</key><string>IOService</string>"
                                                                  "<key>IOPCIDevice</key><string>IOService</string>"
                                                                  "<key>IOEthernet</key><string>IOService</string>"
                                                                  "</dict>"));
        const std::string partitions =
            Entry("IOMedia", "One", "1", 6, "<key>BSD Name</key><string>disk0s1</string>", "") +
            Entry("IOMedia", "A/B@C", "2", 7, "<key>BSD Name</key><string>disk0s2</string>", "");
        const std::string disk = Entry("IOMedia", "Whole", "", 5,
                                       "<key>BSD Name</key><string>disk0</string><key>Removable</key><false/>"
                                       "<key>Depth</key><integer>5</integer>",
                                       partitions);
        const std::string options =
            Entry("IODTNVRAM", "options", "", 3, "<key>boot-device</key><string>of the service plane</string>", "");
        const std::string controllers =
            Entry("IOPCIDevice", "pci", "0,f2000000", 4,
                  "<key>Depth</key><integer>4</integer><key>Above</key><string>yes</string>", disk) +
            Entry("IOPCIDevice", "pci", "C", 8, "", Entry("IOEthernet", "IOEthernet", "", 9, Named("en0"), ""));
        ASSERT_EQ("", machine.WriteText("registry/ioreg.plist",
                                        Entry("IORegistryEntry", "Root", "", 1, "",
                                              Entry("IOPlatformDevice", "PowerMac7,3", "", 2,
                                                    "<key>Depth</key><integer>2</integer>", options + controllers) +
                                                  Entry("IOMedia", "Loose", "", 10, Named("disk9"), ""))));
        const std::string media = Entry("IOMedia", "", "0:0", 5, "", "") + Entry("IOMedia", "", "0:1", 6, "", "") +
                                  Entry("IOMedia", "", "0:A", 7, "", "");
        ASSERT_EQ("",
                  machine.WriteText(
                      "registry/devicetree.plist",
                      Entry("IORegistryEntry", "Root", "", 1, "",
                            Entry("IOPlatformDevice", "/", "", 2, "",
                                  Entry("IODTNVRAM", "options", "", 3,
                                        "<key>boot-device</key><string>of the device tree</string>", "") +
                                      Entry("IOService", "chosen", "", 20, "<key>stdin</key><data>AQI=</data>", "") +
                                      Entry("IOPCIDevice", "ht", "0,f2000000", 4, "", media)))));
    }

    static std::string Named(const std::string& name) { return "<key>BSD Name</key><string>" + name + "</string>"; }

    static std::string Entry(const std::string& className, const std::string& name, const std::string& location,
                             int identifier, const std::string& properties, const std::string& children)
    {
        return "<dict><key>IOObjectClass</key><string>" + className +
               "</string><key>IORegistryEntryName</key><string>" + name +
               "</string><key>IORegistryEntryID</key><integer>" + std::to_string(identifier) + "</integer>" +
               (location.empty() ? "" : "<key>IORegistryEntryLocation</key><string>" + location + "</string>") +
               properties + "<key>IORegistryEntryChildren</key><array>" + children + "</array></dict>";
    }

    static io_registry_entry_t At(const std::string& path)
    {
        return IORegistryEntryFromPath(kIOMasterPortDefault, path.c_str());
    }

    static io_service_t WithBSDName(const char* name)
    {
        return IOServiceGetMatchingService(kIOMasterPortDefault, IOBSDNameMatching(kIOMasterPortDefault, 0, name));
    }

    static io_service_t AtFirmwarePath(const char* path)
    {
        return IOServiceGetMatchingService(kIOMasterPortDefault,
                                           IOOpenFirmwarePathMatching(kIOMasterPortDefault, 0, path));
    }

    // The name of the entry, which is released.
    static std::string NameOf(io_registry_entry_t entry)
    {
        const TScopedName owned(entry);
        io_name_t name = "";
        return IORegistryEntryGetName(entry, name) == KERN_SUCCESS ? name : "no entry";
    }

    // The property as text, "5" for a number; the reference to it is released.
    static std::string Text(CFTypeRef property)
    {
        const TScoped<CFTypeRef> owned(property);
        if (property == nullptr)
            return "none";
        char text[64] = "";
        SInt64 number = 0;
        if (CFGetTypeID(property) == CFStringGetTypeID() &&
            CFStringGetCString(static_cast<CFStringRef>(property), text, sizeof text, kCFStringEncodingASCII))
            return text;
        if (CFGetTypeID(property) == CFNumberGetTypeID() &&
            CFNumberGetValue(static_cast<CFNumberRef>(property), kCFNumberSInt64Type, &number))
            return std::to_string(number);
        return "neither text nor number";
    }

    static std::string Property(const std::string& path, CFStringRef key)
    {
        const TScopedName entry(At(path));
        return Text(IORegistryEntryCreateCFProperty(entry.Get(), key, kCFAllocatorDefault, 0));
    }

    static std::string Search(const std::string& path, CFStringRef key, IOOptionBits options,
                              const char* plane = "IOService")
    {
        const TScopedName entry(At(path));
        return Text(IORegistryEntrySearchCFProperty(entry.Get(), plane, key, kCFAllocatorDefault, options));
    }

    static std::string PathOf(io_registry_entry_t entry, const char* plane)
    {
        io_string_t path = "";
        return IORegistryEntryGetPath(entry, plane, path) == KERN_SUCCESS ? path : "no path";
    }
};

constexpr IOOptionBits kTowardsParents = kIORegistryIterateRecursively | kIORegistryIterateParents;

// Paths

TEST_F(RegistryEntries, APathBeginsBelowTheFirstEntryUnderTheRoot)
{
    EXPECT_EQ("PowerMac7,3", NameOf(At("IOService:/")));
    EXPECT_EQ("options", NameOf(At("IOService:/options")));
    EXPECT_EQ("Whole", NameOf(At("IOService:/pci@0,f2000000/Whole")));
    EXPECT_EQ("PowerMac7,3", NameOf(At("IODeviceTree:/"))) << "its name is that of the service plane";
    EXPECT_EQ("options", NameOf(At("IODeviceTree:/options")));
}

TEST_F(RegistryEntries, WhatHangsFromTheRootItselfIsFoundByItsOwnName)
{
    EXPECT_EQ("Loose", NameOf(At("IOService:/Loose")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/PowerMac7,3/options"))) << "the computer's own name is left out";
    EXPECT_EQ("no entry", NameOf(At("IOService:/PowerMac7,3")));
}

TEST_F(RegistryEntries, ANameAloneFindsTheFirstOfThatName)
{
    const TScopedName first(At("IOService:/pci"));
    const TScopedName same(At("IOService:/pci@0,f2000000"));
    const TScopedName other(At("IOService:/pci@C"));
    EXPECT_EQ(first.Get(), same.Get());
    EXPECT_NE(0u, other.Get());
    EXPECT_NE(first.Get(), other.Get());
}

TEST_F(RegistryEntries, TheFirstThatFitsIsTakenEvenWhenTheRestDoesNotFitIt)
{
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci/IOEthernet")));
    EXPECT_EQ("IOEthernet", NameOf(At("IOService:/pci@C/IOEthernet")));
}

TEST_F(RegistryEntries, DigitsOfALocationAreHexadecimalNumbers)
{
    for (const char* location : {"c", "0C", "000c"})
        EXPECT_EQ("pci", NameOf(At(std::string("IOService:/pci@") + location))) << location;
    for (const char* location : {"", "CC", "C0", "C,0", "x"})
        EXPECT_EQ("no entry", NameOf(At(std::string("IOService:/pci@") + location))) << location;
    EXPECT_EQ("pci", NameOf(At("IOService:/pci@0,F2000000")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci@0:f2000000")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci@0")));
}

TEST_F(RegistryEntries, ANameMayHoldASlashAndAnAtSign)
{
    EXPECT_EQ("A/B@C", NameOf(At("IOService:/pci/Whole/A/B@C@2")));
    EXPECT_EQ("A/B@C", NameOf(At("IOService:/pci/Whole/A/B@C")));
    EXPECT_EQ("no entry", NameOf(At("IOService:/pci/Whole/A")));
}

TEST_F(RegistryEntries, WhatIsLeftOfAPathMakesItWrong)
{
    for (const char* path :
         {"IOService:/options/", "IOService:/options/more", "IOService:/option", "IOService:/optionss",
          "IOService:", "IOService:options", "IOService", "/options", "IOUSB:/", "", ":/"})
        EXPECT_EQ("no entry", NameOf(At(path))) << path;
}

TEST_F(RegistryEntries, APathIsOf511BytesAtMost)
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

TEST_F(RegistryEntries, AnotherPortThanTheMasterPortFindsNothing)
{
    EXPECT_EQ(0u, IORegistryEntryFromPath(12345, "IOService:/"));
    EXPECT_EQ(0u, IORegistryEntryFromPath(kIOMasterPortDefault, nullptr));
    EXPECT_EQ(nullptr, IOBSDNameMatching(12345, 0, "disk0"));
    EXPECT_EQ(nullptr, IOOpenFirmwarePathMatching(12345, 0, "/options"));
}

TEST_F(RegistryEntries, AnEntryHasAPathInEachPlaneThatItStandsIn)
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

TEST_F(RegistryEntries, OneEntryHasOneNameInBothPlanes)
{
    const TScopedName service(At("IOService:/pci@0,f2000000/Whole/One@1"));
    const TScopedName inTree(At("IODeviceTree:/ht@0,f2000000/@0:1"));
    const TScopedName byName(WithBSDName("disk0s1"));
    EXPECT_NE(0u, service.Get());
    EXPECT_EQ(service.Get(), inTree.Get());
    EXPECT_EQ(service.Get(), byName.Get());
}

TEST_F(RegistryEntries, EveryEntryOfTheMachineIsFoundByItsPath)
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

TEST_F(RegistryEntries, AServiceIsFoundByItsBSDName)
{
    EXPECT_EQ("Whole", NameOf(WithBSDName("disk0")));
    EXPECT_EQ("A/B@C", NameOf(WithBSDName("disk0s2")));
    EXPECT_EQ("IOEthernet", NameOf(WithBSDName("en0"))) << "services of any class have BSD names";
    for (const char* name : {"disk", "disk00", "DISK0", "/dev/disk0", ""})
        EXPECT_EQ(0u, WithBSDName(name)) << name;
}

TEST_F(RegistryEntries, AServiceIsFoundByItsNameInTheServicePlane)
{
    const TScopedName first(IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceNameMatching("pci")));
    const TScopedName path(At("IOService:/pci@0,f2000000"));
    EXPECT_EQ(path.Get(), first.Get());
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceNameMatching("ht")));
    EXPECT_EQ(nullptr, IOServiceNameMatching(nullptr));
}

TEST_F(RegistryEntries, APartitionsFirmwarePathLeadsToItsMedium)
{
    EXPECT_EQ("One", NameOf(AtFirmwarePath("/ht@0,f2000000/disk@0:1")));
    EXPECT_EQ("One", NameOf(AtFirmwarePath("/ht@0,f2000000/@0:1")));
    EXPECT_EQ("A/B@C", NameOf(AtFirmwarePath("/ht@0,f2000000/disk@0:a")));
    EXPECT_EQ("Whole", NameOf(AtFirmwarePath("/ht/@0:0")));
    EXPECT_EQ("options", NameOf(AtFirmwarePath("/options")));
}

TEST_F(RegistryEntries, AFirmwarePathWithoutServiceFindsNone)
{
    for (const char* path : {"/ht@0,f2000000/disk@0:4", "/ht@0,f2000000/disk", "/ht@0,f2000000/disk@0",
                             "/ht@0,f2000000/@0:1,\\\\:tbxi", "", "ht", "/chosen"})
        EXPECT_EQ(0u, AtFirmwarePath(path)) << path;
    EXPECT_EQ(nullptr, IOOpenFirmwarePathMatching(kIOMasterPortDefault, 0, nullptr));
    EXPECT_EQ(nullptr, IOBSDNameMatching(kIOMasterPortDefault, 0, nullptr));
}

TEST_F(RegistryEntries, AllThatADictionaryAsksForMustFit)
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

TEST_F(RegistryEntries, ALookedUpDictionaryIsConsumedWhateverHappens)
{
    CFMutableDictionaryRef matching = IOBSDNameMatching(kIOMasterPortDefault, 0, "disk0");
    CFRetain(matching);
    const TScopedName found(IOServiceGetMatchingService(kIOMasterPortDefault, matching));
    EXPECT_EQ(1, CFGetRetainCount(matching));
    EXPECT_EQ(0u, IOServiceGetMatchingService(12345, matching));
    EXPECT_EQ(0u, IOServiceGetMatchingService(kIOMasterPortDefault, nullptr));
}

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
