#include "daemon/DriverConnection.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <cerrno>
#include <unistd.h>

static lab::TEvent QueuedEvent(std::int32_t type, const char* payload = "")
{
    lab::TEvent event;
    event.type = type;
    event.payload = payload;
    return event;
}

static lab::TEvent EventWithFlag(std::int32_t type, std::uint32_t flag)
{
    lab::TEvent event = QueuedEvent(type);
    event.flagGiven = true;
    event.flag = flag;
    return event;
}

// A tool with a started server, which outlives the test because its accepting thread does, and one listener.
class DriverEventPoller : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        tool = new TOpenedDaemonTool;
        tool->fServer.reset(new TDriverEventServer);
        ASSERT_EQ(0, tool->fServer->Start());
        fExpectedLeft.descriptors = 1;
        fExpectedLeft.objects = 1;
    }

    // Connects the listener, whose connection the server keeps.
    void Listen()
    {
        listener = std::make_unique<TListener>();
        ASSERT_TRUE(WaitUntil([] { return tool->fServer->ClientCount() == 1; }));
        fExpectedLeft.descriptors = 2;
    }

    void TearDown() override
    {
        listener.reset();
        TMachineTest::TearDown();
    }

    void Post(const std::vector<lab::TEvent>& events) { ASSERT_EQ("", machine.PostEvents(events)); }

    // How many fetches the driver saw, and what the listening flags were.
    std::vector<std::string> Fetches()
    {
        std::vector<std::string> fetches;
        for (const std::string& what : AskedOfDriver(machine)) {
            if (what.rfind("method 21", 0) == 0)
                fetches.push_back(what);
        }
        return fetches;
    }

    static TOpenedDaemonTool* tool;
    std::unique_ptr<TListener> listener;
};

TOpenedDaemonTool* DriverEventPoller::tool = nullptr;

using TFetches = std::vector<std::string>;

TEST_F(DriverEventPoller, ARecordGoesOutByteForByte)
{
    Listen();
    lab::TEvent event;
    event.type = 0x01020304;
    event.flagGiven = true;
    event.flag = 0xa0b0c0d0;
    event.head = "\x01\x02\x03\x04\x05\x06\x07\x08";
    event.payload = std::string(96, '\xee');
    event.name = std::string(16, 'n');
    Post({event});
    TDriverEventPoller::DrainDriverQueue(tool);

    ASSERT_TRUE(listener->WaitForBytes(128));
    EXPECT_EQ(lab::TMachine::RecordBytes(event, 0xa0b0c0d0), listener->Receive());
}

TEST_F(DriverEventPoller, WithoutADriverItFetchesOnceAndSendsNothing)
{
    Listen();
    ASSERT_EQ("", machine.UnloadDriver());
    const TCallWatch searches("IOServiceGetMatchingServices");
    const TCallWatch writes("write");
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(1u, searches.Calls());
    EXPECT_EQ(0u, writes.Calls());
}

TEST_F(DriverEventPoller, WhileMoreWaitItFetchesAtOnceAndStopsAtTypeZero)
{
    Listen();
    Post({EventWithFlag(3, 0)});
    const TCallWatch sleeps("sleep");
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ((TFetches{"method 21 1", "method 21 1"}), Fetches());
    EXPECT_TRUE(listener->WaitForBytes(128));
    EXPECT_EQ(128u, listener->Receive().size());
    EXPECT_EQ(0u, sleeps.Calls());
}

TEST_F(DriverEventPoller, AFullQueueFlagEndsTheDrainingEvenIfMoreWait)
{
    Listen();
    Post({EventWithFlag(3, 1), QueuedEvent(4)});
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(1u, Fetches().size());
    EXPECT_EQ(1u, machine.WaitingEvents());
}

TEST_F(DriverEventPoller, AnyNonZeroQueueEmptyFlagCounts)
{
    Post({EventWithFlag(3, 0x80000000u), QueuedEvent(4)});
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(1u, Fetches().size());
}

TEST_F(DriverEventPoller, TypeZeroEndsTheDrainingWhateverItsFlag)
{
    Post({EventWithFlag(0, 0), QueuedEvent(3)});
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(1u, Fetches().size());
    EXPECT_EQ(1u, machine.WaitingEvents());
}

TEST_F(DriverEventPoller, OnlyTypesAbove2AreRelayedAndTheComparisonIsSigned)
{
    Listen();
    Post({QueuedEvent(1), QueuedEvent(2), QueuedEvent(-1), QueuedEvent(-2147483647 - 1), QueuedEvent(3, "three"),
          QueuedEvent(2147483647, "last")});
    TDriverEventPoller::DrainDriverQueue(tool);

    ASSERT_TRUE(listener->WaitForBytes(256));
    EXPECT_EQ(lab::TMachine::RecordBytes(QueuedEvent(3, "three"), 0) +
                  lab::TMachine::RecordBytes(QueuedEvent(2147483647, "last"), 1),
              listener->Receive());
}

TEST_F(DriverEventPoller, WithoutAListenerARecordIsDroppedSilently)
{
    Post({QueuedEvent(5)});
    TDriverEventPoller::DrainDriverQueue(tool);
    EXPECT_EQ((TFetches{"method 21 0"}), Fetches());
    EXPECT_EQ(0u, machine.WaitingEvents());

    Listen();
    TDriverEventPoller::DrainDriverQueue(tool);
    EXPECT_EQ("", listener->Receive());
}

TEST_F(DriverEventPoller, TheListeningFlagIsComputedOnceADrain)
{
    Post({QueuedEvent(3), QueuedEvent(4), QueuedEvent(5)});
    unsigned fetches = 0;
    {
        const TCallWatch watch("IOConnectMethodStructureIStructureO", [&](const TCallWatch::TArguments& arguments) {
            if (arguments[1] == kDriverFetchEvent && ++fetches == 2)
                Listen();
        });
        TDriverEventPoller::DrainDriverQueue(tool);
    }
    EXPECT_EQ((TFetches{"method 21 0", "method 21 0", "method 21 0"}), Fetches());
    EXPECT_TRUE(listener->WaitForBytes(256)) << "who came in the middle of it gets the records from there on";

    TDriverEventPoller::DrainDriverQueue(tool);
    EXPECT_EQ("method 21 1", Fetches().back());
}

TEST_F(DriverEventPoller, EveryFetchStartsFromAClearedRecord)
{
    Listen();
    Post({QueuedEvent(3), QueuedEvent(4)});
    // Each fetch makes three calls: begin, fetch, end. The second fetch fails, and must not read as the first record.
    const TFault fault("IOConnectMethodStructureIStructureO", {5, 0}, 5, 1);
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(listener->WaitForBytes(128));
    EXPECT_EQ(128u, listener->Receive().size());
}

TEST_F(DriverEventPoller, EveryFetchOffers128Bytes)
{
    Post({QueuedEvent(3), QueuedEvent(4)});
    unsigned fetches = 0;
    const TCallWatch watch("IOConnectMethodStructureIStructureO", [&fetches](const TCallWatch::TArguments& arguments) {
        if (arguments[1] != kDriverFetchEvent)
            return;
        ++fetches;
        EXPECT_EQ(4, arguments[2]);
        EXPECT_EQ(128u, *reinterpret_cast<const IOByteCount*>(arguments[3]));
    });
    TDriverEventPoller::DrainDriverQueue(tool);

    EXPECT_EQ(2u, fetches);
}

TEST_F(DriverEventPoller, EveryFetchOpensTheConnectionAndClosesIt)
{
    Post({QueuedEvent(3), QueuedEvent(4)});
    TDriverEventPoller::DrainDriverQueue(tool);

    const std::vector<std::string> once{"open", "method 0", "method 21 0", "method 1", "close"};
    std::vector<std::string> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(twice, AskedOfDriver(machine));
}

TEST_F(DriverEventPoller, AConnectionThatSomebodyElseHoldsIsUsedAndLeft)
{
    tool->OpenDriverConnection();
    TDriverEventPoller::DrainDriverQueue(tool);
    EXPECT_NE(0u, tool->fConnection);
    tool->CloseDriverConnection();

    EXPECT_EQ((std::vector<std::string>{"open", "method 0", "method 21 0", "method 1", "close"}),
              AskedOfDriver(machine));
}

TEST_F(DriverEventPoller, NoThreadIsMinus50)
{
    TDriverEventPoller poller;
    const TFault fault("pthread_create", {EAGAIN, 0});

    EXPECT_EQ(-50, poller.Start());
}

TEST_F(DriverEventPoller, AThreadThatCannotBeDetachedIsMinus50)
{
    gDaemonTool = tool;   // without a poller of its own, so that the thread ends at once
    const int threadsBefore = ThreadsOf(getpid());
    pthread_t started{};
    TDriverEventPoller poller;
    {
        const TCallWatch watch("pthread_detach", [&started](const TCallWatch::TArguments& arguments) {
            started = static_cast<pthread_t>(arguments[0]);
        });
        const TFault fault("pthread_detach", {EINVAL, 0});
        EXPECT_EQ(-50, poller.Start());
    }
    EXPECT_EQ(0, pthread_join(started, nullptr));
    EXPECT_TRUE(WaitUntil([threadsBefore] { return ThreadsOf(getpid()) == threadsBefore; }));
}

TEST_F(DriverEventPoller, AThreadWhoseToolHasNoPollerEndsAtOnce)
{
    gDaemonTool = tool;
    const int threadsBefore = ThreadsOf(getpid());
    const TCallWatch sleeps("sleep");
    TDriverEventPoller poller;
    EXPECT_EQ(0, poller.Start());

    EXPECT_TRUE(WaitUntil([threadsBefore] { return ThreadsOf(getpid()) == threadsBefore; }));
    EXPECT_EQ(0u, sleeps.Calls());
    EXPECT_EQ(TFetches{}, Fetches());
}

TEST_F(DriverEventPoller, BetweenPollsItSleepsOneSecond)
{
    gDaemonTool = tool;
    tool->fPoller.reset(new TDriverEventPoller);
    const TCallWatch sleeps("sleep", [](const TCallWatch::TArguments& arguments) { EXPECT_EQ(1, arguments[0]); });
    ASSERT_EQ(0, tool->fPoller->Start());
    // The watch must outlive what it watches: the thread is inside sleep when its call is counted.
    EXPECT_TRUE(WaitUntil([&sleeps] { return sleeps.Calls() == 2; }));

    EXPECT_EQ(2u, Fetches().size());
}
