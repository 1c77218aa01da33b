#include "daemon/BootEvents.h"

#include "daemon/BootHelperPartitions.h"
#include "daemon/SystemVersionProbe.h"   // SystemIsNewerThan
#include "daemon/VolumeRegistry.h"       // HasVolumeIDProperty
#include "services/BootDevice.h"         // SetBootDeviceForBootRootVolume, SetBootVolumeWithBSD_Name
#include "services/IORegistry.h"         // GetIOKitObjectWithBSDName
#include "services/ScopedIOObject.h"
#include "services/VolumePaths.h"   // ExtractBSDNameFromVolumeName, GetVolumePathnameWithBSDName

#include <cstring>

static bool SystemStartsFromBootHelperPartitions()
{
    return SystemIsNewerThan(kHighestBefore10_5, "/");
}

void CheckBootHelperPartitionsAtStartup()
{
    if (!SystemStartsFromBootHelperPartitions())
        return;
    char bsdName[16];
    if (!ExtractBSDNameFromVolumeName("/", bsdName, sizeof bsdName))
        return;
    const TScopedIOObject volume(GetIOKitObjectWithBSDName(bsdName));
    if (volume && TVolumeRegistry::HasVolumeIDProperty(volume.Get()))
        EnableOwnershipOnBootHelperPartitions("/");
}

void HandleBootDriverEvent(THXDaemonTool* tool, const TDriverEventRecord* record)
{
    char bsdName[sizeof record->bsdName + 1] = {};
    memcpy(bsdName, record->bsdName, sizeof record->bsdName);
    if (record->type == kDriverEventUpdateBootFiles)
        UpdateBootFilesForVolume(tool, bsdName);
    else if (record->type == kDriverEventSelectBootVolume)
        SelectBootVolume(tool, bsdName);
}

void UpdateBootFilesForVolume(THXDaemonTool*, const char* bsdName)
{
    if (!SystemStartsFromBootHelperPartitions())
        return;
    char volumePath[1024];
    if (GetVolumePathnameWithBSDName(bsdName, volumePath, sizeof volumePath))
        UpdateBootHelperPartitions(volumePath);
}

void SelectBootVolume(THXDaemonTool*, const char* bsdName)
{
    if (SystemStartsFromBootHelperPartitions())
        SetBootDeviceForBootRootVolume(bsdName);
    else
        SetBootVolumeWithBSD_Name(bsdName);
}
