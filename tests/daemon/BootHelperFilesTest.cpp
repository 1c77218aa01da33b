// Filling a boot helper partition: the steps, and what each of them leaves when it fails.

#include "daemon/BootHelperFiles.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/Faults.h"
#include "tests/support/VersionFiles.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

static const char kSourceFolder[] = "/Volumes/Backup/";
static const char kHelper[] = "/tmp/helper/";

static const char kPreferencesSource[] = "Library/Preferences/SystemConfiguration/com.apple.Boot.plist";

// One step: a folder is made, a file is copied, or (where nothing comes about) the volume's UUID is set.
struct TStep
{
    const char* makes;   // as FilesBelow tells it
    const char* from;    // null: a folder
};

static const TStep kSteps[] = {
    {"System/", nullptr},
    {"System/Library/", nullptr},
    {"System/Library/CoreServices/", nullptr},
    {"System/Library/CoreServices/boot.efi", "System/Library/CoreServices/boot.efi"},
    {"System/Library/CoreServices/SystemVersion.plist", "System/Library/CoreServices/SystemVersion.plist"},
    {"com.apple.boot.S/", nullptr},
    {"com.apple.boot.S/mach_kernel", "mach_kernel"},
    {"com.apple.boot.S/Library/", nullptr},
    {"com.apple.boot.S/Library/Preferences/", nullptr},
    {"com.apple.boot.S/Library/Preferences/SystemConfiguration/", nullptr},
    {kBootPreferences, kPreferencesSource},
    {"", nullptr},
    {"com.apple.boot.S/System/", nullptr},
    {"com.apple.boot.S/System/Library/", nullptr},
    {"com.apple.boot.S/System/Library/Extensions.mkext", "System/Library/Extensions.mkext"},
};

constexpr std::size_t kStepCount = sizeof kSteps / sizeof *kSteps;

static bool IsCopy(const TStep& step)
{
    return step.from != nullptr;
}

static bool IsUUID(const TStep& step)
{
    return *step.makes == 0;
}

static bool IsFolder(const TStep& step)
{
    return !IsCopy(step) && !IsUUID(step);
}

// What is there once the first so many steps are done.
static std::set<std::string> FilesAfter(std::size_t steps)
{
    std::set<std::string> files;
    for (std::size_t i = 0; i < steps; ++i) {
        if (!IsUUID(kSteps[i]))
            files.insert(kSteps[i].makes);
    }
    return files;
}

// A system on a volume that is no start-up volume, and an empty folder in the place of a helper partition.
class BootHelperFiles : public TBootHelperTest
{
protected:
    void SetUp() override
    {
        TBootHelperTest::SetUp();
        InstallBootableSystem(machine, kSourceFolder, "10.5.8");
        ASSERT_TRUE(fs::create_directory(kHelper));
    }

    UInt32 Populate() const { return PopulateBootHelperPartition(kSourceFolder, kHelper); }

    static void RemoveSource(const std::string& file) { EXPECT_TRUE(fs::remove(kSourceFolder + file)); }

    std::vector<std::string> Copies() const { return RunsOf(machine, "cp"); }
};

TEST_F(BootHelperFiles, AllIsThereAndNothingElse)
{
    EXPECT_EQ(1u, Populate());

    EXPECT_EQ(FilesOfFilledHelper(), FilesBelow(kHelper));
    EXPECT_EQ(FilesAfter(kStepCount), FilesBelow(kHelper));
    for (const TStep& step : kSteps) {
        if (IsCopy(step) && step.from != kPreferencesSource) {
            EXPECT_EQ(FileText(std::string(kSourceFolder) + step.from), FileText(std::string(kHelper) + step.makes));
        }
    }
}

TEST_F(BootHelperFiles, TheKernelsRootDeviceIsTheSourcesUUID)
{
    EXPECT_EQ(1u, Populate());

    EXPECT_EQ(VolumeText(machine, kBackup, "UUID"), TextInList(std::string(kHelper) + kBootPreferences, "Root UUID"));
    EXPECT_EQ(36u, TextInList(std::string(kHelper) + kBootPreferences, "Root UUID").size());
    EXPECT_EQ("", TextInList(std::string(kSourceFolder) + kPreferencesSource, "Root UUID"));
}

TEST_F(BootHelperFiles, TheStepsAreTakenInTheirOrder)
{
    std::vector<std::string> steps;
    const TCallWatch folders("mkdir", [&](const TCallWatch::TArguments& arguments) {
        EXPECT_EQ(0755, arguments[1]);
        steps.push_back(reinterpret_cast<const char*>(arguments[0]));
    });
    const TCallWatch copies("fork", [&](const TCallWatch::TArguments&) { steps.push_back("copy"); });
    const TCallWatch writes("CFURLWriteDataAndPropertiesToResource",
                            [&](const TCallWatch::TArguments&) { steps.push_back("UUID"); });
    EXPECT_EQ(1u, Populate());

    const std::string helper = kHelper;
    EXPECT_EQ((std::vector<std::string>{
                  helper + "System", helper + "System/Library", helper + "System/Library/CoreServices/", "copy", "copy",
                  helper + "com.apple.boot.S", "copy", helper + "com.apple.boot.S/Library",
                  helper + "com.apple.boot.S/Library/Preferences",
                  helper + "com.apple.boot.S/Library/Preferences/SystemConfiguration/", "copy", "UUID",
                  helper + "com.apple.boot.S/System", helper + "com.apple.boot.S/System/Library", "copy"}),
              steps);
    EXPECT_EQ(
        (std::vector<std::string>{
            "cp -rf /Volumes/Backup/System/Library/CoreServices/boot.efi /tmp/helper/System/Library/CoreServices/",
            "cp -rf /Volumes/Backup/System/Library/CoreServices/SystemVersion.plist "
            "/tmp/helper/System/Library/CoreServices/",
            "cp -rf /Volumes/Backup/mach_kernel /tmp/helper/com.apple.boot.S/",
            "cp -rf /Volumes/Backup/Library/Preferences/SystemConfiguration/com.apple.Boot.plist "
            "/tmp/helper/com.apple.boot.S/Library/Preferences/SystemConfiguration/",
            "cp -rf /Volumes/Backup/System/Library/Extensions.mkext /tmp/helper/com.apple.boot.S/System/Library/"}),
        ToolsRun(machine));
}

TEST_F(BootHelperFiles, FoldersAreForOwnersToWriteAndForAllToRead)
{
    EXPECT_EQ(1u, Populate());

    for (const TStep& step : kSteps) {
        if (!IsFolder(step))
            continue;
        struct stat info;
        ASSERT_EQ(0, stat((std::string(kHelper) + step.makes).c_str(), &info)) << step.makes;
        EXPECT_EQ(0755u, info.st_mode & 07777u) << step.makes;
    }
}

TEST_F(BootHelperFiles, ASlashAtTheEndOfAPathMakesNoDifference)
{
    EXPECT_EQ(1u, PopulateBootHelperPartition("/Volumes/Backup", "/tmp/helper"));
    const std::vector<std::string> copies = Copies();
    EXPECT_EQ(FilesOfFilledHelper(), FilesBelow(kHelper));
    fs::remove_all(kHelper);
    fs::create_directory(kHelper);

    EXPECT_EQ(1u, Populate());
    std::vector<std::string> both = copies;
    both.insert(both.end(), copies.begin(), copies.end());
    EXPECT_EQ(both, Copies());
}

TEST_F(BootHelperFiles, TheStartUpVolumeIsASourceLikeAnyOther)
{
    EXPECT_EQ(1u, PopulateBootHelperPartition("/", kHelper));

    EXPECT_EQ("cp -rf /System/Library/CoreServices/boot.efi /tmp/helper/System/Library/CoreServices/", Copies().at(0));
    EXPECT_EQ(VolumeText(machine, kRAIDVolume, "UUID"),
              TextInList(std::string(kHelper) + kBootPreferences, "Root UUID"));
}

// What fails

TEST_F(BootHelperFiles, TheFirstFolderThatCannotBeMadeIsTheEnd)
{
    unsigned folder = 0;
    for (std::size_t step = 0; step < kStepCount; ++step) {
        if (!IsFolder(kSteps[step]))
            continue;
        const TFault fault("mkdir", {-1, EIO}, ++folder);
        EXPECT_EQ(0u, Populate()) << kSteps[step].makes;

        EXPECT_EQ(FilesAfter(step), FilesBelow(kHelper));
        fs::remove_all(kHelper);
        fs::create_directory(kHelper);
    }
    EXPECT_EQ(9u, folder);
}

TEST_F(BootHelperFiles, TheFirstFileThatCannotBeCopiedIsTheEnd)
{
    // From the end, so that what was removed before is not missed.
    for (std::size_t step = kStepCount; step-- > 0;) {
        if (!IsCopy(kSteps[step]))
            continue;
        RemoveSource(kSteps[step].from);
        EXPECT_EQ(0u, Populate()) << kSteps[step].from;

        EXPECT_EQ(FilesAfter(step), FilesBelow(kHelper));
        fs::remove_all(kHelper);
        fs::create_directory(kHelper);
    }
}

TEST_F(BootHelperFiles, ACpThatFailsIsTheEnd)
{
    ASSERT_EQ("", machine.SetToolBehaviour("cp", "exit 1\n"));
    EXPECT_EQ(0u, Populate());

    EXPECT_EQ(FilesAfter(3), FilesBelow(kHelper));
    EXPECT_EQ(1u, Copies().size());
}

// So the end comes only where the preferences that should have been copied are to be changed.
TEST_F(BootHelperFiles, ACpThatASignalKillsOrThatIsMissingPassesForDone)
{
    ASSERT_EQ("", machine.SetToolBehaviour("cp", "signal 9\n"));
    EXPECT_EQ(0u, Populate());
    std::set<std::string> folders = FilesAfter(10);
    for (const TStep& step : kSteps) {
        if (IsCopy(step))
            folders.erase(step.makes);
    }
    EXPECT_EQ(folders, FilesBelow(kHelper));
    EXPECT_EQ(4u, Copies().size());
    fs::remove_all(kHelper);
    fs::create_directory(kHelper);

    ASSERT_EQ("", machine.SetToolMissing("cp", true));
    EXPECT_EQ(0u, Populate());
    EXPECT_EQ(folders, FilesBelow(kHelper));
}

TEST_F(BootHelperFiles, AVolumeWithoutAUUIDIsTheEndOnceThePreferencesAreCopied)
{
    ASSERT_EQ("", machine.RemoveVolumeProperty(kBackup, "UUID"));
    EXPECT_EQ(0u, Populate());

    EXPECT_EQ(FilesAfter(11), FilesBelow(kHelper));
    EXPECT_EQ("", TextInList(std::string(kHelper) + kBootPreferences, "Root UUID"));
}

TEST_F(BootHelperFiles, PreferencesThatAreNoDictionaryAreTheEnd)
{
    std::ofstream(std::string(kSourceFolder) + kPreferencesSource) << plist::Write(plist::TValue::Array());
    EXPECT_EQ(0u, Populate());

    EXPECT_EQ(FilesAfter(11), FilesBelow(kHelper));
}

TEST_F(BootHelperFiles, AFolderThatIsThereAlreadyIsAFailure)
{
    ASSERT_TRUE(fs::create_directory(std::string(kHelper) + "com.apple.boot.S"));
    EXPECT_EQ(0u, Populate());
    EXPECT_EQ(FilesAfter(6), FilesBelow(kHelper));

    EXPECT_EQ(0u, Populate()) << "System is there now";
    EXPECT_EQ(2u, Copies().size());
}

TEST_F(BootHelperFiles, AServersVersionFileTakesThePlaceOfASystems)
{
    WriteVersionFile(kSourceFolder, "ServerVersion.plist", VersionList("<string>10.5.8</string>"));
    RemoveSource("System/Library/CoreServices/SystemVersion.plist");
    EXPECT_EQ(1u, Populate());

    std::set<std::string> files = FilesOfFilledHelper();
    files.erase("System/Library/CoreServices/SystemVersion.plist");
    files.insert("System/Library/CoreServices/ServerVersion.plist");
    EXPECT_EQ(files, FilesBelow(kHelper));
}

TEST_F(BootHelperFiles, AServersVersionFileIsLeftAloneBesideASystems)
{
    WriteVersionFile(kSourceFolder, "ServerVersion.plist", VersionList("<string>10.5.8</string>"));
    EXPECT_EQ(1u, Populate());

    EXPECT_EQ(FilesOfFilledHelper(), FilesBelow(kHelper));
    EXPECT_EQ(5u, Copies().size());
}

TEST_F(BootHelperFiles, WithoutEitherVersionFileThatIsTheEnd)
{
    RemoveSource("System/Library/CoreServices/SystemVersion.plist");
    EXPECT_EQ(0u, Populate());

    EXPECT_EQ(FilesAfter(4), FilesBelow(kHelper));
    const std::vector<std::string> copies = Copies();
    ASSERT_EQ(3u, copies.size());
    EXPECT_NE(std::string::npos, copies[1].find("SystemVersion.plist"));
    EXPECT_NE(std::string::npos, copies[2].find("ServerVersion.plist"));
}

// A path of this many bytes; no folder has it, or this one when it is named with slashes.
static std::string LongPath(const std::string& folder, std::size_t bytes)
{
    return std::string(bytes - folder.size(), '/') + folder;
}

// The longest path on the helper is that of the boot preferences, 83 bytes with what is between; the path there must leave
// room for it and a NUL in 1,024.
TEST_F(BootHelperFiles, APathThatDoesNotFitIn1024BytesIsAFailureAndNotCut)
{
    const std::size_t room = 1023 - std::string(kBootPreferences).size();
    EXPECT_EQ(0u, PopulateBootHelperPartition(kSourceFolder, LongPath(kHelper, room + 1).c_str()));
    EXPECT_EQ(FilesAfter(11), FilesBelow(kHelper));
    fs::remove_all(kHelper);
    fs::create_directory(kHelper);

    EXPECT_EQ(1u, PopulateBootHelperPartition(kSourceFolder, LongPath(kHelper, room).c_str()));
}

// Without the slash at its end the folder's path would fit, and name the same folder.
TEST_F(BootHelperFiles, AFolderWhosePathHasNoRoomForItsSlashIsNotMade)
{
    const std::size_t room = 1023 - std::string("com.apple.boot.S/Library/Preferences/SystemConfiguration/").size();
    EXPECT_EQ(0u, PopulateBootHelperPartition(kSourceFolder, LongPath(kHelper, room + 1).c_str()));

    EXPECT_EQ(FilesAfter(9), FilesBelow(kHelper));
}

TEST_F(BootHelperFiles, AFolderWhosePathHasNoRoomIsNotMade)
{
    EXPECT_EQ(0u, PopulateBootHelperPartition(kSourceFolder, LongPath(kHelper, 1023).c_str()));
    EXPECT_EQ(0u, PopulateBootHelperPartition(kSourceFolder, LongPath(kHelper, 1024).c_str()));
    EXPECT_EQ(std::set<std::string>{}, FilesBelow(kHelper));

    EXPECT_EQ(0u, PopulateBootHelperPartition(LongPath(kSourceFolder, 1023).c_str(), kHelper));
    EXPECT_EQ(FilesAfter(3), FilesBelow(kHelper));
    EXPECT_TRUE(machine.ToolRuns().empty());
}
