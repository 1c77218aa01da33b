#include "lab/tools/DiskutilList.h"
#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <cstdio>
#include <utility>
#include <vector>

using plist::TValue;

namespace tools {

// "37.3 GB", and 10.5's "37.3 Gi": by powers of 1024 in both.
static std::string SizeInWords(long long bytes, bool leopard)
{
    static const char* const kUnits[][2] = {
        {" B", " B"}, {" KB", " Ki"}, {" MB", " Mi"}, {" GB", " Gi"}, {" TB", " Ti"}};
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; size >= 1024 && unit < 4; ++unit)
        size /= 1024;
    char text[32];
    std::snprintf(text, sizeof text, "%.1f%s", size, kUnits[unit][leopard]);
    return text;
}

// The names that people have for what a GUID map says of its partitions.
static std::string TypeInWords(const TValue& medium)
{
    static const std::pair<const char*, const char*> kTypes[] = {
        {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "EFI"},
        {"48465300-0000-11AA-AA11-00306543ECAC", "Apple_HFS"},
        {"426F6F74-0000-11AA-AA11-00306543ECAC", "Apple_Boot"},
        {"55465300-0000-11AA-AA11-00306543ECAC", "Apple_UFS"},
        {"52414944-0000-11AA-AA11-00306543ECAC", "Apple_RAID"}};
    const std::string content = lab::TextOf(medium, "Content");
    for (const auto& type : kTypes) {
        if (content == type.first)
            return type.second;
    }
    return content;
}

// One line of a table. Rows are counted, whatever the slices' numbers.
static void PrintRow(const lab::TMachine& machine, std::size_t row, const TValue& medium)
{
    const bool leopard = SystemIsLeopard(machine);
    const std::string bsdName = lab::TextOf(medium, "BSD Name");
    const bool whole = lab::TruthOf(medium, "Whole");
    const std::string size = SizeInWords(lab::NumberOf(medium, "Size"), leopard);
    const std::string name = lab::TextOf(machine.Volume(bsdName), "Name");
    if (leopard)
        std::printf("%4zu: %26s %-22s %s%-11s%s\n", row, TypeInWords(medium).c_str(), name.c_str(), whole ? "*" : " ",
                    size.c_str(), bsdName.c_str());
    else
        std::printf("%4zu: %22s %-18s %-10s%s\n", row, TypeInWords(medium).c_str(), name.c_str(),
                    ((whole ? "*" : "") + size).c_str(), bsdName.c_str());
}

static void PrintTable(const lab::TMachine& machine, lab::TRegistry* registry, const std::string& whole)
{
    std::printf("/dev/%s\n%s\n", whole.c_str(),
                SystemIsLeopard(machine)
                    ? "   #:                       TYPE NAME                    SIZE       IDENTIFIER"
                    : "   #:                   type name               size      identifier");
    std::size_t row = 0;
    for (const std::string& bsdName : registry->MediumNames()) {
        if (bsdName == whole || bsdName.rfind(whole + "s", 0) == 0)
            PrintRow(machine, row++, *registry->FindMedium(bsdName).entry);
    }
}

int ListDisks(const lab::TMachine& machine, const std::string& bsdName)
{
    lab::TRegistry registry(machine.Folder());
    const std::string wanted = DiskOfNode(bsdName);
    bool found = false;
    for (const std::string& name : registry.MediumNames()) {
        const bool listed = bsdName.empty() || name == wanted;
        if (!listed || !lab::TruthOf(*registry.FindMedium(name).entry, "Whole"))
            continue;
        PrintTable(machine, &registry, name);
        found = true;
    }
    return found || bsdName.empty() ? 0 : Refuse("diskutil", "There is no whole disk " + bsdName);
}

static void PrintFact(const char* label, const std::string& fact)
{
    if (!fact.empty())
        std::printf("   %-20s%s\n", label, fact.c_str());
}

static std::string FileSystemInWords(const TValue& volume)
{
    const std::string kind = lab::TextOf(volume, "Kind");
    if (kind == "hfs")
        return lab::TruthOf(volume, "Journaled") ? "Journaled HFS+" : "HFS+";
    return kind == "ufs" ? "UFS" : kind == "msdos" ? "MS-DOS" : kind;
}

int ShowDisk(const lab::TMachine& machine, const std::string& bsdName)
{
    lab::TRegistry registry(machine.Folder());
    const TValue* const medium = registry.FindMedium(bsdName).entry;
    if (!medium)
        return Refuse("diskutil", "There is no disk " + bsdName);
    const TValue volume = machine.Volume(bsdName);
    PrintFact("Device Node:", "/dev/" + bsdName);
    PrintFact("Device Identifier:", bsdName);
    PrintFact("Mount Point:", machine.MountPath(bsdName));
    PrintFact("Volume Name:", lab::TextOf(volume, "Name"));
    std::printf("\n");
    PrintFact("File System:", FileSystemInWords(volume));
    if (volume.Find("Owners"))
        PrintFact("Owners:", lab::TruthOf(volume, "Owners") ? "Enabled" : "Disabled");
    PrintFact("Partition Type:", TypeInWords(*medium));
    PrintFact("Volume UUID:", lab::TextOf(volume, "UUID"));
    std::printf("\n");
    PrintFact("Total Size:", SizeInWords(lab::NumberOf(*medium, "Size"), SystemIsLeopard(machine)));
    PrintFact("Read Only:", IsReadOnly(machine, bsdName) ? "Yes" : "No");
    return 0;
}

}   // namespace tools
