// Every call that the parts of the daemon make, failing once: what they start, and the driver's connection and events.

#include "daemon/DriverConnection.h"
#include "daemon/ProcessLookup.h"
#include "daemon/SystemVersionProbe.h"
#include "daemon/Termination.h"
#include "services/ScopedDescriptor.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/support/FaultTable.h"
#include "tests/support/Faults.h"
#include "tests/support/RunningDaemon.h"
#include "tests/support/VersionFiles.h"
#include "tests/sweep/Operation.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/socket.h>
#include <unistd.h>

using SweptDaemon = TMachineTest;

TEST_F(SweptDaemon, AProcessThatCannotBeLookedForIsNoneAndNoChildComesBack)
{
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print  4711  ??  S  0:00.01 Finder\\x0a\n"));
    TOperation("FindProcess", [] { return Text(FindProcess("Finder")); })
        .Gives("4711")
        .GivesOnFailure("0")
        .DespiteFailureOf({"close", "fcntl", "waitpid"})
        .Sweep();
}

TEST_F(SweptDaemon, ASystemWhoseVersionIsNotKnownIsNotNewer)
{
    TOperation("SystemIsNewerThan", [] { return Text(SystemIsNewerThan(kHighestBefore10_5, "/")); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf({"close"})
        .Sweep();
}

TEST_F(SweptDaemon, AHandlerThatCannotBeInstalledIsTold)
{
    TOperation("InstallTerminationHandler", [] { return Text(InstallTerminationHandler()); })
        .InAProcessOfItsOwn()
        .Gives("0")
        .GivesOnFailure("-1")
        .Sweep();
}

TEST_F(SweptDaemon, ADriverThatCannotBeReachedAnswersWith5AndTheOpensStayCounted)
{
    TOpenedDaemonTool tool;
    TOperation("THXDaemonTool::OpenDriverConnection",
               [&tool] {
                   TDriverEventRecord record;
                   IOByteCount size = sizeof record;
                   tool.OpenDriverConnection();
                   const UInt32 listening = 1;
                   const kern_return_t result =
                       tool.CallDriverMethod(kDriverFetchEvent, &listening, sizeof listening, &record, &size);
                   tool.CloseDriverConnection();
                   return Text(result) + ", " + Text(tool.fUseCount) + " users";
               })
        .Gives("0, 0 users")
        .GivesOnFailure("5, 0 users")
        .GivesOnFailureOf("IOConnectMethodStructureIStructureO", Text(kIOReturnError) + ", 0 users", kByCaller, 2)
        .DespiteFailureOf({"IOConnectMethodStructureIStructureO", "IOObjectRelease", "IOServiceClose"})
        .Sweep();
}

TEST_F(SweptDaemon, ADriverThatCannotBeReachedIsNotToldTheTime)
{
    TOpenedDaemonTool tool;
    std::size_t before = 0;
    const auto told = [&] {
        const std::vector<std::string> asked = AskedOfDriver(machine);
        for (std::size_t i = before; i < asked.size(); ++i) {
            if (asked[i].rfind("method 18", 0) == 0)
                return "told";
        }
        return "not told";
    };
    TOperation("THXDaemonTool::SendTimeZoneOffsetToDriver",
               [&tool] {
                   tool.SendTimeZoneOffsetToDriver();
                   return Text(tool.fUseCount) + " users,";
               })
        .Showing(told)
        .After([&] { before = AskedOfDriver(machine).size(); })
        .Gives("0 users, told")
        .GivesOnFailure("0 users, not told")
        .GivesOnFailureOf("IOConnectMethodStructureIStructureO", "0 users, not told", kByCaller, 2)
        .DespiteFailureOf({"IOConnectMethodStructureIStructureO", "IOObjectRelease", "IOServiceClose"})
        .Sweep();
}

// A tool with a server that has a list, a mutex and a socket, but no thread: the test adds the clients.
class SweptRelay : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        tool.fServer.reset(new TDriverEventServer);
        const TFault noThread("pthread_create", {EAGAIN});
        ASSERT_EQ(-50, tool.fServer->Start());
        // The listening socket; and the list, which stays with the server that nothing ever stops.
        fExpectedLeft.descriptors = 1;
        fExpectedLeft.objects = 1;
    }

    void TearDown() override
    {
        Drain();
        // Whoever still stands in the list is dropped at the next record.
        ours.clear();
        const TDriverEventRecord record = {};
        tool.fServer->Broadcast(&record);
        // Where a search for lost memory finds it.
        static auto* const kept = new std::vector<TDriverEventServer*>;
        kept->push_back(tool.fServer.release());
        TMachineTest::TearDown();
    }

    // Two clients, where fewer are left.
    void Connect()
    {
        while (tool.fServer->ClientCount() < 2) {
            int ends[2];
            ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
            ASSERT_TRUE(tool.fServer->AddClient(ends[0]));
            ours.push_back(std::make_unique<TScopedDescriptor>(ends[1]));
        }
    }

    // How many records the clients have got since this was asked last.
    std::size_t Drain()
    {
        std::size_t bytes = 0;
        char piece[4096];
        for (const auto& client : ours) {
            for (ssize_t count; (count = recv(client->Get(), piece, sizeof piece, MSG_DONTWAIT)) > 0;)
                bytes += static_cast<std::size_t>(count);
        }
        return bytes / sizeof(TDriverEventRecord);
    }

    TOpenedDaemonTool tool;
    std::vector<std::unique_ptr<TScopedDescriptor>> ours;
    int newcomer = -1;
};

TEST_F(SweptRelay, AClientThatCannotBeWrittenToIsDroppedAndTheOthersGetTheRecord)
{
    TDriverEventRecord record = {};
    record.type = 7;
    TOperation("TDriverEventServer::Broadcast",
               [&] {
                   tool.fServer->Broadcast(&record);
                   return Text(tool.fServer->ClientCount()) + " clients, records:";
               })
        .Showing([this] { return Text(Drain()); })
        .After([this] { Connect(); })
        .Gives("2 clients, records: 2")
        .GivesOnFailureOf("write", "1 clients, records: 1, left -1 descriptor")
        .Sweep();
}

TEST_F(SweptRelay, AClientWithoutMemoryIsClosed)
{
    TOperation("TDriverEventServer::AddClient",
               [this] {
                   const UInt32 before = tool.fServer->ClientCount();
                   const bool result = tool.fServer->AddClient(newcomer);
                   return Text(result) + ", " + Text(tool.fServer->ClientCount() - before) + " more";
               })
        .After([this] {
            int ends[2];
            ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
            newcomer = ends[0];
            ours.push_back(std::make_unique<TScopedDescriptor>(ends[1]));
        })
        .Gives("1, 1 more, left 1 block")
        .GivesOnFailure("0, 0 more, left -1 descriptor")
        .DespiteFailureOf({"fcntl"})
        .Sweep();
}

TEST_F(SweptRelay, AFailedAcceptIsTriedAgainAndAFailedClientEndsAccepting)
{
    // Three are waiting each time, of whom the third is one too many.
    std::vector<std::unique_ptr<TListener>> waiting;
    UInt32 before = 0;
    TOperation("TDriverEventServer::AcceptClients",
               [this, &before] {
                   const TFault noMore("operator new nothrow", {0, ENOMEM}, 3);
                   tool.fServer->AcceptClients();
                   return Text(tool.fServer->ClientCount() - before) + " taken in";
               })
        .After([this, &waiting, &before] {
            // As many as the last run accepted: those that it took in, and the one that it closed.
            const UInt32 accepted = waiting.empty() ? 3 : tool.fServer->ClientCount() - before + 1;
            for (UInt32 i = 0; i < accepted; ++i)
                waiting.push_back(std::make_unique<TListener>());
            before = tool.fServer->ClientCount();
        })
        .Gives("2 taken in, left 2 descriptor, left 2 block")
        .GivesOnFailureOf("operator new nothrow", "0 taken in", kByCaller, 1)
        .GivesOnFailureOf("operator new nothrow", "1 taken in, left 1 descriptor, left 1 block", kByCaller, 2)
        .DespiteFailureOf({"accept", "close", "fcntl", "operator new nothrow"})
        .Sweep();
}

TEST_F(SweptRelay, AFetchThatFailsEndsTheDrainingAndTheRestWaits)
{
    lab::TEvent event;
    event.type = 7;
    TOperation("TDriverEventPoller::DrainDriverQueue",
               [this] {
                   TDriverEventPoller::DrainDriverQueue(&tool);
                   return Text(tool.fServer->ClientCount()) + " clients, records:";
               })
        .Showing([this] { return Text(Drain()); })
        .After([this, event] {
            while (machine.WaitingEvents() != 0)
                TDriverEventPoller::DrainDriverQueue(&tool);
            Drain();
            Connect();
            ASSERT_EQ("", machine.PostEvents({event, event}));
        })
        .Gives("2 clients, records: 4")
        // Of six calls of the driver the second and the fifth fetch a record.
        .GivesOnFailureOf("IOConnectMethodStructureIStructureO", "2 clients, records: 0", kByCaller, 2)
        .GivesOnFailureOf("IOConnectMethodStructureIStructureO", "2 clients, records: 2", kByCaller, 5)
        .DespiteFailureOf({"IOConnectMethodStructureIStructureO", "IOObjectRelease", "IOServiceClose"})
        .GivesOnFailureOf("write", "1 clients, records: 2, left -1 descriptor", kByCaller, 1)
        .GivesOnFailureOf("write", "1 clients, records: 2, left -1 descriptor", kByCaller, 2)
        .GivesOnFailureOf("write", "1 clients, records: 3, left -1 descriptor")
        .GivesOnFailureOf("IOIteratorNext", "2 clients, records: 2", kByCaller, 2)
        .GivesOnFailureOf("IOMasterPort", "2 clients, records: 2", kByCaller, 2)
        .GivesOnFailureOf("IOServiceGetMatchingServices", "2 clients, records: 2", kByCaller, 2)
        .GivesOnFailureOf("IOServiceMatching", "2 clients, records: 2", kByCaller, 2)
        .GivesOnFailureOf("IOServiceOpen", "2 clients, records: 2", kByCaller, 2)
        .GivesOnFailure("2 clients, records: 0")
        .Sweep();
}

// What starts threads, each time in a process that is thrown away.
using SweptStart = TMachineTest;

// Takes in a client and sends it a record. Returns how many clients there were, and how many bytes it got.
static std::string UseServer(TDriverEventServer* server)
{
    const TInside notCounted;
    int ends[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    server->AddClient(ends[0]);
    const TDriverEventRecord record = {};
    server->Broadcast(&record);
    char bytes[256];
    const ssize_t count = recv(ends[1], bytes, sizeof bytes, MSG_DONTWAIT);
    const std::string used = Text(server->ClientCount()) + " clients, bytes: " + Text(count);
    close(ends[1]);
    close(ends[0]);
    return used;
}

static const char kSocketFolder[] = "/tmp/com.halvorix.halvorixd";

TEST_F(SweptStart, AServerThatCannotStartSaysWhy)
{
    static const std::string kSocket = ", left 1 descriptor, left 1 object";
    TOperation("TDriverEventServer::Start",
               [] {
                   auto* const server = new TDriverEventServer;
                   const SInt32 status = server->Start();
                   return Text(status) + (status == 0 ? ", " + UseServer(server) : "");
               })
        .InAProcessOfItsOwn()
        .After([] { std::filesystem::remove_all(kSocketFolder); })
        .Gives("0, 1 clients, bytes: 128" + kSocket + ", left 1 block")
        .GivesOnFailure("-54" + kSocket)
        .GivesOnFailureOf("CFArrayCreateMutable", "0, 0 clients, bytes: 0, left 1 descriptor, left 1 block")
        .GivesOnFailureOf("socket", "-50, left 1 object")
        .GivesOnFailureOf("strdup", "-108" + kSocket)
        .GivesOnFailureOf("operator new nothrow", "-108" + kSocket)
        .GivesOnFailureOf("pthread_mutex_init", "-108" + kSocket)
        .GivesOnFailureOf("pthread_create", "-50" + kSocket + ", left 1 block")
        // The folder is not there, which is what a stat that fails reads as; nor is a stale socket.
        .GivesOnFailureOf("stat", "0, 1 clients, bytes: 128" + kSocket + ", left 1 block", kByAnybody, 2)
        .DespiteFailureOf({"fcntl", "sigaction", "unlink"})
        .Sweep();
}

TEST_F(SweptStart, APollerThatCannotStartIsMinus50)
{
    TOperation("TDriverEventPoller::Start",
               [] {
                   // All that the thread needs, which works on until the process ends.
                   auto* const tool = new TOpenedDaemonTool;
                   tool->fServer = std::make_unique<TDriverEventServer>();
                   tool->fPoller = std::make_unique<TDriverEventPoller>();
                   gDaemonTool = tool;
                   return Text(tool->fPoller->Start());
               })
        .InAProcessOfItsOwn()
        .WhateverItLeaves()
        .Gives("0")
        .GivesOnFailure("-50")
        .Sweep();
}

TEST_F(SweptStart, AStepOfTheStartThatFailsIsTheStatusOrIsDoneWithout)
{
    InstallSystem("/", "10.4.11");
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print  999998  ??  S  0:00.01 SystemUIServer\\x0a"
                                                 " 999999  ??  S  0:00.01 halvorixd\\x0a\n"));
    TOperation("THXDaemonTool::InitTool",
               [] {
                   const TFault noWaiting("sleep", {0}, 1, 100);
                   auto* const tool = new TOpenedDaemonTool;
                   const SInt32 status = tool->InitTool();
                   const bool enabled = tool->Registry() != nullptr && tool->Registry()->Enabled();
                   return Text(status) + (enabled ? ", enabled" : ", disabled");
               })
        .InAProcessOfItsOwn()
        .WhateverItLeaves()
        .After([] { std::filesystem::remove_all(kSocketFolder); })
        .Gives("0, enabled")
        // Without a process of that name it looks again, and without a driver or an older instance it goes on.
        .GivesOnFailure("0, enabled")
        .GivesOnFailureOf("operator new nothrow", "-108, disabled", kByAnybody, 1)
        .GivesOnFailureOf("operator new nothrow", "-108, enabled")
        .GivesOnFailureOf("strdup", "-108, enabled")
        .GivesOnFailureOf("pthread_mutex_init", "-108, enabled")
        .GivesOnFailureOf("pthread_create", "-50, enabled")
        .GivesOnFailureOf("pthread_detach", "-50, enabled")
        .GivesOnFailureOf("socket", "-50, enabled")
        .GivesOnFailureOf("bind", "-54, enabled")
        .GivesOnFailureOf("listen", "-54, enabled")
        .GivesOnFailureOf("mkdir", "-54, enabled")
        .GivesOnFailureOf("stat", "-54, enabled", kByAnybody, 2)
        // The first look at the system's version; two programs are looked for before it.
        .GivesOnFailureOf("stat", "0, disabled", kByAnybody, 1)
        .GivesOnFailureOf("open", "0, disabled", kByAnybody, 1)
        .GivesOnFailureOf("read", "0, disabled", kByAnybody, 3)
        .GivesOnFailureOf("operator new[] nothrow", "0, disabled", kByAnybody, 3)
        .GivesOnFailureOf("CFDataCreate", "0, disabled", kByAnybody, 1)
        .GivesOnFailureOf("CFPropertyListCreateFromXMLData", "0, disabled", kByAnybody, 1)
        .GivesOnFailureOf("CFStringGetCString", "0, disabled", kByAnybody, 1)
        .Sweep();
}

TEST_F(SweptStart, WithoutASessionItOnlySleeps)
{
    TOperation("THXDaemonTool::DoWork",
               []() -> std::string {
                   const TFault noLoop("CFRunLoopRun", {0});
                   const TCallWatch loops("CFRunLoopRun");
                   const TCallWatch asleep("sleep", [&loops](const TCallWatch::TArguments&) {
                       TOperation::End(loops.Calls() != 0 ? "followed disks" : "only slept");
                   });
                   TOpenedDaemonTool tool;
                   tool.DoWork();
                   return "returned";
               })
        .InAProcessOfItsOwn()
        .Gives("followed disks")
        .GivesOnFailure("only slept")
        .DespiteFailureOf({"sleep"})
        .Sweep();
}
