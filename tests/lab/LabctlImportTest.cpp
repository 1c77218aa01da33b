#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/lab/CaptureText.h"
#include "tests/lab/LabctlRun.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

using namespace lab;
using plist::TValue;

// Machines that labctl makes of what was captured on a Mac.
class LabctlImport : public TLabctlTest
{
protected:
    void SetUp() override
    {
        TLabctlTest::SetUp();
        ASSERT_EQ(0, mkdir("/tmp/capture", 0777));
        Give("SystemVersion.plist", SystemVersion("10.4.11"));
        Give("mount.txt", "/dev/disk0s3 on / (local, journaled)\ndevfs on /dev (local)\n<volfs> on /.vol\n");
    }

    static void Give(const std::string& file, const std::string& text)
    {
        ASSERT_EQ("", ReplaceFile("/tmp/capture/" + file, text));
    }

    // Imports a registry into /tmp/mac, and returns what labctl ended with.
    std::string Import(const std::string& registry, const std::vector<std::string>& options = {})
    {
        std::filesystem::remove_all("/tmp/mac");
        Give("ioreg.txt", registry);
        std::vector<std::string> words{"import"};
        words.insert(words.end(), options.begin(), options.end());
        for (const char* const file : {"ioreg.txt", "SystemVersion.plist", "mount.txt"})
            words.push_back(std::string("/tmp/capture/") + file);
        words.push_back("/tmp/mac");
        return Run(words);
    }

    // The capture is refused with these words, and nothing is left of the machine.
    void ExpectDamage(const std::string& registry, const std::string& why)
    {
        EXPECT_EQ("exited 1", Import(registry)) << why;
        EXPECT_EQ("", output);
        EXPECT_EQ("labctl: /tmp/capture/" + why + "\n", errors);
        EXPECT_EQ(std::vector<std::string>{"capture"}, NamesInFolder("/tmp"));
    }

    // A property of disk0s3 in the machine that was made.
    static TValue Property(const std::string& key)
    {
        TRegistry registry("/tmp/mac");
        EXPECT_EQ("", registry.Error());
        const TFoundEntry found = registry.FindMedium("disk0s3");
        const TValue* const value = found.entry ? found.entry->Find(key) : nullptr;
        EXPECT_TRUE(value) << key;
        return value ? *value : TValue();
    }

    // A property that is written so, in the machine.
    TValue Read(const std::string& value)
    {
        EXPECT_EQ("exited 0", Import(PrintRegistry(SmallMac({"\"key\" = " + value})))) << errors;
        return Property("key");
    }
};

TEST_F(LabctlImport, ACaptureBecomesAMachineWithItsDisksAndItsSystem)
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

TEST_F(LabctlImport, EveryKindOfValueIsRead)
{
    EXPECT_EQ("a \"quoted\", {odd}\\ text", Read(R"("a "quoted", {odd}\ text")").text);
    EXPECT_EQ(512, Read("512").integer);
    EXPECT_EQ(31, Read("0x1f").integer);
    // A negative number, as ioreg prints it.
    const TValue negative = Read("18446744073709551615");
    EXPECT_TRUE(negative.wide);
    EXPECT_EQ(-1, negative.integer);
    EXPECT_TRUE(Read("Yes").boolean);
    EXPECT_EQ(plist::Kind::kBoolean, Read("No").kind);
    EXPECT_EQ("00ff7f", Hexadecimal(Read("<00ff7f>").text));
    EXPECT_EQ(plist::Kind::kData, Read("<>").kind);
    EXPECT_EQ(std::string("Mac\0Power \">\0", 13), Read("<\"Mac\",\"Power \">\">").text);
    EXPECT_EQ("<unknown object>", Read("<unknown object>").text);
}

TEST_F(LabctlImport, ContainersHoldEveryKindOfValue)
{
    const TValue value = Read(R"({"a"=(1,"t, x",<0a>,<"s","t">,Yes,(),{}),"b"={"c"=[2,3]},"d"=,"e"=""})");
    ASSERT_EQ(4u, value.entries.size());
    const std::vector<TValue>& items = value.Find("a")->items;
    ASSERT_EQ(7u, items.size());
    EXPECT_EQ("t, x", items[1].text);
    EXPECT_EQ("0a", Hexadecimal(items[2].text));
    EXPECT_EQ(std::string("s\0t\0", 4), items[3].text);
    EXPECT_TRUE(items[4].boolean);
    EXPECT_EQ(plist::Kind::kArray, items[5].kind);
    EXPECT_EQ(plist::Kind::kDictionary, items[6].kind);
    EXPECT_EQ(3, value.Find("b")->Find("c")->items[1].integer);
    // Nothing at all is what a text is that MacRoman lacks.
    EXPECT_EQ(plist::Kind::kString, value.Find("d")->kind);
    EXPECT_TRUE(OutputHas("note: 1 value is not readable in the capture and empty here\n")) << output;
}

TEST_F(LabctlImport, WhatAPublisherPaintedOverIsEmptyAndCounted)
{
    EXPECT_EQ("", Read("<PRIVATE>").text);
    EXPECT_TRUE(OutputHas("note: 1 value is not readable in the capture and empty here\n")) << output;
}

TEST_F(LabctlImport, TextsAreMacRomanUnlessTheyAreUTF8)
{
    EXPECT_EQ("\xc3\xa9t\xc3\xa9", Read("\"\x8et\x8e\"").text);
    EXPECT_EQ("\xc3\xa9t\xc3\xa9", Read("\"\xc3\xa9t\xc3\xa9\"").text);
    // Data keeps its bytes, and what no property list can hold does not spoil the machine.
    EXPECT_EQ(std::string("\x8et\x8e\0", 4), Read("<\"\x8et\x8e\">").text);
    EXPECT_EQ("a?b", Read("\"a\x01"
                          "b\"")
                         .text);
}

TEST_F(LabctlImport, ATextMayTakeSeveralLines)
{
    EXPECT_EQ("one\ntwo: 0x1\n\n", Read("\"one\ntwo: 0x1\n\n\"").text);
    EXPECT_EQ("a\nb", Read("{\"x\"=\"a\nb\"}").Find("x")->text);
}

TEST_F(LabctlImport, EachSystemsOwnWayOfPrintingIsRead)
{
    const std::vector<TCapturedEntry> mac = SmallMac();
    const std::string today = PrintRegistry(mac);
    EXPECT_EQ("exited 0", Import(PrintRegistry(mac, "", ""))) << errors;   // 10.2
    EXPECT_EQ("exited 0", Import(PrintRegistry(mac, ", !registered, !matched, active, busy 0, retain 7", ", retain 9")))
        << errors;   // 10.5
    std::string lines;
    for (const std::string& line : SplitLines(today))
        lines += line + "\r\n";
    EXPECT_EQ("exited 0", Import("IOService:\r\n" + lines + "\r\n$ exit\r\n")) << errors;
    std::string page = today;
    for (std::size_t at = page.find('<'); at != std::string::npos; at = page.find('<'))
        page.replace(at, 1, "&lt;");
    for (std::size_t at = page.find('>'); at != std::string::npos; at = page.find('>'))
        page.replace(at, 1, "&gt;");
    EXPECT_EQ("exited 0", Import(page)) << errors;
    EXPECT_EQ("Apple_HFS", Property("Content").text);
}

TEST_F(LabctlImport, IdentifiersThatALaterSystemPrintsAreKept)
{
    std::string text;
    unsigned next = 0x200;
    for (const std::string& line : SplitLines(PrintRegistry(SmallMac(), ", registered, retain 7", ", retain 9"))) {
        const std::size_t class_end =
            line.find("  <class ") == std::string::npos ? std::string::npos : line.find(", ", line.find("  <class "));
        char identifier[32];
        std::snprintf(identifier, sizeof identifier, ", id 0x1%08x", next);
        next += class_end == std::string::npos ? 0 : 1;
        text +=
            (class_end == std::string::npos ? line : line.substr(0, class_end) + identifier + line.substr(class_end)) +
            "\n";
    }
    ASSERT_EQ("exited 0", Import(text)) << errors;
    EXPECT_EQ(0x10000020d, Property("IORegistryEntryID").integer);
    EXPECT_EQ(std::to_string(0x10000020f), ReadLine("/tmp/mac/registry/next-id"));
}

TEST_F(LabctlImport, ARegistryThatIsDamagedIsRefusedWithItsLine)
{
    const std::vector<std::string> lines = SplitLines(PrintRegistry(SmallMac()));
    const auto without = [&](std::size_t first, std::size_t behind) {
        std::string text;
        for (std::size_t i = 0; i < lines.size(); ++i)
            text += i + 1 >= first && i + 1 < behind ? "" : lines[i] + "\n";
        return text;
    };
    const auto with = [&](std::size_t line, const std::string& changed) {
        std::string text;
        for (std::size_t i = 0; i < lines.size(); ++i)
            text += (i + 1 == line ? changed : lines[i]) + "\n";
        return text;
    };
    // Where the lines stand that are damaged.
    ASSERT_EQ("  +-o PowerMac3,6  <class IOPlatformExpertDevice, registered, matched, active, busy 0, retain count 7>",
              lines[5]);
    ASSERT_EQ("    |   \"model\" = <\"PowerMac3,6\">", lines[8]);

    ExpectDamage("just a text\n", "ioreg.txt, line 1: no registry begins here nor in any line behind it; ioreg -l -w0 "
                                  "prints one");
    ExpectDamage(
        with(6, "  +-o PowerMac3,6  <class IOPlatformExpertDevice,\nregistered, retain count 7>"),
        "ioreg.txt, line 6: the entry does not end with its class and its state; ioreg -l -w0 prints each in one "
        "line, and no program may wrap it");
    ExpectDamage(with(9, "    |   \"model\" = <\"Power\nMac3,6\">"),
                 "ioreg.txt, line 9: the value of \"model\" is none that ioreg prints, or it breaks off");
    ExpectDamage(
        with(9, "    |   \"model\" =\n<\"PowerMac3,6\">"),
        "ioreg.txt, line 9: this is no property of the entry in line 6; ioreg -l -w0 prints each in one line, and "
        "no program may wrap it");
    ExpectDamage(
        with(9, "    |   \"model\" = <\"Power$"),
        "ioreg.txt, line 9: it was cut off behind 25 characters, where the window ended; ioreg -l -w0 prints whole "
        "lines");
    ExpectDamage(
        without(9, 1000),
        "ioreg.txt, line 8: the registry is cut short: it ends here, among the properties of the entry in line 6");
    ExpectDamage(
        without(12, 1000),
        "ioreg.txt, line 11: the registry is cut short: it ends here, but by what line 6 shows, an entry follows");
    ExpectDamage(without(12, 16), "ioreg.txt, line 12: the entry does not stand below one that could hold it");
    ExpectDamage(without(lines.size() - 3, 1000),
                 "ioreg.txt, line " + std::to_string(lines.size() - 4) +
                     ": the registry is cut short: it ends here, but by what line 12 shows, an entry follows");
}

TEST_F(LabctlImport, EntriesThatAreMissingOrTooManyAreSeenByTheBars)
{
    std::vector<TCapturedEntry> mac = SmallMac();
    const std::string whole = PrintRegistry(mac);
    // disk0s1, which line 67 and those behind it belong to, is followed by disk0s3.
    mac.erase(mac.begin() + 13);
    const std::string fewer = PrintRegistry(mac);
    const std::size_t resources = whole.find("    +-o IOResources");
    const std::size_t map = whole.find("+-o Apple@1");
    const std::size_t mapStart = whole.rfind('\n', map) + 1;
    const std::size_t next = whole.rfind('\n', whole.find("+-o Macintosh HD@3")) + 1;

    const std::string first = whole.substr(0, mapStart);
    const long line = 1 + std::count(first.begin(), first.end(), '\n');
    ExpectDamage(whole.substr(0, next) + whole.substr(resources),
                 "ioreg.txt, line " + std::to_string(line + 9) +
                     ": an entry is missing before this line: by what line " + std::to_string(line) +
                     " shows, one follows");
    const std::size_t fewerEnd = fewer.find("    +-o IOResources");
    ExpectDamage(fewer.substr(0, fewerEnd) + whole.substr(next),
                 "ioreg.txt, line " + std::to_string(line + 9) + ": this entry should not be here: by what line " +
                     std::to_string(line) + " shows, none follows there");
}

TEST_F(LabctlImport, WhatIsNoWholeCaptureIsRefused)
{
    std::string bare;
    for (const std::string& line : SplitLines(PrintRegistry(SmallMac())))
        bare += line.find("+-o") == std::string::npos ? "" : line + "\n";
    ExpectDamage(bare, "ioreg.txt, line 2: the properties of the entry in line 1 should begin here; ioreg -l -w0 "
                       "prints those of all entries");
    ExpectDamage(
        PrintRegistry({{0, "Root", "IORegistryEntry", {}}, {1, "EHCI@1D", "AppleUSBEHCI", {}}}),
        "ioreg.txt holds no IOService plane, whose first entry below Root is the computer; ioreg -l -w0 prints it");
    ExpectDamage(std::string("bplist00\x01\x02", 10), "ioreg.txt, line 1: this is a binary property list, as "
                                                      "IORegistryExplorer saves; ioreg prints what is wanted here");
    std::vector<TCapturedEntry> deep{{0, "Root", "IORegistryEntry", {}}};
    for (std::size_t depth = 1; depth < 300; ++depth)
        deep.push_back({depth, "a", "IOService", {}});
    EXPECT_EQ("exited 1", Import(PrintRegistry(deep)));
    EXPECT_NE(std::string::npos, errors.find("the entry stands more than 200 levels deep")) << errors;
    EXPECT_EQ("exited 1", Import(PrintRegistry(SmallMac({"\"key\" = " + std::string(5000, '(')}))));
    EXPECT_NE(std::string::npos, errors.find("the value of \"key\" is none that ioreg prints")) << errors;
}

TEST_F(LabctlImport, AnArchiveOfALaterSystemIsTaken)
{
    const std::string archive = TMachine("/lab/machines/workshop").ReadText("registry/ioreg.plist");
    Give("mount.txt", "/dev/disk0s3 on / (hfs, local, journaled)\n");
    ASSERT_EQ("exited 0", Import(archive)) << errors;
    EXPECT_TRUE(OutputHas(": 554 registry entries, ")) << output;

    EXPECT_EQ("exited 1", Import("<plist version=\"1.0\">\n<dict>\n<key>a</key>\n<string>b</key>\n</dict></plist>\n"));
    EXPECT_EQ(0u, errors.find("labctl: /tmp/capture/ioreg.txt, line 4: ")) << errors;
    ExpectDamage("<plist version=\"1.0\"><dict><key>a</key><true/></dict></plist>",
                 "ioreg.txt: the outermost value is no registry entry, which has an IOObjectClass and an "
                 "IORegistryEntryName; ioreg -a -l prints both");
}

TEST_F(LabctlImport, TheRealDeviceTreeSharesItsEntriesWithTheServices)
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

TEST_F(LabctlImport, ClassesThatNobodyKnowsInheritByWhatTheyShow)
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

TEST_F(LabctlImport, NetworkInterfacesHaveBSDNamesAndAreNoDisks)
{
    std::vector<TCapturedEntry> mac = SmallMac();
    mac.push_back({3, "IOEthernetInterface", "IOEthernetInterface", {R"("BSD Name" = "en0")"}});
    ASSERT_EQ("exited 0", Import(PrintRegistry(mac))) << errors;
    EXPECT_TRUE(OutputHas(": 16 registry entries, 3 disks and partitions, ")) << output;
    EXPECT_EQ((std::vector<std::string>{"disk0", "disk0s1", "disk0s3"}), TRegistry("/tmp/mac").MediumNames());
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_FALSE(OutputHas("en0")) << output;
}

TEST_F(LabctlImport, VolumesAreThoseThatWereMounted)
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

TEST_F(LabctlImport, MountsThatDoNotFitAreRefusedWithTheirLine)
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

TEST_F(LabctlImport, ASystemThatIsNoneAndAPlaceThatIsTakenAreRefused)
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
}
