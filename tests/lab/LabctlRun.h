// What the tests of labctl share: it is run to its end, and what it said is looked at.

#ifndef HALVORIX_TESTS_LAB_LABCTLRUN_H
#define HALVORIX_TESTS_LAB_LABCTLRUN_H

#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <string>
#include <vector>

class TLabctlTest : public TMachineTest
{
protected:
    // Runs labctl and returns what it ended with, such as "exited 0".
    std::string Run(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> command{"/lab/bin/labctl", "labctl"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunToEnd(command, &output, &errors);
    }

    // Likewise, by a shell: for standard input and the environment.
    std::string RunByShell(const std::string& line)
    {
        return RunToEnd({"/bin/sh", "sh", "-c", line}, &output, &errors);
    }

    // labctl did it and had nothing to say.
    void ExpectSilent(const std::vector<std::string>& arguments)
    {
        EXPECT_EQ("exited 0", Run(arguments)) << errors;
        EXPECT_EQ("", output);
        EXPECT_EQ("", errors);
    }

    // labctl could not do it, and said why in this one line.
    void ExpectRefusal(const std::vector<std::string>& arguments, const std::string& why)
    {
        EXPECT_EQ("exited 1", Run(arguments));
        EXPECT_EQ("", output);
        EXPECT_EQ("labctl: " + why + "\n", errors);
    }

    // labctl was called wrongly: one line that begins so and ends with how it is called.
    void ExpectMisuse(const std::vector<std::string>& arguments, const std::string& why)
    {
        EXPECT_EQ("exited 2", Run(arguments));
        EXPECT_EQ("", output);
        EXPECT_EQ(0u, errors.find("labctl: " + why + "; usage: labctl ")) << errors;
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }

    bool OutputHas(const std::string& text) const { return output.find(text) != std::string::npos; }

    std::string output;
    std::string errors;
};

#endif
