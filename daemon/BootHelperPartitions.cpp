#include "daemon/BootHelperPartitions.h"

#include "daemon/BootHelperFiles.h"      // PopulateBootHelperPartition
#include "daemon/SystemVersionProbe.h"   // SystemIsNewerThan
#include "foundation/CStrings.h"         // AppendText
#include "foundation/ScopedCFType.h"
#include "services/BootMembers.h"
#include "services/ChildProcess.h"
#include "services/ExternalTools.h"   // EnableOwnershipAndPermissions
#include "services/IORegistry.h"      // GetIOKitObjectWithBSDName
#include "services/KextCache.h"       // UpdateAppleBootPartitionsMKextCacheForVolume
#include "services/ScopedIOObject.h"
#include "services/VolumeOperations.h"   // MountVolume, UnmountVolume
#include "services/VolumePaths.h"        // ExtractBSDNameFromVolumeName, GetVolumePathnameWithBSDName

#include <cerrno>
#include <cstddef>
#include <unistd.h>

static const CFIndex kPathCapacity = 1024;

// The tool's path, and its arguments with a null behind the last.
struct TFormatCommand
{
    const char* path;
    const char* arguments[7];
};

// An empty path for an unknown file system: there is nothing to run.
static TFormatCommand MakeFormatCommand(UInt32 fileSystemKind, bool journaled, const char* name, const char* device)
{
    static const char kHFSTool[] = "/sbin/newfs_hfs";
    switch (fileSystemKind) {
    case kFileSystemHFSPlus:
        if (journaled)
            return {kHFSTool, {"newfs_hfs", "-J", "8MB", "-v", name, device}};
        return {kHFSTool, {"newfs_hfs", "-v", name, device}};
    case kFileSystemHFSPlusCaseSensitive:
        // Here the journal is given no size, by contract.
        if (journaled)
            return {kHFSTool, {"newfs_hfs", "-J", "-s", "-v", name, device}};
        return {kHFSTool, {"newfs_hfs", "-s", "-v", name, device}};
    case kFileSystemUFS:
        return {"/sbin/newfs", {"newfs", "-v", name, device}};
    default:
        return {"", {}};
    }
}

UInt32 FormatBootHelperPartition(const char* bsdName, const char* volumeName, UInt32 fileSystemKind, UInt32 journaled)
{
    char device[16] = "/dev/r";
    AppendText(device, bsdName, sizeof device);
    const TFormatCommand command = MakeFormatCommand(fileSystemKind, journaled != 0, volumeName, device);

    TChildProcess child;
    const EExecutionFailure onFailure = command.path[0] == 0 ? kExitWithOne : kExitWithZero;
    if (child.Start({command.path, command.arguments, kKeepUser, kPipeOutput, onFailure}) != kChildStarted)
        return 0;
    child.DiscardOutput();
    child.Wait(nullptr);
    return 1;
}

// Gives the partition's root folder to root.
static bool TakeOwnership(const char* path)
{
    return chown(path, 0, 0) == 0 || errno == ENOTSUP;
}

UInt32 RebuildBootHelperPartition(const char* bsdName, const char* sourcePath)
{
    if (!FormatBootHelperPartition(bsdName, "Boot OSX", kFileSystemHFSPlus, 0))
        return 1;
    char path[kPathCapacity] = {};
    if (!MountVolume(bsdName, 0) || !GetVolumePathnameWithBSDName(bsdName, path, kPathCapacity))
        return 1;

    EnableOwnershipAndPermissions(path);
    if (TakeOwnership(path) && SystemIsNewerThan(kHighestBefore10_5, sourcePath))
        PopulateBootHelperPartition(sourcePath, path);
    UnmountVolume(bsdName, 0);
    return 1;
}

// Makes the list of a volume's boot members, which the caller releases. Null when there is none.
static CFArrayRef CreateMemberListOfVolume(const char* volumePath)
{
    char bsdName[32];
    if (!ExtractBSDNameFromVolumeName(volumePath, bsdName, sizeof bsdName))
        return nullptr;
    const TScopedIOObject volume(GetIOKitObjectWithBSDName(bsdName));
    return volume ? CreateBootMemberList(volume.Get()) : nullptr;
}

// What is done to each boot helper partition of a volume.
//
// returns  0 to end the walk
typedef UInt32 (*TPartitionAction)(const char* bsdName, const char* sourcePath);

// Does it to one after the other, in the list's order.
//
// returns  whether it came to the end
static bool ForEachBootHelperPartition(const char* sourcePath, TPartitionAction action)
{
    const TScopedCFType members(CreateMemberListOfVolume(sourcePath));
    if (!members)
        return false;
    for (CFIndex i = 0; i < CFArrayGetCount(members.Get()); ++i) {
        char partition[kBootHelperNameSize];
        if (!FindBootHelperPartition(CFArrayGetValueAtIndex(members.Get(), i), partition) ||
            !action(partition, sourcePath))
            return false;
    }
    return true;
}

UInt32 UpdateBootHelperPartitions(const char* sourcePath)
{
    return ForEachBootHelperPartition(sourcePath, RebuildBootHelperPartition) &&
           UpdateAppleBootPartitionsMKextCacheForVolume(sourcePath) != 0;
}

static UInt32 EnableOwnershipOnPartition(const char* bsdName, const char*)
{
    char path[kPathCapacity] = {};
    if (!MountVolume(bsdName, 0) || !GetVolumePathnameWithBSDName(bsdName, path, kPathCapacity))
        return 0;
    EnableOwnershipAndPermissions(path);
    UnmountVolume(bsdName, 0);
    return 1;
}

UInt32 EnableOwnershipOnBootHelperPartitions(const char* sourcePath)
{
    return ForEachBootHelperPartition(sourcePath, EnableOwnershipOnPartition);
}
