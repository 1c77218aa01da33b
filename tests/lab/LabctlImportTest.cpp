#include "tests/lab/ImportRun.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace lab;
using plist::TValue;

// What labctl reads in a registry that a Mac printed.
class LabctlImport : public TImportTest
{
};

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
    std::vector<TCapturedEntry> mac = SmallMac();
    mac[13].name = "\x8et\x8e@3";
    mac[13].className = "\x8et\x8e";
    ASSERT_EQ("exited 0", Import(PrintRegistry(mac))) << errors;
    EXPECT_EQ("\xc3\xa9t\xc3\xa9", TextOf(*TRegistry("/tmp/mac").FindMedium("disk0s3").entry, "IOObjectClass"));
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
    ASSERT_EQ("exited 0",
              Import(PrintRegistry(SmallMac(), ", id 0x2000000#, registered, retain 7", ", id 0x2000000#, retain 9")))
        << errors;
    EXPECT_EQ(0x20000000d, Property("IORegistryEntryID").integer);
    EXPECT_EQ(std::to_string(0x20000000f), ReadLine("/tmp/mac/registry/next-id"));
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
    // A registry in which disk0s3 follows disk0s1, and one in which it does not.
    std::vector<TCapturedEntry> mac = SmallMac();
    const std::string both = PrintRegistry(mac);
    mac.erase(mac.begin() + 13);
    const std::string alone = PrintRegistry(mac);
    const auto lineOf = [](const std::string& text, const std::string& entry) {
        return text.rfind('\n', text.find("+-o " + entry)) + 1;
    };
    const std::string before = both.substr(0, lineOf(both, "Apple@1"));
    const long first = 1 + std::count(before.begin(), before.end(), '\n');
    // An entry with five properties takes nine lines.
    const std::string damaged = "ioreg.txt, line " + std::to_string(first + 9);
    const std::string teller = "by what line " + std::to_string(first) + " shows, ";

    ExpectDamage(both.substr(0, lineOf(both, "Macintosh HD")) + both.substr(lineOf(both, "IOResources")),
                 damaged + ": an entry is missing before this line: " + teller + "one follows");
    ExpectDamage(alone.substr(0, lineOf(alone, "IOResources")) + both.substr(lineOf(both, "Macintosh HD")),
                 damaged + ": this entry should not be here: " + teller + "none follows there");
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
