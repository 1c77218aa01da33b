#include "lab/Files.h"
#include "tests/lab/LabctlRun.h"

#include <string>
#include <unistd.h>
#include <vector>

using namespace lab;

class Labctl : public TLabctlTest
{
};

TEST_F(Labctl, StartPrintsTheProcessAndItRuns)
{
    EXPECT_EQ("exited 0", Run({"start", "SystemUIServer"}));
    EXPECT_EQ("SystemUIServer", ReadLine("/proc/" + output.substr(0, output.size() - 1) + "/comm"));
}

TEST_F(Labctl, StartGivesAProgramItsArgumentsAndAFileForItsOutput)
{
    ASSERT_EQ("exited 0",
              Run({"start", "--output", "/tmp/output", "shell", "/bin/sh", "-c", "echo \"$0\"", "--output"}));
    EXPECT_TRUE(WaitUntil([] { return ReadLine("/tmp/output") == "--output"; })) << ReadLine("/tmp/output");
}

TEST_F(Labctl, StartSaysWhatCannotBeExecuted)
{
    ExpectRefusal({"start", "none", "/usr/bin/none"}, "cannot execute /usr/bin/none: No such file or directory");
    ExpectMisuse({"start"}, "something is missing");
}

TEST_F(Labctl, StopEndsEveryProcessOfTheName)
{
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    ExpectSilent({"stop", "Preview"});
    ASSERT_EQ("exited 0", Run({"processes"}));
    EXPECT_FALSE(OutputHas("Preview          running"));
    EXPECT_TRUE(OutputHas("Preview          killed 15"));
}

TEST_F(Labctl, StopTakesANumberToo)
{
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    const std::string first = output.substr(0, output.size() - 1);
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    const std::string second = output.substr(0, output.size() - 1);
    ExpectSilent({"stop", first});
    EXPECT_EQ("", ReadLine("/proc/" + first + "/comm"));
    EXPECT_EQ("Preview", ReadLine("/proc/" + second + "/comm"));
}

TEST_F(Labctl, ProcessesThatDoNotRunAreSaidWithThoseThatDo)
{
    ASSERT_EQ("exited 0", Run({"start", "Preview"}));
    const std::string process = output.substr(0, output.size() - 1);
    EXPECT_EQ("exited 1", Run({"stop", "Finder"}));
    EXPECT_EQ(0u, errors.find("labctl: no process Finder runs; there is ")) << errors;
    EXPECT_NE(std::string::npos, errors.find("Preview (" + process + ")\n")) << errors;
    EXPECT_EQ("exited 1", Run({"signal", "Finder", "TERM"}));
    ExpectMisuse({"stop"}, "something is missing");
    ExpectMisuse({"stop", "a", "b"}, "\"b\" is too much");
}

TEST_F(Labctl, ASignalIsANumberOrAName)
{
    for (const char* const signal : {"9", "KILL", "SIGKILL"}) {
        ASSERT_EQ("exited 0", Run({"start", "victim"}));
        const std::string process = output.substr(0, output.size() - 1);
        ExpectSilent({"signal", "victim", signal});
        EXPECT_TRUE(WaitUntil([&] {
            return machine.ReadText("processes/" + process) == "name victim\nstate killed 9\n";
        })) << signal;
    }
    ExpectMisuse({"signal", "victim", "LOUD"},
                 "a signal that is no name such as TERM is a whole number from 1 to 64, not \"LOUD\"");
    ExpectMisuse({"signal", "victim", "65"},
                 "a signal that is no name such as TERM is a whole number from 1 to 64, not \"65\"");
}

TEST_F(Labctl, TheDriverIsUnloadedAndLoaded)
{
    ExpectSilent({"driver", "unload"});
    EXPECT_FALSE(machine.DriverIsLoaded());
    ExpectRefusal({"driver", "unload"}, "the driver is not loaded; load it first");
    ExpectSilent({"driver", "load"});
    EXPECT_TRUE(machine.DriverIsLoaded());
    ExpectRefusal({"driver", "load"}, "the driver is loaded already; unload it first");
    ExpectMisuse({"driver", "sing"}, "the driver cannot sing");
    ExpectMisuse({"driver"}, "something is missing");
}

TEST_F(Labctl, TheDriverShowsWhatItWasAsked)
{
    ASSERT_EQ("", machine.WriteText("driver/calls", "12.500000 7 method 18 -28800\n"));
    ASSERT_EQ("exited 0", Run({"driver", "show"}));
    EXPECT_EQ("loaded, 0 events waiting, 0 dropped\n     12.500000     7  method 18 -28800\n", output);
}

TEST_F(Labctl, PostPutsOneEventOfType3IntoTheQueue)
{
    ExpectSilent({"post"});
    const std::vector<TEvent> queue = machine.Queue();
    ASSERT_EQ(1u, queue.size());
    EXPECT_EQ(3, queue[0].type);
    EXPECT_FALSE(queue[0].flagGiven);
    EXPECT_EQ(std::string(8, '\0'), queue[0].head);
}

TEST_F(Labctl, PostTakesEveryFieldOfARecord)
{
    ExpectSilent(
        {"post", "--type", "-7", "--flag", "4294967295", "--name", "disk2s3", "--head", "0A0b", "--payload", "ff00"});
    const std::vector<TEvent> queue = machine.Queue();
    ASSERT_EQ(1u, queue.size());
    EXPECT_EQ(-7, queue[0].type);
    EXPECT_TRUE(queue[0].flagGiven);
    EXPECT_EQ(4294967295u, queue[0].flag);
    EXPECT_EQ("disk2s3", std::string(queue[0].name.c_str()));
    EXPECT_EQ(std::string("\x0a\x0b\0\0\0\0\0\0", 8), queue[0].head);
    EXPECT_EQ("ff00", Hexadecimal(queue[0].payload).substr(0, 4));
}

TEST_F(Labctl, CountedEventsAreNumberedFrom1MostSignificantByteFirst)
{
    ExpectSilent({"post", "--count", "300"});
    const std::vector<TEvent> queue = machine.Queue();
    ASSERT_EQ(300u, queue.size());
    EXPECT_EQ("0000000000000001", Hexadecimal(queue[0].head));
    EXPECT_EQ("000000000000012c", Hexadecimal(queue[299].head));
}

TEST_F(Labctl, CountedEventsWithAHeadKeepIt)
{
    ExpectSilent({"post", "--count", "2", "--head", "aa"});
    EXPECT_EQ("aa00000000000000", Hexadecimal(machine.Queue()[0].head));
    EXPECT_EQ("aa00000000000000", Hexadecimal(machine.Queue()[1].head));
}

TEST_F(Labctl, PostReadsOneEventALineFromStandardInput)
{
    ASSERT_EQ("exited 0",
              RunByShell("printf -- '--type 4 --name a\\n\\n  --type 5   --name b\\n--type 6' | labctl post -"))
        << errors;
    const std::vector<TEvent> queue = machine.Queue();
    ASSERT_EQ(4u, queue.size());
    EXPECT_EQ(4, queue[0].type);
    EXPECT_EQ(3, queue[1].type);
    EXPECT_EQ("b", std::string(queue[2].name.c_str()));
    EXPECT_EQ(6, queue[3].type);
}

TEST_F(Labctl, ALineOfInputThatIsWrongPostsNothing)
{
    EXPECT_EQ("exited 2", RunByShell("printf -- '--type 4\\n--colour red\\n' | labctl post -"));
    EXPECT_EQ(0u, errors.find("labctl: there is no option --colour; usage: ")) << errors;
    EXPECT_EQ(0u, machine.WaitingEvents());
}

TEST_F(Labctl, EventsThatAreWrongAreRefused)
{
    ExpectRefusal({"post", "--name", "seventeen letters"},
                  "an event's name has at most 16 bytes; this one has 17, so nothing was posted");
    ExpectMisuse({"post", "--type", "2147483648"},
                 "--type is a whole number from -2147483648 to 2147483647, not \"2147483648\"");
    ExpectMisuse({"post", "--type", "3x"}, "--type is a whole number from -2147483648 to 2147483647, not \"3x\"");
    ExpectMisuse({"post", "--flag", "maybe"}, "--flag is a whole number from 0 to 4294967295, not \"maybe\"");
    ExpectMisuse({"post", "--flag", "4294967296"}, "--flag is a whole number from 0 to 4294967295, not \"4294967296\"");
    ExpectMisuse({"post", "--count", "0"}, "--count is a whole number from 1 to 1000000, not \"0\"");
    ExpectMisuse({"post", "--head", "abc"}, "--head is pairs of hexadecimal digits, not \"abc\"");
    ExpectMisuse({"post", "--payload", "zz"}, "--payload is pairs of hexadecimal digits, not \"zz\"");
    ExpectMisuse({"post", "--name"}, "--name needs a value");
    ExpectMisuse({"post", "--colour", "red"}, "there is no option --colour");
    ExpectMisuse({"post", "3"}, "\"3\" is too much");
    EXPECT_EQ(0u, machine.WaitingEvents());
}

TEST_F(Labctl, AFullQueueIsSaid)
{
    ASSERT_EQ("", machine.WriteText("driver/capacity", "2\n"));
    ExpectRefusal({"post", "--count", "5"}, "the driver's queue is full: it holds 2 records, so 3 of 5 were dropped");
    EXPECT_EQ(2u, machine.WaitingEvents());
}

TEST_F(Labctl, QueueListsWhatWaits)
{
    ASSERT_EQ("exited 0", Run({"post", "--type", "-1", "--head", "01"}));
    ASSERT_EQ("exited 0", Run({"post", "--flag", "0", "--name", "disk2s3"}));
    ASSERT_EQ("exited 0", Run({"queue"}));
    EXPECT_EQ("type -1, flag auto, head 0100000000000000, name \n"
              "type 3, flag 0, head 0000000000000000, name disk2s3\n",
              output);
    ASSERT_EQ("", machine.WriteText("driver/queue-head", "1\n"));
    ASSERT_EQ("exited 0", Run({"queue"}));
    EXPECT_EQ("type 3, flag 0, head 0000000000000000, name disk2s3\n", output);
}

TEST_F(Labctl, TheTreeShowsTheSystemTheDriverTheProcessesAndTheDisks)
{
    ASSERT_EQ("exited 0", Run({"post"}));
    ASSERT_EQ("exited 0", Run({"start", "SystemUIServer"}));
    const std::string process = output.substr(0, output.size() - 1);
    ASSERT_EQ("exited 0", Run({"tree"}));

    EXPECT_EQ(0u, output.find("Power Mac G5, Mac OS X 10.5.8\n"
                              "|-- system: Mac OS X 10.5.8, started from disk2s3\n"
                              "|-- boot device: /ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3,\\\\:tbxi, disk0s3\n"
                              "|-- driver: loaded, 1 events waiting, 0 dropped\n"
                              "|-- processes\n"))
        << output;
    EXPECT_TRUE(OutputHas("-- " + process + "  SystemUIServer, running\n")) << output;
    EXPECT_TRUE(OutputHas("`-- disks\n    |-- disk0  ST3250823AS Media, 232.9 GB, Apple_partition_scheme\n")) << output;
    EXPECT_TRUE(
        OutputHas("-- disk2s3  Macintosh RAID, 232.4 GB, Apple_HFS, RAID volume, volume Macintosh RAID (hfs) at /\n"))
        << output;
    EXPECT_FALSE(OutputHas("disk0s4  Halvorix, 232.8 GB, Halvorix_RAID, RAID volume")) << output;
}

TEST_F(Labctl, TheTreeSaysWhatIsNotThere)
{
    ASSERT_EQ("exited 0", Run({"create", "tiger", "/tmp/mac"}));
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "driver", "unload"}));
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_TRUE(OutputHas("|-- driver: not loaded\n|-- processes: the machine is not running\n`-- disks\n")) << output;
    EXPECT_TRUE(OutputHas("volume Macintosh HD (hfs) not mounted\n")) << output;
    TMachine other("/tmp/mac");
    ASSERT_EQ("", other.RemoveDeviceTreeProperty("/options", "boot-device"));
    ASSERT_EQ("exited 0", Run({"--machine", "/tmp/mac", "tree"}));
    EXPECT_TRUE(OutputHas("|-- boot device: none\n")) << output;
}

TEST_F(Labctl, CreateCopiesAMachineThatCanBeChangedOnItsOwn)
{
    ExpectSilent({"create", "panther", "/tmp/mac"});
    EXPECT_EQ("Power Mac G4, Mac OS X 10.3.9", ReadLine("/tmp/mac/name"));
    char target[64] = {};
    EXPECT_LT(0, readlink("/tmp/mac/tools/bin/ps", target, sizeof target - 1));
    EXPECT_STREQ("/lab/bin/stand-in", target);

    ExpectSilent({"--machine", "/tmp/mac", "disk", "attach", "disk9"});
    ASSERT_EQ("exited 0", Run({"tree"}));
    EXPECT_FALSE(OutputHas("disk9"));
}

TEST_F(Labctl, CreateRefusesWhatIsThereAndWhatIsUnknown)
{
    ASSERT_EQ("", ReplaceFile("/tmp/there", "text"));
    ExpectRefusal({"create", "tiger", "/tmp/there"},
                  "/tmp/there is there already; a machine is made where nothing is yet");
    EXPECT_EQ("exited 1", Run({"create", "jaguar", "/tmp/mac"}));
    EXPECT_EQ(0u, errors.find("labctl: there is no machine jaguar to copy; there are ")) << errors;
    EXPECT_NE(std::string::npos, errors.find("leopard, panther, tiger")) << errors;
    ExpectRefusal({"create", "tiger", "/tmp/none/mac"},
                  "cannot copy the machine to /tmp/none/mac: No such file or directory");
    ExpectMisuse({"create", "tiger"}, "something is missing");
    EXPECT_EQ("text", ReadLine("/tmp/there"));
}

TEST_F(Labctl, TheVariableNamesTheMachineWhereNoneStandsAtItsPlace)
{
    ASSERT_EQ("exited 0", Run({"create", "tiger", "/tmp/mac"}));
    // Inside the sandbox the machine stands at its place, whatever the variable says.
    ASSERT_EQ("exited 0", RunByShell("HALVORIX_MACHINE=/tmp/mac labctl tree"));
    EXPECT_TRUE(OutputHas("Power Mac G5"));
    ASSERT_EQ(0, rename("/machine/name", "/machine/no-name"));
    EXPECT_EQ("exited 0", RunByShell("HALVORIX_MACHINE=/tmp/mac labctl tree"));
    EXPECT_TRUE(OutputHas("Power Mac G4")) << output;
    ExpectRefusal({"tree"}, "which machine? --machine DIR or the variable HALVORIX_MACHINE names its folder");
    ASSERT_EQ(0, rename("/machine/no-name", "/machine/name"));
}

TEST_F(Labctl, AFolderThatIsNoMachineIsRefused)
{
    ExpectRefusal({"--machine", "/tmp", "tree"}, "/tmp is no machine folder; labctl create NAME /tmp makes one");
    EXPECT_EQ("exited 2", Run({"--machine"}));
    EXPECT_EQ("labctl: --machine needs a folder; usage: labctl [--machine DIR] [--json] SUBCOMMAND\n", errors);
}

TEST_F(Labctl, AMachineThatDoesNotRunStartsNothing)
{
    ASSERT_EQ("exited 0", Run({"create", "tiger", "/tmp/mac"}));
    ExpectRefusal({"--machine", "/tmp/mac", "start", "Preview"},
                  "the machine /tmp/mac is not running; lab/sandbox --folder /tmp/mac runs it");
}

TEST_F(Labctl, SubcommandsThatAreUnknownOrMissingAreRefused)
{
    EXPECT_EQ("exited 2", Run({"fly"}));
    EXPECT_EQ("labctl: there is no subcommand fly, labctl --help lists them; usage: labctl [--machine DIR] [--json] "
              "SUBCOMMAND\n",
              errors);
    EXPECT_EQ("exited 2", Run({}));
    EXPECT_EQ("labctl: a subcommand is missing, labctl --help lists them; usage: labctl [--machine DIR] [--json] "
              "SUBCOMMAND\n",
              errors);
    for (const char* const command : {"queue", "tools", "tree", "processes"})
        ExpectMisuse({command, "more"}, "\"more\" is too much");
}

TEST_F(Labctl, HelpListsEverySubcommandAndEachExplainsItself)
{
    ASSERT_EQ("exited 0", Run({"--help"}));
    EXPECT_EQ(0u, output.find("usage: labctl [--machine DIR] [--json] SUBCOMMAND\n"));
    const std::string list = output;
    for (const char* const command : {"tree",   "create",    "import", "help",    "completion", "start",  "stop",
                                      "signal", "processes", "driver", "post",    "queue",      "tool",   "tools",
                                      "disk",   "volume",    "mount",  "unmount", "rename",     "refuse", "nvram"}) {
        EXPECT_NE(std::string::npos, list.find(std::string("\n  ") + command + " ")) << command;
        EXPECT_EQ("exited 0", Run({command, "--help"}));
        EXPECT_EQ(0u, output.find(std::string("usage: labctl ") + command)) << output;
        EXPECT_LT(2u, SplitLines(output).size()) << output;
        EXPECT_EQ("", errors);
    }
}
