#include "daemon/DriverEventServer.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr const char* kSocketFolder = "/tmp/com.halvorix.halvorixd";

static bool Exists(const std::string& path)
{
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

static mode_t ModeOf(const std::string& path)
{
    struct stat info;
    return lstat(path.c_str(), &info) == 0 ? info.st_mode : 0;
}

static mode_t CurrentMask()
{
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

// Making the socket, without a thread. What was made stays open, as documented; the fixture closes it.
class ListeningSocket : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        firstFree = dup(0);
        close(firstFree);
    }

    void TearDown() override
    {
        close(firstFree);
        TMachineTest::TearDown();
    }

    // The socket takes the lowest free descriptor, and it is the only one left open, also after a failure.
    bool SocketIsOpen() const { return fcntl(firstFree, F_GETFD) != -1; }

    TDriverEventServer server;
    int firstFree = -1;
};

TEST_F(ListeningSocket, ItIsMadeWithItsFolder)
{
    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));

    EXPECT_TRUE(S_ISSOCK(ModeOf(kDriverEventSocketPath)));
    EXPECT_EQ(S_IFDIR | 0755u, ModeOf(kSocketFolder));
}

TEST_F(ListeningSocket, APathOf103BytesIsTaken)
{
    const std::string path = "/tmp/folder/" + std::string(103 - 12, 'x');
    ASSERT_EQ(103u, path.size());

    EXPECT_EQ(0, server.CreateListeningSocket(path.c_str()));
    EXPECT_TRUE(Exists(path));
}

TEST_F(ListeningSocket, APathOf104BytesIsRefusedBeforeASocketIsMade)
{
    const std::string path = "/tmp/folder/" + std::string(104 - 12, 'x');

    EXPECT_EQ(-50, server.CreateListeningSocket(path.c_str()));
    EXPECT_FALSE(SocketIsOpen());
}

TEST_F(ListeningSocket, NoSocketIsMinus50)
{
    const TFault fault("socket", {-1, EMFILE});

    EXPECT_EQ(-50, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_FALSE(Exists(kSocketFolder));
}

TEST_F(ListeningSocket, APathWithoutASlashIsMinus50AndTheSocketStaysOpen)
{
    EXPECT_EQ(-50, server.CreateListeningSocket("driverevents"));
    EXPECT_TRUE(SocketIsOpen());
}

TEST_F(ListeningSocket, AFolderWithoutASlashIsMinus50)
{
    EXPECT_EQ(-50, server.CreateListeningSocket("folder/driverevents"));
    EXPECT_EQ(-50, server.CreateListeningSocket("/driverevents"));
    close(firstFree + 1);
}

TEST_F(ListeningSocket, NoMemoryForEitherCopyOfThePathIsMinus108)
{
    for (unsigned copy = 1; copy <= 2; ++copy) {
        const TFault fault("strdup", {0, 0}, copy);
        EXPECT_EQ(-108, server.CreateListeningSocket(kDriverEventSocketPath));
        EXPECT_EQ(1u, fault.Reached());
        EXPECT_TRUE(SocketIsOpen());
        close(firstFree);
    }
    EXPECT_FALSE(Exists(kSocketFolder));
}

TEST_F(ListeningSocket, AMissingParentIsMinus54)
{
    EXPECT_EQ(-54, server.CreateListeningSocket("/private/var/missing/folder/driverevents"));
    EXPECT_TRUE(SocketIsOpen());
}

TEST_F(ListeningSocket, AParentThatIsNoFolderIsMinus54)
{
    std::ofstream("/private/var/file") << "text";
    chmod("/private/var/file", 01777);

    EXPECT_EQ(-54, server.CreateListeningSocket("/private/var/file/folder/driverevents"));
}

TEST_F(ListeningSocket, AParentThatIsNotStickyIsMinus54)
{
    mkdir("/private/var/parent", 0777);

    EXPECT_EQ(-54, server.CreateListeningSocket("/private/var/parent/folder/driverevents"));
    EXPECT_FALSE(Exists("/private/var/parent/folder"));
}

TEST_F(ListeningSocket, AStickyParentOfRootIsTakenWhateverElseItsMode)
{
    mkdir("/private/var/parent", 0700);
    chmod("/private/var/parent", 01700);

    EXPECT_EQ(0, server.CreateListeningSocket("/private/var/parent/folder/driverevents"));
}

TEST_F(ListeningSocket, AParentOfAnotherUserIsMinus54)
{
    const TStatEdit edit([](const char* path, struct stat* info) {
        if (strcmp(path, "/tmp") == 0)
            info->st_uid = 501;
    });

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_FALSE(Exists(kSocketFolder));
}

TEST_F(ListeningSocket, AFolderOfAnotherUserIsMinus54)
{
    mkdir(kSocketFolder, 0755);
    const TFault fault("geteuid", {501, 0});

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_FALSE(Exists(kDriverEventSocketPath));
}

TEST_F(ListeningSocket, AFolderOfAnotherModeIsMinus54)
{
    mkdir(kSocketFolder, 0755);
    for (const mode_t mode : {0700u, 0775u, 0777u, 0754u}) {
        chmod(kSocketFolder, mode);
        EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath)) << std::oct << mode;
        EXPECT_FALSE(Exists(kDriverEventSocketPath));
        close(firstFree);
    }
}

TEST_F(ListeningSocket, OnlyTheNinePermissionBitsOfTheFolderCount)
{
    mkdir(kSocketFolder, 0755);
    chmod(kSocketFolder, 01755);

    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));
}

TEST_F(ListeningSocket, AFileInTheFoldersPlaceIsMinus54AndStays)
{
    std::ofstream(kSocketFolder) << "text";

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_TRUE(S_ISREG(ModeOf(kSocketFolder)));
}

TEST_F(ListeningSocket, AFolderThatCannotBeMadeIsMinus54)
{
    const TFault fault("mkdir", {-1, ENOSPC});

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(ListeningSocket, ANewFolderLacksWhatTheUmaskTakes)
{
    umask(077);
    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));

    EXPECT_EQ(S_IFDIR | 0700u, ModeOf(kSocketFolder));
    EXPECT_EQ(077u, CurrentMask());
}

TEST_F(ListeningSocket, EverybodyMayConnectWhateverTheUmask)
{
    umask(027);
    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));

    EXPECT_EQ(S_IFSOCK | 0777u, ModeOf(kDriverEventSocketPath));
    EXPECT_EQ(027u, CurrentMask());
}

TEST_F(ListeningSocket, AStaleSocketIsReplaced)
{
    ASSERT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));
    close(firstFree);
    ASSERT_TRUE(Exists(kDriverEventSocketPath));

    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));
}

TEST_F(ListeningSocket, WhatIsRemovedIsTheFixedPathWhateverThePath)
{
    mkdir(kSocketFolder, 0755);
    std::ofstream(kDriverEventSocketPath) << "stale";
    mkdir("/tmp/folder", 0755);
    std::ofstream("/tmp/folder/driverevents") << "in the way";

    EXPECT_EQ(-54, server.CreateListeningSocket("/tmp/folder/driverevents"));
    EXPECT_FALSE(Exists(kDriverEventSocketPath));
    EXPECT_TRUE(Exists("/tmp/folder/driverevents"));
}

TEST_F(ListeningSocket, AFailedBindIsMinus54AndTheUmaskIsBack)
{
    umask(022);
    const TFault fault("bind", {-1, EADDRINUSE});

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_EQ(022u, CurrentMask());
    EXPECT_TRUE(SocketIsOpen());
}

TEST_F(ListeningSocket, AFailedListenIsMinus54)
{
    const TFault fault("listen", {-1, EIO});

    EXPECT_EQ(-54, server.CreateListeningSocket(kDriverEventSocketPath));
    EXPECT_TRUE(SocketIsOpen());
}

TEST_F(ListeningSocket, TheAddressIsTwoBytesLongerThanItsPathAndTheBacklogIs5)
{
    const TCallWatch binds("bind", [](const TCallWatch::TArguments& arguments) {
        EXPECT_EQ(static_cast<long>(strlen(kDriverEventSocketPath)) + 2, arguments[2]);
    });
    const TCallWatch listens("listen", [](const TCallWatch::TArguments& arguments) { EXPECT_EQ(5, arguments[1]); });
    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));

    EXPECT_EQ(1u, binds.Calls());
    EXPECT_EQ(1u, listens.Calls());
}

TEST_F(ListeningSocket, NoExecutedProgramInheritsIt)
{
    EXPECT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));

    EXPECT_EQ(FD_CLOEXEC, fcntl(firstFree, F_GETFD));
}

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

TEST_F(DriverEventServer, AFailedSocketIsTheStatusOfStart)
{
    mkdir(kSocketFolder, 0700);
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
