// Every call that the functions of services/ExternalTools.h make, failing once.

#include "services/ChildProcess.h"
#include "services/ExternalTools.h"
#include "tests/sweep/Operation.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

static const char kVolumePath[] = "/Volumes/Backup";

// What a tool's run does without: who it is run as, the descriptors that its end closes anyway, and what nobody reads.
static const std::vector<std::string> kNotLookedAt = {"close", "fcntl", "setuid"};
static const std::vector<std::string> kNobodyReads = {"dup2", "pipe", "read"};

class SweptTools : public TMachineTest
{
protected:
    // A tool whose exit is the result, and which leaves a child in the function when it cannot be executed.
    static TOperation ReturningTool(const char* name, std::function<std::string()> work)
    {
        TOperation operation(name, std::move(work));
        operation.Gives("1")
            .GivesOnFailure("0")
            .GivesOnFailureOf("execv", "1, in a child: 1")
            .DespiteFailureOf(kNotLookedAt)
            .DespiteFailureOf(kNobodyReads);
        return operation;
    }
};

TEST_F(SweptTools, JournalingIsDoneOrReportedAsFailed)
{
    ReturningTool("EnableJournaling", [] { return Text(EnableJournaling(kVolumePath)); }).Sweep();
    ReturningTool("DisableJournaling", [] { return Text(DisableJournaling(kVolumePath)); }).Sweep();
    ReturningTool("SetJournaling", [] { return Text(SetJournaling(kVolumePath, 1)); }).Sweep();
}

TEST_F(SweptTools, IndexingIsDoneOrReportedAsFailed)
{
    ReturningTool("EnableIndexing", [] { return Text(EnableIndexing(kVolumePath)); }).Sweep();
    ReturningTool("DisableIndexing", [] { return Text(DisableIndexing(kVolumePath)); }).Sweep();
    ReturningTool("SetIndexing", [] { return Text(SetIndexing(kVolumePath, 1)); }).Sweep();
}

TEST_F(SweptTools, IndexingThatCannotBeAskedForReadsAsNone)
{
    ASSERT_EQ(1u, EnableIndexing(kVolumePath));
    TOperation("ReturnIndexingState", [] { return Text(ReturnIndexingState(kVolumePath)); })
        .Gives("1")
        .GivesOnFailure("0")
        .GivesOnFailureOf("execv", "0, in a child: 1")
        .DespiteFailureOf(kNotLookedAt)
        .Sweep();
}

TEST_F(SweptTools, OwnershipAnswersWithTheChildsIDUnlessThereIsNoneToWaitFor)
{
    TOperation("EnableOwnershipAndPermissions",
               [] { return EnableOwnershipAndPermissions(kVolumePath) > 0 ? "its ID" : "-1"; })
        .Gives("its ID")
        .GivesOnFailure("-1")
        .DespiteFailureOf(kNotLookedAt)
        .DespiteFailureOf({"execv"})
        .Sweep();
}

TEST_F(SweptTools, ACopyFailsWhenItCannotBeForkedOrWaitedFor)
{
    std::ofstream("/tmp/from") << "text";
    TOperation("CopyDirectoryOrFile", [] { return Text(CopyDirectoryOrFile("/tmp/from", "/tmp/to")); })
        .Showing([] { return fs::exists("/tmp/to") ? "done" : "not done"; })
        .After([] { fs::remove("/tmp/to"); })
        .Gives("1 done")
        .GivesOnFailure("0 not done")
        .GivesOnFailureOf("waitpid", "0 done")
        .GivesOnFailureOf("execv", "1 not done")
        .Sweep();
}

TEST_F(SweptTools, ARemovalFailsWhenItCannotBeForkedOrWaitedFor)
{
    TOperation("RemoveDirectoryOrFile", [] { return Text(RemoveDirectoryOrFile("/tmp/gone")); })
        .Showing([] { return fs::exists("/tmp/gone") ? "not done" : "done"; })
        .After([] { std::ofstream("/tmp/gone") << "text"; })
        .Gives("1 done")
        .GivesOnFailure("0 not done")
        .GivesOnFailureOf("waitpid", "0 done")
        .GivesOnFailureOf("execv", "1 not done, in a child: 1")
        .Sweep();
}

// A child on its own, with all that can be asked of it.
static std::string ReadFromChild()
{
    static const char* const kArguments[] = {"ps", nullptr};
    TChildProcess child;
    const EChildStart start = child.Start({"/bin/ps", kArguments, kBecomeRoot, kPipeOutput, kReturnToCaller});
    if (start != kChildStarted)
        return start == kForkFailed ? "no child" : "in the child";
    char text[8] = {};
    child.Read(text, sizeof text - 1);
    child.DiscardOutput();
    child.CloseOutput();
    return text + std::string(child.WaitForSuccess() ? " ended well" : " failed");
}

TEST_F(SweptTools, AnyToolSucceedsOnlyWhenItWasWaitedFor)
{
    static const char* const kArguments[] = {"ps", nullptr};
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "exit 0\n"));
    TOperation("RunAndTellSuccess",
               [] {
                   return Text(RunAndTellSuccess({"/bin/ps", kArguments, kBecomeRoot, kKeepOutput, kExitWithOne}));
               })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf(kNotLookedAt)
        .Sweep();
}

TEST_F(SweptTools, AChildWithoutAPipeReadsAsSilent)
{
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print text\n"));
    TOperation("TChildProcess", ReadFromChild)
        .Gives("text ended well")
        .GivesOnFailure(" ended well")
        .GivesOnFailureOf("fork", "no child")
        .GivesOnFailureOf("waitpid", "text failed")
        .GivesOnFailureOf("execv", " ended well, in a child: in the child")
        .GivesOnFailureOf("read", "text ended well", kByCaller, 2)
        .DespiteFailureOf(kNotLookedAt)
        .Sweep();
}
