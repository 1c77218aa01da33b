#include "services/FinderVisibility.h"

#include <cstddef>
#include <cstring>

// Where the flags stand in the Finder information of files and folders alike, in the host's byte order.
static const std::size_t kFinderFlagsOffset = offsetof(FileInfo, finderFlags);

static UInt16 ReadFinderFlags(const FSCatalogInfo& info)
{
    UInt16 flags = 0;
    memcpy(&flags, info.finderInfo + kFinderFlagsOffset, sizeof flags);
    return flags;
}

static void WriteFinderFlags(UInt16 flags, FSCatalogInfo* info)
{
    memcpy(info->finderInfo + kFinderFlagsOffset, &flags, sizeof flags);
}

// Gets what there is to know before an item is changed: whether it is a folder, its date, and the folder that it is in.
static bool GetNodeAndParent(const FSRef* item, FSCatalogInfo* info, FSRef* parent)
{
    return FSGetCatalogInfo(item, kFSCatInfoNodeFlags | kFSCatInfoContentMod, info, nullptr, nullptr, parent) == noErr;
}

// Puts the date into the future by the least there is.
static void AddOneSecond(UTCDateTime* date)
{
    ++date->lowSeconds;
    if (date->lowSeconds == 0)
        ++date->highSeconds;
}

UInt32 BumpDateWithFSRef(const FSRef* item)
{
    FSCatalogInfo info = {};
    FSRef parent = {};
    if (!GetNodeAndParent(item, &info, &parent))
        return 0;

    const UTCDateTime old = info.contentModDate;
    if (UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTimeGetCurrent(), &info.contentModDate) != noErr)
        return 0;
    if (info.contentModDate.highSeconds == old.highSeconds && info.contentModDate.lowSeconds == old.lowSeconds)
        AddOneSecond(&info.contentModDate);
    if (FSSetCatalogInfo(item, kFSCatInfoContentMod, &info) != noErr)
        return 0;
    const bool isFolder = (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
    return FNNotify(isFolder ? item : &parent, kFNDirectoryModifiedMessage, kNilOptions) == noErr;
}

UInt32 MakeDirectoryOrFileInisible(const char* pathname, Boolean invisible)
{
    FSRef item = {};
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(pathname), &item, nullptr) != noErr)
        return 0;
    // The Finder information is written whole, so it is needed whole.
    FSCatalogInfo info = {};
    if (FSGetCatalogInfo(&item, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr) != noErr)
        return 0;
    FSRef parent = {};
    if (!GetNodeAndParent(&item, &info, &parent))
        return 0;

    const UInt16 flags = ReadFinderFlags(info);
    // Making it visible clears all the others, by contract.
    WriteFinderFlags(static_cast<UInt16>(invisible ? flags | kIsInvisible : flags & kIsInvisible), &info);
    if (FSSetCatalogInfo(&item, kFSCatInfoFinderInfo, &info) != noErr)
        return 0;
    return BumpDateWithFSRef(&parent);
}
