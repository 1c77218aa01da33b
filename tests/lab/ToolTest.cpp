#include "lab/Files.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <cerrno>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace lab;

class Tools : public TMachineTest
{
protected:
    void Behave(const std::string& tool, const std::string& lines)
    {
        ASSERT_EQ("", machine.SetToolBehaviour(tool, lines));
    }
};

TEST_F(Tools, ARunIsLoggedWithItsPathAndExactArguments)
{
    Behave("rm", "exit 0");
    const std::vector<std::string> arguments{"not rm",      "",           "two words", "tab\there",
                                             "back\\slash", "line\nfeed", "\xc3\xa9"};
    std::vector<std::string> command{"/bin/rm"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    TRunningProgram program(command);
    ASSERT_EQ("exited 0", program.WaitForEnd());

    const std::vector<TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(1u, runs.size());
    EXPECT_EQ("/bin/rm", runs[0].path);
    EXPECT_EQ(arguments, runs[0].arguments);
    EXPECT_EQ(program.Process(), runs[0].process);
    EXPECT_NEAR(MonotonicSeconds(), runs[0].seconds, 60);
}

TEST_F(Tools, RunsAreLoggedInOrder)
{
    for (const char* const name : {"a", "b", "c"})
        ASSERT_EQ("exited 0", RunToEnd({"/bin/rm", "rm", "-f", name}, nullptr, nullptr));
    const std::vector<TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(3u, runs.size());
    EXPECT_EQ("a", runs[0].arguments[2]);
    EXPECT_EQ("c", runs[2].arguments[2]);
}

TEST_F(Tools, CpAndRmDoTheirWork)
{
    ASSERT_EQ("", MakeFolder("/tmp/from/inside"));
    ASSERT_EQ("", ReplaceFile("/tmp/from/inside/file", "text"));
    ASSERT_EQ("", MakeFolder("/tmp/to"));

    EXPECT_EQ("exited 0", RunToEnd({"/bin/cp", "cp", "-rf", "/tmp/from", "/tmp/to/"}, nullptr, nullptr));
    EXPECT_EQ("text", ReadLine("/tmp/to/from/inside/file"));

    EXPECT_EQ("exited 0", RunToEnd({"/bin/rm", "rm", "-rf", "/tmp/from"}, nullptr, nullptr));
    EXPECT_NE(0, access("/tmp/from", F_OK));
}

TEST_F(Tools, AToolThatFailsEndsAsTheHostsDoes)
{
    EXPECT_EQ("exited 1", RunToEnd({"/bin/cp", "cp", "/tmp/none", "/tmp/to"}, nullptr, nullptr));
}

TEST_F(Tools, PsListsTheMachineAndNothingElse)
{
    std::string output;
    ASSERT_EQ("exited 0", RunToEnd({"/bin/ps", "ps", "acxww"}, &output, nullptr));
    const std::vector<std::string> lines = SplitLines(output);
    ASSERT_GE(lines.size(), 4u) << output;
    EXPECT_NE(std::string::npos, lines[0].find("PID"));
    EXPECT_NE(std::string::npos, lines[1].find("lab-init")) << output;
    EXPECT_EQ(" ps", lines.back().substr(lines.back().size() - 3)) << output;
    // init, this test (and what it runs under), ps.
    EXPECT_LE(lines.size(), 5u) << output;
}

TEST_F(Tools, AMissingToolCannotBeExecuted)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));

    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/ps", "ps", static_cast<char*>(nullptr));
        _exit(errno);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(ENOENT, WEXITSTATUS(status));
    struct stat unused
    {
    };
    EXPECT_NE(0, stat("/bin/ps", &unused));
    EXPECT_TRUE(machine.ToolRuns().empty());

    ASSERT_EQ("", machine.SetToolMissing("ps", false));
    ASSERT_EQ("", machine.SetToolMissing("ps", false));
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}

TEST_F(Tools, EveryToolOfTheMachineStandsWhereAMacHasIt)
{
    for (const std::string& line : SplitLines(machine.ReadText("tools/paths"))) {
        const std::string path = line.substr(line.find(' ') + 1);
        EXPECT_EQ(0, access(path.c_str(), X_OK)) << path;
    }
}

TEST_F(Tools, AToolPrintsWhatItIsToldAndEndsAsItIsTold)
{
    ASSERT_EQ("", ReplaceFile("/tmp/more", "from a file\n"));
    Behave("bless", "print a\\x09b\\x0a\nprint-file /tmp/more\nfill 5\nexit 42\nprint never");
    std::string output;
    EXPECT_EQ("exited 42", RunToEnd({"/usr/sbin/bless", "bless"}, &output, nullptr));
    EXPECT_EQ("a\tb\nfrom a file\nxxxxx", output);
}

TEST_F(Tools, AToolThatIsOnlyToldToPrintSucceedsAndDoesNotDoItsWork)
{
    ASSERT_EQ("", ReplaceFile("/tmp/kept", "text"));
    Behave("rm", "print done");
    std::string output;
    EXPECT_EQ("exited 0", RunToEnd({"/bin/rm", "rm", "-f", "/tmp/kept"}, &output, nullptr));
    EXPECT_EQ("done", output);
    EXPECT_EQ("text", ReadLine("/tmp/kept"));
}

TEST_F(Tools, AToolDiesOfTheSignalItIsToldEvenWhenThatIsIgnored)
{
    Behave("cp", "signal 15");
    EXPECT_EQ("killed 15", RunToEnd({"/bin/cp", "cp"}, nullptr, nullptr));
    EXPECT_EQ("killed 15", RunToEnd({"/bin/sh", "sh", "-c", "trap '' TERM; exec /bin/cp"}, nullptr, nullptr));
}

TEST_F(Tools, AToolHangsUntilItIsKilled)
{
    Behave("mdutil", "print begun\nhang");
    TRunningProgram program({"/usr/bin/mdutil", "mdutil"});
    ASSERT_TRUE(WaitUntil([&] { return program.Output() == "begun"; }));
    EXPECT_TRUE(program.IsRunning());
    program.Signal(9);
    EXPECT_EQ("killed 9", program.WaitForEnd());
}

TEST_F(Tools, AToolFillsMoreThanAPipeHolds)
{
    Behave("ps", "fill 1000000");
    std::string output;
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, &output, nullptr));
    EXPECT_EQ(std::string(1000000, 'x'), output);
}

TEST_F(Tools, AToolWorksAgainWhenItsBehaviourIsTakenAway)
{
    Behave("ps", "exit 3");
    ASSERT_EQ("exited 3", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
    Behave("ps", "");
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}

TEST_F(Tools, ABehaviourIsOfOneToolAlone)
{
    Behave("ps", "exit 3");
    EXPECT_EQ("exited 0", RunToEnd({"/bin/rm", "rm", "-f", "/tmp/none"}, nullptr, nullptr));
}

TEST_F(Tools, AToolWhoseWorkTheLabCannotDoFailsAndSaysSo)
{
    ASSERT_EQ(0, symlink("/lab/bin/stand-in", "/tmp/fsck"));
    std::string errors;
    EXPECT_EQ("exited 1", RunToEnd({"/tmp/fsck", "fsck"}, nullptr, &errors));
    EXPECT_EQ("fsck: the lab cannot do this tool's work; labctl tool fsck behave says what it does instead\n", errors);
    EXPECT_EQ(1u, machine.ToolRuns().size());
}

TEST_F(Tools, EveryToolOfTheMachineDoesItsWork)
{
    for (const std::string& line : SplitLines(machine.ReadText("tools/paths"))) {
        const std::string path = line.substr(line.find(' ') + 1);
        std::string errors;
        RunToEnd({path, BaseName(path)}, nullptr, &errors);
        EXPECT_EQ(std::string::npos, errors.find("the lab cannot")) << path;
    }
}

TEST_F(Tools, ToolsTheMachineHasNotAreRefused)
{
    EXPECT_EQ(0u, machine.SetToolMissing("fsck", true).find("this machine has no tool fsck; it has bless, cp, "));
    EXPECT_NE("", machine.SetToolMissing("", true));
    EXPECT_NE("", machine.SetToolBehaviour("fsck", "exit 1"));
}

TEST_F(Tools, BehavioursThatNoToolHasAreRefused)
{
    for (const std::string line : {"fly", "hang on", "exit", "print", "signal", "fill", "exit 1\nfly"}) {
        const std::string last = SplitLines(line).back();
        EXPECT_EQ("a tool cannot \"" + last +
                      "\"; it can print TEXT, print-file PATH, fill COUNT, hang, signal NUMBER and exit STATUS",
                  machine.SetToolBehaviour("ps", line));
    }
    EXPECT_EQ("exited 0", RunToEnd({"/bin/ps", "ps"}, nullptr, nullptr));
}
