#include "services/BootDevice.h"

#include "foundation/CFTypes.h"    // CFTypeAs, CreatePropertyListFromBytes, ExtractASCII
#include "foundation/CStrings.h"   // AppendText, StoreCString
#include "foundation/ScopedCFType.h"
#include "services/BootMembers.h"
#include "services/ChildProcess.h"
#include "services/IORegistry.h"   // GetIOKitObjectWithBSDName
#include "services/NearestProperties.h"
#include "services/ScopedIOObject.h"
#include "services/VolumePaths.h"   // GetVolumePathnameWithBSDName

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Room for a path, which is what Apple's PATH_MAX says.
static const std::size_t kPathSize = 1024;

static const char kDeviceFolder[] = "/dev/";

// Room for a BSD name.
static const UInt32 kNameSize = 32;

io_object_t GetIOKitObjectWithOpenFirmwarePath(const char* openFirmwarePath)
{
    const CFMutableDictionaryRef matching = IOOpenFirmwarePathMatching(kIOMasterPortDefault, 0, openFirmwarePath);
    if (matching == nullptr)
        return 0;
    return IOServiceGetMatchingService(kIOMasterPortDefault, matching);
}

UInt32 GetBootPath(char* buffer, UInt32 bufferSize)
{
    if (buffer == nullptr)
        return 0;
    memset(buffer, 0, bufferSize);
    // One byte less is offered than there is, and none of one or none.
    if (bufferSize < 2)
        return 0;
    const TScopedIOObject options(IORegistryEntryFromPath(kIOMasterPortDefault, "IODeviceTree:/options"));
    if (!options)
        return 0;
    const TScopedCFType device(
        IORegistryEntryCreateCFProperty(options.Get(), CFSTR("boot-device"), kCFAllocatorDefault, 0));
    return ExtractASCII(device.Get(), buffer, bufferSize - 1);
}

UInt32 SetBootPath(const char* openFirmwarePath)
{
    static const char kPlane[] = "IODeviceTree:";
    const std::size_t planeLength = sizeof kPlane - 1;
    const char* const path =
        strncmp(openFirmwarePath, kPlane, planeLength) == 0 ? openFirmwarePath + planeLength : openFirmwarePath;

    char variable[1056] = "boot-device=";
    // A path that is cut would have the Mac start from elsewhere.
    if (!AppendText(variable, path, sizeof variable) || !AppendText(variable, ",\\\\:tbxi", sizeof variable))
        return 0;
    const char* const arguments[] = {"nvram", variable, nullptr};
    return RunAndTellSuccess({"/usr/sbin/nvram", arguments, kKeepUser, kKeepOutput, kExitWithZero});
}

// Runs bless to set what an option and its value say.
static UInt32 SetBoot(const char* option, const char* value)
{
    const char* const arguments[] = {"bless", option, value, "-setBoot", nullptr};
    return RunAndTellSuccess({"/usr/sbin/bless", arguments, kKeepUser, kKeepOutput, kExitWithZero});
}

UInt32 SetBootDeviceWithBSD_Name(const char* bsdName)
{
    char device[kPathSize];
    StoreCString(device, kDeviceFolder, sizeof device);
    AppendText(device, bsdName, sizeof device);
    return SetBoot("-device", device);
}

UInt32 SetBootVolumeWithVolumePathname(const char* volumePath)
{
    static const char kSystemFolder[] = "System/Library/CoreServices";
    // Behind the longest path there is room for the slash and the folder: a folder that is cut may be another one.
    char folder[kPathSize + sizeof kSystemFolder];
    StoreCString(folder, volumePath, kPathSize);
    if (strcmp(volumePath, "/") != 0)
        AppendText(folder, "/", sizeof folder);
    AppendText(folder, kSystemFolder, sizeof folder);
    return SetBoot("-folder", folder);
}

UInt32 SetBootVolumeWithBSD_Name(const char* bsdName)
{
    char volumePath[kPathSize];
    if (!GetVolumePathnameWithBSDName(bsdName, volumePath, sizeof volumePath))
        return 0;
    return SetBootVolumeWithVolumePathname(volumePath);
}

// Makes a property list of the first piece of what a child prints. Null when there is none.
static CFPropertyListRef CreatePropertyListFromOutput(TChildProcess* child)
{
    char output[2048] = {};
    const std::size_t count = child->Read(output, sizeof output);
    if (count == 0)
        return nullptr;
    return CreatePropertyListFromBytes(reinterpret_cast<const UInt8*>(output), static_cast<CFIndex>(count));
}

// Reads the boot volume's device, "/dev/disk2s3", from what bless printed.
static bool ExtractBootVolume(CFPropertyListRef list, char* device, UInt32 capacity)
{
    const auto info = CFTypeAs<CFDictionaryRef>(list, CFDictionaryGetTypeID());
    return info != nullptr && ExtractASCII(CFDictionaryGetValue(info, CFSTR("Boot Volume")), device, capacity);
}

UInt32 GetBootVolumeBSD_Name(char* buffer, UInt32 bufferSize)
{
    if (buffer != nullptr)
        memset(buffer, 0, bufferSize);
    const char* const arguments[] = {"bless", "-info", "-getBoot", "-plist", nullptr};
    TChildProcess bless;
    if (bless.Start({"/usr/sbin/bless", arguments, kKeepUser, kPipeOutput, kReturnToCaller}) != kChildStarted)
        return 0;
    const TScopedCFType list(CreatePropertyListFromOutput(&bless));
    // To the end, or bless would block on a full pipe and be waited for for ever.
    bless.DiscardOutput();
    if (!bless.WaitForSuccess())
        return 0;

    char device[kNameSize] = {};
    if (!ExtractBootVolume(list.Get(), device, sizeof device))
        return 0;
    if (buffer != nullptr && strlen(device) > strlen(kDeviceFolder))
        StoreCString(buffer, device + strlen(kDeviceFolder), bufferSize);
    return 1;
}

// How far from a RAID member's partition its boot helper partition is, by the map that an entry stands on.
// returns  false when the map is not known
static bool FindDistanceOfBootPartition(io_object_t partition, long* distance)
{
    const TScopedCFType property(CreateNearestProperty(partition, CFSTR("Content Mask")));
    const auto map = CFTypeAs<CFStringRef>(property.Get(), CFStringGetTypeID());
    if (map == nullptr)
        return false;
    *distance = CFStringCompare(map, CFSTR("GUID_partition_scheme"), 0) == kCFCompareEqualTo ? 1 : -1;
    return true;
}

void GetBSDSliceNumberForAppleBootPartition(io_object_t partition, char* bsdName)
{
    long distance = 0;
    if (!FindDistanceOfBootPartition(partition, &distance))
        return;
    char* const separator = strrchr(bsdName, 's');
    if (separator == nullptr)
        return;
    // Unsigned, since a number that fills a long may wrap but must not trap.
    const unsigned long number = static_cast<unsigned long>(atol(separator + 1)) + static_cast<unsigned long>(distance);
    sprintf(separator + 1, "%ld", static_cast<long>(number));
}

void SetBootDeviceForBootRootVolume(const char* bsdName)
{
    const TScopedIOObject volume(GetIOKitObjectWithBSDName(bsdName));
    if (!volume)
        return;
    const TScopedCFType members(CreateBootMemberList(volume.Get()));
    if (!members || CFArrayGetCount(members.Get()) == 0)
        return;
    char partition[kBootHelperNameSize];
    if (FindBootHelperPartition(CFArrayGetValueAtIndex(members.Get(), 0), partition))
        SetBootDeviceWithBSD_Name(partition);
}
