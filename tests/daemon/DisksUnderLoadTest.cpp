// Many disks that come and go while the real daemon has other work, too.

#include "lab/Files.h"
#include "tests/daemon/HfsUtilRuns.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/RunningDaemon.h"

#include <csignal>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <unistd.h>

// A machine whose registry holds one RAID volume and its disks, and is short, since it is read again at each change.
class DisksUnderLoad : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
        WriteRegistry();
        daemon = std::make_unique<TRunningProgram>(DaemonCommand());
        ASSERT_TRUE(WaitForEventSocket());
    }

    void TearDown() override
    {
        EndDaemon(daemon.get());
        EXPECT_EQ("", daemon->Output() + daemon->Errors());
        daemon.reset();
        TMachineTest::TearDown();
    }

    // An entry of the registry; more is the XML of its other properties.
    static std::string Entry(const std::string& className, unsigned identifier, const std::string& more,
                             const std::string& children)
    {
        return "<dict><key>IOObjectClass</key><string>" + className +
               "</string><key>IORegistryEntryName</key><string>" + className +
               "</string><key>IORegistryEntryID</key><integer>" + std::to_string(identifier) + "</integer>" + more +
               "<key>IORegistryEntryChildren</key><array>" + children + "</array></dict>\n";
    }

    void WriteRegistry()
    {
        std::string media;
        for (const auto& [identifier, bsdName] : attached)
            media += Entry("IOMedia", identifier, "<key>BSD Name</key><string>" + bsdName + "</string>", "");
        const std::string volume =
            Entry("com_halvorix_driver_HalvorixVolume", 3, "<key>Halvorix Volume ID</key><string>1</string>", media);
        const std::string driver = Entry("com_halvorix_driver_Halvorix", 2, "", volume);
        ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", Entry("IORegistryEntry", 1, "", driver)));
    }

    // Makes a volume with an identifier that this number gives.
    void MakeVolume(const std::string& bsdName, unsigned identity)
    {
        char identifier[17];
        snprintf(identifier, sizeof identifier, "%016X", identity);
        ASSERT_EQ("", machine.AddVolume(bsdName, "Data"));
        ASSERT_EQ("", machine.SetVolumeProperty(bsdName, "Identifier", plist::TValue::String(identifier)));
    }

    // Stands in the registry from the next WriteRegistry on, behind all that were attached before.
    void Attach(const std::string& bsdName) { attached[nextIdentifier++] = bsdName; }

    void Detach(const std::string& bsdName)
    {
        for (auto disk = attached.begin(); disk != attached.end(); ++disk) {
            if (disk->second != bsdName)
                continue;
            attached.erase(disk);
            return;
        }
    }

    // The disks that hfs.util was asked for with this option.
    std::multiset<std::string> AskedWith(const std::string& option) const
    {
        std::multiset<std::string> names;
        for (const std::string& asked : AskedOfHfsUtil(machine)) {
            if (asked.rfind(option + " ", 0) == 0)
                names.insert(asked.substr(option.size() + 1));
        }
        return names;
    }

    // Attaches a disk of its own, waits until it was read, and detaches it: every change before has been dealt with then.
    void Settle()
    {
        const std::string marker = "disk9000s" + std::to_string(markers++);
        MakeVolume(marker, 0x90000000 + markers);
        Attach(marker);
        WriteRegistry();
        ASSERT_TRUE(WaitUntil([&] { return AskedWith("-k").count(marker) == 1; }, 240));
        Detach(marker);
        WriteRegistry();
    }

    static lab::TEvent Event(std::int32_t type)
    {
        lab::TEvent event;
        event.type = type;
        event.name = "disk2s3";
        return event;
    }

    std::unique_ptr<TRunningProgram> daemon;
    std::map<unsigned, std::string> attached;   // by the identifier of the registry's entry
    unsigned nextIdentifier = 100;
    unsigned markers = 0;
};

TEST_F(DisksUnderLoad, AfterHundredsOfChangesTheRegistryHoldsWhatIsAttached)
{
    // Some 200 attachments.
    constexpr unsigned kChanges = 400;
    constexpr unsigned kDisks = 80;
    for (unsigned disk = 0; disk < kDisks; ++disk)
        MakeVolume("disk5s" + std::to_string(disk), 1 + disk);
    ASSERT_NO_FATAL_FAILURE(Settle());
    TListener listener;
    ASSERT_EQ("", machine.PostEvents({Event(3)}));
    ASSERT_TRUE(listener.WaitForBytes(128));
    const THeld before = LeastHeldBy(machine, daemon->Process());
    EXPECT_EQ(0, before.children);

    // Each disk changes its state now and then; some changes come so fast that they are one to the daemon.
    std::mt19937 random(4711);
    std::set<std::string> present;
    for (unsigned change = 0; change < kChanges; ++change) {
        const std::string disk = "disk5s" + std::to_string(random() % kDisks);
        if (present.insert(disk).second) {
            Attach(disk);
        } else {
            present.erase(disk);
            Detach(disk);
        }
        if (random() % 4 == 0)
            WriteRegistry();
        if (change % 40 == 0) {
            ASSERT_EQ("", machine.PostEvents({Event(3), Event(2), Event(1), Event(4)}));
        }
    }
    ASSERT_NO_FATAL_FAILURE(Settle());
    EXPECT_TRUE(AskedWith("-s").empty()) << "all have identities of their own";
    EXPECT_TRUE(listener.WaitForBytes(128 + kChanges / 40 * 2 * 128)) << "the events of types 3 and 4";

    // Each identity is tried with a copy: those of the disks that are attached are taken, and no others.
    std::multiset<std::string> renewed;
    for (unsigned disk = 0; disk < kDisks; ++disk) {
        const std::string copy = "disk6s" + std::to_string(disk);
        MakeVolume(copy, 1 + disk);
        Attach(copy);
        if (present.count("disk5s" + std::to_string(disk)) != 0)
            renewed.insert(copy);
    }
    WriteRegistry();
    ASSERT_NO_FATAL_FAILURE(Settle());
    EXPECT_EQ(renewed, AskedWith("-s"));
    EXPECT_GT(renewed.size(), kDisks / 4);
    EXPECT_LT(renewed.size(), kDisks);

    // Nothing is kept of disks that have gone.
    attached.clear();
    ASSERT_NO_FATAL_FAILURE(Settle());
    EXPECT_EQ(InWords(before), InWords(LeastHeldBy(machine, daemon->Process())));
}
