// Erasing a boot helper partition: what is run for it, and what becomes of how that ends.

#include "daemon/BootHelperPartitions.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"

#include <cerrno>
#include <sys/wait.h>

// The tools exit with 0 and do nothing until they are told otherwise.
class BootHelperFormat : public TBootHelperTest
{
protected:
    void SetUp() override
    {
        TBootHelperTest::SetUp();
        LetTools("exit 0\n");
    }

    void LetTools(const std::string& lines)
    {
        ASSERT_EQ("", machine.SetToolBehaviour("newfs_hfs", lines));
        ASSERT_EQ("", machine.SetToolBehaviour("newfs", lines));
    }

    // The only tool that is run for these arguments: its path and its argument vector.
    std::vector<std::string> RunFor(UInt32 fileSystemKind, UInt32 journaled, const char* bsdName = "disk7s3")
    {
        const std::size_t before = machine.ToolRuns().size();
        EXPECT_EQ(1u, FormatBootHelperPartition(bsdName, "New Volume", fileSystemKind, journaled));
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        EXPECT_EQ(before + 1, runs.size());
        if (runs.size() != before + 1)
            return {"nothing"};
        std::vector<std::string> run = {runs[before].path};
        run.insert(run.end(), runs[before].arguments.begin(), runs[before].arguments.end());
        return run;
    }

    // How the child ended that this call waits for: what waitpid is about to be told.
    std::string EndOfChildFor(UInt32 fileSystemKind)
    {
        std::string end = "no child";
        const TCallWatch watch("waitpid", [&end](const TCallWatch::TArguments& arguments) {
            siginfo_t info = {};
            ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(arguments[0]), &info, WEXITED | WNOWAIT));
            end = (info.si_code == CLD_EXITED ? "exited " : "killed ") + std::to_string(info.si_status);
        });
        EXPECT_EQ(1u, FormatBootHelperPartition("disk7s3", "New Volume", fileSystemKind, 0));
        return end;
    }
};

using TVector = std::vector<std::string>;

TEST_F(BootHelperFormat, PlainHFSPlusIsNewfsHFSWithTheName)
{
    EXPECT_EQ((TVector{"/sbin/newfs_hfs", "newfs_hfs", "-v", "New Volume", "/dev/rdisk7s3"}),
              RunFor(kFileSystemHFSPlus, 0));
}

TEST_F(BootHelperFormat, AJournalOfPlainHFSPlusHas8MB)
{
    EXPECT_EQ((TVector{"/sbin/newfs_hfs", "newfs_hfs", "-J", "8MB", "-v", "New Volume", "/dev/rdisk7s3"}),
              RunFor(kFileSystemHFSPlus, 1));
}

TEST_F(BootHelperFormat, CaseSensitiveHFSPlusIsTheSameWithS)
{
    EXPECT_EQ((TVector{"/sbin/newfs_hfs", "newfs_hfs", "-s", "-v", "New Volume", "/dev/rdisk7s3"}),
              RunFor(kFileSystemHFSPlusCaseSensitive, 0));
}

TEST_F(BootHelperFormat, AJournalOfCaseSensitiveHFSPlusHasNoSize)
{
    EXPECT_EQ((TVector{"/sbin/newfs_hfs", "newfs_hfs", "-J", "-s", "-v", "New Volume", "/dev/rdisk7s3"}),
              RunFor(kFileSystemHFSPlusCaseSensitive, 1));
}

TEST_F(BootHelperFormat, UFSIsNewfsWithAJournalOrWithout)
{
    const TVector newfs = {"/sbin/newfs", "newfs", "-v", "New Volume", "/dev/rdisk7s3"};

    EXPECT_EQ(newfs, RunFor(kFileSystemUFS, 0));
    EXPECT_EQ(newfs, RunFor(kFileSystemUFS, 1));
}

TEST_F(BootHelperFormat, AnyFlagButZeroIsAJournal)
{
    EXPECT_EQ(RunFor(kFileSystemHFSPlus, 1), RunFor(kFileSystemHFSPlus, 0x100));
}

TEST_F(BootHelperFormat, OfAnUnknownFileSystemTheChildExitsWith1AndNothingIsRun)
{
    for (const UInt32 kind : {UInt32(3), UInt32(0xFFFFFFFF)})
        EXPECT_EQ("exited 1", EndOfChildFor(kind)) << kind;
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(BootHelperFormat, TheRawDeviceIsCutTo15Bytes)
{
    EXPECT_EQ("/dev/rdisk10s12", RunFor(kFileSystemHFSPlus, 0, "disk10s12").back());
    EXPECT_EQ("/dev/rdisk10s12", RunFor(kFileSystemHFSPlus, 0, "disk10s123").back());
    EXPECT_EQ("/dev/rdisk10s12", RunFor(kFileSystemUFS, 0, "disk10s12345678901234567890").back());
}

TEST_F(BootHelperFormat, EverythingThatIsPrintedIsReadAndNobodySeesIt)
{
    LetTools("fill 100000\nexit 0\n");
    testing::internal::CaptureStdout();
    const std::string end = EndOfChildFor(kFileSystemHFSPlus);

    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ("exited 0", end) << "a tool whose reader is gone is killed by SIGPIPE";
}

TEST_F(BootHelperFormat, HoweverTheToolEndsTheResultIs1)
{
    const struct
    {
        const char* behaviour;
        const char* end;
    } cases[] = {
        {"exit 0\n", "exited 0"}, {"exit 1\n", "exited 1"}, {"exit 71\n", "exited 71"}, {"signal 9\n", "killed 9"}};
    for (const auto& one : cases) {
        LetTools(one.behaviour);
        EXPECT_EQ(one.end, EndOfChildFor(kFileSystemHFSPlus));
    }
}

TEST_F(BootHelperFormat, WhereThereIsNoToolTheChildExitsWith0)
{
    ASSERT_EQ("", machine.SetToolMissing("newfs_hfs", true));
    ASSERT_EQ("", machine.SetToolMissing("newfs", true));

    EXPECT_EQ("exited 0", EndOfChildFor(kFileSystemHFSPlus));
    EXPECT_EQ("exited 0", EndOfChildFor(kFileSystemUFS));
}

TEST_F(BootHelperFormat, OnlyWithoutAForkTheResultIs0)
{
    {
        const TFault fault("fork", {-1, EAGAIN});
        EXPECT_EQ(0u, FormatBootHelperPartition("disk7s3", "New Volume", kFileSystemHFSPlus, 0));
        EXPECT_EQ(1u, fault.Reached());
    }
    EXPECT_TRUE(machine.ToolRuns().empty());

    const TFault fault("pipe", {-1, EMFILE});
    EXPECT_EQ("/sbin/newfs_hfs", RunFor(kFileSystemHFSPlus, 0)[0]);
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(BootHelperFormat, WhateverWasOnThePartitionIsErased)
{
    LetTools("");
    EXPECT_EQ(1u, FormatBootHelperPartition(kFirstHelper, "New Volume", kFileSystemHFSPlus, 1));

    EXPECT_EQ(std::set<std::string>{}, FilesOn(machine, kFirstHelper));
    EXPECT_EQ("New Volume", VolumeText(machine, kFirstHelper, "Name"));
    EXPECT_TRUE(IsUntouched(kSecondHelper));
}
