// Every call that the daemon makes about one boot helper partition, failing once.

#include "tests/sweep/BootSweepTest.h"
#include "daemon/BootHelperFiles.h"
#include "daemon/BootHelperPartitions.h"
#include "foundation/ScopedCFType.h"
#include "services/VolumeUUIDs.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

TEST_F(SweptBoot, APartitionCountsAsFormattedUnlessNothingCouldBeForked)
{
    TOperation("FormatBootHelperPartition",
               [] { return Text(FormatBootHelperPartition(kHelper, "Boot OSX", kFileSystemHFSPlus, 0)); })
        .Showing([this] { return StateOf(kHelper); })
        .After([this] { Reset(kHelper); })
        .Gives("1 empty")
        .GivesOnFailureOf("fork", "0 old")
        .GivesOnFailureOf("execv", "1 old")
        .DespiteFailureOf({"close", "dup2", "fcntl", "pipe", "read", "waitpid"})
        .Sweep();
}

TEST_F(SweptBoot, PreferencesThatCannotBeReadStayAndOnesThatCannotBeWrittenAreGone)
{
    static const char kFrom[] = "/Library/Preferences/SystemConfiguration/com.apple.Boot.plist";
    static const char kPlist[] = "/tmp/com.apple.Boot.plist";
    const TScopedCFType uuid(CreateVolumeCFUUID_WithBSD_Name(kVolume));
    TOperation("SetRootUUIDInBootPlist", [&] { return Text(SetRootUUIDInBootPlist(uuid.Get(), kPlist)); })
        .Showing([] {
            std::ostringstream text;
            text << std::ifstream(kPlist).rdbuf();
            if (!fs::exists(kPlist))
                return "gone";
            return text.str().find("Root UUID") != std::string::npos ? "set" : "as it was";
        })
        .After([] { fs::copy_file(kFrom, kPlist, fs::copy_options::overwrite_existing); })
        .Gives("1 set")
        .GivesOnFailure("0 as it was")
        .GivesOnFailureOf("CFPropertyListCreateXMLData", "0 gone")
        .GivesOnFailureOf("CFURLWriteDataAndPropertiesToResource", "0 gone")
        .DespiteFailureOf({"CFURLDestroyResource"})
        .Sweep();
}

// A folder in the place of a mounted helper partition.
static const char kTarget[] = "/tmp/helper";

TEST_F(SweptBoot, AHelperIsFilledUpToTheFirstStepThatFails)
{
    TOperation("PopulateBootHelperPartition", [] { return Text(PopulateBootHelperPartition("/", kTarget)); })
        .Showing([] {
            return fs::exists(std::string(kTarget) + "/com.apple.boot.S/System/Library/Extensions.mkext") ? "full"
                                                                                                          : "part";
        })
        .After([] {
            fs::remove_all(kTarget);
            fs::create_directories(kTarget);
        })
        .Gives("1 full")
        .GivesOnFailure("0 part")
        // A copy that cannot be executed counts as made; without the preferences' file the rest is not made.
        .GivesOnFailureOf("execv", "0 part", kByChild, 4)
        .GivesOnFailureOf("execv", "1 part", kByChild, 5)
        .DespiteFailureOf({"execv"})
        // The last file is there, but nobody could tell.
        .GivesOnFailureOf("waitpid", "0 full", kByCaller, 5)
        .DespiteFailureOf({"CFURLDestroyResource"})
        .RunAgainAtTheEnd()
        .Sweep();
}

TEST_F(SweptBoot, ARebuildAnswers1WhateverFails)
{
    TOperation("RebuildBootHelperPartition", [] { return Text(RebuildBootHelperPartition(kHelper, "/")); })
        .Showing([this] { return StateOf(kHelper); })
        .After([this] { Reset(kHelper); })
        .Gives("1 full")
        .GivesOnFailure("1 part")
        .DespiteFailureOf({"CFURLDestroyResource", "IOObjectRelease", "close", "dup2", "fcntl", "pipe", "setuid"})
        // What cannot be formatted: not forked, it is left alone; not executed, it is filled all the same.
        .GivesOnFailureOf("fork", "1 old", kByCaller, 1)
        .GivesOnFailureOf("execv", "1 old", kByChild, 1)
        // What cannot be mounted.
        .GivesOnFailureOf("DASessionCreate", "1 empty", kByCaller, 1)
        .GivesOnFailureOf("DADiskCreateFromBSDName", "1 empty", kByCaller, 1)
        .GivesOnFailureOf("DADiskCopyIOMedia", "1 empty", kByCaller, 1)
        .GivesOnFailureOf("DADiskMountWithArguments", "1 empty")
        // Whose mount path is not found.
        .GivesOnFailureOf("DASessionCreate", "1 empty, mounted", kByCaller, 2)
        .GivesOnFailureOf("DADiskCreateFromBSDName", "1 empty, mounted", kByCaller, 2)
        .GivesOnFailureOf("DADiskCopyDescription", "1 empty, mounted", kByCaller, 1)
        .GivesOnFailureOf("CFURLGetFileSystemRepresentation", "1 empty, mounted", kByCaller, 1)
        // What cannot be given to root, and a source whose version is not known.
        .GivesOnFailureOf("chown", "1 empty")
        .GivesOnFailureOf("CFDataCreate", "1 empty")
        .GivesOnFailureOf("CFPropertyListCreateFromXMLData", "1 empty", kByCaller, 1)
        .GivesOnFailureOf("CFStringGetCString", "1 empty")
        .GivesOnFailureOf("open", "1 empty")
        .GivesOnFailureOf("operator new[] nothrow", "1 empty")
        .GivesOnFailureOf("stat", "1 empty")
        .GivesOnFailureOf("read", "1 empty", kByCaller, 3)
        .DespiteFailureOf({"read"})   // what formatting printed
        .GivesOnFailureOf("mkdir", "1 empty", kByCaller, 1)
        // Nobody looks how formatting and vsdbutil ended, and a copy that cannot be executed counts as made.
        .GivesOnFailureOf("fork", "1 full", kByCaller, 2)
        .GivesOnFailureOf("waitpid", "1 full", kByCaller, 1)
        .GivesOnFailureOf("waitpid", "1 full", kByCaller, 2)
        .GivesOnFailureOf("waitpid", "1 full", kByCaller, 7)
        .GivesOnFailureOf("execv", "1 part", kByChild, 6)   // without the file, its preferences cannot be set
        .GivesOnFailureOf("execv", "1 part", kByChild, 7)   // this is the last file
        .GivesOnFailureOf("execv", "1 full")
        // What cannot be unmounted.
        .GivesOnFailureOf("DASessionCreate", "1 full, mounted", kByCaller, 4)
        .GivesOnFailureOf("DADiskCreateFromBSDName", "1 full, mounted", kByCaller, 4)
        .GivesOnFailureOf("DADiskCopyIOMedia", "1 full, mounted", kByCaller, 2)
        .GivesOnFailureOf("DADiskUnmount", "1 full, mounted")
        .RunAgainAtTheEnd()
        .Sweep();
}
