// A file that others replace now and then.

#ifndef HALVORIX_PLATFORM_WATCHEDFILE_H
#define HALVORIX_PLATFORM_WATCHEDFILE_H

#include <string>
#include <sys/stat.h>

namespace platform {

class TWatchedFile
{
public:
    explicit TWatchedFile(std::string path) : fPath(std::move(path)) {}
    TWatchedFile(const TWatchedFile&) = delete;
    TWatchedFile& operator=(const TWatchedFile&) = delete;

    // Reads the file if it is not the one that was read last. Returns whether it read; a file that is gone is empty.
    // A file that was replaced by rename is noticed always; one that was written in place, by its time and size.
    bool Refresh();

    const std::string& Text() const { return fText; }

private:
    bool IsUnchanged() const;
    void Pin(int file);

    const std::string fPath;
    std::string fText;
    bool fRead = false;
    struct stat fInfo = {};   // of the file that was read; all zero when there was none
    void* fPinned = nullptr;
    std::size_t fPinnedSize = 0;
};

}   // namespace platform

#endif
