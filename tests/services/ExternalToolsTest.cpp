#include "services/ExternalTools.h"
#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

// One operation that runs a tool, and how it is to run it.
struct TOperation
{
    const char* tool;
    const char* path;
    std::vector<std::string> arguments;
    bool asRoot;
    bool piped;
    std::function<long()> call;
};

static const char kVolume[] = "/Volumes/My Data";

static const TOperation kEnableJournaling = {
    "diskutil", "/usr/sbin/diskutil", {"diskutil", "enableJournal", kVolume}, false, true, [] {
        return EnableJournaling(kVolume);
    }};
static const TOperation kDisableJournaling = {
    "diskutil", "/usr/sbin/diskutil", {"diskutil", "disableJournal", kVolume}, false, true, [] {
        return DisableJournaling(kVolume);
    }};
static const TOperation kEnableIndexing = {
    "mdutil", "/usr/bin/mdutil", {"mdutil", "-i", "on", kVolume}, true, true, [] { return EnableIndexing(kVolume); }};
static const TOperation kDisableIndexing = {
    "mdutil", "/usr/bin/mdutil", {"mdutil", "-i", "off", kVolume}, true, true, [] { return DisableIndexing(kVolume); }};
static const TOperation kReturnIndexingState = {
    "mdutil", "/usr/bin/mdutil", {"mdutil", "-s", kVolume}, true, true, [] { return ReturnIndexingState(kVolume); }};
static const TOperation kEnableOwnership = {
    "vsdbutil", "/usr/sbin/vsdbutil", {"vsdbutil", "-a", kVolume}, true, false, [] {
        return EnableOwnershipAndPermissions(kVolume);
    }};
static const TOperation kCopy = {"cp",  "/bin/cp", {"cp", "-rf", "/tmp/a b", "/tmp/-c"},
                                 false, false,     [] {
        return CopyDirectoryOrFile("/tmp/a b", "/tmp/-c"); }};
static const TOperation kRemove = {"rm",  "/bin/rm", {"rm", "-rf", "/private/tmp"},
                                   false, false,     [] { return RemoveDirectoryOrFile("/private/tmp"); }};

// The operations whose result is 1 when the tool exited with 0, and 0 otherwise.
static const TOperation* const kPlainOperations[] = {&kEnableJournaling, &kDisableJournaling, &kEnableIndexing,
                                                     &kDisableIndexing, &kRemove};
// Those of them that read what the tool prints, with the one that looks at it.
static const TOperation* const kReadingOperations[] = {&kEnableJournaling, &kDisableJournaling, &kEnableIndexing,
                                                       &kDisableIndexing, &kReturnIndexingState};
static const TOperation* const kOperations[] = {
    &kEnableJournaling,    &kDisableJournaling, &kEnableIndexing, &kDisableIndexing,
    &kReturnIndexingState, &kEnableOwnership,   &kCopy,           &kRemove};

class ExternalTools : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever blocks for ever fails at once, and not when the whole run is given up.
        alarm(120);
    }

    // Runs the operation while its tool behaves like this.
    long ResultOf(const TOperation& operation, const std::string& behaviour)
    {
        EXPECT_EQ("", machine.SetToolBehaviour(operation.tool, behaviour));
        return operation.call();
    }

    // What ReturnIndexingState says when mdutil prints this text.
    long StateFor(const std::string& text, const std::string& then = "")
    {
        EXPECT_EQ("", machine.WriteText("mdutil-output", text));
        return ResultOf(kReturnIndexingState, "print-file /machine/mdutil-output\n" + then);
    }
};

TEST_F(ExternalTools, EachToolIsRunOnceWithItsArguments)
{
    for (const TOperation* operation : kOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        const std::size_t before = machine.ToolRuns().size();
        ResultOf(*operation, "exit 0\n");

        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        ASSERT_EQ(before + 1, runs.size());
        EXPECT_EQ(operation->path, runs.back().path);
        EXPECT_EQ(operation->arguments, runs.back().arguments);
    }
}

TEST_F(ExternalTools, AnythingButZeroEnables)
{
    ResultOf(kEnableJournaling, "exit 0\n");
    ResultOf(kEnableIndexing, "exit 0\n");
    EXPECT_EQ(1u, SetJournaling(kVolume, 2));
    EXPECT_EQ(1u, SetIndexing(kVolume, 2));

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(4u, runs.size());
    EXPECT_EQ(kEnableJournaling.arguments, runs[2].arguments);
    EXPECT_EQ(kEnableIndexing.arguments, runs[3].arguments);
}

TEST_F(ExternalTools, OnlyAnExitWithZeroIsSuccess)
{
    for (const TOperation* operation : kPlainOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        EXPECT_EQ(1, ResultOf(*operation, "exit 0\n"));
        EXPECT_EQ(0, ResultOf(*operation, "exit 1\n"));
        EXPECT_EQ(0, ResultOf(*operation, "exit 255\n"));
        EXPECT_EQ(0, ResultOf(*operation, "signal 9\n"));
    }
}

TEST_F(ExternalTools, ACopyThatASignalEndsIsSuccess)
{
    EXPECT_EQ(1, ResultOf(kCopy, "exit 0\n"));
    EXPECT_EQ(1, ResultOf(kCopy, "signal 9\n"));
    EXPECT_EQ(1, ResultOf(kCopy, "signal 11\n"));
    EXPECT_EQ(0, ResultOf(kCopy, "exit 1\n"));
    EXPECT_EQ(0, ResultOf(kCopy, "exit 255\n"));
}

TEST_F(ExternalTools, EnablingOwnershipReturnsTheChildHoweverItEnds)
{
    for (const char* const behaviour : {"exit 0\n", "exit 1\n", "signal 9\n"}) {
        SCOPED_TRACE(behaviour);
        const long result = ResultOf(kEnableOwnership, behaviour);
        EXPECT_EQ(machine.ToolRuns().back().process, result);
    }
}

TEST_F(ExternalTools, TheStateIsEnabledOnlyWhenMdutilSaysSo)
{
    EXPECT_EQ(1, StateFor("/:\n\tStatus: Indexing Enabled\n"));
    EXPECT_EQ(1, StateFor("Enabled"));
    EXPECT_EQ(0, StateFor("/:\n\tStatus: Indexing Disabled\n"));
    EXPECT_EQ(0, StateFor("/:\n\tIndexing enabled.\n"));
    EXPECT_EQ(0, StateFor("Enable"));
    EXPECT_EQ(0, StateFor(""));
}

TEST_F(ExternalTools, TheStateIsNotEnabledWhenMdutilFails)
{
    EXPECT_EQ(0, StateFor("Enabled", "exit 1\n"));
    EXPECT_EQ(0, StateFor("Enabled", "signal 9\n"));
}

TEST_F(ExternalTools, TheStateIsLookedForInTheFirst256Bytes)
{
    const std::string word = "Enabled";
    EXPECT_EQ(1, StateFor(std::string(256 - word.size(), ' ') + word));
    EXPECT_EQ(0, StateFor(std::string(256 - word.size() + 1, ' ') + word));
    EXPECT_EQ(0, StateFor(std::string(256, ' ') + word));
}

// What the buffer held before, right behind the bytes that are read.
TEST_F(ExternalTools, TheStateIsLookedForInNothingButTheBytesRead)
{
    ASSERT_EQ("", machine.SetToolBehaviour("mdutil", "print ...\n"));
    const TCallWatch watch("read", [](const TCallWatch::TArguments& arguments) {
        memcpy(reinterpret_cast<char*>(arguments[1]) + 3, "Enabled", sizeof "Enabled");
    });

    EXPECT_EQ(0, kReturnIndexingState.call());
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(ExternalTools, OneReadOfWhatAToolPrintsThenTheWaitThenTheClosing)
{
    for (const TOperation* operation : kReadingOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        ASSERT_EQ("", machine.SetToolBehaviour(operation->tool, "print abc\n"));
        std::string order;
        const auto note = [&order](const char* what) {
            return [&order, what](const TCallWatch::TArguments&) { order += what; };
        };
        {
            const TCallWatch reads("read", [&](const TCallWatch::TArguments& arguments) {
                order += " read " + std::to_string(arguments[2]);
            });
            const TCallWatch waits("waitpid", note(" wait"));
            const TCallWatch closings("close", note(" close"));
            operation->call();
        }
        EXPECT_EQ(" close read 256 wait close", order);
    }
}

TEST_F(ExternalTools, WhoseOutputIsNotReadHasNoPipe)
{
    const TCallWatch pipes("pipe");
    for (const TOperation* operation : {&kEnableOwnership, &kCopy, &kRemove})
        ResultOf(*operation, "exit 0\n");
    EXPECT_EQ(0u, pipes.Calls());

    for (const TOperation* operation : kReadingOperations)
        ResultOf(*operation, "exit 0\n");
    EXPECT_EQ(5u, pipes.Calls());
}

// What is not read must fit into the pipe: if it did not, this would be a tool that never ends.
TEST_F(ExternalTools, AToolMayPrintWhatThePipeHolds)
{
    EXPECT_EQ(1, ResultOf(kEnableJournaling, "fill 60000\n"));
}

TEST_F(ExternalTools, AToolThatPrintsMoreThanThePipeHoldsIsWaitedForUntilSomebodyEndsIt)
{
    std::atomic<bool> returned{false};
    long result = -1;
    ASSERT_EQ("", machine.SetToolBehaviour("diskutil", "fill 3000000\nexit 0\n"));
    std::thread caller([&] {
        result = kEnableJournaling.call();
        returned = true;
    });
    ASSERT_TRUE(WaitUntil([this] { return !machine.ToolRuns().empty(); }));
    EXPECT_FALSE(WaitUntil([&] { return returned.load(); }, 0.5));
    EXPECT_EQ(0, kill(machine.ToolRuns().back().process, SIGKILL));
    caller.join();

    EXPECT_EQ(0, result);
}

// Whether a child of the code became root before its tool was executed.
static bool AChildBecomesRoot(const std::function<long()>& code)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    {
        const TCallWatch watch("setuid", [&](const TCallWatch::TArguments& arguments) {
            const char user = static_cast<char>('0' + arguments[0]);
            if (write(ends[1], &user, 1) != 1)
                abort();
        });
        code();
    }
    close(ends[1]);
    char user = 0;
    const bool reported = read(ends[0], &user, 1) == 1;
    close(ends[0]);
    return reported && user == '0';
}

TEST_F(ExternalTools, IndexingAndOwnershipAreTheBusinessOfRoot)
{
    for (const TOperation* operation : kOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        ASSERT_EQ("", machine.SetToolBehaviour(operation->tool, "exit 0\n"));
        EXPECT_EQ(operation->asRoot, AChildBecomesRoot(operation->call));
    }
}

TEST_F(ExternalTools, WithoutMdutilNothingIsStarted)
{
    ASSERT_EQ("", machine.SetToolMissing("mdutil", true));
    const TCallWatch forks("fork");

    EXPECT_EQ(0, kEnableIndexing.call());
    EXPECT_EQ(0, kDisableIndexing.call());
    EXPECT_EQ(0, kReturnIndexingState.call());
    EXPECT_EQ(0u, forks.Calls());
}

TEST_F(ExternalTools, RemovingWhatIsNotThereFailsAndStartsNothing)
{
    const TCallWatch forks("fork");

    EXPECT_EQ(0u, RemoveDirectoryOrFile("/tmp/nothing"));
    EXPECT_EQ(0u, forks.Calls());
}

// What a symbolic link leads to is what must exist.
TEST_F(ExternalTools, ALinkThatLeadsNowhereIsNotRemoved)
{
    ASSERT_EQ(0, symlink("/tmp/nothing", "/tmp/link"));

    EXPECT_EQ(0u, RemoveDirectoryOrFile("/tmp/link"));
    EXPECT_EQ(0, unlink("/tmp/link"));
}

// Of the other tools nobody asks whether they are there.
TEST_F(ExternalTools, OnlyMdutilAndWhatIsRemovedAreLookedFor)
{
    std::vector<std::string> paths;
    for (const TOperation* operation : kOperations)
        ASSERT_EQ("", machine.SetToolBehaviour(operation->tool, "exit 0\n"));
    const TCallWatch watch("stat", [&](const TCallWatch::TArguments& arguments) {
        paths.emplace_back(reinterpret_cast<const char*>(arguments[0]));
    });
    for (const TOperation* operation : kOperations)
        operation->call();

    EXPECT_EQ((std::vector<std::string>{"/usr/bin/mdutil", "/usr/bin/mdutil", "/usr/bin/mdutil", "/private/tmp"}),
              paths);
}

TEST_F(ExternalTools, WithoutAForkThereIsNoSuccess)
{
    for (const TOperation* operation : kOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        ASSERT_EQ("", machine.SetToolBehaviour(operation->tool, "print Enabled\n"));
        const TFault fault("fork", {-1, EAGAIN});
        const TCallWatch waits("waitpid");
        EXPECT_EQ(operation == &kEnableOwnership ? -1 : 0, operation->call());
        EXPECT_EQ(1u, fault.Reached());
        EXPECT_EQ(0u, waits.Calls());
    }
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(ExternalTools, AToolThatCannotBeWaitedForIsNoSuccess)
{
    for (const TOperation* operation : kOperations) {
        SCOPED_TRACE(operation->arguments[1]);
        ASSERT_EQ("", machine.SetToolBehaviour(operation->tool, "print Enabled\n"));
        {
            const TFault fault("waitpid", {-1, EINTR});
            EXPECT_EQ(operation == &kEnableOwnership ? -1 : 0, operation->call());
        }
        EXPECT_GT(waitpid(-1, nullptr, 0), 0);
    }
}

TEST_F(ExternalTools, WhatCannotBeReadReadsAsNothingPrinted)
{
    ASSERT_EQ("", machine.SetToolBehaviour("diskutil", "print abc\n"));
    ASSERT_EQ("", machine.SetToolBehaviour("mdutil", "print Enabled\n"));
    for (const TOperation* operation : {&kEnableJournaling, &kReturnIndexingState}) {
        SCOPED_TRACE(operation->arguments[1]);
        const long result = operation == &kEnableJournaling;
        {
            const TFault fault("read", {-1, EIO});
            EXPECT_EQ(result, operation->call());
        }
        const TFault fault("pipe", {-1, EMFILE});
        EXPECT_EQ(result, operation->call());
        EXPECT_EQ(1u, fault.Reached());
    }
}

// mdutil is found by stat and may go before it is executed, so it is its execution that is made to fail.
TEST_F(ExternalTools, ChildrenOfDiskutilMdutilAndRmReturnToTheCallersCodeWhenThereIsNoTool)
{
    const TFault fault("execv", {-1, ENOENT});
    for (const TOperation* operation : {&kEnableJournaling, &kDisableJournaling, &kEnableIndexing, &kDisableIndexing,
                                        &kReturnIndexingState, &kRemove}) {
        SCOPED_TRACE(operation->arguments[1]);
        const TReturns returns = ReturnsOf(operation->call);
        EXPECT_EQ(std::vector<long>{1}, returns.inChild);
        EXPECT_EQ(1u, returns.inCaller.size());
    }
}

TEST_F(ExternalTools, ChildrenOfCpAndVsdbutilExitWithZeroWhenThereIsNoTool)
{
    ASSERT_EQ("", machine.SetToolMissing("cp", true));
    ASSERT_EQ("", machine.SetToolMissing("vsdbutil", true));

    const TReturns copy = ReturnsOf(kCopy.call);
    EXPECT_EQ(std::vector<long>{1}, copy.inCaller);
    EXPECT_TRUE(copy.inChild.empty());

    const TReturns ownership = ReturnsOf(kEnableOwnership.call);
    ASSERT_EQ(1u, ownership.inCaller.size());
    EXPECT_GT(ownership.inCaller[0], 0);
    EXPECT_TRUE(ownership.inChild.empty());
}

TEST_F(ExternalTools, AFolderIsCopiedWithAllThatIsInItAndRemoved)
{
    ASSERT_EQ(0, mkdir("/tmp/from", 0755));
    ASSERT_EQ(0, mkdir("/tmp/from/inner", 0755));
    ASSERT_EQ(0, mkdir("/tmp/to", 0755));
    std::ofstream("/tmp/from/inner/file") << "text";

    EXPECT_EQ(1u, CopyDirectoryOrFile("/tmp/from", "/tmp/to"));
    std::string text;
    std::ifstream("/tmp/to/from/inner/file") >> text;
    EXPECT_EQ("text", text);

    EXPECT_EQ(1u, RemoveDirectoryOrFile("/tmp/to"));
    EXPECT_NE(0, access("/tmp/to", F_OK));
    EXPECT_EQ(0, access("/tmp/from/inner/file", F_OK));
    EXPECT_EQ(1u, RemoveDirectoryOrFile("/tmp/from"));
}
