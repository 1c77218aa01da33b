#include "daemon/DriverEventServer.h"
#include "tests/daemon/SocketFolder.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

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
