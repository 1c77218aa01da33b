#include "platform/WatchedFile.h"

#include "platform/MachineFolder.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace platform {

static bool IsSameMoment(const timespec& one, const timespec& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool TWatchedFile::IsUnchanged() const
{
    struct stat now = {};
    if (stat(fPath.c_str(), &now) != 0)
        now = {};
    return now.st_ino == fInfo.st_ino && now.st_dev == fInfo.st_dev && now.st_size == fInfo.st_size &&
           IsSameMoment(now.st_mtim, fInfo.st_mtim) && IsSameMoment(now.st_ctim, fInfo.st_ctim);
}

// As long as a file is mapped its inode's number is not used again, so another file cannot be taken for it. A descriptor
// would do the same, but the process would be seen to hold it.
void TWatchedFile::Pin(int file)
{
    if (fPinned != nullptr)
        munmap(fPinned, fPinnedSize);
    fPinned = nullptr;
    fPinnedSize = static_cast<std::size_t>(fInfo.st_size);
    if (file < 0 || fPinnedSize == 0)
        return;
    void* const memory = mmap(nullptr, fPinnedSize, PROT_NONE, MAP_PRIVATE, file, 0);
    fPinned = memory != MAP_FAILED ? memory : nullptr;
}

bool TWatchedFile::Refresh()
{
    if (fRead && IsUnchanged())
        return false;
    fRead = true;
    fInfo = {};
    fText.clear();
    const TDescriptor file(open(fPath.c_str(), O_RDONLY | O_CLOEXEC));
    if (file) {
        // Before the text: what changes while it is read is read once more.
        if (fstat(file.Get(), &fInfo) != 0)
            fInfo = {};
        fText = ReadWholeFile(file.Get());
    }
    Pin(file.Get());
    return true;
}

}   // namespace platform
