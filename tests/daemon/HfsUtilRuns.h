// What hfs.util was asked, and what it answers from run to run.

#ifndef HALVORIX_TESTS_DAEMON_HFSUTILRUNS_H
#define HALVORIX_TESTS_DAEMON_HFSUTILRUNS_H

#include "lab/Machine.h"
#include "tests/support/Faults.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

constexpr const char* kHfsUtil = "/System/Library/Filesystems/hfs.fs/hfs.util";

// Each run so far as "-k disk2s3", oldest first. One whose argument vector is not the tool's path, an option and a name
// fails the test.
inline std::vector<std::string> AskedOfHfsUtil(const lab::TMachine& machine)
{
    std::vector<std::string> asked;
    for (const lab::TToolRun& run : machine.ToolRuns()) {
        if (run.path != kHfsUtil)
            continue;
        EXPECT_EQ(3u, run.arguments.size());
        EXPECT_EQ(kHfsUtil, run.arguments.at(0));
        asked.push_back(run.arguments.at(1) + " " + run.arguments.at(2));
    }
    return asked;
}

// While it lives, each program that this process starts finds hfs.util behaving as the next text says, in the lines of
// lab/README.md. After the last text it behaves as told last.
class THfsUtilScript
{
public:
    THfsUtilScript(lab::TMachine& machine, std::vector<std::string> behaviours)
        : fMachine(machine), fBehaviours(std::move(behaviours)),
          fForks("fork", [this](const TCallWatch::TArguments&) { SetNext(); })
    {
    }

private:
    void SetNext()
    {
        if (fNext == fBehaviours.size())
            return;
        EXPECT_EQ("", fMachine.SetToolBehaviour("hfs.util", fBehaviours[fNext++]));
    }

    lab::TMachine& fMachine;
    const std::vector<std::string> fBehaviours;
    std::size_t fNext = 0;
    const TCallWatch fForks;
};

#endif
