// What the programs that the daemon runs are given by it and by others, and what it leaves for others to find.

#include "daemon/BootHelperFiles.h"
#include "lab/Files.h"
#include "tests/daemon/RunningBootDaemon.h"
#include "tests/daemon/SocketFolder.h"
#include "tests/support/Links.h"
#include "tests/support/VersionFiles.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

// A folder that a local user may write to, and what tells that something planted there was run.
static constexpr const char* kPlanted = "/private/tmp/planted";
static constexpr const char* kWasRun = "/private/tmp/planted/was-run";

class LocalUserAndTools : public TRunningBootDaemonTest
{
protected:
    // Starts the daemon, and lets it run a tool that does not end while a client is connected. Returns its folder in /proc.
    std::string HangingTool()
    {
        StartDaemon(2);
        EXPECT_TRUE(WaitForDisks(machine, daemon->Process()));
        EXPECT_EQ("", machine.SetToolBehaviour("hfs.util", "hang\n"));
        EXPECT_EQ("", machine.AddVolume("disk2s5", "Data"));
        EXPECT_EQ("", machine.AddMedium("disk2s5", "disk2", 1000000, false));
        EXPECT_TRUE(WaitUntil([this] {
            hanging = machine.ToolRuns().back();
            return hanging.arguments.back() == "disk2s5";
        }));
        return "/proc/" + std::to_string(hanging.process);
    }

    void EndTool()
    {
        EXPECT_EQ("", machine.SetToolBehaviour("hfs.util", ""));
        kill(hanging.process, SIGKILL);
        EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
    }

    std::string DaemonsFolder() const { return "/proc/" + std::to_string(daemon->Process()); }

    // What stands behind a label in /proc/PID/status.
    static std::string Status(const std::string& folder, const std::string& label)
    {
        std::string text;
        lab::ReadFile(folder + "/status", &text);
        for (const std::string& line : lab::SplitLines(text)) {
            if (line.rfind(label + ":\t", 0) == 0)
                return line.substr(label.size() + 2);
        }
        return "(missing)";
    }

    static std::set<std::string> EnvironmentOf(const std::string& folder)
    {
        std::string text;
        lab::ReadFile(folder + "/environ", &text);
        const std::vector<std::string> variables = lab::Split(text, '\0');
        return {variables.begin(), variables.end()};
    }

    lab::TToolRun hanging;
};

TEST_F(LocalUserAndTools, AToolHasItsThreeStandardDescriptorsAndNoOther)
{
    const std::string tool = HangingTool();

    EXPECT_EQ((std::vector<std::string>{"0", "1", "2"}), lab::NamesInFolder(tool + "/fd"));
    EXPECT_EQ(LinkTarget(DaemonsFolder() + "/fd/0"), LinkTarget(tool + "/fd/0"));
    EXPECT_EQ(0u, LinkTarget(tool + "/fd/1").rfind("pipe:", 0)) << LinkTarget(tool + "/fd/1");
    EXPECT_EQ(LinkTarget(DaemonsFolder() + "/fd/2"), LinkTarget(tool + "/fd/2"));
    EndTool();
}

TEST_F(LocalUserAndTools, AToolFindsNoSignalIgnoredOrBlocked)
{
    const std::string tool = HangingTool();

    for (const char* const set : {"SigIgn", "SigBlk"})
        EXPECT_EQ("0000000000000000", Status(tool, set)) << set;
    EndTool();
}

TEST_F(LocalUserAndTools, AToolHasTheEnvironmentFolderUmaskAndDescriptorsOfWhoStartedTheDaemon)
{
    ASSERT_EQ(0, mkdir(kPlanted, 0755));
    ASSERT_EQ(0, chdir(kPlanted));
    umask(027);
    setenv("ANYTHING", "at all", 1);
    const int left = open("/private/var/left-open", O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(100, dup2(left, 100));
    const std::string tool = HangingTool();

    EXPECT_EQ(1u, EnvironmentOf(tool).count("ANYTHING=at all"));
    EXPECT_EQ(EnvironmentOf(DaemonsFolder()), EnvironmentOf(tool));
    EXPECT_EQ(kPlanted, LinkTarget(tool + "/cwd"));
    EXPECT_EQ("0027", Status(tool, "Umask"));
    EXPECT_EQ("/private/var/left-open", LinkTarget(tool + "/fd/100"));
    EndTool();
    close(left);
    close(100);
}

// Programs of these names stand where PATH leads first, and where the daemon is started.
TEST_F(LocalUserAndTools, WhatStandsInPATHOrInTheWorkingFolderIsNotRun)
{
    ASSERT_EQ(0, mkdir(kPlanted, 0755));
    for (const char* const tool : {"ps", "hfs.util", "newfs_hfs", "newfs", "bless", "nvram", "diskutil", "mdutil",
                                   "vsdbutil", "kextcache", "cp", "rm"}) {
        const std::string path = std::string(kPlanted) + "/" + tool;
        std::ofstream(path) << "#!/bin/sh\necho >" << kWasRun << "\n";
        ASSERT_EQ(0, chmod(path.c_str(), 0755));
    }
    ASSERT_EQ(0, chdir(kPlanted));
    setenv("PATH", kPlanted, 1);
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    Handle({1, 2}, kRAIDVolume);

    EXPECT_FALSE(Exists(kWasRun));
    EXPECT_TRUE(IsFilled(kFirstHelper));
    EXPECT_TRUE(IsFilled(kSecondHelper));
    for (const lab::TToolRun& run : machine.ToolRuns())
        EXPECT_EQ('/', run.path[0]);
}

TEST_F(LocalUserAndTools, NoShellReadsAVolumesName)
{
    const std::string name = "a; echo >was-run; $(echo >was-run) `echo >was-run` \"b' & | *";
    ASSERT_EQ(0, mkdir(kPlanted, 0755));
    ASSERT_EQ(0, chdir(kPlanted));
    InstallSystem("/", "10.4.11");
    InstallBootableSystem(machine, "/Volumes/Backup", "10.4.11");
    ASSERT_EQ("", machine.RenameVolume(kBackup, name));
    ASSERT_NO_FATAL_FAILURE(StartDaemon(0));
    Handle({2}, kBackup);

    EXPECT_EQ("System/Library/CoreServices", VolumeText(machine, kBackup, "Blessed Folder"));
    EXPECT_FALSE(Exists(kWasRun));
    const std::vector<std::string> blesses = RunsOf(machine, "bless");
    ASSERT_FALSE(blesses.empty());
    EXPECT_NE(std::string::npos, blesses.back().find("/Volumes/" + name + "/System/Library/CoreServices"));
}

// What appears in these folders from now on.
class TNewNames
{
public:
    TNewNames() : fNotices(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        for (const char* const folder : {"/private/tmp", "/private/var/tmp"})
            EXPECT_NE(-1, inotify_add_watch(fNotices, folder, IN_CREATE | IN_MOVED_TO)) << folder;
    }
    ~TNewNames() { close(fNotices); }
    TNewNames(const TNewNames&) = delete;
    TNewNames& operator=(const TNewNames&) = delete;

    // Their names, but for those that begin so.
    std::set<std::string> Without(const std::vector<std::string>& beginnings) const
    {
        alignas(inotify_event) char bytes[65536];
        std::set<std::string> names;
        for (ssize_t got = 0; (got = read(fNotices, bytes, sizeof bytes)) > 0;) {
            for (ssize_t at = 0; at < got;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(bytes + at);
                at += static_cast<ssize_t>(sizeof *event + event->len);
                const std::string name = event->len != 0 ? event->name : "";
                const bool isLeftOut = std::any_of(beginnings.begin(), beginnings.end(),
                                                   [&name](const std::string& one) { return name.rfind(one, 0) == 0; });
                if (!isLeftOut)
                    names.insert(name);
            }
        }
        return names;
    }

private:
    const int fNotices;
};

TEST_F(LocalUserAndTools, NothingAppearsInTheTemporaryFoldersButTheSocketsFolder)
{
    const TNewNames names;
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    Handle({1, 2}, kRAIDVolume);
    ASSERT_TRUE(IsFilled(kFirstHelper));
    ASSERT_TRUE(WaitForDisks(machine, daemon->Process()));

    // The test's own files begin with its process's number, and a program under ThreadSanitizer makes one as it starts.
    EXPECT_EQ((std::set<std::string>{"com.halvorix.halvorixd"}),
              names.Without({std::to_string(getpid()) + "-", "tsan.rodata."}));
}

// Filling a partition on which somebody was quicker.
class LocalUserAndHelpers : public TBootHelperTest
{
};

TEST_F(LocalUserAndHelpers, ALinkInAFoldersPlaceIsTheEndAndNothingIsWrittenWhereItLeads)
{
    for (const char* const folder : {"System", "com.apple.boot.S"}) {
        const std::string helper = std::string("/private/tmp/helper of ") + folder;
        const std::string target = "/private/var/target";
        ASSERT_EQ(0, mkdir(helper.c_str(), 0755));
        mkdir(target.c_str(), 0755);
        ASSERT_EQ(0, symlink(target.c_str(), (helper + "/" + folder).c_str()));

        EXPECT_EQ(0u, PopulateBootHelperPartition("/", helper.c_str())) << folder;
        EXPECT_EQ(std::set<std::string>(), FilesBelow(target)) << folder;
        EXPECT_EQ(target, LinkTarget(helper + "/" + folder));
    }
}
