#include "platform/FinderInformation.h"

#include "platform/FileReferences.h"
#include "platform/MachineFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace platform {

static const char kAttribute[] = "user.com.apple.FinderInfo";
static const char kResourceFork[] = "user.com.apple.ResourceFork";
static const size_t kSize = 32;
static const size_t kHalf = 16;

// The file that holds the information where the host keeps no attributes. The root has no name to call it by.
static std::string CompanionOf(const std::string& path)
{
    const std::string folder = FolderOf(path);
    return (folder == "/" ? "" : folder) + "/._" + path.substr(path.rfind('/') + 1);
}

// The information as a Mac's disk has it: big-endian.
static std::string ReadStored(const std::string& path)
{
    char bytes[kSize];
    const ssize_t size = lgetxattr(path.c_str(), kAttribute, bytes, sizeof bytes);
    std::string stored;
    if (size >= 0) {
        stored.assign(bytes, static_cast<size_t>(size));
    } else {
        const TDescriptor companion(open(CompanionOf(path).c_str(), O_RDONLY | O_CLOEXEC));
        if (companion)
            stored = ReadWholeFile(companion.Get());
    }
    stored.resize(kSize);
    return stored;
}

static OSErr WriteStored(const std::string& path, const std::string& stored)
{
    if (lsetxattr(path.c_str(), kAttribute, stored.data(), stored.size(), 0) == 0)
        return noErr;
    // EPERM: a symbolic link keeps none, whatever the file system.
    if (errno != ENOTSUP && errno != EPERM)
        return ErrorOfSystem();
    if (!ReplaceFileAt(CompanionOf(path), stored))
        return ErrorOfSystem();
    return noErr;
}

// From a Mac's disk to the host's numbers; the other way is the same.
static void SwapFields(bool isFolder, UInt8 info[kHalf])
{
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    size_t done = 0;
    // A file begins with its type and creator, of four bytes each. All else is of two.
    for (; !isFolder && done < 8; done += 4)
        std::reverse(info + done, info + done + 4);
    for (; done < kHalf; done += 2)
        std::swap(info[done], info[done + 1]);
#else
    static_cast<void>(isFolder);
    static_cast<void>(info);
#endif
}

void ReadFinderInfo(const std::string& path, bool isFolder, UInt8 info[16])
{
    memcpy(info, ReadStored(path).data(), kHalf);
    SwapFields(isFolder, info);
}

OSErr WriteFinderInfo(const std::string& path, bool isFolder, const UInt8 info[16])
{
    UInt8 half[kHalf];
    memcpy(half, info, kHalf);
    SwapFields(isFolder, half);
    std::string stored = ReadStored(path);
    memcpy(stored.data(), half, kHalf);
    return WriteStored(path, stored);
}

std::uint64_t ResourceForkSize(const std::string& path)
{
    const ssize_t size = lgetxattr(path.c_str(), kResourceFork, nullptr, 0);
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

bool IsCompanion(const std::string& folder, const std::string& name)
{
    if (name.compare(0, 2, "._") != 0)
        return false;
    const std::string described = folder + "/" + name.substr(2);
    struct stat info;
    return lstat(described.c_str(), &info) == 0;
}

}   // namespace platform
