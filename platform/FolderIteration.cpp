#include "platform/CatalogInfo.h"
#include "platform/Counts.h"
#include "platform/FinderInformation.h"
#include "platform/Objects.h"

#include <algorithm>
#include <dirent.h>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

using namespace platform;

struct OpaqueFSIterator
{
    bool intoFolders = false;
    FSVolumeRefNum volume = 0;
    std::vector<std::string> pending;   // paths that are still to come, the next one last
};

namespace {

struct TIterators
{
    std::mutex lock;   // held while one of them works
    std::set<FSIterator> open;
};

TIterators& AllIterators()
{
    static auto* const gIterators = new TIterators;
    return *gIterators;
}

std::vector<std::string> NamesIn(const std::string& folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(folder.c_str()), closedir);
    while (const dirent* const entry = opened ? readdir(opened.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && !IsCompanion(folder, name))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void Enter(FSIterator iterator, const std::string& folder)
{
    const std::vector<std::string> names = NamesIn(folder);
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        iterator->pending.push_back((folder == "/" ? "" : folder) + "/" + *name);
}

// Takes the next item that is still there. Returns false when there are no more.
bool TakeNext(FSIterator iterator, TItem* item)
{
    while (!iterator->pending.empty()) {
        const std::string path = iterator->pending.back();
        iterator->pending.pop_back();
        if (LookAt(path, iterator->volume, item) != noErr)
            continue;
        if (item->isFolder && iterator->intoFolders && !IsVolumeRoot(path))
            Enter(iterator, path);
        return true;
    }
    return false;
}

}   // namespace

OSErr FSOpenIterator(const FSRef* container, FSIteratorFlags flags, FSIterator* iterator)
{
    if (iterator == nullptr)
        return paramErr;
    if ((flags & ~static_cast<FSIteratorFlags>(kFSIterateSubtree | kFSIterateDelete)) != 0)
        return errFSBadIteratorFlags;
    if ((flags & kFSIterateDelete) != 0)
        return errFSIteratorNotSupported;
    TItem folder;
    const OSErr error = Find(container, &folder);
    if (error != noErr)
        return error;
    if (!folder.isFolder)
        return errFSNotAFolder;

    auto* const opened = new OpaqueFSIterator;
    opened->intoFolders = (flags & kFSIterateSubtree) != 0;
    opened->volume = folder.volume;
    Enter(opened, folder.path);
    TIterators& all = AllIterators();
    const std::lock_guard<std::mutex> hold(all.lock);
    all.open.insert(opened);
    CountObject(+1);
    *iterator = opened;
    return noErr;
}

OSErr FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximum, ItemCount* actual, Boolean* containerChanged,
                           FSCatalogInfoBitmap whichInfo, FSCatalogInfo* infos, FSRef* refs, FSSpecPtr specs,
                           HFSUniStr255* names)
{
    if (actual == nullptr)
        return paramErr;
    *actual = 0;
    if (specs != nullptr)
        Die("FSGetCatalogInfoBulk: an FSSpec is not stood in for");
    if (maximum == 0)
        return errFSBadItemCount;
    const OSErr error = CheckGettable("FSGetCatalogInfoBulk", whichInfo);
    if (error != noErr)
        return error;
    TIterators& all = AllIterators();
    const std::lock_guard<std::mutex> hold(all.lock);
    if (all.open.count(iterator) == 0)
        return errFSIteratorNotFound;

    if (containerChanged != nullptr)
        *containerChanged = 0;
    TItem item;
    for (; *actual < maximum && TakeNext(iterator, &item); ++*actual) {
        Describe(item, whichInfo, infos != nullptr ? &infos[*actual] : nullptr,
                 names != nullptr ? &names[*actual] : nullptr);
        if (refs != nullptr)
            refs[*actual] = ReferenceTo(item);
    }
    if (*actual < maximum)
        return errFSNoMoreItems;
    return noErr;
}

OSErr FSCloseIterator(FSIterator iterator)
{
    TIterators& all = AllIterators();
    const std::lock_guard<std::mutex> hold(all.lock);
    if (all.open.erase(iterator) == 0)
        return errFSIteratorNotFound;
    CountObject(-1);
    delete iterator;
    return noErr;
}
