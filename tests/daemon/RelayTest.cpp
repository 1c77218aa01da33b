// The daemon's main job from end to end: records leave the driver and arrive at every client.

#include "tests/support/ProcessFigures.h"
#include "tests/support/RunningDaemonTest.h"

#include <algorithm>
#include <csignal>
#include <limits>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

static lab::TEvent Event(std::int32_t type, const std::string& payload = "")
{
    lab::TEvent event;
    event.type = type;
    event.payload = payload;
    return event;
}

// A listener that nobody here wrote. What it receives goes to its standard output.
static std::vector<std::string> SocatCommand()
{
    return {"/host/usr/bin/socat", "socat", "-u", std::string("UNIX-CONNECT:") + kEventSocket, "-"};
}

class Relay : public TRunningDaemonTest
{
protected:
    // What the daemon holds between two fetches, once it has dropped clients that have gone and looked at disks that came:
    // the fewest descriptors of many looks, since a look may fall into a fetch. While a driver's disks are still being looked
    // at it may be one more.
    int SettledDescriptors()
    {
        EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
        machine.PostEvents({Event(99)});
        WaitUntil([this] { return machine.WaitingEvents() == 0; });
        const std::size_t fetches = FetchesOf(machine);
        int fewest = DescriptorsOf(daemon->Process());
        WaitUntil([&] {
            fewest = std::min(fewest, DescriptorsOf(daemon->Process()));
            return FetchesOf(machine) >= fetches + 2;
        });
        return fewest;
    }
};

TEST_F(Relay, AListenerThatNobodyHereWroteGetsTheExactBytes)
{
    TRunningProgram socat(SocatCommand());
    lab::TEvent first = Event(3, std::string("\0\x01\xff\n\r", 5) + std::string(91, '\x80'));
    first.head = std::string("\xde\xad\xbe\xef\0\0\0\1", 8);
    first.name = "disk2s3";
    const lab::TEvent second = Event(5, "second");
    // How many go out before socat is connected is not known; what comes last is.
    ASSERT_TRUE(WaitUntil([&] {
        machine.PostEvents({Event(9)});
        return !socat.Output().empty();
    }));
    ASSERT_EQ("", machine.PostEvents({first, second}));
    const std::string last = lab::TMachine::RecordBytes(second, 1);
    ASSERT_TRUE(WaitUntil([&] {
        const std::string output = socat.Output();
        return output.size() >= 256 && output.substr(output.size() - 128) == last;
    }));

    const std::string output = socat.Output();
    EXPECT_EQ(0u, output.size() % 128);
    EXPECT_EQ(lab::TMachine::RecordBytes(first, 0) + last, output.substr(output.size() - 256));
}

TEST_F(Relay, TypesUpTo2AndNegativeOnesReachNobody)
{
    TListener listener;
    ASSERT_EQ("", machine.PostEvents({Event(1), Event(2), Event(-1), Event(3, "relayed")}));

    ASSERT_TRUE(listener.WaitForBytes(128));
    EXPECT_TRUE(WaitUntil([this] { return machine.WaitingEvents() == 0; }));
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(3, "relayed"), 1), listener.Receive());
}

TEST_F(Relay, ADriverThatIsUnloadedAndLoadedAgainGoesOn)
{
    TListener listener;
    ASSERT_EQ("", machine.PostEvents({Event(3)}));
    ASSERT_TRUE(listener.WaitForBytes(128));
    ASSERT_EQ("", machine.UnloadDriver());
    const std::size_t fetches = FetchesOf(machine);
    WaitUntil([] { return false; }, 1.5);
    EXPECT_EQ(fetches, FetchesOf(machine));
    const std::size_t runs = machine.ToolRuns().size();
    ASSERT_EQ("", machine.LoadDriver());
    ASSERT_EQ("", machine.PostEvents({Event(4)}));

    ASSERT_TRUE(listener.WaitForBytes(256));
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(3), 1) + lab::TMachine::RecordBytes(Event(4), 1), listener.Receive());
    // The search for leaks at the daemon's end finds it at rest.
    EXPECT_TRUE(WaitForDisks(machine, daemon->Process(), runs));
}

TEST_F(Relay, AClientThatIsKilledDoesNotDisturbTheOthers)
{
    TListener listener;
    TRunningProgram victim(SocatCommand());
    ASSERT_TRUE(WaitUntil([&] {
        machine.PostEvents({Event(3)});
        return !victim.Output().empty();
    }));
    victim.Signal(SIGKILL);
    victim.WaitForEnd();
    ASSERT_TRUE(WaitUntil([this] { return machine.WaitingEvents() == 0; }));
    // The first record finds the client gone, the second finds it dropped.
    const std::size_t before = listener.Receive().size();
    ASSERT_EQ("", machine.PostEvents({Event(4, "after"), Event(5, "after")}));

    ASSERT_TRUE(listener.WaitForBytes(before + 256));
}

TEST_F(Relay, EveryReloadAndClientThatGoesLeavesNothingBehind)
{
    const int descriptors = SettledDescriptors();
    for (int round = 0; round < 3; ++round) {
        TListener listener;
        ASSERT_EQ("", machine.PostEvents({Event(3)}));
        ASSERT_TRUE(listener.WaitForBytes(128));
        ASSERT_EQ("", machine.UnloadDriver());
        ASSERT_EQ("", machine.LoadDriver());
    }
    EXPECT_TRUE(WaitUntil([&] { return SettledDescriptors() == descriptors; }, 60));
}

// Event number N of the great flood.
static lab::TEvent NumberedEvent(unsigned number)
{
    lab::TEvent event = Event(3 + static_cast<std::int32_t>(number % 5), "event " + std::to_string(number));
    event.flagGiven = true;                       // so that what arrives does not depend on when it was fetched
    event.flag = number % 2000 == 1500 ? 1 : 0;   // a pause in the middle of some batches
    return event;
}

// A hundred clients listen to ten thousand events, and half of them vanish meanwhile, each at a moment of its own.
class Flood : public Relay
{
protected:
    static constexpr unsigned kEvents = 10000;
    static constexpr unsigned kBatch = 1000;   // less than the driver's queue holds
    static constexpr int kStaying = 50;
    static constexpr int kClosing = 25;   // close their end
    static constexpr int kKilled = 25;    // processes of their own, ended by SIGKILL

    struct TVanishing
    {
        unsigned after;   // so many events
        std::unique_ptr<TListener> closes;
        std::unique_ptr<TRunningProgram> isKilled;
    };

    // Connects everybody, and lets a first record out so that the counting begins alike for all.
    void Connect()
    {
        const int descriptors = DescriptorsOf(daemon->Process());
        std::mt19937 random(4711);
        for (int client = 0; client < kStaying; ++client)
            staying.push_back(std::make_unique<TListener>());
        for (int client = 0; client < kClosing; ++client)
            vanishing.push_back({unsigned(random() % kEvents), std::make_unique<TListener>(), nullptr});
        for (int client = 0; client < kKilled; ++client)
            vanishing.push_back(
                {unsigned(random() % kEvents), nullptr, std::make_unique<TRunningProgram>(SocatCommand())});
        ASSERT_TRUE(
            WaitUntil([&] { return DescriptorsOf(daemon->Process()) >= descriptors + kStaying + kClosing + kKilled; }));
        ASSERT_EQ("", machine.PostEvents({Event(99)}));
        expected = lab::TMachine::RecordBytes(Event(99), 1);
        for (const auto& listener : staying)
            ASSERT_TRUE(listener->WaitForBytes(expected.size()));
    }

    // Posts the events from this number on, and sees to it that everybody reads or vanishes until all are out.
    void SendBatch(unsigned begin)
    {
        std::vector<lab::TEvent> batch;
        for (unsigned number = begin; number < begin + kBatch; ++number) {
            batch.push_back(NumberedEvent(number));
            expected += lab::TMachine::RecordBytes(batch.back(), batch.back().flag);
        }
        ASSERT_EQ("", machine.PostEvents(batch));
        const auto allAreOut = [&] {
            const std::size_t waiting = machine.WaitingEvents();
            Vanish(begin + kBatch - static_cast<unsigned>(waiting));
            for (const auto& listener : staying)
                listener->Receive();
            for (const TVanishing& one : vanishing) {
                if (one.closes != nullptr)
                    one.closes->Receive();
            }
            return waiting == 0;
        };
        ASSERT_TRUE(WaitUntil(allAreOut, 120));
    }

    // Lets those go whose moment has come.
    void Vanish(unsigned events)
    {
        for (auto one = vanishing.begin(); one != vanishing.end();) {
            if (one->isKilled != nullptr && one->after <= events)
                one->isKilled->Signal(SIGKILL);
            one = one->after <= events ? vanishing.erase(one) : one + 1;
        }
    }

    std::vector<std::unique_ptr<TListener>> staying;
    std::vector<TVanishing> vanishing;
    std::string expected;
};

TEST_F(Flood, WhoeverStaysHasAllTenThousandEventsInOrder)
{
    const int descriptors = SettledDescriptors();
    ASSERT_NO_FATAL_FAILURE(Connect());
    for (unsigned begin = 0; begin < kEvents; begin += kBatch) {
        ASSERT_NO_FATAL_FAILURE(SendBatch(begin));
        if (begin == kEvents / 2) {
            ASSERT_EQ("", machine.UnloadDriver());
            ASSERT_EQ("", machine.LoadDriver());
        }
    }
    EXPECT_TRUE(vanishing.empty());
    for (const auto& listener : staying) {
        ASSERT_TRUE(listener->WaitForBytes(expected.size()));
        EXPECT_TRUE(expected == listener->Receive()) << "all records, in order";
    }

    // One more event, and the daemon holds nothing of those who have gone.
    EXPECT_TRUE(WaitUntil([&] { return SettledDescriptors() == descriptors + kStaying; }, 60));
    staying.clear();
}

// AddressSanitizer keeps freed memory back for a while, which looks like growth.
class IdleRelay : public Relay
{
protected:
    std::vector<std::string> Environment() const override { return {"ASAN_OPTIONS=quarantine_size_mb=0"}; }
};

TEST_F(IdleRelay, ItFetchesOnceASecondAndGrowsNothing)
{
    TListener listener;
    const int descriptors = SettledDescriptors();
    const std::string received = listener.Receive();
    const long kilobytes = ResidentKilobytesOf(daemon->Process());
    const std::size_t firstFetches = FetchesOf(machine);
    const std::vector<lab::TDriverCall> before = machine.DriverCalls();
    ASSERT_TRUE(WaitUntil([&] { return FetchesOf(machine) >= firstFetches + 60; }, 150));
    const double seconds = machine.DriverCalls().back().seconds - before.back().seconds;

    EXPECT_GE(seconds, 59.0) << "60 fetches never take less than a second each";
    // A sanitizer and the emulator still touch pages of their own; how little a fetch keeps is measured by the next test.
    EXPECT_LE(ResidentKilobytesOf(daemon->Process()), kilobytes + 1024);
    EXPECT_EQ(received, listener.Receive());
    EXPECT_TRUE(WaitUntil([&] { return SettledDescriptors() == descriptors; }, 60));
}

// The same daemon with the pauses left out.
class RestlessRelay : public Relay
{
protected:
    std::vector<std::string> Command() const override { return FaultyDaemonCommand(); }
    std::vector<std::string> Environment() const override
    {
        return {"HALVORIX_FAULTS=sleep 1 100000000 0 0", "ASAN_OPTIONS=quarantine_size_mb=0"};
    }
};

TEST_F(RestlessRelay, ThousandsOfFetchesKeepNothing)
{
    constexpr std::size_t kFetches = 2000;
    ASSERT_TRUE(WaitUntil([this] { return FetchesOf(machine) >= kFetches; }, 120));

    // What is kept at every fetch shows in each stretch; what an allocator takes now and then does not.
    long least = std::numeric_limits<long>::max();
    for (std::size_t stretch = 2; stretch <= 4; ++stretch) {
        const long before = ResidentKilobytesOf(daemon->Process());
        ASSERT_TRUE(WaitUntil([&] { return FetchesOf(machine) >= stretch * kFetches; }, 120));
        least = std::min(least, ResidentKilobytesOf(daemon->Process()) - before);
    }

    // Less than 32 bytes a fetch.
    EXPECT_LE(least, 62);
}
