// What halvorixstatus finds on a Mac that starts from a RAID volume, and that it changes nothing there.

#include "tests/clients/HalvorixStatusTest.h"
#include "tests/daemon/RunningBootDaemon.h"

#include <map>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

// Everything in the machine's folder: its mode, when it was changed, and what it holds or leads to. But for the counts
// that the stand-ins for the frameworks keep of each process.
std::map<std::string, std::string> AllOfTheMachine()
{
    std::map<std::string, std::string> all;
    fs::recursive_directory_iterator entry("/machine");
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
        const std::string path = entry->path().string();
        if (path == "/machine/objects") {
            entry.disable_recursion_pending();
            continue;
        }
        struct stat info;
        EXPECT_EQ(0, lstat(path.c_str(), &info)) << path;
        std::string held = S_ISLNK(info.st_mode) ? fs::read_symlink(path).string() : "";
        if (S_ISREG(info.st_mode))
            held = FileText(path);
        all[path] = std::to_string(info.st_mode) + " " + std::to_string(info.st_mtim.tv_sec) + "." +
                    std::to_string(info.st_mtim.tv_nsec) + " " + held;
    }
    return all;
}

TEST_F(HalvorixStatus, AllIsWellWhereEveryHelperHoldsWhatAStartNeeds)
{
    std::string output;
    std::string errors;
    EXPECT_EQ("exited 0", RunStatus({}, &output, &errors));

    EXPECT_EQ(R"(RAID volume disk2s3 "Macintosh RAID", at "/", Mac OS X 10.5.8, the start-up volume
  identity 3591B849-1AA8-34CD-8626-666E5A51B02B
  boot member disk0s4
    boot helper disk0s3 "Boot OSX", Apple_Boot, 10.5.8, names disk2s3, the firmware starts it
  boot member disk1s2
    boot helper disk1s3 "Boot OSX", Apple_Boot, 10.5.8, names disk2s3
firmware: starts from disk0s3, a boot helper of disk2s3, "/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/@0:3,\\:tbxi"
daemon: running, its socket answers

all is well
)",
              output);
    EXPECT_EQ("", errors);
}

TEST_F(HalvorixStatus, NothingOfTheMachineChangesAndNoToolIsRun)
{
    ASSERT_EQ("", machine.UnmountVolume(kSecondHelper));
    const std::map<std::string, std::string> before = AllOfTheMachine();
    ASSERT_EQ(1u, before.count("/machine/registry/ioreg.plist"));
    EXPECT_EQ("exited 3", RunStatus({}, nullptr));
    EXPECT_EQ("exited 3", RunStatus({"--json"}, nullptr));

    EXPECT_EQ(before, AllOfTheMachine());
    EXPECT_TRUE(machine.ToolRuns().empty());
    EXPECT_TRUE(machine.DriverCalls().empty());
    EXPECT_FALSE(socket->SomebodyWaits()) << "it became a client of the daemon";
}

TEST_F(HalvorixStatus, AHelperThatIsNotMountedIsNotChecked)
{
    ASSERT_EQ("", machine.UnmountVolume(kFirstHelper));
    EXPECT_EQ((TLines{"unchecked disk0s3: it is not mounted, so its files cannot be checked"}), Findings());
}

TEST_F(HalvorixStatus, AHelperMustNameTheVolumeAsTheRootDevice)
{
    WriteRootUUID(kSecondHelper, VolumeText(machine, kBackup, "UUID"));
    std::string output;
    EXPECT_EQ("exited 1", RunStatus({}, &output));
    EXPECT_NE(std::string::npos, output.find("disk1s3 \"Boot OSX\", Apple_Boot, 10.5.8, does not name disk2s3\n"));
    EXPECT_NE(std::string::npos, output.find("problem: disk1s3: it names Root UUID " +
                                             VolumeText(machine, kBackup, "UUID") + ", which is not disk2s3"));

    // Small letters are the same to the kernel.
    WriteRootUUID(kSecondHelper, "3591b849-1aa8-34cd-8626-666e5a51b02b");
    EXPECT_EQ(TLines{}, Findings());
}

TEST_F(HalvorixStatus, EachFileThatAStartNeedsIsMissed)
{
    for (const std::string& file : FilesOfFilledHelper()) {
        if (file.back() == '/')
            continue;
        const std::string path = FilesOfHelper(kSecondHelper) + file;
        fs::rename(path, "/machine/away");
        const TLines found = Findings();
        ASSERT_FALSE(found.empty()) << file;
        const bool isVersion = file.find("Version") != std::string::npos;
        EXPECT_EQ("problem disk1s3: " + (isVersion ? "it holds no system version, so it was not filled to its end"
                                                   : "a start from it would miss " + file),
                  found[0]);
        fs::rename("/machine/away", path);
    }
    EXPECT_EQ(TLines{}, Findings());
}

TEST_F(HalvorixStatus, AHelperOfAnotherSystemThanTheVolumesIsAProblem)
{
    InstallSystem(FilesOfHelper(kFirstHelper), "10.5.7");
    EXPECT_EQ((TLines{"problem disk0s3: it is of 10.5.7, and disk2s3 of 10.5.8: the kernel would find extensions and a "
                      "system that are not its own"}),
              Findings());
}

TEST_F(HalvorixStatus, APartitionThatIsMissingEmptyOrOfAnotherTypeIsAProblem)
{
    ASSERT_EQ("", machine.SetProperty(kSecondHelper, "Content Hint", plist::TValue::String("Apple_HFS")));
    EXPECT_EQ((TLines{"problem disk1s3: it stands where a boot helper belongs but is of type Apple_HFS; a rebuild "
                      "erases it all the same"}),
              Findings());

    ASSERT_EQ("", machine.UnmountVolume(kFirstHelper));
    fs::remove(machine.Folder() + "/volumes/disk0s3/volume.plist");
    EXPECT_EQ("problem disk0s3: it holds no file system that the firmware could read", Findings().at(0));

    ASSERT_EQ("", machine.RemoveMedium(kSecondHelper));
    EXPECT_EQ("problem disk1s2: there is no partition disk1s3 beside it for the boot helper", Findings().at(1));
}

TEST_F(HalvorixStatus, AMemberThatLeadsNowhereIsAProblem)
{
    const std::string good = machine.EntryPath("disk0s4");
    ASSERT_EQ("", machine.SetProperty(kRAIDVolume, "IOBootDevice", MemberList({good, good + "/nothing"})));
    EXPECT_EQ((TLines{"problem disk2s3: one of its boot members leads to no disk; no rebuild comes past it"}),
              Findings());

    ASSERT_EQ("", machine.RemoveProperty(kRAIDVolume, "IOBootDevice"));
    EXPECT_EQ((TLines{"problem disk2s3: the Mac started from it, but the driver lists no boot members of it"}),
              Findings());
}

TEST_F(HalvorixStatus, TheFirmwareMustStartAHelperOfTheStartUpVolume)
{
    const auto setBootDevice = [this](const std::string& value) {
        EXPECT_EQ("", machine.SetDeviceTreeProperty("/options", "boot-device", plist::TValue::String(value)));
    };
    const std::string disk = "/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@1/@0:";
    setBootDevice(disk + "3,\\\\:tbxi");
    EXPECT_EQ(TLines{}, Findings());

    setBootDevice(disk + "2,\\\\:tbxi");
    EXPECT_EQ(
        (TLines{"problem firmware: it starts from disk1s2, which is no boot helper of the start-up volume disk2s3"}),
        Findings());
    setBootDevice("/nothing,\\\\:tbxi");
    EXPECT_EQ((TLines{"problem firmware: it starts from no disk that is there, which is no boot helper of the start-up "
                      "volume disk2s3"}),
              Findings());
}

TEST_F(HalvorixStatus, VolumesWithOneIdentityAreMarked)
{
    ASSERT_EQ("", machine.AddMedium("disk2s4", "disk2", 1000000, false));
    ASSERT_EQ("", machine.AddVolume("disk2s4", "Copy"));
    EXPECT_EQ(TLines{}, Findings());

    ASSERT_EQ("", machine.SetVolumeProperty("disk2s4", "UUID",
                                            plist::TValue::String(VolumeText(machine, kRAIDVolume, "UUID"))));
    std::string output;
    EXPECT_EQ("exited 1", RunStatus({}, &output));
    EXPECT_NE(std::string::npos, output.find("-666E5A51B02B, the same as disk2s4\n"));
    EXPECT_NE(std::string::npos, output.find("-666E5A51B02B, the same as disk2s3\n"));
    EXPECT_NE(std::string::npos, output.find("problem: disk2s3: it has the same identity as disk2s4\n"));

    // A volume that is none of the RAID driver's is not compared.
    ASSERT_EQ("", machine.RemoveMedium("disk2s4"));
    ASSERT_EQ("", machine.SetVolumeProperty(kBackup, "UUID",
                                            plist::TValue::String(VolumeText(machine, kRAIDVolume, "UUID"))));
    EXPECT_EQ(TLines{}, Findings());
}

TEST_F(HalvorixStatus, WithoutTheRAIDDriverThereIsNoVolume)
{
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ("problem volumes: there is no RAID volume", Findings().at(0));
}

// Python's reader, since nobody here wrote it.
TEST_F(HalvorixStatus, AProgramReadsTheJSON)
{
    ASSERT_EQ("", machine.AddMedium("disk2s4", "disk2", 1000000, false));
    ASSERT_EQ("", machine.AddVolume("disk2s4", "\"\\ \t \xC3\xA9"));
    ASSERT_EQ("", machine.UnmountVolume(kSecondHelper));
    std::string json;
    EXPECT_EQ("exited 3", RunStatus({"--json"}, &json));

    std::string output;
    std::string errors;
    EXPECT_EQ("exited 0", RunToEnd({"/host/usr/bin/python3", "python3", "-c", R"(if True:
        import json, sys
        status = json.loads(sys.argv[1])
        first, copy = status["volumes"]
        helpers = [member["helper"] for member in first["members"]]
        print(status["exitStatus"], first["disk"], first["name"], first["isStartUpVolume"], ascii(copy["name"]))
        print([(h["disk"], h["version"], h["rootUUIDIsVolumes"], h["missingFiles"], h["isBootDevice"]) for h in helpers])
        print(status["firmware"]["starts"], status["daemon"])
        print([(finding["kind"], finding["about"]) for finding in status["findings"]])
        )",
                                    json},
                                   &output, &errors));
    EXPECT_EQ("3 disk2s3 Macintosh RAID True '\"\\\\ \\t \\xe9'\n"
              "[('disk0s3', '10.5.8', True, [], True), ('disk1s3', None, None, None, False)]\n"
              "disk2s3 {'running': 1, 'socketAnswers': True}\n"
              "[('unchecked', 'disk1s3')]\n",
              output);
    EXPECT_EQ("", errors);
}

TEST_F(HalvorixStatus, ArgumentsThatItDoesNotKnowAreRefused)
{
    std::string output;
    std::string errors;
    EXPECT_EQ("exited 2", RunStatus({"--json", "--xml"}, &output, &errors));
    EXPECT_EQ("", output);
    EXPECT_EQ("halvorixstatus: there is no option --xml; --help lists those that there are\n", errors);

    EXPECT_EQ("exited 0", RunStatus({"--help"}, &output, &errors));
    EXPECT_NE(std::string::npos, output.find("usage: halvorixstatus [--json]\n"));
    EXPECT_EQ("exited 0", RunStatus({"--version"}, &output, &errors));
    EXPECT_EQ(0u, output.rfind("halvorixstatus 1.", 0)) << output;
}

// The daemon, which no test above has started

using StatusOfTheDaemon = TRunningBootDaemonTest;

TEST_F(StatusOfTheDaemon, OnceItHasRebuiltTheHelpersAllIsWell)
{
    ASSERT_NO_FATAL_FAILURE(StartDaemon(2));
    Handle({1, 2}, kRAIDVolume);
    for (const char* const helper : {kFirstHelper, kSecondHelper})
        ASSERT_EQ("", machine.MountVolume(helper, {"rdonly"}));

    std::string output;
    EXPECT_EQ("exited 0", RunStatus({}, &output)) << output;
    EXPECT_NE(std::string::npos, output.find("\ndaemon: running, its socket answers\n"));
}

TEST_F(StatusOfTheDaemon, ItIsMissedAndSoIsALoginThatItWaitsFor)
{
    std::string output;
    EXPECT_EQ("exited 1", RunStatus({}, &output));
    EXPECT_NE(std::string::npos, output.find("\ndaemon: not running, its socket does not answer\n"));
    EXPECT_NE(std::string::npos, output.find("\nproblem: daemon: it does not run\n  start halvorixd as root\n"));

    TRunningProgram waiting(DaemonCommand(), NoLeakCheckAtExit());
    ASSERT_TRUE(WaitUntil([&] {
        RunStatus({}, &output);
        return output.find("\ndaemon: running, its socket does not answer\n") != std::string::npos;
    }));
    EXPECT_NE(std::string::npos, output.find("\nproblem: daemon: it waits until somebody logs in,"));
    EndDaemon(&waiting);
}

}   // namespace
