// A machine with a registry that a test knows by heart, and short ways of asking for what stands in it.

#ifndef HALVORIX_TESTS_PLATFORM_REGISTRYENTRIESTEST_H
#define HALVORIX_TESTS_PLATFORM_REGISTRYENTRIESTEST_H

#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <IOKit/IOKitLib.h>

#include <string>

// A machine with two planes: a disk of two partitions below a controller that stands in both, a disk below the root, and
// the firmware's variables.
class TRegistryEntriesTest : public TMachineTest
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

#endif
