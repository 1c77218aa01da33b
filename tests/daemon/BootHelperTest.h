// What tests of boot helper partitions need: where they are, what is on them, and what was run for them.

#ifndef HALVORIX_TESTS_DAEMON_BOOTHELPERTEST_H
#define HALVORIX_TESTS_DAEMON_BOOTHELPERTEST_H

#include "platform/PropertyList.h"
#include "tests/support/MachineTest.h"

#include <set>
#include <string>
#include <unistd.h>
#include <vector>

// The start-up volume of the machine, which is a RAID volume; its boot members' helper partitions, in their order; and a
// volume that is mounted at /Volumes/Backup.
constexpr const char* kRAIDVolume = "disk2s3";
constexpr const char* kFirstHelper = "disk0s3";
constexpr const char* kSecondHelper = "disk1s3";
constexpr const char* kBackup = "disk3s3";

// The argument vector of a tool, joined by blanks: those here hold none but "Boot OSX".
std::string Joined(const std::vector<std::string>& arguments);

// The tools that were run, in their order, joined likewise.
std::vector<std::string> ToolsRun(const lab::TMachine& machine);

// The last of them; empty when there was none.
std::string LastToolRun(const lab::TMachine& machine);

// Those of them whose program has this name.
std::vector<std::string> RunsOf(const lab::TMachine& machine, const std::string& tool);

// A string of volume.plist; empty when there is none.
std::string VolumeText(const lab::TMachine& machine, const std::string& bsdName, const std::string& key);

// Everything below a folder, each path relative to it; folders end with a slash.
std::set<std::string> FilesBelow(const std::string& folder);
std::set<std::string> FilesOn(const lab::TMachine& machine, const std::string& bsdName);

// A file's bytes; "(missing)" when it is not there.
std::string FileText(const std::string& path);

// A string in a property list of a file; empty when it is not there.
std::string TextInList(const std::string& path, const std::string& key);

// What a helper partition holds once it is filled.
std::set<std::string> FilesOfFilledHelper();

// Where such a partition has the boot preferences.
constexpr const char* kBootPreferences =
    "com.apple.boot.S/Library/Preferences/SystemConfiguration/com.apple.Boot.plist";

// Copies from the start-up volume what a helper partition is filled with onto another volume or into a folder, whose
// system is then of this version.
void InstallBootableSystem(const lab::TMachine& machine, const std::string& folder, const std::string& version);

// The list of members as the driver publishes it, of these paths.
plist::TValue MemberList(const std::vector<std::string>& paths);

class TBootHelperTest : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever waits for ever fails at once, and not when the whole run is given up.
        alarm(290);
        for (const char* const helper : {kFirstHelper, kSecondHelper}) {
            ASSERT_EQ("", machine.MountPath(helper));
            ASSERT_EQ("", machine.WriteText(std::string("volumes/") + helper + "/files/Old", "old"));
        }
    }

    // Nothing was done to it.
    bool IsUntouched(const std::string& bsdName) const
    {
        return FilesOn(machine, bsdName).count("Old") == 1 && machine.MountPath(bsdName).empty();
    }

    // It was erased, and neither filled nor left mounted.
    bool IsErasedAndEmpty(const std::string& bsdName) const
    {
        return FilesOn(machine, bsdName).empty() && VolumeText(machine, bsdName, "Name") == "Boot OSX" &&
               machine.MountPath(bsdName).empty();
    }

    bool IsFilled(const std::string& bsdName) const
    {
        return FilesOn(machine, bsdName) == FilesOfFilledHelper() &&
               VolumeText(machine, bsdName, "Name") == "Boot OSX" && machine.MountPath(bsdName).empty();
    }

    std::string RootUUIDOn(const std::string& bsdName) const
    {
        return TextInList(machine.VolumeFiles(bsdName) + "/" + kBootPreferences, "Root UUID");
    }
};

#endif
