#include "daemon/DriverEventServer.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

// A started server. Its thread never ends, so neither does it: it is left to the end of the process, with its list, its
// listening socket and the connections of the clients that are still there.
class DriverEventServer : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        memset(&record, 0, sizeof record);
        record.type = 7;
        strcpy(record.bsdName, "disk2s3");
        recordBytes.assign(reinterpret_cast<const char*>(&record), sizeof record);
        fExpectedLeft.descriptors = 1;
        fExpectedLeft.objects = 1;
        gServer = new TDriverEventServer;
    }

    void Start() { ASSERT_EQ(0, gServer->Start()); }

    bool WaitForClients(UInt32 count)
    {
        return WaitUntil([count] { return gServer->ClientCount() == count; });
    }

    static TDriverEventServer* gServer;
    TDriverEventRecord record;
    std::string recordBytes;
};

TDriverEventServer* DriverEventServer::gServer = nullptr;

TEST_F(DriverEventServer, EveryClientGetsTheRecord)
{
    Start();
    TListener first;
    TListener second;
    ASSERT_TRUE(WaitForClients(2));
    gServer->Broadcast(&record);

    EXPECT_TRUE(first.WaitForBytes(128));
    EXPECT_TRUE(second.WaitForBytes(128));
    EXPECT_EQ(recordBytes, first.Receive());
    EXPECT_EQ(recordBytes, second.Receive());
    fExpectedLeft.descriptors += 2;
}

TEST_F(DriverEventServer, TheLatestToConnectIsServedFirst)
{
    Start();
    TListener first;
    ASSERT_TRUE(WaitForClients(1));
    TListener second;
    ASSERT_TRUE(WaitForClients(2));
    std::vector<long> descriptors;
    {
        const TCallWatch watch(
            "write", [&descriptors](const TCallWatch::TArguments& arguments) { descriptors.push_back(arguments[0]); });
        gServer->Broadcast(&record);
    }
    ASSERT_EQ(2u, descriptors.size());
    EXPECT_GT(descriptors[0], descriptors[1]) << "the later connection has the higher descriptor";
    fExpectedLeft.descriptors += 2;
}

TEST_F(DriverEventServer, AMiddleClientThatHasGoneIsDroppedAndTheOthersGetTheRecord)
{
    Start();
    TListener first;
    ASSERT_TRUE(WaitForClients(1));
    TListener middle;
    ASSERT_TRUE(WaitForClients(2));
    TListener last;
    ASSERT_TRUE(WaitForClients(3));
    middle.Leave();
    gServer->Broadcast(&record);

    EXPECT_EQ(2u, gServer->ClientCount());
    EXPECT_TRUE(first.WaitForBytes(128));
    EXPECT_TRUE(last.WaitForBytes(128));
    EXPECT_EQ(recordBytes, first.Receive());
    EXPECT_EQ(recordBytes, last.Receive());
    fExpectedLeft.descriptors += 2;
}

TEST_F(DriverEventServer, AClientThatHasGoneStaysInTheListUntilTheNextRecord)
{
    Start();
    {
        TListener gone;
        ASSERT_TRUE(WaitForClients(1));
    }
    EXPECT_EQ(1u, gServer->ClientCount());
    gServer->Broadcast(&record);
    EXPECT_EQ(0u, gServer->ClientCount());
}

TEST_F(DriverEventServer, AllClientsMayFailInOneBroadcast)
{
    Start();
    TListener first;
    TListener second;
    TListener third;
    ASSERT_TRUE(WaitForClients(3));
    const TFault fault("write", {-1, EIO}, 1, 3);
    gServer->Broadcast(&record);

    EXPECT_EQ(0u, gServer->ClientCount());
    EXPECT_EQ(3u, fault.Reached());
}

TEST_F(DriverEventServer, WithoutClientsABroadcastTakesTheLockAndWritesNothing)
{
    Start();
    const TCallWatch locks("pthread_mutex_lock");
    const TCallWatch writes("write");
    gServer->Broadcast(&record);

    EXPECT_EQ(1u, locks.Calls());
    EXPECT_EQ(0u, writes.Calls());
}

TEST_F(DriverEventServer, CountingClientsTakesNoLock)
{
    Start();
    const TCallWatch locks("pthread_mutex_lock");

    EXPECT_EQ(0u, gServer->ClientCount());
    EXPECT_EQ(0u, locks.Calls());
}

TEST_F(DriverEventServer, BeforeStartThereAreNoClients)
{
    EXPECT_EQ(0u, gServer->ClientCount());
    delete gServer;
    fExpectedLeft = THeld();
}

TEST_F(DriverEventServer, WithoutAListThereAreNoClients)
{
    const TFault fault("CFArrayCreateMutable", {0, 0});
    EXPECT_EQ(0, gServer->Start()) << "the list is not checked";

    EXPECT_EQ(0u, gServer->ClientCount());
    fExpectedLeft.objects = 0;
}

TEST_F(DriverEventServer, WithoutAListAClientIsClosedAndARecordGoesNowhere)
{
    const TFault fault("CFArrayCreateMutable", {0, 0});
    ASSERT_EQ(0, gServer->Start());
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));

    EXPECT_FALSE(gServer->AddClient(ends[0]));
    gServer->Broadcast(&record);
    char byte;
    EXPECT_EQ(0, read(ends[1], &byte, 1)) << "the other end is closed";
    close(ends[1]);
    fExpectedLeft.objects = 0;
}

TEST_F(DriverEventServer, AFailedSocketIsTheStatusOfStart)
{
    mkdir("/tmp/com.halvorix.halvorixd", 0700);
    const TCallWatch threads("pthread_create");

    EXPECT_EQ(-54, gServer->Start());
    EXPECT_EQ(0u, threads.Calls());
}

TEST_F(DriverEventServer, NoMemoryForTheMutexIsMinus108)
{
    const TFault fault("operator new nothrow", {0, 0, sizeof(pthread_mutex_t)});
    const TCallWatch threads("pthread_create");

    EXPECT_EQ(-108, gServer->Start());
    EXPECT_EQ(0u, threads.Calls());
}

TEST_F(DriverEventServer, AMutexThatCannotBeMadeIsMinus108)
{
    const TFault fault("pthread_mutex_init", {ENOMEM});

    EXPECT_EQ(-108, gServer->Start());
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DriverEventServer, NoThreadIsMinus50)
{
    const TFault fault("pthread_create", {EAGAIN, 0});

    EXPECT_EQ(-50, gServer->Start());
}

TEST_F(DriverEventServer, AFailedAcceptIsTriedAgainWhateverTheError)
{
    const TFault fault("accept", {-1, EMFILE}, 1, 1000);
    Start();
    TListener listener;

    EXPECT_TRUE(WaitForClients(1));
    EXPECT_EQ(1000u, fault.Reached());
    fExpectedLeft.descriptors += 1;
}

TEST_F(DriverEventServer, WithoutMemoryForAClientItsConnectionIsClosedAndAcceptingEnds)
{
    const pthread_t* acceptThread = nullptr;
    {
        const TCallWatch watch("pthread_create", [&acceptThread](const TCallWatch::TArguments& arguments) {
            acceptThread = reinterpret_cast<const pthread_t*>(arguments[0]);
        });
        Start();
    }
    const TFault fault("operator new nothrow", {0, 0, sizeof(TEventClient)});
    TListener refused;

    EXPECT_TRUE(WaitUntil([&refused] { return refused.Receive().empty() && refused.AtEnd(); }));
    EXPECT_EQ(0u, gServer->ClientCount());
    EXPECT_EQ(0, pthread_join(*acceptThread, nullptr)) << "the thread has ended";
}

TEST_F(DriverEventServer, ADepartedClientRaisesNoSignalThatEndsTheProcess)
{
    Start();
    struct sigaction action;
    sigaction(SIGPIPE, nullptr, &action);

    // A handler, where SIG_IGN would be inherited by every program that is executed.
    EXPECT_NE(SIG_DFL, action.sa_handler);
    EXPECT_NE(SIG_IGN, action.sa_handler);
    EXPECT_EQ(0, raise(SIGPIPE));
}

TEST_F(DriverEventServer, NoExecutedProgramInheritsAConnection)
{
    int connected = -1;
    Start();
    TListener listener;
    ASSERT_TRUE(WaitForClients(1));
    {
        const TCallWatch watch("write", [&connected](const TCallWatch::TArguments& arguments) {
            connected = static_cast<int>(arguments[0]);
        });
        gServer->Broadcast(&record);
    }
    EXPECT_EQ(FD_CLOEXEC, fcntl(connected, F_GETFD));
    fExpectedLeft.descriptors += 1;
}

TEST_F(DriverEventServer, TheDestructorReleasesTheListAndNothingElse)
{
    const TFault noThread("pthread_create", {EAGAIN, 0});
    ASSERT_EQ(-50, gServer->Start());
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    // The mutex and the client stay, so the test takes hold of them.
    long mutex = 0;
    long client = 0;
    {
        const TCallWatch locks("pthread_mutex_lock",
                               [&mutex](const TCallWatch::TArguments& arguments) { mutex = arguments[0]; });
        const TCallWatch appended("CFArrayAppendValue",
                                  [&client](const TCallWatch::TArguments& arguments) { client = arguments[1]; });
        ASSERT_TRUE(gServer->AddClient(ends[0]));
    }
    const THeld before = HeldByThisProcess();
    delete gServer;

    EXPECT_EQ(before.objects - 1, HeldByThisProcess().objects);
    EXPECT_EQ(before.descriptors, HeldByThisProcess().descriptors) << "the listening socket and the client stay open";
    delete reinterpret_cast<TEventClient*>(client);
    delete reinterpret_cast<pthread_mutex_t*>(mutex);
    close(ends[1]);
    fExpectedLeft.objects = 0;
}
