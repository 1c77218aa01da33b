// Where a symbolic link leads.

#ifndef HALVORIX_TESTS_SUPPORT_LINKS_H
#define HALVORIX_TESTS_SUPPORT_LINKS_H

#include <filesystem>
#include <string>

// The link's own text; empty where no link stands.
inline std::string LinkTarget(const std::string& path)
{
    std::error_code failure;
    return std::filesystem::read_symlink(path, failure).string();
}

#endif
