#include "tests/lab/ImportRun.h"

#include <string>
#include <utility>
#include <vector>

using namespace lab;
using plist::TValue;

// The machine that labctl makes of a capture.
class LabctlImportedMachine : public TImportTest
{
};

TEST_F(LabctlImportedMachine, ACaptureBecomesAMachineWithItsDisksAndItsSystem)
{
    ASSERT_EQ("exited 0", Import(PrintRegistry(SmallMac()))) << errors;
    EXPECT_EQ(0u, output.find("PowerMac3,6, Mac OS X 10.4.11: 15 registry entries, 3 disks and partitions, "
                              "volumes mounted: 1, started from disk0s3\nnote: the device tree is made from "))
        << output;

    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_EQ("PowerMac3,6, Mac OS X 10.4.11\n"
              "|-- system: Mac OS X 10.4.11, started from disk0s3\n"
              "|-- boot device: /pci@f4000000/ata-6@D/@0:3,\\\\:tbxi, disk0s3\n"
              "|-- driver: not loaded\n"
              "|-- processes: the machine is not running\n"
              "`-- disks\n"
              "    `-- disk0  ST380023A Media, 74.5 GB, Apple_partition_scheme\n"
              "        |-- disk0s1  Apple, 31.5 KB, Apple_partition_map\n"
              "        `-- disk0s3  Macintosh HD, 74.5 GB, Apple_HFS, boot device, "
              "volume Macintosh HD (hfs) not mounted\n",
              output);
    EXPECT_EQ(SystemVersion("10.4.11"),
              TMachine("/tmp/mac").ReadText("volumes/disk0s3/files/System/Library/CoreServices/SystemVersion.plist"));
    // What no capture holds is that of the machine that ships with this system.
    EXPECT_EQ("EST5EDT,M3.2.0,M11.1.0", ReadLine("/tmp/mac/time-zone"));
}

TEST_F(LabctlImportedMachine, TheRealDeviceTreeSharesItsEntriesWithTheServices)
{
    const std::string tree = PrintRegistry(
        {{0, "Root", "IORegistryEntry", {}},
         {1, "device-tree", "IOPlatformExpertDevice", {}},
         {2, "aliases", "IOService", {R"("hd" = <"/pci@f4000000/ata-6@D/@0">)"}},
         {2, "options", "IODTNVRAM", {R"("boot-device" = "hd:3,\\:tbxi")"}},
         {2, "pci@f4000000", "IOPlatformDevice", {R"("name" = <"pci">)", R"("reg" = <f400000002000000>)"}},
         {3, "ata-6@D", "IOPCIDevice", {R"("name" = <"ata-6">)"}},
         {4, "@0:3", "IOMedia", {R"("BSD Name" = "disk0s3")"}}});
    Give("tree.txt", tree);
    ASSERT_EQ("exited 0", Import(PrintRegistry(SmallMac()), {"--device-tree", "/tmp/capture/tree.txt"})) << errors;
    EXPECT_FALSE(OutputHas("the device tree is made")) << output;

    TRegistry registry("/tmp/mac");
    for (const char* const path :
         {"/pci@f4000000", "/pci@f4000000/ata-6@D", "/pci@f4000000/ata-6@D/@0:3", "/options"}) {
        const TValue* const entry = registry.AtDeviceTreePath(path);
        ASSERT_TRUE(entry) << path;
        EXPECT_TRUE(registry.WithIdentifier(NumberOf(*entry, "IORegistryEntryID"))) << path;
    }
    // Of the firmware alone.
    EXPECT_FALSE(registry.WithIdentifier(NumberOf(*registry.AtDeviceTreePath("/aliases"), "IORegistryEntryID")));
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_TRUE(OutputHas("boot device: hd:3,\\\\:tbxi, disk0s3\n")) << output;

    // Both planes may stand in one file, in either order.
    ASSERT_EQ("exited 0", Import("IODeviceTree:\n" + tree + "IOService:\n" + PrintRegistry(SmallMac()))) << errors;
    EXPECT_FALSE(OutputHas("the device tree is made")) << output;
    EXPECT_TRUE(OutputHas(": 15 registry entries")) << output;
}

TEST_F(LabctlImportedMachine, ClassesThatNobodyKnowsInheritByWhatTheyShow)
{
    std::vector<TCapturedEntry> mac = SmallMac();
    mac[9].className = "VendorDriver";
    mac[11].className = "VendorScheme";
    mac[13].className = "VendorMedia";
    mac[14].className = "IOService:VendorBase:VendorThing";   // ioreg -i
    ASSERT_EQ("exited 0", Import(PrintRegistry(mac))) << errors;
    EXPECT_TRUE(OutputHas("note: 1 class is not known here and counts as a plain service; ")) << output;
    TValue classes;
    ASSERT_EQ("", ReadPropertyList("/tmp/mac/registry/classes.plist", &classes));
    EXPECT_EQ("IOService", TextOf(classes, "VendorDriver"));
    EXPECT_EQ("IOPartitionScheme", TextOf(classes, "VendorScheme"));
    EXPECT_EQ("IOMedia", TextOf(classes, "VendorMedia"));
    EXPECT_EQ("VendorBase", TextOf(classes, "VendorThing"));
    EXPECT_EQ("IOService", TextOf(classes, "VendorBase"));
    EXPECT_EQ("IOStorage", TextOf(classes, "IOMedia"));
}

TEST_F(LabctlImportedMachine, NetworkInterfacesHaveBSDNamesAndAreNoDisks)
{
    std::vector<TCapturedEntry> mac = SmallMac();
    mac.push_back({3, "IOEthernetInterface", "IOEthernetInterface", {R"("BSD Name" = "en0")"}});
    ASSERT_EQ("exited 0", Import(PrintRegistry(mac))) << errors;
    EXPECT_TRUE(OutputHas(": 16 registry entries, 3 disks and partitions, ")) << output;
    EXPECT_EQ((std::vector<std::string>{"disk0", "disk0s1", "disk0s3"}), TRegistry("/tmp/mac").MediumNames());
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_FALSE(OutputHas("en0")) << output;
}

TEST_F(LabctlImportedMachine, VolumesAreThoseThatWereMounted)
{
    std::vector<TCapturedEntry> mac = SmallMac();
    for (int i = 1; i < 6; ++i)
        mac.push_back({3,
                       "Untitled",
                       "IOMedia",
                       {"\"BSD Name\" = \"disk" + std::to_string(i) + "s1\"", "\"Size\" = 1024",
                        std::string("\"Content\" = \"") +
                            (i == 1   ? "DOS_FAT_32"
                             : i == 2 ? "Apple_UFS"
                                      : "") +
                            "\""}});
    Give("mount.txt", "/dev/disk0s3 on / (local, journaled)\n"
                      "/dev/disk1s1 on /Volumes/HAZ SPACE(!) (local, nodev, nosuid)\r\n"
                      "/dev/disk2s1 on /Volumes/A:B (local, read-only)\n"
                      "/dev/disk3s1 on /Volumes/Plain\n"
                      "/dev/disk4s1 on /Volumes/Film (udf, local, nodev, nosuid, read-only)\n"
                      "/dev/disk5s1 on /Volumes/Windows (ntfs, local, read-only)\n"
                      "automount -nsl [141] on /Network (automounted)\n");
    ASSERT_EQ("exited 0", Import(PrintRegistry(mac))) << errors;
    EXPECT_TRUE(OutputHas("volumes mounted: 5, ")) << output;
    EXPECT_TRUE(OutputHas("note: the volume at /Volumes/Windows is left out: there is no kind ntfs here\n")) << output;

    const TMachine made("/tmp/mac");
    const auto show = [&](const std::string& disk) {
        const TValue volume = made.Volume(disk);
        return TextOf(volume, "Name") + " " + TextOf(volume, "Kind") +
               (TruthOf(volume, "Journaled") ? " journaled" : "") + (TruthOf(volume, "Read Only") ? " read-only" : "");
    };
    EXPECT_EQ("Macintosh HD hfs journaled", show("disk0s3"));
    EXPECT_EQ("HAZ SPACE(!) msdos", show("disk1s1"));
    EXPECT_EQ("A/B ufs read-only", show("disk2s1"));
    EXPECT_EQ("Plain hfs", show("disk3s1"));
    EXPECT_EQ("Film udf read-only", show("disk4s1"));
    EXPECT_TRUE(made.Volume("disk5s1").entries.empty());
}

TEST_F(LabctlImportedMachine, MountsThatDoNotFitAreRefusedWithTheirLine)
{
    const std::string registry = PrintRegistry(SmallMac());
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"devfs on /dev (local)\n", "mount.txt: nothing is mounted on /, as the start-up volume of every Mac is"},
        {"/dev/disk0s3 on / (local)\nnonsense\n",
         "mount.txt, line 2: this is no line that mount prints: it says nothing of what is mounted on what place"},
        {"server:/nb on / (nfs)\n",
         "mount.txt, line 1: this Mac did not start from a disk, and a simulated one can only do that"},
        {"/dev/disk0s3 on / (local)\n/dev/disk0s1 on / (local)\n",
         "mount.txt, line 2: this disk or this place stands in line 1 already"},
        {"/dev/disk0s3 on / (zfs, local)\n", "mount.txt, line 1: no Mac starts from a volume of kind zfs"},
        {"/dev/disk0s3 on / (local)\n/dev/disk7s3 on /Volumes/B (local)\n",
         "mount.txt, line 2: the registry in /tmp/capture/ioreg.txt has no disk disk7s3; both have to be printed while "
         "the "
         "same disks are there"},
    };
    for (const auto& each : cases) {
        Give("mount.txt", each.first);
        ExpectDamage(registry, each.second);
    }
}

TEST_F(LabctlImportedMachine, ASystemThatIsNoneAndAPlaceThatIsTakenAreRefused)
{
    const std::string registry = PrintRegistry(SmallMac());
    Give("SystemVersion.plist", SystemVersion("11.0"));
    ExpectDamage(registry, "SystemVersion.plist holds no ProductVersion such as 10.4.11");
    Give("SystemVersion.plist", "<plist>\n<dict>\n");
    EXPECT_EQ("exited 1", Import(registry));
    EXPECT_EQ(0u, errors.find("labctl: /tmp/capture/SystemVersion.plist is no property list: line ")) << errors;
    ExpectRefusal({"import", "/tmp/capture/none", "/tmp/capture/mount.txt", "/tmp/capture/mount.txt", "/tmp/mac"},
                  "cannot read /tmp/capture/none: No such file or directory");
    ExpectRefusal({"import", "a", "b", "c", "/tmp/capture"},
                  "/tmp/capture is there already; a machine is made where nothing is yet");
    Give("SystemVersion.plist", SystemVersion("10.4.11"));
    ExpectRefusal({"import", "/tmp/capture/ioreg.txt", "/tmp/capture/SystemVersion.plist", "/tmp/capture/mount.txt",
                   "/tmp/none/mac"},
                  "cannot make the folder /tmp/none/mac: No such file or directory");
    ExpectMisuse({"import", "a", "b", "c"}, "something is missing");
    EXPECT_EQ("exited 0", Run({"import", "/tmp/capture/ioreg.txt", "/tmp/capture/SystemVersion.plist",
                               "/tmp/capture/mount.txt", "/tmp/mac/"}))
        << errors;
}
