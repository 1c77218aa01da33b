#include "lab/Files.h"
#include "tests/lab/LabctlRun.h"

#include <string>
#include <vector>

using namespace lab;

// What labctl answers to programs, to shells, and to those who mistype.
class LabctlAnswers : public TLabctlTest
{
protected:
    // labctl printed this line on standard output, and nothing else.
    void ExpectLine(const std::string& ended, const std::vector<std::string>& arguments, const std::string& line)
    {
        EXPECT_EQ(ended, Run(arguments));
        EXPECT_EQ(line + "\n", output);
        EXPECT_EQ("", errors);
    }

    // The completions of a command line that ends with the last of these.
    std::string Complete(std::vector<std::string> words)
    {
        words.insert(words.begin(), "--complete");
        EXPECT_EQ("exited 0", Run(words)) << errors;
        std::string line;
        for (const std::string& candidate : SplitLines(output))
            line += (line.empty() ? "" : " ") + candidate;
        return line;
    }
};

TEST_F(LabctlAnswers, ProgramsGetOneValueWhereverTheOptionStands)
{
    ASSERT_EQ("exited 0", Run({"post", "--type", "-1", "--name", "disk2s3", "--flag", "7", "--head", "0A"}));
    const std::string event =
        R"([{"type": -1, "flag": 7, "head": "0a00000000000000", "name": "disk2s3", "payload": ")" +
        std::string(192, '0') + "\"}]";
    ExpectLine("exited 0", {"queue", "--json"}, event);
    ExpectLine("exited 0", {"--json", "queue"}, event);
    ExpectLine("exited 0", {"driver", "--json", "unload"}, "{}");
    ExpectLine("exited 0", {"driver", "show", "--json"},
               R"({"loaded": false, "waiting": 0, "dropped": 0, "calls": []})");
}

TEST_F(LabctlAnswers, TextsThatJSONCannotHoldAreEscaped)
{
    ExpectSilent({"post", "--name", "a\"b\\c\nd\x01\xc3\xa9\xff"});
    ASSERT_EQ("exited 0", Run({"queue", "--json"}));
    // A byte that is no UTF-8 stands for the character of its number.
    EXPECT_TRUE(OutputHas("\"name\": \"a\\\"b\\\\c\\nd\\u0001\xc3\xa9\\u00ff\"")) << output;
}

TEST_F(LabctlAnswers, TruthsAndNumbersOfAVolumeAreNoTexts)
{
    ASSERT_EQ("exited 0", Run({"volume", "show", "disk3s3", "--json"}));
    EXPECT_TRUE(OutputHas("\"Owners\": true, ")) << output;
    EXPECT_TRUE(OutputHas("\"mounted-at\": \"/Volumes/Backup\", \"number\": -101, \"mount-options\": []")) << output;
}

TEST_F(LabctlAnswers, ErrorsAreValuesToo)
{
    ExpectLine("exited 1", {"driver", "load", "--json"},
               R"({"error": "the driver is loaded already; unload it first", "status": 1})");
    ExpectLine("exited 2", {"queue", "--json", "more"},
               R"({"error": "\"more\" is too much", "status": 2, "usage": "labctl queue"})");
    ExpectLine("exited 2", {"queue", "--jsom", "--json"},
               R"json({"error": "there is no option --jsom (did you mean --json?)", )json"
               R"json("status": 2, "usage": "labctl queue"})json");
}

TEST_F(LabctlAnswers, AnAnswerThatDoesNotArriveIsAFailure)
{
    EXPECT_EQ("exited 1", RunByShell("labctl tree >/dev/full"));
    EXPECT_EQ("labctl: cannot print: No space left on device\n", errors);
}

TEST_F(LabctlAnswers, WhatStandsBehindAProgramIsItsOwn)
{
    ASSERT_EQ("exited 0",
              Run({"start", "--output", "/tmp/output", "shell", "/bin/sh", "-c", "echo $0 $1", "--json", "--help"}));
    EXPECT_TRUE(WaitUntil([] { return ReadLine("/tmp/output") == "--json --help"; })) << ReadLine("/tmp/output");
    ASSERT_EQ("exited 0", Run({"rename", "disk3s3", "--", "--help"}));
    EXPECT_EQ("/Volumes/--help\n", output);
}

TEST_F(LabctlAnswers, WhatIsMistypedIsSuggested)
{
    const std::vector<std::vector<std::string>> cases = {
        {"there is no subcommand proceses (did you mean processes?)", "proceses"},
        {"there is no subcommand tere (did you mean tree?)", "tere"},   // two letters swapped are one mistake
        {"there is no subcommand --hlep (did you mean --help?)", "--hlep"},
        {"there is no subcommand moutn (did you mean mount?)", "help", "moutn"},
        {"there is no option --bellow (did you mean --below?)", "disk", "attach", "disk9", "--bellow", "disk0"},
        {"the driver cannot laod (did you mean load?)", "driver", "laod"},
        {"a volume has no property Owner (did you mean Owners?)", "volume", "set", "disk3s3", "Owner", "true"},
    };
    for (const std::vector<std::string>& each : cases) {
        EXPECT_EQ("exited 2", Run({each.begin() + 1, each.end()}));
        EXPECT_EQ(0u, errors.find("labctl: " + each[0])) << errors;
    }
    EXPECT_EQ("exited 1", Run({"create", "leopart", "/tmp/mac"}));
    EXPECT_EQ(0u, errors.find("labctl: there is no machine leopart (did you mean leopard?) to copy; ")) << errors;
    EXPECT_EQ("exited 2", Run({"fly"}));
    EXPECT_EQ(std::string::npos, errors.find("did you mean")) << errors;
}

TEST_F(LabctlAnswers, TheVersionIsThatOfTheBuild)
{
    ExpectLine("exited 0", {"--version"}, "labctl " HALVORIX_VERSION);
    ExpectLine("exited 0", {"--json", "--version"}, R"({"name": "labctl", "version": ")" HALVORIX_VERSION "\"}");
}

TEST_F(LabctlAnswers, HelpSaysTheSameForASubcommandHoweverItIsAsked)
{
    ASSERT_EQ("exited 0", Run({"help", "post"}));
    const std::string help = output;
    ExpectLine("exited 0", {"post", "--help"}, help.substr(0, help.size() - 1));
    ASSERT_EQ("exited 0", Run({"help"}));
    const std::string list = output;
    ExpectLine("exited 0", {"--help"}, list.substr(0, list.size() - 1));
}

TEST_F(LabctlAnswers, CompletionKnowsTheTableAndTheMachine)
{
    EXPECT_EQ("tool tools tree", Complete({"t"}));
    EXPECT_EQ("--json", Complete({"--j"}));
    EXPECT_EQ("load", Complete({"driver", "l"}));
    EXPECT_EQ("attach detach", Complete({"disk", ""}));
    EXPECT_EQ("--below", Complete({"disk", "attach", "disk9", "--b"}));
    EXPECT_EQ("disk4 disk4s1", Complete({"disk", "attach", "disk9", "--below", "disk4"}));
    EXPECT_EQ("disk3 disk3s1 disk3s3", Complete({"disk", "detach", "disk3"}));
    EXPECT_EQ("", Complete({"disk", "attach", "disk"}));   // a new name
    EXPECT_EQ("auto", Complete({"post", "--flag", ""}));
    EXPECT_EQ("leopard", Complete({"create", "l"}));
    EXPECT_EQ("//", Complete({"create", "leopard", "x"}));
    EXPECT_EQ("/", Complete({"import", "--device-tree", "x", "a", "b", ""}));
    EXPECT_EQ("newfs newfs_hfs", Complete({"tool", "new"}));
    EXPECT_EQ("signal", Complete({"tool", "ps", "si"}));
    EXPECT_EQ("", Complete({"tool", "ps", "exit", "0", ""}));
    EXPECT_EQ("boot-device", Complete({"nvram", "boot-d"}));
    EXPECT_EQ("", Complete({"fly", ""}));
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    EXPECT_EQ("Preview", Complete({"stop", "Pre"}));
}

TEST_F(LabctlAnswers, CompletionAsksTheMachineThatIsNamed)
{
    ASSERT_EQ("exited 0", Run({"create", "tiger", "/tmp/mac"}));
    EXPECT_EQ("disk0 disk0s1 disk0s3", Complete({"--machine", "/tmp/mac", "mount", "disk0"}));
    EXPECT_EQ("//", Complete({"--machine", "/tm"}));
}

TEST_F(LabctlAnswers, BashCompletesByItsScript)
{
    const std::string ask = "source <(labctl completion bash); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _labctl; "
                            "printf '%s\\n' \"${COMPREPLY[@]}\"";
    EXPECT_EQ("exited 0",
              RunToEnd({"/bin/bash", "bash", "-c", "COMP_WORDS=(labctl driver un); " + ask}, &output, &errors));
    EXPECT_EQ("unload\n", output) << errors;
    EXPECT_EQ("exited 0", RunToEnd({"/bin/bash", "bash", "-c", "cd /; COMP_WORDS=(labctl create tiger Vol); " + ask},
                                   &output, &errors));
    EXPECT_EQ("Volumes\n", output) << errors;
    EXPECT_EQ("exited 2", Run({"completion", "fish"}));
}
