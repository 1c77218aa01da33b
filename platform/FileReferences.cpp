#include "platform/FileReferences.h"

#include "platform/Text.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <vector>

namespace platform {

// What a reference's bytes hold. Host, order and widths are this process's: a reference goes nowhere else.
struct TFileReference
{
    UInt32 mark;   // tells a reference from bytes that are none
    SInt32 volume;
    std::uint64_t device;
    std::uint64_t inode;
    std::uint64_t path;   // its place in the table of paths
};
static_assert(sizeof(TFileReference) <= sizeof(FSRef::hidden));

static const UInt32 kMark = 0x46537266;

// Every path that a reference was made for. References are never given back, so neither are their paths.
struct TPaths
{
    std::mutex lock;
    std::map<std::string, std::uint64_t> places;
    std::vector<const std::string*> paths;
};

static TPaths& AllPaths()
{
    static auto* const gPaths = new TPaths;
    return *gPaths;
}

static std::uint64_t PlaceOf(const std::string& path)
{
    TPaths& all = AllPaths();
    const std::lock_guard<std::mutex> hold(all.lock);
    const auto added = all.places.emplace(path, all.paths.size());
    if (added.second)
        all.paths.push_back(&added.first->first);
    return added.first->second;
}

static bool PathAt(std::uint64_t place, std::string* path)
{
    TPaths& all = AllPaths();
    const std::lock_guard<std::mutex> hold(all.lock);
    if (place >= all.paths.size())
        return false;
    *path = *all.paths[static_cast<size_t>(place)];
    return true;
}

static bool Read(const FSRef* ref, TFileReference* reference)
{
    if (ref == nullptr)
        return false;
    memcpy(reference, ref->hidden, sizeof *reference);
    return reference->mark == kMark;
}

OSErr ErrorOfSystem()
{
    switch (errno) {
    case ENOENT:
    case ENOTDIR:
        return fnfErr;
    case EACCES:
    case EPERM:
        return afpAccessDenied;
    case ENAMETOOLONG:
        return errFSNameTooLong;
    case EROFS:
        return wPrErr;
    default:
        return ioErr;
    }
}

OSErr LookAt(const std::string& path, FSVolumeRefNum volume, TItem* item)
{
    // Not stat: tests make that fail for the product.
    struct stat info = {};
    if (lstat(path.c_str(), &info) != 0)
        return ErrorOfSystem();
    item->path = path;
    item->volume = volume;
    item->device = info.st_dev;
    item->inode = info.st_ino;
    item->isFolder = S_ISDIR(info.st_mode);
    item->size = item->isFolder ? 0 : static_cast<std::uint64_t>(info.st_size);
    item->modified = info.st_mtime;
    return noErr;
}

OSErr Find(const FSRef* ref, TItem* item)
{
    TFileReference reference;
    std::string path;
    if (!Read(ref, &reference) || !PathAt(reference.path, &path))
        return errFSBadFSRef;
    TItem found;
    const OSErr error = LookAt(path, static_cast<FSVolumeRefNum>(reference.volume), &found);
    if (error != noErr)
        return error;
    if (found.device != reference.device || found.inode != reference.inode)
        return fnfErr;
    *item = found;
    return noErr;
}

FSRef ReferenceTo(const TItem& item)
{
    TFileReference reference = {};
    reference.mark = kMark;
    reference.volume = item.volume;
    reference.device = item.device;
    reference.inode = item.inode;
    reference.path = PlaceOf(item.path);
    FSRef ref = {};
    memcpy(ref.hidden, &reference, sizeof reference);
    return ref;
}

static bool IsAtOrBelow(const std::string& path, const std::string& above)
{
    if (above == "/" || path == above)
        return true;
    return path.size() > above.size() && path.compare(0, above.size(), above) == 0 && path[above.size()] == '/';
}

FSVolumeRefNum VolumeOfPath(const std::string& path)
{
    const TMount* nearest = nullptr;
    const std::vector<TMount> mounts = Mounts();
    for (const TMount& mount : mounts) {
        if (IsAtOrBelow(path, mount.path) && (nearest == nullptr || mount.path.size() > nearest->path.size()))
            nearest = &mount;
    }
    if (nearest == nullptr)
        return kFSInvalidVolumeRefNum;
    return static_cast<FSVolumeRefNum>(nearest->number);
}

bool IsVolumeRoot(const std::string& path)
{
    const std::vector<TMount> mounts = Mounts();
    return std::any_of(mounts.begin(), mounts.end(), [&](const TMount& mount) { return mount.path == path; });
}

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

void SetName(const std::string& text, HFSUniStr255* name)
{
    std::u16string units;
    if (!Decode(text, kCFStringEncodingUTF8, &units))
        Decode(text, kCFStringEncodingMacRoman, &units);
    *name = {};
    name->length = static_cast<std::uint16_t>(std::min<size_t>(units.size(), 255));
    std::copy_n(units.begin(), name->length, name->unicode);
}

}   // namespace platform

using namespace platform;

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory)
{
    if (path == nullptr || ref == nullptr)
        return paramErr;
    char resolved[PATH_MAX];
    if (realpath(reinterpret_cast<const char*>(path), resolved) == nullptr)
        return ErrorOfSystem();
    TItem item;
    const OSErr error = LookAt(resolved, VolumeOfPath(resolved), &item);
    if (error != noErr)
        return error;
    *ref = ReferenceTo(item);
    if (isDirectory != nullptr)
        *isDirectory = item.isFolder;
    return noErr;
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 size)
{
    if (path == nullptr)
        return paramErr;
    TItem item;
    const OSErr error = Find(ref, &item);
    if (error != noErr)
        return error;
    if (item.path.size() >= size)
        return pathTooLongErr;
    memcpy(path, item.path.c_str(), item.path.size() + 1);
    return noErr;
}

OSErr FSCompareFSRefs(const FSRef* one, const FSRef* other)
{
    TFileReference first;
    TFileReference second;
    if (!Read(one, &first) || !Read(other, &second))
        return errFSBadFSRef;
    if (first.volume != second.volume)
        return diffVolErr;
    if (first.device != second.device || first.inode != second.inode)
        return errFSRefsDifferent;
    return noErr;
}
