// What `mount` prints: which disk is mounted where.

#ifndef HALVORIX_LAB_IMPORT_MOUNTOUTPUT_H
#define HALVORIX_LAB_IMPORT_MOUNTOUTPUT_H

#include <string>
#include <vector>

namespace import {

struct TMountedDisk
{
    std::size_t line = 0;               // from 1 on
    std::string bsdName;                // "disk0s3"
    std::string path;                   // "/Volumes/Backup"
    std::vector<std::string> options;   // "hfs", "local", "journaled"; from 10.5 on the file system's kind is the first

    bool Has(const std::string& option) const;
};

// The disks among the lines, in their order; what is mounted from elsewhere is left out. Throws TDamage for a line that
// mount does not print, for two disks at one place, and when no disk is mounted at "/".
std::vector<TMountedDisk> ReadMountOutput(const std::string& text);

}   // namespace import

#endif
