#include "tests/lab/CaptureText.h"

#include <cstdio>

// Whether an entry on this level follows before one that stands higher.
static bool Follows(const std::vector<TCapturedEntry>& entries, std::size_t from, std::size_t depth)
{
    for (std::size_t i = from; i < entries.size() && entries[i].depth >= depth; ++i) {
        if (entries[i].depth == depth)
            return true;
    }
    return false;
}

// What is drawn before a line behind this entry's own, for so many levels.
static std::string Bars(const std::vector<TCapturedEntry>& entries, std::size_t entry, std::size_t levels)
{
    std::string bars;
    for (std::size_t level = 0; level < levels; ++level)
        bars += Follows(entries, entry + 1, level) ? "| " : "  ";
    return bars;
}

static std::string Numbered(std::string state, std::size_t number)
{
    char digits[8];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(number & 0xff));
    const std::size_t at = state.find('#');
    return at == std::string::npos ? state : state.replace(at, 1, digits);
}

std::string PrintRegistry(const std::vector<TCapturedEntry>& entries, const std::string& state, const std::string& root)
{
    std::string text;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const TCapturedEntry& entry = entries[i];
        text += Bars(entries, i, entry.depth) + "+-o " + entry.name + "  <class " + entry.className +
                Numbered(i == 0 ? root : state, i) + ">\n";
        const std::string bars = Bars(entries, i, entry.depth + 2);
        text += bars + "{\n";
        for (const std::string& property : entry.properties)
            text += bars + "  " + property + "\n";
        text += bars + "}\n" + bars + "\n";
    }
    return text;
}

std::vector<TCapturedEntry> SmallMac(const std::vector<std::string>& more)
{
    std::vector<std::string> partition{R"("BSD Name" = "disk0s3")", R"("Content" = "Apple_HFS")",
                                       R"("Size" = 79999992320)", R"("Whole" = No)", R"("Writable" = Yes)"};
    partition.insert(partition.end(), more.begin(), more.end());
    return {
        {0, "Root", "IORegistryEntry", {R"("OS Build Version" = "8S165")"}},
        {1, "PowerMac3,6", "IOPlatformExpertDevice", {R"("name" = <"device-tree">)", R"("model" = <"PowerMac3,6">)"}},
        {2, "MacRISC2PE", "MacRISC2PE", {}},
        {3, "options", "IODTNVRAM", {R"("boot-device" = "/pci@f4000000/ata-6@D/@0:3,\\:tbxi")"}},
        {3, "pci@f4000000", "IOPlatformDevice", {R"("name" = <"pci">)", R"("reg" = <f400000002000000>)"}},
        {4, "AppleMacRiscPCI", "AppleMacRiscPCI", {}},
        {5, "ata-6@D", "IOPCIDevice", {R"("name" = <"ata-6">)"}},
        {6, "AppleKauaiATA", "AppleKauaiATA", {}},
        {7, "ATADeviceNub@0", "ATADeviceNub", {R"("unit number" = 0)"}},
        {8, "IOBlockStorageDriver", "IOBlockStorageDriver", {}},
        {9,
         "ST380023A Media",
         "IOMedia",
         {R"("BSD Name" = "disk0")", R"("Content" = "Apple_partition_scheme")", R"("Size" = 80026361856)",
          R"("Whole" = Yes)", R"("Writable" = Yes)"}},
        {10, "IOApplePartitionScheme", "IOApplePartitionScheme", {R"("Content Mask" = "Apple_partition_scheme")"}},
        {11,
         "Apple@1",
         "IOMedia",
         {R"("BSD Name" = "disk0s1")", R"("Content" = "Apple_partition_map")", R"("Size" = 32256)", R"("Whole" = No)",
          R"("Writable" = No)"}},
        {11, "Macintosh HD@3", "IOMedia", partition},
        {2, "IOResources", "IOResources", {}},
    };
}

std::string SystemVersion(const std::string& version)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "\t<key>ProductName</key>\n\t<string>Mac OS X</string>\n"
           "\t<key>ProductVersion</key>\n\t<string>" +
           version + "</string>\n</dict>\n</plist>\n";
}
