// The mounted volumes, by number and by index.

#include "platform/FileReferences.h"
#include "platform/Objects.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <mutex>
#include <set>
#include <sys/statvfs.h>

using namespace platform;

namespace {

// The volume is mounted where its mount says. While one is unmounted, its mount may be read and its root be gone.
struct TMounted
{
    TMount mount;
    TItem root;
};

std::vector<TMounted> MountedVolumes()
{
    std::vector<TMounted> volumes;
    for (const TMount& mount : Mounts()) {
        TMounted volume = {mount, {}};
        if (LookAt(mount.path, static_cast<FSVolumeRefNum>(mount.number), &volume.root) == noErr)
            volumes.push_back(volume);
    }
    return volumes;
}

// By index, from 1, or else by number.
bool FindMounted(FSVolumeRefNum number, ItemCount index, TMounted* found)
{
    const std::vector<TMounted> volumes = MountedVolumes();
    if (index != 0) {
        if (index > volumes.size())
            return false;
        *found = volumes[index - 1];
        return true;
    }
    const auto volume = std::find_if(volumes.begin(), volumes.end(),
                                     [number](const TMounted& one) { return one.mount.number == number; });
    if (volume == volumes.end())
        return false;
    *found = *volume;
    return true;
}

// The volume's own name; its mount point's may have a number behind it.
std::string NameOf(const TMount& mount)
{
    TVolume volume;
    if (FindVolume(mount.bsdName, &volume))
        return volume.name;
    return mount.path.substr(mount.path.rfind('/') + 1);
}

OSErr FillInfo(const TMount& mount, FSVolumeInfoBitmap whichInfo, FSVolumeInfo* info)
{
    if ((whichInfo & kFSVolInfoSizes) != 0) {
        struct statvfs host;
        if (statvfs(mount.path.c_str(), &host) != 0)
            return ErrorOfSystem();
        info->totalBytes = static_cast<UInt64>(host.f_blocks) * host.f_frsize;
        info->freeBytes = static_cast<UInt64>(host.f_bavail) * host.f_frsize;
    }
    if ((whichInfo & kFSVolInfoFSInfo) != 0) {
        TVolume volume;
        const bool isHFSPlus = FindVolume(mount.bsdName, &volume) && volume.kind == "hfs";
        info->filesystemID = 0;
        info->signature = isHFSPlus ? 0x482b : 0;   // "H+"
    }
    return noErr;
}

// A C string that is never freed.
void* KeptForever(const std::string& text)
{
    static auto* const gLock = new std::mutex;
    static auto* const gTexts = new std::set<std::string>;
    const std::lock_guard<std::mutex> hold(*gLock);
    return const_cast<char*>(gTexts->insert(text).first->c_str());
}

// Where a field of GetVolParmsInfoBuffer ends: on a Mac of 32 bits, by which a request is counted, and here.
struct TFieldEnd
{
    SInt32 onMac;
    std::size_t here;
};

const TFieldEnd kFieldEnds[] = {
    {2, offsetof(GetVolParmsInfoBuffer, vMAttrib)},
    {6, offsetof(GetVolParmsInfoBuffer, vMLocalHand)},
    {10, offsetof(GetVolParmsInfoBuffer, vMServerAdr)},
    {14, offsetof(GetVolParmsInfoBuffer, vMVolumeGrade)},
    {18, offsetof(GetVolParmsInfoBuffer, vMForeignPrivID)},
    {20, offsetof(GetVolParmsInfoBuffer, vMExtendedAttributes)},
    {24, offsetof(GetVolParmsInfoBuffer, vMDeviceID)},
    {28, offsetof(GetVolParmsInfoBuffer, vMMaxNameLength)},
    {32, sizeof(GetVolParmsInfoBuffer)},
};

OSErr GetVolParms(HIOParam* parameters)
{
    TMounted volume;
    if (parameters->ioBuffer == nullptr)
        return paramErr;
    if (!FindMounted(parameters->ioVRefNum, 0, &volume))
        return nsvErr;

    GetVolParmsInfoBuffer all = {};
    all.vMVersion = 5;   // the first with a vMMaxNameLength
    all.vMDeviceID = KeptForever(volume.mount.bsdName);
    all.vMMaxNameLength = 255;
    TFieldEnd end = {0, 0};
    for (const TFieldEnd& field : kFieldEnds) {
        if (field.onMac <= parameters->ioReqCount)
            end = field;
    }
    memcpy(parameters->ioBuffer, &all, end.here);
    parameters->ioActCount = end.onMac;
    return noErr;
}

}   // namespace

OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actualVolume,
                      FSVolumeInfoBitmap whichInfo, FSVolumeInfo* info, HFSUniStr255* volumeName, FSRef* rootDirectory)
{
    const FSVolumeInfoBitmap known = kFSVolInfoSizes | kFSVolInfoFSInfo;
    if ((whichInfo & ~static_cast<FSVolumeInfoBitmap>(kFSVolInfoGettableInfo)) != 0)
        return errFSBadInfoBitmap;
    if ((whichInfo & ~known) != 0)
        Die("FSGetVolumeInfo: the fields 0x%lx are not stood in for", static_cast<unsigned long>(whichInfo & ~known));
    TMounted found;
    if (!FindMounted(volume, index, &found))
        return nsvErr;

    const OSErr error = info != nullptr ? FillInfo(found.mount, whichInfo, info) : OSErr{noErr};
    if (error != noErr)
        return error;
    if (actualVolume != nullptr)
        *actualVolume = found.root.volume;
    if (volumeName != nullptr)
        SetName(NameOf(found.mount), volumeName);
    if (rootDirectory != nullptr)
        *rootDirectory = ReferenceTo(found.root);
    return noErr;
}

OSErr PBHGetVolParmsSync(HParmBlkPtr block)
{
    if (block == nullptr)
        return paramErr;
    if (block->ioParam.ioNamePtr != nullptr)
        Die("PBHGetVolParmsSync: a volume is not found by its name");
    const OSErr error = GetVolParms(&block->ioParam);
    block->ioParam.ioResult = error;
    return error;
}
