// What tests of boot devices need: tools that do as they are told, and what they were run with.

#ifndef HALVORIX_TESTS_SERVICES_BOOTTOOLS_H
#define HALVORIX_TESTS_SERVICES_BOOTTOOLS_H

#include "tests/support/MachineTest.h"

#include <string>
#include <vector>

using TArguments = std::vector<std::string>;

// nvram and bless do nothing and exit with 0 until they are told otherwise.
//
// The RAID volume disk2s3 is the start-up volume of the machine; its boot members are disk0s4 on an Apple partition map,
// with the boot helper partition disk0s3, and disk1s2 on a GUID map, with disk1s3.
class TBootToolTest : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        LetTools("exit 0\n");
    }

    void LetTools(const std::string& lines)
    {
        ASSERT_EQ("", machine.SetToolBehaviour("nvram", lines));
        ASSERT_EQ("", machine.SetToolBehaviour("bless", lines));
    }

    // The only tool that was run, at this path.
    TArguments OnlyRunOf(const std::string& path)
    {
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        EXPECT_EQ(1u, runs.size());
        if (runs.size() != 1)
            return {};
        EXPECT_EQ(path, runs[0].path);
        return runs[0].arguments;
    }

    TArguments LastArguments()
    {
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        return runs.empty() ? TArguments{} : runs.back().arguments;
    }
};

#endif
