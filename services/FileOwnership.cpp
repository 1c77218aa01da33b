#include "services/FileOwnership.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

UInt32 RestoreFileOrDirectoryOwnership(const char* pathname)
{
    struct stat info;
    if (stat(pathname, &info) != 0)
        return 0;
    return chown(pathname, getuid(), info.st_gid) == 0 || errno == ENOTSUP;
}
