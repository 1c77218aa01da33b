#include "platform/Data.h"
#include "platform/Objects.h"
#include "platform/URLs.h"

#include <CoreFoundation/CFURLAccess.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace platform;

// An open file.
class TDescriptor
{
public:
    TDescriptor(const std::string& path, int flags, mode_t mode) : fDescriptor(open(path.c_str(), flags, mode)) {}
    ~TDescriptor()
    {
        if (fDescriptor >= 0)
            close(fDescriptor);
    }
    TDescriptor(const TDescriptor&) = delete;
    TDescriptor& operator=(const TDescriptor&) = delete;

    int Get() const { return fDescriptor; }
    explicit operator bool() const { return fDescriptor >= 0; }

private:
    const int fDescriptor;
};

// A folder opens, but a read of it fails.
static bool ReadFile(const std::string& path, std::string* content)
{
    const TDescriptor file(path, O_RDONLY | O_CLOEXEC, 0);
    if (!file)
        return false;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(file.Get(), buffer, sizeof buffer);
        if (count > 0)
            content->append(buffer, static_cast<size_t>(count));
        else if (count == 0)
            return true;
        else if (errno != EINTR)
            return false;
    }
}

static bool WriteFile(const std::string& path, const std::string& content)
{
    const TDescriptor file(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (!file)
        return false;
    size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = write(file.Get(), content.data() + written, content.size() - written);
        if (count > 0)
            written += static_cast<size_t>(count);
        else if (count == 0 || errno != EINTR)
            return false;
    }
    return true;
}

static Boolean Report(bool succeeded, SInt32* errorCode)
{
    if (errorCode != nullptr)
        *errorCode = succeeded ? 0 : kCFURLUnknownError;
    return succeeded;
}

Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef desired, SInt32* errorCode)
{
    if (properties != nullptr || desired != nullptr)
        Die("the properties of files are not read here");
    std::string path;
    std::string content;
    const bool succeeded = AbsolutePath(url, &path) && ReadFile(path, &content);
    if (data != nullptr)
        *data = succeeded ? MakeData(std::move(content), false) : nullptr;
    return Report(succeeded, errorCode);
}

Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef properties,
                                              SInt32* errorCode)
{
    if (properties != nullptr)
        Die("the properties of files are not written here");
    std::string path;
    if (!AbsolutePath(url, &path))
        return Report(false, errorCode);
    if (CFURLHasDirectoryPath(url))
        return Report(mkdir(path.c_str(), 0777) == 0, errorCode);
    return Report(WriteFile(path, BytesOf(data)), errorCode);
}

Boolean CFURLDestroyResource(CFURLRef url, SInt32* errorCode)
{
    std::string path;
    if (!AbsolutePath(url, &path))
        return Report(false, errorCode);
    const int result = CFURLHasDirectoryPath(url) ? rmdir(path.c_str()) : unlink(path.c_str());
    return Report(result == 0, errorCode);
}
