#include "services/VolumePaths.h"

#include "foundation/CFTypes.h"    // CFTypeAs
#include "foundation/CStrings.h"   // AppendText, StoreCString
#include "foundation/ScopedCFType.h"
#include "services/IORegistry.h"   // NumberBytesOnDisk

#include <DiskArbitration/DiskArbitration.h>
#include <cstring>

// What a call for the parameters of a volume asks for, as it was in 10.0: the device's name and nothing behind it.
static const SInt32 kRequestedParameters = 32;

// Makes a reference to what has this path or, when nothing has, to the volume of that name.
static bool FindVolume(const char* volumeNameOrPath, FSRef* root)
{
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(volumeNameOrPath), root, nullptr) == noErr)
        return true;
    char path[1024] = "/Volumes/";
    if (!AppendText(path, volumeNameOrPath, sizeof path))
        return false;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path), root, nullptr) == noErr;
}

// Finds the mounted volume with this root folder.
static bool FindVolumeWithRoot(const FSRef& root, FSVolumeRefNum* volume)
{
    // Volumes are numbered from 1 on without a gap; the first number that fails is behind the last.
    for (ItemCount index = 1;; ++index) {
        FSVolumeInfo info = {};
        HFSUniStr255 name = {};
        FSRef candidate = {};
        if (FSGetVolumeInfo(kFSInvalidVolumeRefNum, index, volume, kFSVolInfoSizes | kFSVolInfoFSInfo, &info, &name,
                            &candidate) != noErr)
            return false;
        if (FSCompareFSRefs(&candidate, &root) == noErr)
            return true;
    }
}

UInt32 ExtractBSDNameFromVolumeName(const char* volumeNameOrPath, char* bsdName, size_t bsdNameSize)
{
    memset(bsdName, 0, bsdNameSize);
    FSRef root = {};
    FSVolumeRefNum volume = 0;
    if (!FindVolume(volumeNameOrPath, &root) || !FindVolumeWithRoot(root, &volume))
        return 0;

    GetVolParmsInfoBuffer parameters = {};
    HParamBlockRec block = {};
    block.ioParam.ioVRefNum = volume;
    block.ioParam.ioBuffer = reinterpret_cast<Ptr>(&parameters);
    block.ioParam.ioReqCount = kRequestedParameters;
    if (PBHGetVolParmsSync(&block) != noErr)
        return 0;
    // A volume from a server has no device.
    if (parameters.vMDeviceID == nullptr)
        return 0;
    StoreCString(bsdName, static_cast<const char*>(parameters.vMDeviceID), static_cast<UInt32>(bsdNameSize));
    return 1;
}

UInt32 GetVolumePathnameWithBSDName(const char* bsdName, char* pathBuffer, CFIndex pathBufferSize)
{
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    if (!session)
        return 0;
    const TScopedCFType disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), bsdName));
    if (!disk)
        return 0;
    const TScopedCFType description(DADiskCopyDescription(disk.Get()));
    if (!description)
        return 0;

    const auto path =
        CFTypeAs<CFURLRef>(CFDictionaryGetValue(description.Get(), kDADiskDescriptionVolumePathKey), CFURLGetTypeID());
    if (path == nullptr)
        return 0;
    return CFURLGetFileSystemRepresentation(path, true, reinterpret_cast<UInt8*>(pathBuffer), pathBufferSize);
}

UInt64 NumberBytesInVolumeIOMedia(const char* volumeNameOrPath)
{
    char bsdName[1024] = {};
    if (!ExtractBSDNameFromVolumeName(volumeNameOrPath, bsdName, sizeof bsdName))
        return 0;
    return NumberBytesOnDisk(bsdName);
}
