#include "lab/Files.h"
#include "tests/lab/LabctlRun.h"

#include <csignal>
#include <string>
#include <unistd.h>
#include <vector>

using namespace lab;

// labctl's subcommands about tools.
class LabctlTool : public TLabctlTest
{
};

TEST_F(LabctlTool, AToolIsTakenAwayAndGivenBack)
{
    ExpectSilent({"tool", "ps", "missing"});
    EXPECT_NE(0, access("/bin/ps", X_OK));
    ExpectSilent({"tool", "ps", "works"});
    EXPECT_EQ(0, access("/bin/ps", X_OK));
}

TEST_F(LabctlTool, AToolIsToldToBehaveAndToWorkAgain)
{
    ExpectSilent({"tool", "ps", "behave", "print told\\x0a", "exit 9"});
    std::string told;
    EXPECT_EQ("exited 9", RunToEnd({"/bin/ps", "ps"}, &told, nullptr));
    EXPECT_EQ("told\n", told);
    ExpectSilent({"tool", "ps", "works"});
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}

TEST_F(LabctlTool, ToolsThatAreWrongAreRefused)
{
    EXPECT_EQ("exited 1", Run({"tool", "fsck", "works"}));
    EXPECT_EQ(0u, errors.find("labctl: this machine has no tool fsck; it has bless, ")) << errors;
    ExpectRefusal({"tool", "ps", "behave", "fly"},
                  "a tool cannot \"fly\"; it can print TEXT, print-file PATH, fill COUNT, hang, signal NUMBER and exit "
                  "STATUS");
    ExpectMisuse({"tool", "ps"}, "something is missing");
    ExpectMisuse({"tool", "ps", "behave"}, "something is missing");
    ExpectMisuse({"tool", "ps", "broken"},
                 "a tool is missing, works, or is told to exit, signal, print, fill, hang or behave, not to broken");
    ExpectMisuse({"tool", "ps", "missing", "now"}, "\"now\" is too much");
}

TEST_F(LabctlTool, ToolsListsEachRunWithItsArguments)
{
    ASSERT_EQ("exited 0", RunToEnd({"/bin/rm", "rm", "-f", "two words"}, nullptr, nullptr));
    ASSERT_EQ("exited 0", Run({"tools"}));
    EXPECT_TRUE(OutputHas("  /bin/rm \"rm\" \"-f\" \"two words\"\n")) << output;
}

TEST_F(LabctlTool, EachMisbehaviourIsOneCommand)
{
    ExpectSilent({"tool", "bless", "exit", "3"});
    EXPECT_EQ("exited 3", RunToEnd({"/usr/sbin/bless", "bless"}, nullptr, nullptr));
    ExpectSilent({"tool", "bless", "signal", "9"});
    EXPECT_EQ("killed 9", RunToEnd({"/usr/sbin/bless", "bless"}, nullptr, nullptr));
    ExpectSilent({"tool", "bless", "signal", "TERM"});
    EXPECT_EQ("killed 15", RunToEnd({"/usr/sbin/bless", "bless"}, nullptr, nullptr));

    std::string told;
    ExpectSilent({"tool", "bless", "print", "two words\\x0a"});
    EXPECT_EQ("exited 0", RunToEnd({"/usr/sbin/bless", "bless"}, &told, nullptr));
    EXPECT_EQ("two words\n", told);
    ExpectSilent({"tool", "bless", "fill", "100000"});
    EXPECT_EQ("exited 0", RunToEnd({"/usr/sbin/bless", "bless"}, &told, nullptr));
    EXPECT_EQ(std::string(100000, 'x'), told);
}

TEST_F(LabctlTool, AToolThatIsToldToHangRunsUntilItIsKilled)
{
    ExpectSilent({"tool", "bless", "hang"});

    TRunningProgram bless({"/usr/sbin/bless", "bless"});
    ASSERT_TRUE(WaitUntil([&] { return !machine.ToolRuns().empty(); }));
    EXPECT_TRUE(bless.IsRunning());
    bless.Signal(SIGKILL);
    EXPECT_EQ("killed 9", bless.WaitForEnd());
}

TEST_F(LabctlTool, AMissingToolThatIsToldWhatToDoIsThereAgain)
{
    ExpectSilent({"tool", "ps", "missing"});
    ExpectSilent({"tool", "ps", "exit", "4"});
    EXPECT_EQ("exited 4", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}

TEST_F(LabctlTool, MisbehavioursThatAreWrongAreRefused)
{
    ExpectMisuse({"tool", "ps", "exit"}, "something is missing");
    ExpectMisuse({"tool", "ps", "exit", "256"}, "an exit status is a whole number from 0 to 255, not \"256\"");
    ExpectMisuse({"tool", "ps", "signal", "65"},
                 "a signal that is no name such as TERM is a whole number from 1 to 64, not \"65\"");
    ExpectMisuse({"tool", "ps", "fill", "-1"}, "a count of bytes is a whole number from 0 to 2147483647, not \"-1\"");
    ExpectMisuse({"tool", "ps", "print"}, "something is missing");
    ExpectMisuse({"tool", "ps", "hang", "long"}, "\"long\" is too much");
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}
