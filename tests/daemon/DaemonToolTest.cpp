#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"
#include "tests/support/VersionFiles.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

// The place of a virtual function in its table. In the C++ ABI of all our machines a pointer to a virtual member function
// holds its offset in the table, plus 1.
template <class TMember>
static std::size_t SlotOf(TMember member)
{
    std::size_t offset = 0;
    memcpy(&offset, &member, sizeof offset);
    return (offset - 1) / sizeof(void*);
}

class DaemonTool : public TMachineTest
{
};

TEST_F(DaemonTool, ItsVirtualOperationsStandInTheToolsOrder)
{
    // 0 and 1 are the two destructors.
    EXPECT_EQ(2u, SlotOf(&THXDaemonTool::InitTool));
    EXPECT_EQ(3u, SlotOf(&THXDaemonTool::DoWork));
    EXPECT_EQ(4u, SlotOf(&THXDaemonTool::ShowHelp));
    EXPECT_EQ(5u, SlotOf(&THXDaemonTool::HandleError));
}

TEST_F(DaemonTool, ItsMembersStandInOrderBehindTheTools)
{
    const TOpenedDaemonTool tool;
    const auto place = [&tool](const auto& member) {
        return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&tool);
    };

    EXPECT_GE(place(tool.fConnection), static_cast<long>(sizeof(void*) + 1));
    EXPECT_LT(place(tool.fConnection), place(tool.fConnectionLock));
    EXPECT_LT(place(tool.fConnectionLock), place(tool.fUseCount));
    EXPECT_LT(place(tool.fUseCount), place(tool.fRegistry));
    EXPECT_LT(place(tool.fRegistry), place(tool.fPoller));
    EXPECT_LT(place(tool.fPoller), place(tool.fServer));
    EXPECT_LT(place(tool.fServer), place(tool.fSession));
}

TEST_F(DaemonTool, ItStartsWithNothing)
{
    const TOpenedDaemonTool tool;

    EXPECT_EQ(0u, tool.fConnection);
    EXPECT_EQ(0u, tool.fUseCount);
    EXPECT_EQ(nullptr, tool.fRegistry);
    EXPECT_EQ(nullptr, tool.fPoller);
    EXPECT_EQ(nullptr, tool.fServer);
}

TEST_F(DaemonTool, TheDestructorFreesRegistryPollerServerInThisOrder)
{
    auto* const tool = new TOpenedDaemonTool;
    tool->fRegistry.reset(new TVolumeRegistry);
    tool->fPoller.reset(new TDriverEventPoller);
    tool->fServer.reset(new TDriverEventServer);
    const std::vector<void*> expected{tool->fRegistry.get(), tool->fPoller.get(), tool->fServer.get()};
    std::vector<void*> freed;
    {
        const TCallWatch watch("operator delete", [&](const TCallWatch::TArguments& arguments) {
            freed.push_back(reinterpret_cast<void*>(arguments[0]));
        });
        tool->~TOpenedDaemonTool();
    }
    ::operator delete(tool);

    EXPECT_EQ(expected, freed);
}

TEST_F(DaemonTool, TheDestructorLeavesTheDriverConnectionOpen)
{
    {
        TOpenedDaemonTool tool;
        tool.OpenDriverConnection();
    }
    EXPECT_EQ((std::vector<std::string>{"open", "method 0"}), AskedOfDriver(machine));
    fExpectedLeft.references = 1;
}

TEST_F(DaemonTool, ShowHelpPrintsNothing)
{
    TOpenedDaemonTool tool;
    testing::internal::CaptureStdout();
    tool.ShowHelp();
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

// InitTool in this process: a login session is there, and nothing is slept through.
class InitTool : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        StartLoginSession(machine);
        tool = new TOpenedDaemonTool;
    }

    // Starts as far as the registry, and tells whether that is enabled.
    static bool RegistryIsEnabled()
    {
        // On some machines the registry, which comes first, has the same size as the server.
        const unsigned which = sizeof(TDriverEventServer) == sizeof(TVolumeRegistry) ? 2 : 1;
        const TFault fault("operator new nothrow", {0, 0, sizeof(TDriverEventServer)}, which);
        TOpenedDaemonTool started;
        EXPECT_EQ(-108, started.InitTool());
        return started.fRegistry->Enabled();
    }

    static TOpenedDaemonTool* tool;
};

TOpenedDaemonTool* InitTool::tool = nullptr;

TEST_F(InitTool, NoMemoryForTheRegistryIsMinus108AndNothingElseStarts)
{
    const TFault fault("operator new nothrow", {0, 0, sizeof(TVolumeRegistry)});

    EXPECT_EQ(-108, tool->InitTool());
    EXPECT_EQ(tool, gDaemonTool);
    EXPECT_EQ(nullptr, tool->fServer);
    delete tool;
}

TEST_F(InitTool, NoMemoryForTheServerIsMinus108AndTheRegistryStays)
{
    // On some machines the registry, which comes first, has the same size.
    const unsigned which = sizeof(TDriverEventServer) == sizeof(TVolumeRegistry) ? 2 : 1;
    const TFault fault("operator new nothrow", {0, 0, sizeof(TDriverEventServer)}, which);

    EXPECT_EQ(-108, tool->InitTool());
    EXPECT_NE(nullptr, tool->fRegistry);
    EXPECT_EQ(nullptr, tool->fPoller);
    delete tool;
}

TEST_F(InitTool, AServerThatDoesNotStartGivesItsStatusAndStays)
{
    mkdir("/tmp/com.halvorix.halvorixd", 0700);

    EXPECT_EQ(-54, tool->InitTool());
    EXPECT_NE(nullptr, tool->fServer);
    EXPECT_EQ(nullptr, tool->fPoller);
    delete tool;
    fExpectedLeft.descriptors = 1;   // the socket that found no place
}

TEST_F(InitTool, NoMemoryForThePollerIsMinus108)
{
    const TFault fault("operator new nothrow", {0, 0, sizeof(TDriverEventPoller)});

    EXPECT_EQ(-108, tool->InitTool());
    EXPECT_NE(nullptr, tool->fServer);
    EXPECT_EQ(nullptr, tool->fPoller);
    fExpectedLeft.descriptors = 1;
    fExpectedLeft.objects = 1;
}

TEST_F(InitTool, APollerThatDoesNotStartIsMinus50)
{
    const TFault fault("pthread_create", {EAGAIN, 0}, 2);

    EXPECT_EQ(-50, tool->InitTool());
    EXPECT_NE(nullptr, tool->fPoller);
    fExpectedLeft.descriptors = 1;
    fExpectedLeft.objects = 1;
}

TEST_F(InitTool, TheRegistryIsEnabledFrom10_4OnByTheSystemThatRuns)
{
    static const struct
    {
        const char* version;
        bool enabled;
    } kCases[] = {{"10.3.9", false}, {"10.4", true}, {"10.4.11", true}, {"10.5.8", true}, {"no version", false}};
    for (const auto& one : kCases) {
        InstallSystem("/", one.version);
        EXPECT_EQ(one.enabled, RegistryIsEnabled()) << one.version;
    }
}

TEST_F(InitTool, TheRegistryIsDisabledWhenTheSystemIsNotKnown)
{
    ASSERT_EQ(0, unlink("/System/Library/CoreServices/SystemVersion.plist"));

    EXPECT_FALSE(RegistryIsEnabled());
}

TEST_F(InitTool, WithoutAnOlderInstanceNoSignalIsSent)
{
    const TFault fault("operator new nothrow", {0, 0, sizeof(TVolumeRegistry)});
    const TCallWatch kills("kill");
    tool->InitTool();

    EXPECT_EQ(0u, kills.Calls());
    delete tool;
}

TEST_F(InitTool, AnOlderInstanceIsSentSIGINTAndNotWaitedFor)
{
    lab::TStart older;
    older.name = "halvorixd";
    pid_t process = 0;
    ASSERT_EQ("", machine.Start(older, &process));
    const TFault fault("operator new nothrow", {0, 0, sizeof(TVolumeRegistry)});
    const TFault refused("kill", {-1, EPERM});
    const TCallWatch kills("kill", [process](const TCallWatch::TArguments& arguments) {
        EXPECT_EQ(process, arguments[0]);
        EXPECT_EQ(SIGINT, arguments[1]);
    });

    EXPECT_EQ(-108, tool->InitTool()) << "carries on with the next step";
    EXPECT_EQ(1u, kills.Calls());
    delete tool;
}

TEST_F(InitTool, AChildThatCannotExecutePsEndsThere)
{
    // Both the child and the parent come back from the search: only one of them may go on.
    const TFault registry("operator new nothrow", {0, 0, sizeof(TVolumeRegistry)});
    auto missing = std::make_unique<TFault>("execv", TFailure{-1, ENOENT}, 1, 1000);
    const TFault noSleep("sleep", {0, 0}, 1, ~0u);
    unsigned sleeps = 0;
    const TCallWatch watch("sleep", [&](const TCallWatch::TArguments&) {
        if (++sleeps == 3)
            missing.reset();   // ps is there again
    });
    const pid_t caller = getpid();

    EXPECT_EQ(-108, tool->InitTool());
    EXPECT_EQ(caller, getpid());
    EXPECT_EQ(3u, sleeps);
    delete tool;
}

// InitTool waits until a login session is there.
class InitToolBeforeLogin : public TMachineTest
{
};

TEST_F(InitToolBeforeLogin, ItAsksOnceASecondAndDoesNothingElse)
{
    TOpenedDaemonTool tool;
    const TFault registry("operator new nothrow", {0, 0, sizeof(TVolumeRegistry)});
    const TFault noSleep("sleep", {0, 0}, 1, ~0u);
    unsigned sleeps = 0;
    const TCallWatch watch("sleep", [&](const TCallWatch::TArguments& arguments) {
        EXPECT_EQ(1, arguments[0]);
        EXPECT_TRUE(AskedOfDriver(machine).empty());
        EXPECT_EQ(++sleeps, machine.ToolRuns().size());
        if (sleeps == 3)
            StartLoginSession(machine);
    });

    EXPECT_EQ(-108, tool.InitTool());
    EXPECT_EQ(3u, sleeps);
}
