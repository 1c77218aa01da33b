#include "platform/Counts.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

static const char kDriver[] = "com_halvorix_driver_Halvorix";

class IOServices : public TMachineTest
{
protected:
    // A machine whose registry is small enough to see: Root, a disk with a partition, and another disk.
    void UseSmallRegistry()
    {
        ASSERT_EQ("",
                  machine.WriteText("registry/classes.plist", "<dict><key>IOMedia</key><string>IOStorage</string>"
                                                              "<key>IOCDMedia</key><string>IOMedia</string>"
                                                              "<key>IOStorage</key><string>IOService</string></dict>"));
        ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", Entry("IORegistryEntry", 1,
                                                                      Entry("IOMedia", 2, Entry("IOCDMedia", 3, "")) +
                                                                          Entry("IOMedia", 4, ""))));
    }

    static std::string Entry(const std::string& className, int identifier, const std::string& children)
    {
        return "<dict><key>IOObjectClass</key><string>" + className + "</string><key>IORegistryEntryID</key><integer>" +
               std::to_string(identifier) + "</integer><key>IORegistryEntryChildren</key><array>" + children +
               "</array></dict>";
    }

    static int CountOfClass(const char* name)
    {
        const TScopedName services(ServicesOfClass(name));
        int count = 0;
        while (const io_object_t service = IOIteratorNext(services.Get())) {
            IOObjectRelease(service);
            ++count;
        }
        return count;
    }
};

TEST_F(IOServices, AServiceIsFoundByItsClass)
{
    EXPECT_EQ(1, CountOfClass(kDriver));
}

TEST_F(IOServices, AServiceIsFoundByEachClassThatItsClassIsDerivedFrom)
{
    UseSmallRegistry();
    EXPECT_EQ(1, CountOfClass("IOCDMedia"));
    EXPECT_EQ(3, CountOfClass("IOMedia"));
    EXPECT_EQ(3, CountOfClass("IOStorage"));
    EXPECT_EQ(3, CountOfClass("IOService"));
    EXPECT_EQ(0, CountOfClass("IODVDMedia"));
}

TEST_F(IOServices, AnEntryComesBeforeThoseBelowItAndThoseBeforeItsNeighbour)
{
    UseSmallRegistry();
    const TScopedName first(FirstServiceOfClass("IOMedia"));
    const TScopedName nested(FirstServiceOfClass("IOCDMedia"));

    const TScopedName services(ServicesOfClass("IOMedia"));
    const TScopedName one(IOIteratorNext(services.Get()));
    const TScopedName two(IOIteratorNext(services.Get()));
    const TScopedName three(IOIteratorNext(services.Get()));
    EXPECT_EQ(first.Get(), one.Get());
    EXPECT_EQ(nested.Get(), two.Get());
    EXPECT_NE(0u, three.Get());
    EXPECT_EQ(0u, IOIteratorNext(services.Get()));
}

TEST_F(IOServices, AClassThatIsItsOwnAncestorDoesNotHang)
{
    UseSmallRegistry();
    ASSERT_EQ("", machine.WriteText("registry/classes.plist", "<dict><key>IOMedia</key><string>IOStorage</string>"
                                                              "<key>IOStorage</key><string>IOMedia</string></dict>"));
    EXPECT_EQ(0, CountOfClass("IOService"));
}

TEST_F(IOServices, NothingFoundIsASuccessWithoutIterator)
{
    io_iterator_t services = 77;
    EXPECT_EQ(KERN_SUCCESS,
              IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("NoSuchClass"), &services));
    EXPECT_EQ(0u, services);
}

TEST_F(IOServices, TheMatchingDictionaryIsConsumedWhateverHappens)
{
    io_iterator_t services = 0;
    CFMutableDictionaryRef matching = IOServiceMatching(kDriver);
    CFRetain(matching);
    EXPECT_EQ(KERN_SUCCESS, IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &services));
    EXPECT_EQ(1, CFGetRetainCount(matching));
    IOObjectRelease(services);

    EXPECT_EQ(MACH_SEND_INVALID_DEST, IOServiceGetMatchingServices(12345, matching, &services));
    EXPECT_EQ(0u, services);
}

TEST_F(IOServices, NoDictionaryIsABadArgument)
{
    io_iterator_t services = 77;
    EXPECT_EQ(kIOReturnBadArgument, IOServiceGetMatchingServices(kIOMasterPortDefault, nullptr, &services));
    EXPECT_EQ(nullptr, IOServiceMatching(nullptr));
}

TEST_F(IOServices, ADictionaryWithoutAClassMatchesNothing)
{
    io_iterator_t services = 77;
    EXPECT_EQ(KERN_SUCCESS, IOServiceGetMatchingServices(kIOMasterPortDefault, MakeTable(), &services));
    EXPECT_EQ(0u, services);
}

TEST_F(IOServices, TheMasterPortIsTakenAndIsNoReference)
{
    mach_port_t master = MACH_PORT_NULL;
    EXPECT_EQ(KERN_SUCCESS, IOMasterPort(MACH_PORT_NULL, &master));
    EXPECT_NE(0u, master);
    io_iterator_t services = 0;
    EXPECT_EQ(KERN_SUCCESS, IOServiceGetMatchingServices(master, IOServiceMatching(kDriver), &services));
    IOObjectRelease(services);
}

TEST_F(IOServices, OneEntryIsOneNameWithACountOfReferences)
{
    const io_service_t one = FirstServiceOfClass(kDriver);
    const io_service_t other = FirstServiceOfClass(kDriver);
    EXPECT_EQ(one, other);
    EXPECT_EQ(2u, platform::CurrentCounts().references);

    EXPECT_EQ(KERN_SUCCESS, IOObjectRetain(one));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(KERN_SUCCESS, IOObjectRelease(one));
    EXPECT_EQ(0u, platform::CurrentCounts().references);
}

TEST_F(IOServices, AReleaseTooManyTakesSomebodysReference)
{
    const io_service_t mine = FirstServiceOfClass(kDriver);
    const io_service_t yours = FirstServiceOfClass(kDriver);
    EXPECT_EQ(KERN_SUCCESS, IOObjectRelease(mine));
    EXPECT_EQ(KERN_SUCCESS, IOObjectRelease(mine)) << "one too many, which nobody can tell yet";

    EXPECT_EQ(KERN_INVALID_NAME, IOObjectRelease(yours));
    EXPECT_EQ(1u, platform::CurrentCounts().overReleases);
    fExpectedLeft.overReleases = 1;
}

TEST_F(IOServices, WhatIsNotHeldCanNeitherBeRetainedNorReleased)
{
    EXPECT_EQ(KERN_INVALID_NAME, IOObjectRetain(12345));
    EXPECT_EQ(KERN_INVALID_NAME, IOObjectRelease(12345));
    EXPECT_EQ(KERN_INVALID_NAME, IOObjectRelease(IO_OBJECT_NULL));
    EXPECT_EQ(0u, IOIteratorNext(12345));
    fExpectedLeft.overReleases = 2;
}

TEST_F(IOServices, AServiceIsNoIterator)
{
    const TScopedName service(FirstServiceOfClass(kDriver));
    EXPECT_EQ(0u, IOIteratorNext(service.Get()));
}

TEST_F(IOServices, AnIteratorKeepsWhatItFound)
{
    UseSmallRegistry();
    const TScopedName services(ServicesOfClass("IOMedia"));
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", Entry("IORegistryEntry", 1, "")));

    const TScopedName gone(IOIteratorNext(services.Get()));
    EXPECT_NE(0u, gone.Get());
    EXPECT_EQ(0, CountOfClass("IOMedia"));
}

TEST_F(IOServices, AChangeOfTheRegistryIsSeenAtOnceEveryTime)
{
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ("", machine.UnloadDriver());
        ASSERT_EQ(0, CountOfClass(kDriver)) << i;
        ASSERT_EQ("", machine.LoadDriver());
        ASSERT_EQ(1, CountOfClass(kDriver)) << i;
    }
}

TEST_F(IOServices, AReloadedDriverIsAnotherEntry)
{
    const TScopedName before(FirstServiceOfClass(kDriver));
    ASSERT_EQ("", machine.UnloadDriver());
    ASSERT_EQ("", machine.LoadDriver());
    const TScopedName after(FirstServiceOfClass(kDriver));
    EXPECT_NE(before.Get(), after.Get());
}

TEST_F(IOServices, AMachineWithoutRegistryHasNoServices)
{
    machine.Remove("registry/ioreg.plist");
    EXPECT_EQ(0, CountOfClass(kDriver));
}

TEST_F(IOServices, ARegistryThatCannotBeReadIsSaidAndEmpty)
{
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", "<dict>\n<oops/></dict>"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, CountOfClass(kDriver));
    EXPECT_EQ("ioreg.plist: line 2: <oops> stands where <key> is expected\n", testing::internal::GetCapturedStderr());
}

TEST_F(IOServices, AnEntryWithoutIdentifierMakesTheRegistryUnreadable)
{
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", "<dict><key>IOObjectClass</key><string>" +
                                                                std::string(kDriver) + "</string></dict>"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, CountOfClass(kDriver));
    EXPECT_NE("", testing::internal::GetCapturedStderr());
}
