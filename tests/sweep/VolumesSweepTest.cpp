// Every call that the functions of services/ for mounted volumes make, failing once.

#include "foundation/ScopedCFType.h"
#include "services/VolumeOperations.h"
#include "services/VolumePaths.h"
#include "services/VolumeUUIDs.h"
#include "tests/support/Faults.h"
#include "tests/sweep/Operation.h"

#include <cstring>

// A volume that is mounted at /Volumes/Backup, and a boot helper partition that is not mounted.
static const char kMounted[] = "disk3s3";
static const char kUnmounted[] = "disk0s3";

class SweptVolumes : public TMachineTest
{
protected:
    std::string PathOf(const char* bsdName) const { return machine.MountPath(bsdName); }

    void Mount(const char* bsdName)
    {
        if (PathOf(bsdName).empty()) {
            EXPECT_EQ("", machine.MountVolume(bsdName));
        }
    }

    void Unmount(const char* bsdName)
    {
        if (!PathOf(bsdName).empty()) {
            EXPECT_EQ("", machine.UnmountVolume(bsdName));
        }
    }
};

TEST_F(SweptVolumes, AVolumeThatCannotBeMountedIsReported)
{
    for (const UInt32 browsable : {1u, 0u}) {
        TOperation(browsable != 0 ? "MountVolume" : "MountVolume, hidden",
                   [browsable] { return Text(MountVolume(kUnmounted, browsable)); })
            .Showing([this] { return PathOf(kUnmounted); })
            .After([this] { Unmount(kUnmounted); })
            .Gives("1 /Volumes/Boot OSX")
            .GivesOnFailure("0 ")
            .DespiteFailureOf({"IOObjectRelease"})
            .Sweep();
    }
}

// Disk Arbitration refuses; then the path is looked for, with a session of its own. What comes of a look that fails.
static void GiveWhenTheLookFails(TOperation* operation, const std::string& result)
{
    operation->GivesOnFailureOf("DASessionCreate", result, kByCaller, 2)
        .GivesOnFailureOf("DADiskCreateFromBSDName", result, kByCaller, 2)
        .GivesOnFailureOf("DADiskCopyDescription", result)
        .GivesOnFailureOf("CFURLGetFileSystemRepresentation", result);
}

TEST_F(SweptVolumes, AVolumeThatIsMountedAlreadyIsMountedWhateverFails)
{
    TOperation mount("MountVolume of a mounted one", [] { return Text(MountVolume(kMounted, 1)); });
    mount.Gives("1").GivesOnFailure("1");
    GiveWhenTheLookFails(&mount, "0");
    mount.Sweep();
}

TEST_F(SweptVolumes, AVolumeThatCannotBeUnmountedIsReported)
{
    for (const UInt32 force : {0u, 1u}) {
        TOperation(force != 0 ? "UnmountVolume, by force" : "UnmountVolume",
                   [force] { return Text(UnmountVolume(kMounted, force)); })
            .Showing([this] { return PathOf(kMounted); })
            .After([this] { Mount(kMounted); })
            .Gives("1 ")
            .GivesOnFailure("0 /Volumes/Backup")
            .DespiteFailureOf({"IOObjectRelease"})
            .Sweep();
    }
}

TEST_F(SweptVolumes, BothWaysAreOneOperation)
{
    TOperation("MountOrUnmountVolume, mounting", [] { return Text(MountOrUnmountVolume(kUnmounted, 1, 1, 0)); })
        .After([this] { Unmount(kUnmounted); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
    TOperation("MountOrUnmountVolume, unmounting", [] { return Text(MountOrUnmountVolume(kMounted, 0, 0, 0)); })
        .After([this] { Mount(kMounted); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptVolumes, ARefusedUnmountLooksWhetherTheVolumeIsMounted)
{
    // Whatever fails behind the refusal reads as not mounted, which is what was wanted.
    ASSERT_EQ("", machine.SetRefusals(kMounted, "unmount busy\n"));
    TOperation unmount("UnmountVolume, refused", [] { return Text(UnmountVolume(kMounted, 0)); });
    unmount.Gives("0").GivesOnFailure("0");
    GiveWhenTheLookFails(&unmount, "1");
    unmount.Sweep();
}

// Sessions that were left behind, where a search for lost memory finds them.
static void KeepSession(const TCallWatch::TArguments& arguments)
{
    static auto* const sessions = new std::vector<long>;
    sessions->push_back(arguments[1]);
}

TEST_F(SweptVolumes, AVolumeThatCannotBeRenamedIsReported)
{
    const TCallWatch disks("DADiskCreateFromBSDName", KeepSession);
    // The session is left, and the medium is released twice, whenever it comes so far.
    static const std::string kSession = ", left 1 object";
    static const std::string kTwice = kSession + ", left 1 release of what was not held";
    fExpectedLeft = TOperation("RenameVolume", [] { return Text(RenameVolume(kMounted, "New")); })
                        .Showing([this] { return PathOf(kMounted); })
                        .After([this] {
                            if (PathOf(kMounted) != "/Volumes/Backup") {
                                EXPECT_EQ("", machine.RenameVolume(kMounted, "Backup"));
                            }
                        })
                        .Gives("1 /Volumes/New" + kTwice)
                        .GivesOnFailure("0 /Volumes/Backup")
                        .GivesOnFailureOf("DADiskCreateFromBSDName", "0 /Volumes/Backup" + kSession)
                        .GivesOnFailureOf("DADiskCopyIOMedia", "0 /Volumes/Backup" + kSession)
                        .GivesOnFailureOf("DADiskRename", "0 /Volumes/Backup" + kTwice)
                        .DespiteFailureOf({"IOObjectRelease"})
                        .Sweep();
}

// The result and the device's name, of a volume that is given by its path or its name.
static std::string DeviceOf(const char* volume)
{
    char name[16] = "before";
    const UInt32 result = ExtractBSDNameFromVolumeName(volume, name, sizeof name);
    return Text(result) + " " + name;
}

TEST_F(SweptVolumes, AVolumeWhoseDeviceCannotBeFoundHasNone)
{
    TOperation("ExtractBSDNameFromVolumeName", [] { return DeviceOf("/Volumes/Backup"); })
        .Gives("1 disk3s3")
        .GivesOnFailure("0 ")
        .GivesOnFailureOf("FSCompareFSRefs", "1 disk3s3", kByCaller, 1)   // another volume, as it is
        .Sweep();
    TOperation("ExtractBSDNameFromVolumeName by name", [] { return DeviceOf("Backup"); })
        .Gives("1 disk3s3")
        .GivesOnFailure("0 ")
        .GivesOnFailureOf("FSPathMakeRef", "1 disk3s3", kByCaller, 1)     // no path of anything, as it is
        .GivesOnFailureOf("FSCompareFSRefs", "1 disk3s3", kByCaller, 1)   // another volume, as it is
        .Sweep();
}

TEST_F(SweptVolumes, AVolumeWhosePathCannotBeFoundHasNone)
{
    TOperation("GetVolumePathnameWithBSDName",
               [] {
                   char path[1024] = "";
                   return std::string(GetVolumePathnameWithBSDName(kMounted, path, sizeof path) != 0 ? path : "0");
               })
        .Gives("/Volumes/Backup")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptVolumes, AMediumWhoseSizeCannotBeReadHasNone)
{
    const std::string size = Text(NumberBytesInVolumeIOMedia("/Volumes/Backup"));
    ASSERT_NE("0", size);
    TOperation("NumberBytesInVolumeIOMedia", [] { return Text(NumberBytesInVolumeIOMedia("/Volumes/Backup")); })
        .Gives(size)
        .GivesOnFailure("0")
        .GivesOnFailureOf("FSCompareFSRefs", size, kByCaller, 1)
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

static std::string Existence(CFUUIDRef uuid)
{
    const TScopedCFType holder(uuid);
    return holder ? "UUID" : "null";
}

TEST_F(SweptVolumes, AVolumeWhoseUUIDCannotBeFoundHasNone)
{
    TOperation("CreateVolumeCFUUID_WithBSD_Name", [] { return Existence(CreateVolumeCFUUID_WithBSD_Name(kMounted)); })
        .Gives("UUID")
        .GivesOnFailure("null")
        .Sweep();
    TOperation("CreateVolumeCFUUID", [] { return Existence(CreateVolumeCFUUID("/Volumes/Backup")); })
        .Gives("UUID")
        .GivesOnFailure("null")
        .GivesOnFailureOf("FSCompareFSRefs", "UUID", kByCaller, 1)
        .Sweep();
}
