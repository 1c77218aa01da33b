#include "platform/CatalogInfo.h"

#include "platform/FinderInformation.h"
#include "platform/Objects.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

static const FSCatalogInfoBitmap kKnown = kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoContentMod |
                                          kFSCatInfoFinderInfo | kFSCatInfoDataSizes | kFSCatInfoRsrcSizes;
static const FSCatalogInfoBitmap kKnownToSet = kFSCatInfoContentMod | kFSCatInfoFinderInfo;

// From 1904 to 1970.
static const std::int64_t kSecondsFrom1904 = 2082844800;

// HFS Plus hands out space in such blocks on all but small disks.
static const std::uint64_t kAllocationBlock = 4096;

static OSErr Check(const char* function, FSCatalogInfoBitmap whichInfo, FSCatalogInfoBitmap allowed,
                   FSCatalogInfoBitmap known)
{
    if ((whichInfo & ~allowed) != 0)
        return errFSBadInfoBitmap;
    if ((whichInfo & ~known) != 0)
        Die("%s: the fields 0x%lx are not stood in for", function, static_cast<unsigned long>(whichInfo & ~known));
    return noErr;
}

OSErr CheckGettable(const char* function, FSCatalogInfoBitmap whichInfo)
{
    return Check(function, whichInfo, kFSCatInfoGettableInfo, kKnown);
}

static UTCDateTime DateOf(std::int64_t seconds)
{
    const auto since1904 = static_cast<std::uint64_t>(seconds + kSecondsFrom1904);
    UTCDateTime date = {};
    date.highSeconds = static_cast<UInt16>(since1904 >> 32);
    date.lowSeconds = static_cast<UInt32>(since1904 & 0xffffffff);
    return date;
}

static std::uint64_t InBlocks(std::uint64_t size)
{
    return (size + kAllocationBlock - 1) / kAllocationBlock * kAllocationBlock;
}

// The name of a volume's root is the volume's own, whatever it is mounted as.
static std::string NameOf(const TItem& item)
{
    for (const TMount& mount : Mounts()) {
        TVolume volume;
        if (mount.path == item.path && FindVolume(mount.bsdName, &volume))
            return volume.name;
    }
    std::string name = item.path.substr(item.path.rfind('/') + 1);
    std::replace(name.begin(), name.end(), ':', '/');
    return name;
}

static void FillInfo(const TItem& item, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info)
{
    if ((whichInfo & kFSCatInfoNodeFlags) != 0)
        info->nodeFlags = item.isFolder ? kFSNodeIsDirectoryMask : 0;
    if ((whichInfo & kFSCatInfoVolume) != 0)
        info->volume = item.volume;
    if ((whichInfo & kFSCatInfoContentMod) != 0)
        info->contentModDate = DateOf(item.modified);
    if ((whichInfo & kFSCatInfoFinderInfo) != 0)
        ReadFinderInfo(item.path, item.isFolder, info->finderInfo);
    if ((whichInfo & kFSCatInfoDataSizes) != 0) {
        info->dataLogicalSize = item.size;
        info->dataPhysicalSize = InBlocks(item.size);
    }
    if ((whichInfo & kFSCatInfoRsrcSizes) != 0) {
        info->rsrcLogicalSize = item.isFolder ? 0 : ResourceForkSize(item.path);
        info->rsrcPhysicalSize = InBlocks(info->rsrcLogicalSize);
    }
}

void Describe(const TItem& item, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info, HFSUniStr255* name)
{
    if (info != nullptr)
        FillInfo(item, whichInfo, info);
    if (name != nullptr)
        SetName(NameOf(item), name);
}

// The folder that the item stands in. A volume's root stands in none.
static FSRef ParentOf(const TItem& item)
{
    TItem parent;
    if (item.path == "/" || IsVolumeRoot(item.path) || LookAt(FolderOf(item.path), item.volume, &parent) != noErr)
        return FSRef{};
    return ReferenceTo(parent);
}

static OSErr SetDate(const std::string& path, const UTCDateTime& date)
{
    const std::int64_t seconds = (static_cast<std::int64_t>(date.highSeconds) << 32) + date.lowSeconds;
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(seconds - kSecondsFrom1904);
    if (utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
        return ErrorOfSystem();
    return noErr;
}

}   // namespace platform

using namespace platform;

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* info, HFSUniStr255* name,
                       FSSpecPtr spec, FSRef* parent)
{
    if (spec != nullptr)
        Die("FSGetCatalogInfo: an FSSpec is not stood in for");
    OSErr error = CheckGettable("FSGetCatalogInfo", whichInfo);
    TItem item;
    if (error == noErr)
        error = Find(ref, &item);
    if (error != noErr)
        return error;
    Describe(item, whichInfo, info, name);
    if (parent != nullptr)
        *parent = ParentOf(item);
    return noErr;
}

OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo* info)
{
    if (info == nullptr)
        return errFSMissingCatInfo;
    OSErr error = Check("FSSetCatalogInfo", whichInfo, kFSCatInfoSettableInfo, kKnownToSet);
    TItem item;
    if (error == noErr)
        error = Find(ref, &item);
    // The date last: the companion file of an item without attributes changes its folder.
    if (error == noErr && (whichInfo & kFSCatInfoFinderInfo) != 0)
        error = WriteFinderInfo(item.path, item.isFolder, info->finderInfo);
    if (error == noErr && (whichInfo & kFSCatInfoContentMod) != 0)
        error = SetDate(item.path, info->contentModDate);
    return error;
}
