#include "services/MergedFiles.h"

#include "services/ScopedDescriptor.h"
#include "services/WholeFiles.h"   // ReadWholeFile
#include <algorithm>

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

static const std::size_t kSizeLimit = 4096;

// Finds the size of an input. Returns false when there is no such file, or when it alone is too large: no sum overflows.
static bool FindSize(const char* path, std::size_t* size)
{
    *size = 0;
    if (path == nullptr)
        return true;
    struct stat info;
    if (stat(path, &info) != 0 || info.st_size > static_cast<off_t>(kSizeLimit))
        return false;
    *size = static_cast<std::size_t>(info.st_size);
    return true;
}

static bool ReadInput(const char* path, char* buffer, std::size_t size)
{
    return path == nullptr || ReadWholeFile(path, buffer, size);
}

static bool WriteOutput(const char* path, mode_t mode, const char* bytes, std::size_t size)
{
    const TScopedDescriptor file(open(path, O_WRONLY | O_CREAT | O_TRUNC, mode != 0 ? mode : 0644));
    return file && write(file.Get(), bytes, size) == static_cast<ssize_t>(size);
}

UInt32 MergeFiles(const char* firstPath, const char* middleText, const char* secondPath, const char* outputPath,
                  mode_t mode)
{
    std::size_t firstSize = 0;
    std::size_t secondSize = 0;
    if (!FindSize(firstPath, &firstSize) || !FindSize(secondPath, &secondSize))
        return 0;
    const std::size_t middleSize = middleText != nullptr ? strlen(middleText) : 0;
    const std::size_t size = firstSize + middleSize + secondSize;
    if (size > kSizeLimit)
        return 0;

    const std::unique_ptr<char[]> bytes(new (std::nothrow) char[size]());
    if (bytes == nullptr)
        return 0;
    char* const middle = bytes.get() + firstSize;
    if (!ReadInput(firstPath, bytes.get(), firstSize) || !ReadInput(secondPath, middle + middleSize, secondSize))
        return 0;
    std::copy_n(middleText, middleSize, middle);
    return WriteOutput(outputPath, mode, bytes.get(), size);
}
