#include "lab/Files.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <csignal>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace lab;

class Init : public TMachineTest
{
protected:
    // Starts an idle process of this name, or fails the test.
    pid_t StartIdle(const std::string& name)
    {
        TStart start;
        start.name = name;
        pid_t process = 0;
        EXPECT_EQ("", machine.Start(start, &process));
        return process;
    }

    // Waits until init says that the process is no longer running, and returns what it says.
    std::string WaitForState(pid_t process)
    {
        std::string state;
        WaitUntil([&] { return (state = StateOf(process)) != "running"; });
        return state;
    }

    std::string StateOf(pid_t process) const
    {
        for (const TProcess& known : machine.Processes()) {
            if (known.process == process)
                return known.state;
        }
        return "unknown";
    }

    // Runs a shell command by init, and returns what it printed when it has ended.
    std::string OutputOf(const TStart& start)
    {
        TStart told = start;
        told.output = "/tmp/output";
        pid_t process = 0;
        EXPECT_EQ("", machine.Start(told, &process));
        WaitForState(process);
        std::string output;
        ReadFile(told.output, &output);
        return output;
    }
};

static std::string CommandNameOf(pid_t process)
{
    return ReadLine("/proc/" + std::to_string(process) + "/comm");
}

static std::string ExecutableOf(pid_t process)
{
    char target[512] = {};
    const std::string link = "/proc/" + std::to_string(process) + "/exe";
    return readlink(link.c_str(), target, sizeof target - 1) < 0 ? "" : target;
}

static bool Exists(pid_t process)
{
    return kill(process, 0) == 0;
}

TEST_F(Init, IsProcess1)
{
    EXPECT_EQ("lab-init", CommandNameOf(1));
    EXPECT_TRUE(machine.IsRunning());
}

TEST_F(Init, AnIdleProcessIsShownByPsUnderItsName)
{
    const pid_t process = StartIdle("SystemUIServer");

    std::string output;
    ASSERT_EQ("exited 0", RunToEnd({"/bin/ps", "ps", "acxww"}, &output, nullptr));
    EXPECT_NE(std::string::npos, output.find(" SystemUIServer\n")) << output;
    EXPECT_EQ("SystemUIServer", CommandNameOf(process));
    EXPECT_EQ("running", StateOf(process));
}

TEST_F(Init, ANameLongerThanTheKernelKeepsIsWholeInTheExecutable)
{
    const pid_t process = StartIdle("AVeryLongProcessNameIndeed");
    EXPECT_EQ("AVeryLongProces", CommandNameOf(process));
    EXPECT_EQ("AVeryLongProcessNameIndeed", BaseName(ExecutableOf(process)));
}

TEST_F(Init, TwoProcessesMayHaveOneName)
{
    const pid_t first = StartIdle("Preview");
    const pid_t second = StartIdle("Preview");
    EXPECT_NE(first, second);
    EXPECT_EQ("Preview", CommandNameOf(first));
    EXPECT_EQ("Preview", CommandNameOf(second));
}

TEST_F(Init, ANameMayHoldABlank)
{
    EXPECT_EQ("Disk Utility", CommandNameOf(StartIdle("Disk Utility")));
}

TEST_F(Init, AProgramRunsWithItsArgumentsVariablesAndOutput)
{
    TStart start;
    start.name = "shell";
    start.path = "/bin/sh";
    start.arguments = {"-c", "echo \"$1:$COLOUR:$TZ\"; echo wrong >&2", "sh", "two words"};
    start.environment = {"COLOUR=light blue"};
    EXPECT_EQ("two words:light blue:" + ReadLine("/machine/time-zone") + "\nwrong\n", OutputOf(start));
}

TEST_F(Init, AProcessStartsWithSignalsAsAProgramExpectsThem)
{
    // Not by way of a shell, which would put right what it finds.
    TStart start;
    start.name = "grep";
    start.path = "/host/usr/bin/grep";
    start.arguments = {"-E", "SigBlk|SigIgn", "/proc/self/status"};
    EXPECT_EQ("SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n", OutputOf(start));
}

TEST_F(Init, AProcessStartsWithNoDescriptorsBeyondTheThreeUsualOnes)
{
    const std::string folder = "/proc/" + std::to_string(StartIdle("idler")) + "/fd";
    // While it is being loaded, it reads libraries.
    const std::vector<std::string> usual{"0", "1", "2"};
    WaitUntil([&] { return NamesInFolder(folder) == usual; });
    EXPECT_EQ(usual, NamesInFolder(folder));
}

TEST_F(Init, WhatEndsIsReapedAtOnceAndNoted)
{
    TStart start;
    start.name = "shell";
    start.path = "/bin/sh";
    start.arguments = {"-c", "exit 7"};
    pid_t process = 0;
    ASSERT_EQ("", machine.Start(start, &process));
    EXPECT_EQ("exited 7", WaitForState(process));
    EXPECT_FALSE(Exists(process));
}

TEST_F(Init, ASignalReachesTheProcess)
{
    const pid_t process = StartIdle("victim");
    EXPECT_EQ("", machine.Signal(process, SIGINT));
    EXPECT_EQ("killed 2", WaitForState(process));
    EXPECT_FALSE(Exists(process));
}

TEST_F(Init, ASignalForNobodyIsRefused)
{
    EXPECT_EQ("cannot send signal 15 to process 30000: No such process", machine.Signal(30000, SIGTERM));
}

TEST_F(Init, AProcessWhoseParentDiedIsReaped)
{
    // The parent leaves at once; the child's ID comes over a pipe. Init is what is left to reap it.
    int report[2];
    ASSERT_EQ(0, pipe(report));
    const pid_t parent = fork();
    if (parent == 0) {
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        if (write(report[1], &child, sizeof child) < 0)
            _exit(1);
        _exit(0);
    }
    pid_t orphan = 0;
    ASSERT_EQ(static_cast<ssize_t>(sizeof orphan), read(report[0], &orphan, sizeof orphan));
    close(report[0]);
    close(report[1]);
    ASSERT_EQ(parent, waitpid(parent, nullptr, 0));

    EXPECT_TRUE(WaitUntil([&] { return !Exists(orphan); }));
    EXPECT_EQ("unknown", StateOf(orphan));
}

TEST_F(Init, AProgramThatCannotBeExecutedIsNoProcess)
{
    TStart start;
    start.name = "none";
    start.path = "/usr/bin/none";
    pid_t process = 77;
    EXPECT_EQ("cannot execute /usr/bin/none: No such file or directory", machine.Start(start, &process));
    EXPECT_EQ(77, process);
}

TEST_F(Init, NamesThatAreNoFilesAreRefused)
{
    for (const char* const name : {"", ".", "..", "a/b"}) {
        TStart start;
        start.name = name;
        EXPECT_EQ(std::string("a process's name is a file's name without a slash, not \"") + name + "\"",
                  machine.Start(start, nullptr));
    }
}

TEST_F(Init, ATextWithALineFeedIsRefusedBeforeInitSeesIt)
{
    TStart start;
    start.name = "two\nstart lines";
    EXPECT_EQ("a name, path, argument or variable holds a line feed, which a request cannot carry",
              machine.Start(start, nullptr));
}

// Writes a request as it stands and returns init's answer.
static std::string AnswerTo(const TMachine& machine, const std::string& request)
{
    machine.WriteText("requests/by-hand", request);
    WaitUntil([&] { return !machine.ReadText("replies/by-hand").empty(); });
    const std::string answer = machine.ReadText("replies/by-hand");
    machine.Remove("replies/by-hand");
    return answer;
}

TEST_F(Init, RequestsThatNobodyUnderstandsAreAnsweredWithWhatIsWrong)
{
    EXPECT_EQ("error a request begins with start, signal, mount, unmount or rename\n", AnswerTo(machine, "stop 7\n"));
    EXPECT_EQ("error a request begins with start, signal, mount, unmount or rename\n", AnswerTo(machine, "\n"));
    EXPECT_EQ("error a start is followed by path, arg, env and output, not by \"colour\"\n",
              AnswerTo(machine, "start x\ncolour red\n"));
    EXPECT_EQ("error a signal needs a process and a number, not \"seven 15\"\n",
              AnswerTo(machine, "signal seven 15\n"));
    EXPECT_EQ("error a signal needs a process and a number, not \"-1 9\"\n", AnswerTo(machine, "signal -1 9\n"));
}

TEST_F(Init, RequestsAndRepliesLeaveNothingInTheFolder)
{
    StartIdle("one");
    EXPECT_TRUE(NamesInFolder("/machine/requests").empty());
    EXPECT_TRUE(NamesInFolder("/machine/replies").empty());
}

TEST_F(Init, ASecondInitOfTheSameFolderRefuses)
{
    std::string errors;
    EXPECT_EQ("exited 125", RunToEnd({"/lab/bin/lab-init", "lab-init"}, nullptr, &errors));
    EXPECT_EQ("lab-init: this machine folder is running already, or is not writable\n", errors);
}
