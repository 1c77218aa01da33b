// Disks that come and go while the real daemon runs, and what becomes of their identities.

#include "lab/Files.h"
#include "lab/Registry.h"   // TextOf
#include "tests/daemon/HfsUtilRuns.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/RunningDaemon.h"
#include "tests/support/VersionFiles.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <unistd.h>

using TQuestions = std::vector<std::string>;

// The daemon on leopard, whose RAID volume is disk2.
class DisksEndToEnd : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
    }

    void TearDown() override
    {
        EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
        EndDaemon(daemon.get());
        EXPECT_EQ("", daemon->Output() + daemon->Errors());
        daemon.reset();
        TMachineTest::TearDown();
    }

    void StartDaemon()
    {
        daemon = std::make_unique<TRunningProgram>(DaemonCommand(), NoLeakCheckAtExit());
        ASSERT_TRUE(WaitForEventSocket());
    }

    // Until the three disks of the RAID volume were offered.
    void StartDaemonAndSettle()
    {
        StartDaemon();
        ASSERT_TRUE(WaitUntilAsked({"-k disk2", "-k disk2s1", "-k disk2s3"}));
    }

    // Attaches a partition of the RAID volume with an HFS volume that has this identifier.
    void Attach(const std::string& bsdName, const std::string& identifier)
    {
        ASSERT_EQ("", machine.AddVolume(bsdName, "Data"));
        ASSERT_EQ("", machine.SetVolumeProperty(bsdName, "Identifier", plist::TValue::String(identifier)));
        ASSERT_EQ("", machine.AddMedium(bsdName, "disk2", 1000000, false));
    }

    std::string IdentifierOf(const std::string& bsdName) const
    {
        return lab::TextOf(machine.Volume(bsdName), "Identifier");
    }

    // Attaches a partition of its own and waits until it was read: every disk before it has been dealt with then.
    void Settle()
    {
        const std::string name = "disk2s" + std::to_string(1000 + fMarkers++);
        Attach(name, "00000000FFFF" + std::to_string(1000 + fMarkers));
        ASSERT_TRUE(WaitUntil([&] {
            const TQuestions asked = AskedOfHfsUtil(machine);
            return std::find(asked.begin(), asked.end(), "-k " + name) != asked.end();
        }));
    }

    // What was asked, but for the markers.
    TQuestions Asked() const
    {
        TQuestions asked = AskedOfHfsUtil(machine);
        asked.erase(std::remove_if(asked.begin(), asked.end(),
                                   [](const std::string& one) { return one.rfind("-k disk2s10", 0) == 0; }),
                    asked.end());
        return asked;
    }

    bool WaitUntilAsked(const TQuestions& expected)
    {
        const bool asked = WaitUntil([&] { return Asked().size() >= expected.size(); }, 60);
        EXPECT_EQ(expected, Asked());
        return asked;
    }

    std::unique_ptr<TRunningProgram> daemon;

private:
    int fMarkers = 0;
};

TEST_F(DisksEndToEnd, DisksThatArePresentAreOfferedInOrderTheWholeOneAndEachPartition)
{
    StartDaemonAndSettle();
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_EQ((TQuestions{"-k disk2", "-k disk2s1", "-k disk2s3"}), Asked()) << "and no disk of another volume";
}

TEST_F(DisksEndToEnd, ANewcomersIdentityIsRenewedAndTheHolderKeepsIts)
{
    const std::string identifier = IdentifierOf("disk2s3");
    StartDaemonAndSettle();
    Attach("disk2s5", identifier);

    EXPECT_TRUE(WaitUntilAsked({"-k disk2", "-k disk2s1", "-k disk2s3", "-k disk2s5", "-s disk2s5", "-k disk2s5"}));
    EXPECT_EQ(identifier, IdentifierOf("disk2s3"));
    EXPECT_NE(identifier, IdentifierOf("disk2s5"));
}

TEST_F(DisksEndToEnd, OfTwoThatArePresentAtStartTheSecondIsRenewed)
{
    Attach("disk2s5", IdentifierOf("disk2s3"));
    StartDaemon();

    EXPECT_TRUE(WaitUntilAsked({"-k disk2", "-k disk2s1", "-k disk2s3", "-k disk2s5", "-s disk2s5", "-k disk2s5"}));
}

TEST_F(DisksEndToEnd, ANewIdentityIsHeldLikeAnyOther)
{
    StartDaemonAndSettle();
    Attach("disk2s5", IdentifierOf("disk2s3"));
    ASSERT_NO_FATAL_FAILURE(Settle());
    Attach("disk2s6", IdentifierOf("disk2s5"));
    ASSERT_NO_FATAL_FAILURE(Settle());

    const TQuestions asked = Asked();
    ASSERT_EQ(9u, asked.size());
    EXPECT_EQ((TQuestions{"-k disk2s6", "-s disk2s6", "-k disk2s6"}), TQuestions(asked.begin() + 6, asked.end()));
}

TEST_F(DisksEndToEnd, AVolumeOutsideTheRAIDVolumesKeepsTheIdentityOfOneOfThem)
{
    StartDaemonAndSettle();
    ASSERT_EQ("", machine.AddVolume("disk3s5", "Copy"));
    ASSERT_EQ("", machine.SetVolumeProperty("disk3s5", "Identifier", plist::TValue::String(IdentifierOf("disk2s3"))));
    ASSERT_EQ("", machine.AddMedium("disk3s5", "disk3", 1000000, false));
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_EQ((TQuestions{"-k disk2", "-k disk2s1", "-k disk2s3"}), Asked());
}

TEST_F(DisksEndToEnd, ADetachedDiskHoldsItsIdentityNoLonger)
{
    StartDaemonAndSettle();
    Attach("disk2s5", "0123456789ABCDEF");
    ASSERT_NO_FATAL_FAILURE(Settle());
    ASSERT_EQ("", machine.RemoveMedium("disk2s5"));
    ASSERT_NO_FATAL_FAILURE(Settle());
    Attach("disk2s6", "0123456789ABCDEF");
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_EQ((TQuestions{"-k disk2", "-k disk2s1", "-k disk2s3", "-k disk2s5", "-k disk2s6"}), Asked());
    EXPECT_EQ("0123456789ABCDEF", IdentifierOf("disk2s6"));
}

TEST_F(DisksEndToEnd, ADiskThatIsSwappedForAnotherOfItsNameHoldsTheOthersIdentity)
{
    StartDaemonAndSettle();
    Attach("disk2s5", "0123456789ABCDEF");
    ASSERT_NO_FATAL_FAILURE(Settle());
    ASSERT_EQ("", machine.RemoveMedium("disk2s5"));
    Attach("disk2s5", "FEDCBA9876543210");
    ASSERT_NO_FATAL_FAILURE(Settle());
    Attach("disk2s6", "0123456789ABCDEF");
    Attach("disk2s7", "FEDCBA9876543210");
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_EQ("0123456789ABCDEF", IdentifierOf("disk2s6"));
    EXPECT_EQ("FEDCBA9876543210", IdentifierOf("disk2s5"));
    EXPECT_NE("FEDCBA9876543210", IdentifierOf("disk2s7"));
}

TEST_F(DisksEndToEnd, OnTigerIdentitiesAreLookedAfter)
{
    InstallSystem("/", "10.4.11");
    StartDaemonAndSettle();
    Attach("disk2s5", IdentifierOf("disk2s3"));
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_NE(IdentifierOf("disk2s3"), IdentifierOf("disk2s5"));
}

TEST_F(DisksEndToEnd, OnPantherNoToolIsRunForAnyDisk)
{
    InstallSystem("/", "10.3.9");
    StartDaemon();
    Attach("disk2s5", IdentifierOf("disk2s3"));
    const std::size_t fetches = FetchesOf(machine);
    // More than a second, in which the disks are told of at once.
    ASSERT_TRUE(WaitUntil([&] { return FetchesOf(machine) >= fetches + 3; }));

    for (const lab::TToolRun& run : machine.ToolRuns())
        EXPECT_EQ("/bin/ps", run.path);
    EXPECT_EQ(IdentifierOf("disk2s3"), IdentifierOf("disk2s5"));
}

TEST_F(DisksEndToEnd, WithoutHfsUtilTheDaemonGoesOn)
{
    ASSERT_EQ("", machine.SetToolMissing("hfs.util", true));
    StartDaemon();
    const std::size_t fetches = FetchesOf(machine);
    ASSERT_TRUE(WaitUntil([&] { return FetchesOf(machine) >= fetches + 2; }));
    EXPECT_TRUE(Asked().empty());
    ASSERT_EQ("", machine.SetToolMissing("hfs.util", false));
    Attach("disk2s5", "0123456789ABCDEF");

    EXPECT_TRUE(WaitUntil([this] { return !Asked().empty() && Asked().back() == "-k disk2s5"; }));
}

TEST_F(DisksEndToEnd, ADiskWithoutABSDNameIsPassedOver)
{
    StartDaemonAndSettle();
    ASSERT_EQ("", machine.AddEntry("disk2", "IOMedia", "Nameless"));
    ASSERT_NO_FATAL_FAILURE(Settle());
    ASSERT_EQ("", machine.RemoveMedium("disk2s1000"));
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_EQ((TQuestions{"-k disk2", "-k disk2s1", "-k disk2s3"}), Asked());
}

TEST_F(DisksEndToEnd, NoDiskIsClaimedThoughTheManagementApplicationIsInFront)
{
    ASSERT_EQ("", machine.WriteText("front-process", std::to_string(StartProcess("Halvorix")) + "\n"));
    StartDaemonAndSettle();
    ASSERT_EQ("", machine.AddMedium("disk7", "", 1000000, true));
    ASSERT_NO_FATAL_FAILURE(Settle());

    EXPECT_TRUE(lab::NamesInFolder("/machine/claims").empty());
    unsigned looks = 0;
    for (const lab::TToolRun& run : machine.ToolRuns())
        looks += run.path == "/bin/ps";
    EXPECT_EQ(2u, looks) << "for SystemUIServer and for an older instance, and never for Halvorix";
}

TEST_F(DisksEndToEnd, DisksAreDealtWithWhileBootEventsAre)
{
    StartDaemonAndSettle();
    TListener listener;
    lab::TEvent rebuild;
    rebuild.type = 1;
    rebuild.name = "disk2s3";
    lab::TEvent select = rebuild;
    select.type = 2;
    constexpr int kRounds = 5;
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_EQ("", machine.PostEvents({rebuild, select, lab::TEvent()}));
        Attach("disk2s5", IdentifierOf("disk2s3"));
        ASSERT_NO_FATAL_FAILURE(Settle());
        EXPECT_NE(IdentifierOf("disk2s3"), IdentifierOf("disk2s5"));
        ASSERT_EQ("", machine.RemoveMedium("disk2s5"));
    }

    // A record goes out when the boot events before it are done.
    EXPECT_TRUE(WaitUntil([&] { return listener.Receive().size() == kRounds * 128; }, 120));
    unsigned rebuilds = 0;
    for (const lab::TToolRun& run : machine.ToolRuns())
        rebuilds += run.path == "/sbin/newfs_hfs";
    EXPECT_EQ(2u * kRounds, rebuilds) << "two members each";
}
