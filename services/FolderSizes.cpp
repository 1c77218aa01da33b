#include "services/FolderSizes.h"

#include "foundation/Status.h"

#include <cstring>
#include <memory>
#include <new>

static const ItemCount kItemsAtATime = 256;

// An iterator over a whole tree, closed at the end of a scope.
class TTreeIterator
{
public:
    explicit TTreeIterator(const FSRef* folder) : fStatus(FSOpenIterator(folder, kFSIterateSubtree, &fIterator)) {}
    ~TTreeIterator()
    {
        if (fStatus == noErr)
            FSCloseIterator(fIterator);
    }

    TTreeIterator(const TTreeIterator&) = delete;
    TTreeIterator& operator=(const TTreeIterator&) = delete;

    OSErr Status() const { return fStatus; }

    // Gets the fork sizes of the next items, as many as there is room for.
    OSErr NextItems(FSCatalogInfo* items, ItemCount* count) const
    {
        return FSGetCatalogInfoBulk(fIterator, kItemsAtATime, count, nullptr, kFSCatInfoDataSizes | kFSCatInfoRsrcSizes,
                                    items, nullptr, nullptr, nullptr);
    }

private:
    FSIterator fIterator = nullptr;
    OSErr fStatus;
};

static UInt64 SizeOfItem(const FSCatalogInfo& item, Boolean physicalSizes)
{
    if ((item.nodeFlags & kFSNodeIsDirectoryMask) != 0)
        return 0;
    return physicalSizes ? item.dataPhysicalSize + item.rsrcPhysicalSize : item.dataLogicalSize + item.rsrcLogicalSize;
}

OSStatus FolderSize(UInt64* totalBytes, const FSRef* folder, Boolean physicalSizes)
{
    const std::unique_ptr<FSCatalogInfo[]> items(new (std::nothrow) FSCatalogInfo[kItemsAtATime]);
    if (items == nullptr)
        return kStatusOutOfMemory;
    const TTreeIterator tree(folder);
    if (tree.Status() != noErr)
        return tree.Status();

    UInt64 total = 0;
    for (;;) {
        // What is not asked for, as the flags, and sizes that folders do not have must not be left from items before.
        memset(items.get(), 0, kItemsAtATime * sizeof items[0]);
        ItemCount count = 0;
        const OSErr status = tree.NextItems(items.get(), &count);
        if (status != noErr)
            return status;
        if (count == 0)
            break;
        for (ItemCount i = 0; i < count; ++i)
            total += SizeOfItem(items[i], physicalSizes);
    }
    *totalBytes = total;
    return noErr;
}
