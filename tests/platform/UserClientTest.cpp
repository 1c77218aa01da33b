#include "platform/Counts.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

using TAsked = std::vector<std::string>;

class UserClient : public TMachineTest
{
protected:
    TAsked Asked() const
    {
        TAsked asked;
        for (const lab::TDriverCall& call : machine.DriverCalls())
            asked.push_back(call.what);
        return asked;
    }

    static kern_return_t Open(std::uint32_t type, io_connect_t* connection)
    {
        const TScopedName driver(FirstServiceOfClass("com_halvorix_driver_Halvorix"));
        return IOServiceOpen(driver.Get(), mach_task_self(), type, connection);
    }

    static io_connect_t Open()
    {
        io_connect_t connection = IO_OBJECT_NULL;
        EXPECT_EQ(KERN_SUCCESS, Open(0, &connection));
        return connection;
    }

    static kern_return_t Call(io_connect_t connection, std::uint32_t selector, std::string input = "",
                              IOByteCount room = 0)
    {
        char output[256];
        return IOConnectMethodStructureIStructureO(connection, selector, static_cast<IOItemCount>(input.size()), &room,
                                                   input.data(), output);
    }

    // The 128 bytes of a fetch.
    static std::string Fetch(io_connect_t connection, std::uint32_t listening = 0)
    {
        std::string record(128, 'x');
        IOByteCount size = 128;
        EXPECT_EQ(KERN_SUCCESS, IOConnectMethodStructureIStructureO(connection, 21, sizeof listening, &size, &listening,
                                                                    record.data()));
        EXPECT_EQ(128u, size);
        return record;
    }

    static std::string FetchOnce()
    {
        const io_connect_t connection = Open();
        const std::string record = Fetch(connection);
        IOServiceClose(connection);
        return record;
    }
};

static lab::TEvent Event(std::int32_t type, const std::string& head = "")
{
    lab::TEvent event;
    event.type = type;
    event.head = head;
    return event;
}

TEST_F(UserClient, OpenAndCloseStandInTheLogWithTheProcess)
{
    IOServiceClose(Open());

    EXPECT_EQ((TAsked{"open", "close"}), Asked());
    EXPECT_EQ(getpid(), machine.DriverCalls().at(0).process);
    EXPECT_GT(machine.DriverCalls().at(0).seconds, 0);
    EXPECT_LE(machine.DriverCalls().at(0).seconds, machine.DriverCalls().at(1).seconds);
}

TEST_F(UserClient, AConnectionIsOneReference)
{
    const io_connect_t connection = Open();
    EXPECT_EQ(1u, platform::CurrentCounts().references);
    EXPECT_EQ(KERN_SUCCESS, IOServiceClose(connection));
    EXPECT_EQ(0u, platform::CurrentCounts().references);
}

TEST_F(UserClient, ReleasingTheLastReferenceClosesToo)
{
    EXPECT_EQ(KERN_SUCCESS, IOObjectRelease(Open()));
    EXPECT_EQ((TAsked{"open", "close"}), Asked());
}

TEST_F(UserClient, AClosedConnectionIsDeadEvenWhileItIsReferenced)
{
    const io_connect_t connection = Open();
    IOObjectRetain(connection);
    EXPECT_EQ(KERN_SUCCESS, IOServiceClose(connection));
    EXPECT_EQ(MACH_SEND_INVALID_DEST, Call(connection, 0));
    IOObjectRelease(connection);
    EXPECT_EQ((TAsked{"open", "close"}), Asked());
}

TEST_F(UserClient, ClosingTwiceFailsAndIsCounted)
{
    const io_connect_t connection = Open();
    IOServiceClose(connection);
    EXPECT_EQ(MACH_SEND_INVALID_DEST, IOServiceClose(connection));
    fExpectedLeft.overReleases = 1;
}

TEST_F(UserClient, OnlyTypeZeroIsOpened)
{
    io_connect_t connection = 77;
    EXPECT_EQ(kIOReturnBadArgument, Open(1, &connection));
    EXPECT_EQ(0u, connection);
    EXPECT_EQ((TAsked{"open-refused -536870206"}), Asked());
}

TEST_F(UserClient, OtherServicesHaveNone)
{
    const TScopedName medium(FirstServiceOfClass("IOMedia"));
    io_connect_t connection = 77;
    EXPECT_EQ(kIOReturnUnsupported, IOServiceOpen(medium.Get(), mach_task_self(), 0, &connection));
    EXPECT_EQ(0u, connection);
    EXPECT_EQ(MACH_SEND_INVALID_DEST, IOServiceOpen(12345, mach_task_self(), 0, &connection));
}

TEST_F(UserClient, ADriverThatIsGoneIsNotOpened)
{
    const TScopedName driver(FirstServiceOfClass("com_halvorix_driver_Halvorix"));
    ASSERT_EQ("", machine.UnloadDriver());
    io_connect_t connection = 77;
    EXPECT_EQ(kIOReturnNoDevice, IOServiceOpen(driver.Get(), mach_task_self(), 0, &connection));
    EXPECT_EQ(0u, connection);
}

TEST_F(UserClient, AMachineMayRefuseTheOpen)
{
    ASSERT_EQ("", machine.WriteText("driver/refuse-open", "-536870207\n"));
    io_connect_t connection = 77;
    EXPECT_EQ(kIOReturnNotPrivileged, Open(0, &connection));
    EXPECT_EQ(0u, connection);
    EXPECT_EQ((TAsked{"open-refused -536870207"}), Asked());
}

TEST_F(UserClient, AMachineMayRefuseTheOpenWithSuccess)
{
    ASSERT_EQ("", machine.WriteText("driver/refuse-open", "0"));
    io_connect_t connection = 77;
    EXPECT_EQ(KERN_SUCCESS, Open(0, &connection));
    EXPECT_EQ(0u, connection);
}

TEST_F(UserClient, AMachineMayRefuseEveryMethod)
{
    ASSERT_EQ("", machine.PostEvents({Event(5)}));
    ASSERT_EQ("", machine.WriteText("driver/refuse-methods", "5"));
    const io_connect_t connection = Open();
    std::uint32_t listening = 1;
    std::string record(128, 'x');
    IOByteCount size = 128;

    EXPECT_EQ(KERN_FAILURE,
              IOConnectMethodStructureIStructureO(connection, 21, sizeof listening, &size, &listening, record.data()));

    EXPECT_EQ(std::string(128, 'x'), record) << "nothing is written";
    EXPECT_EQ(1u, machine.WaitingEvents()) << "nothing is done";
    EXPECT_EQ((TAsked{"open", "refused 21 5"}), Asked());
    IOServiceClose(connection);
}

TEST_F(UserClient, MethodsTakeTheirSizesAndNoOthers)
{
    const io_connect_t connection = Open();
    static const struct
    {
        std::uint32_t selector;
        size_t input;
        IOByteCount room;
        bool taken;
    } kCases[] = {
        {0, 0, 0, true},     {0, 4, 0, false},    {0, 0, 4, false},    {1, 0, 0, true},   {1, 4, 0, false},
        {18, 4, 0, true},    {18, 0, 0, false},   {18, 8, 0, false},   {18, 4, 4, false}, {21, 4, 128, true},
        {21, 4, 127, false}, {21, 0, 128, false}, {21, 8, 128, false}, {2, 0, 0, false},  {17, 4, 0, false},
        {20, 4, 128, false}, {22, 4, 128, false},
    };
    for (const auto& one : kCases)
        EXPECT_EQ(one.taken ? KERN_SUCCESS : kIOReturnBadArgument,
                  Call(connection, one.selector, std::string(one.input, '\0'), one.room))
            << one.selector << " " << one.input << " " << one.room;
    EXPECT_EQ(kIOReturnBadArgument, IOConnectMethodStructureIStructureO(connection, 0, 0, nullptr, nullptr, nullptr));
    IOServiceClose(connection);
}

TEST_F(UserClient, MoreRoomThanARecordNeedsIsNotUsed)
{
    const io_connect_t connection = Open();
    std::uint32_t listening = 1;
    char output[200];
    memset(output, 'x', sizeof output);
    IOByteCount size = sizeof output;
    EXPECT_EQ(KERN_SUCCESS, IOConnectMethodStructureIStructureO(connection, 21, 4, &size, &listening, output));
    EXPECT_EQ(128u, size);
    EXPECT_EQ('x', output[128]);
    IOServiceClose(connection);
}

TEST_F(UserClient, WhatIsRefusedStandsInTheLog)
{
    const io_connect_t connection = Open();
    Call(connection, 7);
    IOServiceClose(connection);
    EXPECT_EQ((TAsked{"open", "refused 7 -536870206", "close"}), Asked());
}

TEST_F(UserClient, NumbersAreInTheHostsByteOrder)
{
    const io_connect_t connection = Open();
    std::int32_t offset = -28800;
    IOByteCount none = 0;
    EXPECT_EQ(KERN_SUCCESS,
              IOConnectMethodStructureIStructureO(connection, 18, sizeof offset, &none, &offset, nullptr));
    Fetch(connection, 1);
    IOServiceClose(connection);
    EXPECT_EQ((TAsked{"open", "method 18 -28800", "method 21 1", "close"}), Asked());
}

TEST_F(UserClient, AnEmptyQueueGivesNoEventAndSaysSo)
{
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(0), 1), FetchOnce());
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(0), 1), FetchOnce());
}

TEST_F(UserClient, RecordsComeInOrderEachOnceAndTheLastSaysSo)
{
    ASSERT_EQ("", machine.PostEvents({Event(3, "one"), Event(-4, "two"), Event(5, "three")}));

    EXPECT_EQ(lab::TMachine::RecordBytes(Event(3, "one"), 0), FetchOnce());
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(-4, "two"), 0), FetchOnce());
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(5, "three"), 1), FetchOnce());
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(0), 1), FetchOnce());
    EXPECT_EQ(0u, machine.WaitingEvents());
}

TEST_F(UserClient, ARecordCarriesAllItsBytes)
{
    lab::TEvent event = Event(2147483647);
    event.head = std::string("\x00\x01\xFE\xFF\x80\x7F\x10\x20", 8);
    for (int i = 0; i < 96; ++i)
        event.payload += static_cast<char>(255 - i);
    event.name = "disk2s3";
    ASSERT_EQ("", machine.PostEvents({event}));

    const std::string record = FetchOnce();

    EXPECT_EQ(lab::TMachine::RecordBytes(event, 1), record);
    EXPECT_EQ(event.head, record.substr(4, 8));
    EXPECT_EQ(event.payload, record.substr(16, 96));
    EXPECT_EQ(std::string("disk2s3\0\0\0\0\0\0\0\0\0", 16), record.substr(112));
    std::int32_t type = 0;
    memcpy(&type, record.data() + 12, sizeof type);
    EXPECT_EQ(2147483647, type);
}

TEST_F(UserClient, AGivenFlagIsHandedOutAsItIs)
{
    lab::TEvent event = Event(3);
    event.flagGiven = true;
    event.flag = 4294967295u;
    ASSERT_EQ("", machine.PostEvents({event, Event(4)}));
    EXPECT_EQ(lab::TMachine::RecordBytes(event, 4294967295u), FetchOnce());
    event.flag = 0;
    ASSERT_EQ("", machine.PostEvents({event}));
    FetchOnce();
    EXPECT_EQ(lab::TMachine::RecordBytes(event, 0), FetchOnce()) << "0, although nothing waits behind it";
}

TEST_F(UserClient, ALineThatItsWriterDidNotFinishDoesNotCount)
{
    ASSERT_EQ("", machine.PostEvents({Event(3)}));
    ASSERT_EQ("", machine.WriteText("driver/queue", machine.ReadText("driver/queue") + "+0000000004 au"));
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(3), 1), FetchOnce());
    EXPECT_EQ(lab::TMachine::RecordBytes(Event(0), 1), FetchOnce());
}

TEST_F(UserClient, AUserClientThatWasOpenAcrossAnUnloadIsDead)
{
    const io_connect_t connection = Open();
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ(MACH_SEND_INVALID_DEST, Call(connection, 0));
    ASSERT_EQ("", machine.LoadDriver());
    EXPECT_EQ(MACH_SEND_INVALID_DEST, Call(connection, 0)) << "the driver that came back is another one";
    EXPECT_EQ(MACH_SEND_INVALID_DEST, IOServiceClose(connection));
    EXPECT_EQ((TAsked{"open"}), Asked());
}

TEST_F(UserClient, TwoWhoFetchAtOnceShareTheEventsOut)
{
    std::vector<lab::TEvent> events;
    for (int i = 0; i < 200; ++i)
        events.push_back(Event(3, "n" + std::to_string(i)));
    ASSERT_EQ("", machine.PostEvents(events));

    std::vector<std::string> fetched[2];
    const auto fetchAll = [](std::vector<std::string>* all) {
        const io_connect_t connection = Open();
        for (;;) {
            const std::string record = Fetch(connection);
            if (record.substr(12, 4) == std::string(4, '\0'))
                break;
            all->push_back(record.substr(4, 8));
        }
        IOServiceClose(connection);
    };
    std::thread one(fetchAll, &fetched[0]);
    std::thread other(fetchAll, &fetched[1]);
    one.join();
    other.join();

    std::set<std::string> distinct(fetched[0].begin(), fetched[0].end());
    distinct.insert(fetched[1].begin(), fetched[1].end());
    EXPECT_EQ(200u, fetched[0].size() + fetched[1].size()) << "none twice";
    EXPECT_EQ(200u, distinct.size()) << "none lost";
}

TEST_F(UserClient, AFetchWaitsForTheMachinesLock)
{
    ASSERT_EQ("", machine.PostEvents({Event(3)}));
    const int lock = open("/machine/lock", O_RDWR | O_CLOEXEC);
    ASSERT_EQ(0, flock(lock, LOCK_EX));
    std::atomic<bool> fetched{false};

    std::thread fetcher([&] {
        FetchOnce();
        fetched = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return Asked() == TAsked{"open"}; }));
    EXPECT_FALSE(WaitUntil([&] { return fetched.load(); }, 0.1));
    close(lock);
    EXPECT_TRUE(WaitUntil([&] { return fetched.load(); }));
    fetcher.join();
}

TEST_F(UserClient, AnotherThreadMayFindTheRegistryChangedDuringACall)
{
    const io_connect_t connection = Open();
    std::atomic<bool> done{false};
    std::atomic<unsigned> calls{0};
    std::thread caller([&] {
        while (!done) {
            EXPECT_EQ(KERN_SUCCESS, Call(connection, 0));
            ++calls;
        }
    });
    const std::string registry = machine.ReadText("registry/ioreg.plist");
    for (int change = 0; change < 10; ++change) {
        EXPECT_EQ("", machine.WriteText("registry/ioreg.plist", registry));
        const TScopedName reread(FirstServiceOfClass("IOResources"));
    }
    EXPECT_TRUE(WaitUntil([&] { return calls > 100; }));
    done = true;
    caller.join();
    EXPECT_EQ(KERN_SUCCESS, IOServiceClose(connection));
}
