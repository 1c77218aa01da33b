#include "tests/soak/SoakDisks.h"

#include "tests/support/MachineTest.h"

#include <cstdio>

constexpr unsigned kDisks = 5;
constexpr std::uint64_t kSize = 1 << 20;
constexpr const char* kRAIDDisk = "disk2";      // below it every volume is a RAID volume
constexpr const char* kMarker = "disk9000s0";   // an identity of its own

static std::string DiskName(unsigned disk)
{
    return "disk5s" + std::to_string(disk);
}

static std::string CopyName(unsigned disk)
{
    return "disk6s" + std::to_string(disk);
}

TSoakDisks::TSoakDisks(lab::TMachine& machine, std::mt19937& random) : fMachine(machine), fRandom(random)
{
    for (unsigned disk = 0; disk < kDisks; ++disk)
        MakeVolume(DiskName(disk), 1 + disk);
    MakeVolume(kMarker, 0x9000);
}

void TSoakDisks::MakeVolume(const std::string& bsdName, unsigned identity)
{
    char identifier[17];
    snprintf(identifier, sizeof identifier, "%016X", identity);
    EXPECT_EQ("", fMachine.AddVolume(bsdName, "Data"));
    EXPECT_EQ("", fMachine.SetVolumeProperty(bsdName, "Identifier", plist::TValue::String(identifier)));
}

void TSoakDisks::Attach(const std::string& bsdName)
{
    EXPECT_EQ("", fMachine.AddMedium(bsdName, kRAIDDisk, kSize, false));
}

void TSoakDisks::Detach(const std::string& bsdName)
{
    EXPECT_EQ("", fMachine.RemoveMedium(bsdName));
}

void TSoakDisks::ChangeOne()
{
    Change(static_cast<unsigned>(fRandom() % kDisks));
}

void TSoakDisks::ChangeAll()
{
    for (unsigned disk = 0; disk < kDisks; ++disk)
        Change(disk);
}

void TSoakDisks::Change(unsigned disk)
{
    ++fChanges;
    if (fAttached.insert(disk).second) {
        Attach(DiskName(disk));
        return;
    }
    fAttached.erase(disk);
    Detach(DiskName(disk));
}

// The disks that hfs.util was asked for with this option since the log was emptied.
std::multiset<std::string> TSoakDisks::AskedWith(const std::string& option) const
{
    std::multiset<std::string> names;
    for (const lab::TToolRun& run : fMachine.ToolRuns()) {
        if (run.arguments.size() == 3 && run.arguments[1] == option)
            names.insert(run.arguments[2]);
    }
    return names;
}

void TSoakDisks::Settle()
{
    const std::size_t before = AskedWith("-k").count(kMarker);
    Attach(kMarker);
    ASSERT_TRUE(WaitUntil([&] { return AskedWith("-k").count(kMarker) > before; }, 240));
    Detach(kMarker);
}

void TSoakDisks::CompareRegistry()
{
    ASSERT_EQ("", fMachine.WriteText("tools/log", ""));
    std::multiset<std::string> renewed;
    for (unsigned disk = 0; disk < kDisks; ++disk) {
        MakeVolume(CopyName(disk), 1 + disk);
        Attach(CopyName(disk));
        if (fAttached.count(disk) != 0)
            renewed.insert(CopyName(disk));
    }
    ASSERT_NO_FATAL_FAILURE(Settle());
    EXPECT_EQ(renewed, AskedWith("-s")) << "the copies of volumes that are attached, and no others";
    for (unsigned disk = 0; disk < kDisks; ++disk)
        Detach(CopyName(disk));
}

void TSoakDisks::DetachAll()
{
    for (const unsigned disk : fAttached)
        Detach(DiskName(disk));
    fAttached.clear();
}
