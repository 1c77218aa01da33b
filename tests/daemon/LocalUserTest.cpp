// What a local user who is not root could have left or started before the daemon comes, and what it makes of that. Folders and
// links stand here as such a user leaves them; tests/host/local-user.sh does the same with a user of its own.

#include "daemon/DriverEventServer.h"
#include "services/Processes.h"
#include "tests/daemon/SocketFolder.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <csignal>
#include <cstring>
#include <fstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static uid_t OwnerOf(const std::string& path)
{
    struct stat info;
    return lstat(path.c_str(), &info) == 0 ? info.st_uid : static_cast<uid_t>(-1);
}

class LocalUser : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
    }

    // The daemon finds something that it does not take, and ends without having touched it.
    void ExpectRefusal(const std::vector<std::string>& command = DaemonCommand(),
                       const std::vector<std::string>& environment = NoLeakCheckAtExit())
    {
        TRunningProgram daemon(command, environment);
        EXPECT_EQ("exited 2", daemon.WaitForEnd());
        EXPECT_EQ("", daemon.Output() + daemon.Errors());
    }
};

TEST_F(LocalUser, AFolderThatIsNotTheDaemonsIsRefusedAndLeftAsItIs)
{
    ASSERT_EQ(0, mkdir(kSocketFolder, 0755));
    ASSERT_EQ(0, mkdir((std::string(kSocketFolder) + "/driverevents").c_str(), 0755));
    // Root's, to a daemon that takes itself for somebody else.
    ExpectRefusal(FaultyDaemonCommand(),
                  {"HALVORIX_FAULTS=geteuid 1 1000000 501 0", "ASAN_OPTIONS=leak_check_at_exit=0"});

    EXPECT_EQ(S_IFDIR | 0755u, ModeOf(kSocketFolder));
    EXPECT_EQ(S_IFDIR | 0755u, ModeOf(kEventSocket));
}

TEST_F(LocalUser, AFolderThatOthersMayWriteToIsRefusedAndLeftAsItIs)
{
    ASSERT_EQ(0, mkdir(kSocketFolder, 0755));
    ASSERT_EQ(0, chmod(kSocketFolder, 0777));
    ExpectRefusal();

    EXPECT_EQ(S_IFDIR | 0777u, ModeOf(kSocketFolder));
    EXPECT_EQ(0u, ModeOf(kEventSocket));
}

TEST_F(LocalUser, ALinkThatLeadsNowhereIsRefusedAndNothingIsMadeWhereItLeads)
{
    ASSERT_EQ(0, symlink("/private/var/elsewhere", kSocketFolder));
    ExpectRefusal();

    EXPECT_TRUE(S_ISLNK(ModeOf(kSocketFolder)));
    EXPECT_EQ(0u, ModeOf("/private/var/elsewhere"));
}

TEST_F(LocalUser, ALinkToAFolderThatOthersMayWriteToIsRefused)
{
    ASSERT_EQ(0, symlink("/private/var/tmp", kSocketFolder));
    ExpectRefusal();

    EXPECT_EQ(0u, ModeOf("/private/var/tmp/driverevents"));
}

TEST_F(LocalUser, ALinkToAFolderOfRootIsFollowed)
{
    ASSERT_EQ(0, mkdir("/private/var/elsewhere", 0755));
    std::ofstream("/private/var/elsewhere/neighbour") << "text";
    ASSERT_EQ(0, symlink("/private/var/elsewhere", kSocketFolder));
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());

    EXPECT_TRUE(WaitForEventSocket());
    EXPECT_TRUE(S_ISSOCK(ModeOf("/private/var/elsewhere/driverevents")));
    EXPECT_TRUE(S_ISREG(ModeOf("/private/var/elsewhere/neighbour")));
    EXPECT_TRUE(S_ISLNK(ModeOf(kSocketFolder)));
}

TEST_F(LocalUser, ALinkInTheSocketsPlaceIsRemovedAndNotFollowed)
{
    std::ofstream("/private/var/precious") << "text";
    ASSERT_EQ(0, mkdir(kSocketFolder, 0755));
    ASSERT_EQ(0, symlink("/private/var/precious", kEventSocket));
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());

    EXPECT_TRUE(WaitForEventSocket());
    EXPECT_TRUE(S_ISSOCK(ModeOf(kEventSocket)));
    EXPECT_TRUE(S_ISREG(ModeOf("/private/var/precious")));
}

TEST_F(LocalUser, OnlyRootCanChangeWhatLeadsToTheSocketAndEverybodyCanConnect)
{
    TRunningProgram daemon(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitForEventSocket());

    for (const char* const path : {"/private/tmp", kSocketFolder, kEventSocket})
        EXPECT_EQ(0u, OwnerOf(path)) << path;
    EXPECT_EQ(S_IFDIR | 01777u, ModeOf("/private/tmp")) << "what is in it is its owner's to remove";
    EXPECT_EQ(S_IFDIR | 0755u, ModeOf(kSocketFolder));
    EXPECT_EQ(S_IFSOCK | 0777u, ModeOf(kEventSocket));
}

TEST_F(LocalUser, TheUmaskIs0WhileTheSocketIsBoundAndNotBeforeOrAfter)
{
    umask(027);
    std::vector<std::string> seen;
    const auto note = [&seen](const char* call) {
        return [&seen, call](const TCallWatch::TArguments&) {
            const mode_t mask = umask(0);
            umask(mask);
            seen.push_back(std::string(call) + (mask == 027 ? " masked" : mask == 0 ? " open" : " wrong"));
        };
    };
    const TCallWatch mkdirs("mkdir", note("mkdir"));
    const TCallWatch binds("bind", note("bind"));
    const TCallWatch listens("listen", note("listen"));
    TDriverEventServer server;
    ASSERT_EQ(0, server.CreateListeningSocket(kDriverEventSocketPath));
    fExpectedLeft.descriptors = 1;

    EXPECT_EQ((std::vector<std::string>{"mkdir masked", "bind open", "listen masked"}), seen);
}

// A process that ps shows under the daemon's name and that SIGINT does not end.
class TImpostor
{
public:
    TImpostor() : fProcess(fork())
    {
        if (fProcess != 0)
            return;
        signal(SIGINT, SIG_IGN);
        prctl(PR_SET_NAME, "halvorixd");
        for (;;)
            pause();
    }
    ~TImpostor()
    {
        kill(fProcess, SIGKILL);
        waitpid(fProcess, nullptr, 0);
    }
    TImpostor(const TImpostor&) = delete;
    TImpostor& operator=(const TImpostor&) = delete;

    pid_t Process() const { return fProcess; }

private:
    const pid_t fProcess;
};

TEST_F(LocalUser, AProcessOfTheDaemonsNameTakesTheSignalThatIsForAnOlderInstance)
{
    const auto hasFetched = [this](const TRunningProgram& daemon) {
        for (const lab::TDriverCall& call : machine.DriverCalls()) {
            if (call.process == daemon.Process() && call.what.rfind("method 21", 0) == 0)
                return true;
        }
        return false;
    };
    const TImpostor impostor;
    ASSERT_TRUE(WaitUntil([&] { return Get_ProcessID("halvorixd") == impostor.Process(); }));
    TRunningProgram older(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([&] { return hasFetched(older); }));
    TRunningProgram newer(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([&] { return hasFetched(newer); }));

    EXPECT_TRUE(older.IsRunning()) << "both ask the driver now, and each event reaches the clients of one of them";
    EXPECT_TRUE(newer.IsRunning());
    TListener listener;
    EXPECT_TRUE(HearsEvents(machine, &listener)) << "who connects now is the newer one's";
}

TEST_F(LocalUser, NoNameOfAProcessPassesForALineOfItsOwn)
{
    // The shortest line that says that another process is the daemon.
    const std::string line = "1a b c halvorixd";
    const auto found = [](const std::string& name) {
        std::string text = "4711 ?? S 0:00 " + name + "\n";
        uint32_t remainder = 0;
        return SearchBufferFor_PID(text.data(), &remainder, "halvorixd");
    };
    ASSERT_EQ(1, found("\n" + line));

    EXPECT_EQ(0, found(("\n" + line).substr(0, 16))) << "a Mac keeps 16 bytes of a name";
    EXPECT_EQ(4711, found("halvorixd")) << "whose the number is, ps says";
}
