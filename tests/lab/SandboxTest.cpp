#include "lab/Files.h"
#include "tests/support/Links.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace lab;

// What a program sees that the launcher put into a machine. How the launcher ends and fails is seen from outside.
class Sandbox : public TMachineTest
{
};

// The permission bits of a file, in octal as ls would count them; -1 when there is none.
static int ModeOf(const std::string& path)
{
    struct stat status
    {
    };
    return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

TEST_F(Sandbox, TheProgramIsRoot)
{
    EXPECT_EQ(0u, getuid());
    EXPECT_EQ(0u, geteuid());
    EXPECT_EQ(0u, getgid());
}

TEST_F(Sandbox, OnlyTheNeededCapabilitiesAreHeld)
{
    std::string status;
    ASSERT_TRUE(ReadFile("/proc/self/status", &status));
    // CHOWN 0, DAC_OVERRIDE 1, FOWNER 3, KILL 5, SETGID 6, SETUID 7, SYS_PTRACE 19, SYS_ADMIN 21.
    EXPECT_NE(std::string::npos, status.find("CapBnd:\t00000000002800eb\n")) << status;
}

TEST_F(Sandbox, TemporaryFilesStandWhereAMacHasThem)
{
    EXPECT_EQ("private/tmp", LinkTarget("/tmp"));
    EXPECT_EQ("private/etc", LinkTarget("/etc"));
    EXPECT_EQ("private/var", LinkTarget("/var"));
    EXPECT_EQ(01777, ModeOf("/private/tmp"));
    EXPECT_EQ(01777, ModeOf("/private/var/tmp"));
    struct stat status
    {
    };
    ASSERT_EQ(0, stat("/private/tmp", &status));
    EXPECT_EQ(0u, status.st_uid);
}

TEST_F(Sandbox, TheRootHasAMacsFoldersAndMayBeWrittenTo)
{
    for (const char* const folder :
         {"/Applications", "/Library", "/System", "/Users", "/Volumes", "/bin", "/sbin", "/usr/bin", "/usr/sbin",
          "/usr/local/sbin", "/private/var/run", "/dev", "/lab/bin"})
        EXPECT_EQ(0755, ModeOf(folder)) << folder;
    EXPECT_EQ("", ReplaceFile("/a-file", "text"));
}

TEST_F(Sandbox, TheStartupVolumesFilesAreTheSystem)
{
    EXPECT_EQ("kernel of 10.5.8", ReadLine("/mach_kernel"));
    EXPECT_EQ(0, access("/System/Library/CoreServices/SystemVersion.plist", R_OK));
    EXPECT_EQ(0, access("/Library/Preferences/SystemConfiguration/com.apple.Boot.plist", R_OK));
    EXPECT_EQ("boot information of 10.5.8", ReadLine("/usr/standalone/ppc/bootx.bootinfo"));

    ASSERT_EQ("", ReplaceFile("/Library/new", "text"));
    EXPECT_EQ("text", machine.ReadText("volumes/disk2s3/files/Library/new"));
}

TEST_F(Sandbox, TheHostsProgramsCanBeReadButNotChanged)
{
    EXPECT_EQ(0, access("/host/usr/bin/env", X_OK));
    EXPECT_NE("", ReplaceFile("/host/usr/a-file", "text"));
    EXPECT_NE("", ReplaceFile("/usr/lib/a-file", "text"));
    EXPECT_NE("", ReplaceFile("/product/a-file", "text"));
    EXPECT_NE("", ReplaceFile("/lab/bin/a-file", "text"));
}

TEST_F(Sandbox, NothingElseOfTheHostIsThere)
{
    for (const char* const path : {"/home", "/root", "/opt", "/srv", "/mnt", "/boot", "/work", "/run"})
        EXPECT_NE(0, access(path, F_OK)) << path;
}

TEST_F(Sandbox, ProcessesOfTheHostAreNotThere)
{
    // init, this test, and one more when it runs under something: their IDs are the lowest there are.
    for (const std::string& name : NamesInFolder("/proc")) {
        const int process = std::atoi(name.c_str());
        EXPECT_LE(process, getpid()) << name;
    }
    EXPECT_LT(getpid(), 100);
}

TEST_F(Sandbox, TheEnvironmentIsCleanButForWhatTestsAreToldBy)
{
    EXPECT_STREQ("/lab/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin:/host/usr/bin", std::getenv("PATH"));
    EXPECT_STREQ("/var/root", std::getenv("HOME"));
    EXPECT_STREQ(ReadLine("/machine/time-zone").c_str(), std::getenv("TZ"));
    EXPECT_EQ(nullptr, std::getenv("USER"));
    EXPECT_EQ(nullptr, std::getenv("SHELL"));
    EXPECT_EQ(nullptr, std::getenv("LANG"));
}

TEST_F(Sandbox, TheTimeZoneIsTheMachines)
{
    const std::time_t summer = 1246440000;   // 1 July 2009
    std::tm local{};
    ASSERT_NE(nullptr, localtime_r(&summer, &local));
    EXPECT_EQ(-7 * 3600, local.tm_gmtoff);
}

TEST_F(Sandbox, TheNetworkIsItsOwnAndHasNothingButItself)
{
    // Two lines of heading, then one for each interface.
    std::string interfaces;
    ASSERT_TRUE(ReadFile("/proc/net/dev", &interfaces));
    const std::vector<std::string> lines = SplitLines(interfaces);
    for (std::size_t i = 2; i < lines.size(); ++i) {
        // Kernels that were built so put tunnels of no use into every new network.
        const std::string name = lines[i].substr(lines[i].find_first_not_of(' '));
        EXPECT_TRUE(name.rfind("lo:", 0) == 0 || name.find('0') != std::string::npos) << name;
        EXPECT_NE(0u, name.rfind("eth", 0)) << name;
    }
}

TEST_F(Sandbox, ShellScriptsRun)
{
    ASSERT_EQ("", ReplaceFile("/tmp/script", "#!/bin/sh\necho \"$1\"\n"));
    ASSERT_EQ(0, chmod("/tmp/script", 0755));
    std::string output;
    EXPECT_EQ("exited 0", RunToEnd({"/tmp/script", "script", "hello"}, &output, nullptr));
    EXPECT_EQ("hello\n", output);
}

TEST_F(Sandbox, NullAndZeroAreDevices)
{
    EXPECT_EQ("", ReplaceFile("/tmp/x", "y"));
    struct stat status
    {
    };
    for (const char* const device : {"/dev/null", "/dev/zero", "/dev/urandom"}) {
        ASSERT_EQ(0, stat(device, &status)) << device;
        EXPECT_TRUE(S_ISCHR(status.st_mode)) << device;
    }
}
