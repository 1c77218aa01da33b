// The folder of the event socket, and what stands at a path itself, a link included.

#ifndef HALVORIX_TESTS_DAEMON_SOCKETFOLDER_H
#define HALVORIX_TESTS_DAEMON_SOCKETFOLDER_H

#include <string>
#include <sys/stat.h>

constexpr const char* kSocketFolder = "/tmp/com.halvorix.halvorixd";

// With its type; 0 when there is nothing.
inline mode_t ModeOf(const std::string& path)
{
    struct stat info;
    return lstat(path.c_str(), &info) == 0 ? info.st_mode : 0;
}

inline bool Exists(const std::string& path)
{
    return ModeOf(path) != 0;
}

#endif
