// The machine's volumes: what they are, where they are mounted, and what is refused about them. Read anew at each call,
// since tests and init replace the files at any moment.

#ifndef HALVORIX_PLATFORM_VOLUMES_H
#define HALVORIX_PLATFORM_VOLUMES_H

#include <map>
#include <string>
#include <vector>

namespace platform {

// What volumes/DISK/volume.plist says.
struct TVolume
{
    std::string bsdName;      // "disk0s3"
    std::string name;         // UTF-8
    std::string kind;         // "hfs", "ufs", "msdos", "cd9660", "udf"
    std::string identifier;   // sixteen upper-case hexadecimal digits; empty: the file system has none
    std::string uuid;         // 8-4-4-4-12 upper-case digits; empty: the volume has none
    bool owners = false;
    bool journaled = false;
    bool readOnly = false;
};

// What mounts/DISK says.
struct TMount
{
    std::string bsdName;
    std::string path;   // "/" or "/Volumes/NAME", without a slash at its end
    int number = 0;     // the volume reference number: -100 for the start-up volume, then downwards
    std::vector<std::string> options;
};

// What volumes/DISK/refuse says.
struct TRefusals
{
    std::map<std::string, std::string>
        reasons;          // from "mount", "unmount", "rename", "claim" to the reason's name: "busy"
    unsigned delay = 0;   // how many milliseconds later every answer comes
};

// The volume with this BSD name. Returns false, and leaves the volume as it was, when there is no volume.plist, or none
// that is a dictionary with the texts "Name" and "Kind"; any other key may be missing.
bool FindVolume(const std::string& bsdName, TVolume* volume);

// What is mounted now, in the order of mounting: the start-up volume, -100, first. A file without a path or a number is
// no mount.
std::vector<TMount> Mounts();

// The mount of the volume with this BSD name. Returns false, and leaves the mount as it was, when it is not mounted.
bool FindMount(const std::string& bsdName, TMount* mount);

TRefusals ReadRefusals(const std::string& bsdName);

}   // namespace platform

#endif
