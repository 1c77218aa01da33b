// What clients that misbehave do to the daemon and to the others: nothing, or what is documented, and that it ends with them.

#include "tests/daemon/HostileClients.h"
#include "tests/daemon/HfsUtilRuns.h"

#include <algorithm>
#include <csignal>
#include <sys/resource.h>

// More than the buffer of a socket holds and fewer than the driver's queue does.
static constexpr unsigned kMoreThanABufferHolds = 600;

// For a test program and a daemon of which each may have a thousand descriptors.
static constexpr unsigned kHundreds = 500;

using TConnections = std::vector<std::shared_ptr<TConnection>>;

static std::string LastRecord(const std::string& bytes)
{
    return bytes.size() < 128 ? "" : bytes.substr(bytes.size() - 128);
}

class HostileClients : public THostileClientsTest
{
protected:
    // A client that is in the list and reads nothing.
    std::shared_ptr<TConnection> ConnectSilent()
    {
        const std::size_t before = ClientsTakenIn();
        auto silent = std::make_shared<TConnection>();
        EXPECT_TRUE(TakesIn(before + 1));
        return silent;
    }

    // Lets all of them read, a piece of at most this size at a time, and the witness too, until that has everything.
    bool ReadAlong(const TConnections& clients, std::size_t limit)
    {
        return WaitUntil(
            [&] {
                for (const auto& client : clients) {
                    for (int times = 0; times < 10000 && client->Unread() != 0; ++times)
                        client->Take(limit);
                }
                return witness->Receive().size() >= posted.size();
            },
            120);
    }
};

TEST_F(HostileClients, OneThatNeverReadsHoldsEverybodyUpUntilItLeaves)
{
    const auto silent = ConnectSilent();
    const std::size_t before = witness->Receive().size();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    const std::string heard = witness->Receive();

    EXPECT_LT(heard.size(), posted.size());
    EXPECT_EQ(0u, heard.size() % 128);
    EXPECT_TRUE(heard == posted.substr(0, heard.size()));
    EXPECT_EQ(heard.size() - before, silent->Unread()) << "what it did not read is all that anybody has";
    silent->Leave();
    EXPECT_TRUE(WitnessHasAll());
}

TEST_F(HostileClients, OneThatIsStoppedHoldsEverybodyUpUntilItIsKilled)
{
    TRunningProgram stopped({"/host/usr/bin/socat", "socat", "-u", std::string("UNIX-CONNECT:") + kEventSocket, "-"});
    ASSERT_TRUE(TakesIn(1));
    stopped.Signal(SIGSTOP);
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    EXPECT_LT(witness->Receive().size(), posted.size());
    stopped.Signal(SIGKILL);

    EXPECT_TRUE(WitnessHasAll());
    EXPECT_EQ("killed 9", stopped.WaitForEnd());
}

TEST_F(HostileClients, OneThatReadsByteByByteGetsEveryRecordAndSoDoesEverybody)
{
    const auto slow = ConnectSilent();
    const std::string bytes = Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    EXPECT_LT(witness->Receive().size(), posted.size());

    EXPECT_TRUE(ReadAlong({slow}, 1));
    EXPECT_TRUE(WitnessHasAll());
    EXPECT_TRUE(slow->Take(bytes.size()) == bytes);
}

TEST_F(HostileClients, WhileItStandsStillFewCanCallAndWhoDoesIsServedAfterwards)
{
    const auto silent = ConnectSilent();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    TConnections callers;
    ASSERT_TRUE(WaitUntil([&] {
        callers.push_back(std::make_shared<TConnection>());
        return !callers.back()->IsConnected();
    }));
    callers.pop_back();
    EXPECT_FALSE(callers.empty());
    EXPECT_LT(callers.size(), 16u)
        << "five that wait to be accepted, and one that was; what else is the system's affair";
    silent->Leave();

    // They have to read, too, or it stands still again.
    ASSERT_TRUE(ReadAlong(callers, 65536));
    ASSERT_TRUE(TakesIn(callers.size()));
    ASSERT_TRUE(WitnessHasAll());
    Relay(1);
    for (const auto& caller : callers) {
        EXPECT_TRUE(WaitUntil([&] { return LastRecord(caller->Take(65536)) == LastRecord(posted); }));
        const std::string& heard = caller->Take(65536);
        EXPECT_TRUE(heard == posted.substr(posted.size() - heard.size())) << "from some record on, all of them";
    }
}

TEST_F(HostileClients, WhileItStandsStillDisksAreLookedAt)
{
    const auto silent = ConnectSilent();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    ASSERT_EQ("", machine.AddVolume("disk2s5", "Data"));
    ASSERT_EQ("", machine.AddMedium("disk2s5", "disk2", 1000000, false));

    EXPECT_TRUE(WaitUntil([this] {
        const std::vector<std::string> asked = AskedOfHfsUtil(machine);
        return std::count(asked.begin(), asked.end(), "-k disk2s5") == 1;
    }));
    EXPECT_LT(witness->Receive().size(), posted.size());
    silent->Leave();
    EXPECT_TRUE(WitnessHasAll());
    EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(Process()) == 0; }));
}

TEST_F(HostileClients, WhileItStandsStillBootEventsWait)
{
    const auto silent = ConnectSilent();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    lab::TEvent select;
    select.type = 2;
    select.name = "disk2s3";
    ASSERT_EQ("", machine.PostEvents({select}));
    const std::size_t runs = machine.ToolRuns().size();
    const auto isActedOn = [this, runs] { return machine.ToolRuns().size() > runs; };

    EXPECT_FALSE(WaitUntil(isActedOn, 1.5));
    silent->Leave();
    EXPECT_TRUE(WitnessHasAll());
    EXPECT_TRUE(WaitUntil(isActedOn)) << "a tool was run";
    EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(Process()) == 0; }));
}

TEST_F(HostileClients, OneThatStandsStillEndsAtSIGTERM)
{
    const auto silent = ConnectSilent();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    daemon->Signal(SIGTERM);

    EXPECT_EQ("exited 0", daemon->WaitForEnd());
    EXPECT_TRUE(WaitUntil([this] { return witness->AtEnd() || witness->Receive().empty(); }));
    EXPECT_TRUE(witness->Receive() == posted.substr(0, witness->Receive().size()));
    daemon.reset();
}

TEST_F(HostileClients, OneThatStandsStillGivesWayToANewerInstance)
{
    const auto silent = ConnectSilent();
    Post(kMoreThanABufferHolds);
    ASSERT_TRUE(StandsStill());
    TRunningProgram newer(DaemonCommand(), NoLeakCheckAtExit());
    EXPECT_EQ("exited 0", daemon->WaitForEnd());
    daemon.reset();

    // What the older one had not fetched waits for the newer one; who connects is told of what comes from then on.
    ASSERT_TRUE(WaitForEventSocket());
    ASSERT_TRUE(WaitUntil([this] { return machine.WaitingEvents() == 0; }));
    TListener listener;
    const std::string last = Post(1);
    EXPECT_TRUE(WaitUntil([&] { return LastRecord(listener.Receive()) == last; }));
    ASSERT_TRUE(WaitForDisks(machine, newer.Process()));
    newer.Signal(SIGTERM);
    EXPECT_EQ("exited 0", newer.WaitForEnd());
}

TEST_F(HostileClients, WhatOneWritesIsNeverRead)
{
    const auto writer = ConnectSilent();
    EXPECT_LT(0u, writer->WriteAllItTakes());
    const std::string bytes = Post(kMoreThanABufferHolds);

    EXPECT_TRUE(ReadAlong({writer}, bytes.size()));
    EXPECT_TRUE(WitnessHasAll());
    EXPECT_TRUE(writer->Take(bytes.size()) == bytes);
    EXPECT_EQ(0u, writer->WriteAllItTakes()) << "nothing was taken from what it had written";
}

TEST_F(HostileClients, ThoseWhoConnectAndLeaveAreHeldUntilTheNextEventAndNoLonger)
{
    for (unsigned visit = 0; visit < kHundreds; ++visit)
        TListener visitor;
    ASSERT_TRUE(TakesIn(kHundreds)) << ClientsTakenIn();

    Relay(2);
    EXPECT_TRUE(TakesIn(0)) << ClientsTakenIn();
}

TEST_F(HostileClients, HundredsThatStayGetEveryRecord)
{
    std::vector<std::unique_ptr<TListener>> crowd;
    for (unsigned client = 0; client < kHundreds; ++client)
        crowd.push_back(std::make_unique<TListener>());
    ASSERT_TRUE(TakesIn(kHundreds)) << ClientsTakenIn();
    const std::string bytes = Post(20);

    for (const auto& client : crowd) {
        ASSERT_TRUE(client->WaitForBytes(bytes.size()));
        ASSERT_TRUE(client->Receive() == bytes);
    }
    EXPECT_TRUE(WitnessHasAll());
}
