#include "tests/soak/SoakTools.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iterator>

// Those that the daemon runs on this machine once it has started.
static constexpr const char* kTools[] = {"newfs_hfs", "vsdbutil", "cp", "kextcache", "bless", "hfs.util"};

static constexpr const char* kMissing = "missing";
static constexpr const char* kHang = "hang\n";
static constexpr const char* kFailures[] = {
    "exit 1\n",
    "signal 9\n",
    "fill 5000\nprint \\x00\\xff\\x0a\nexit 3\n",
    "fill 200\nexit 253\n",   // hfs.util's success, with an identity that is the same for all
    kHang,
    kMissing,
};

void TSoakTools::LetOneFail()
{
    LetAllWork();
    ++fFailures;
    fFailing = kTools[fRandom() % std::size(kTools)];
    const char* const failure = kFailures[fRandom() % std::size(kFailures)];
    fHangs = failure == kHang;
    if (failure == kMissing)
        EXPECT_EQ("", fMachine.SetToolMissing(fFailing, true));
    else
        EXPECT_EQ("", fMachine.SetToolBehaviour(fFailing, failure));
}

void TSoakTools::EndHanging() const
{
    if (!fHangs)
        return;
    for (const lab::TToolRun& run : fMachine.ToolRuns()) {
        if (run.path.substr(run.path.rfind('/') + 1) == fFailing)
            kill(run.process, SIGKILL);   // nothing, when it ended long ago
    }
}

void TSoakTools::LetAllWork()
{
    if (fFailing.empty())
        return;
    EXPECT_EQ("", fMachine.SetToolMissing(fFailing, false));
    EXPECT_EQ("", fMachine.SetToolBehaviour(fFailing, ""));
    // One that was told to hang stands in the log by now.
    EndHanging();
    fHangs = false;
    fFailing.clear();
}
