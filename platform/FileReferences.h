// What a file reference of the File Manager refers to, for the functions that take one.

#ifndef HALVORIX_PLATFORM_FILEREFERENCES_H
#define HALVORIX_PLATFORM_FILEREFERENCES_H

#include <CoreServices/CoreServices.h>

#include <cstdint>
#include <string>

namespace platform {

// A file, a folder or a symbolic link, as it was when it was looked at.
struct TItem
{
    std::string path;            // absolute
    FSVolumeRefNum volume = 0;   // the number of the volume that it is on; 0 when nothing is mounted
    std::uint64_t device = 0;    // device and inode of the host: they tell items apart
    std::uint64_t inode = 0;
    bool isFolder = false;
    std::uint64_t size = 0;      // of the data in bytes; 0 of a folder
    std::int64_t modified = 0;   // seconds since 1970
};

// Looks at what is at the path now, a symbolic link itself. Returns fnfErr and the like.
//
// volume  the number of the volume that the path is on
OSErr LookAt(const std::string& path, FSVolumeRefNum volume, TItem* item);

// Looks at what the reference refers to. fnfErr when something else, or nothing, is at its path now; errFSBadFSRef when it
// is no reference.
OSErr Find(const FSRef* ref, TItem* item);

// A reference to the item. It is good for as long as the item stays where it is.
FSRef ReferenceTo(const TItem& item);

// The number of the volume that a path is on: of those mounted at the path or above it, the nearest; 0 when there is none.
FSVolumeRefNum VolumeOfPath(const std::string& path);

// Whether a volume is mounted at the path.
bool IsVolumeRoot(const std::string& path);

// The folder that holds the path's last name; "/" of "/".
std::string FolderOf(const std::string& path);

// The result that stands for errno.
OSErr ErrorOfSystem();

// Writes a name as the File Manager has it.
//
// text  UTF-8; what lies beyond 255 UTF-16 units is dropped, and what is no UTF-8 is taken as Mac Roman
void SetName(const std::string& text, HFSUniStr255* name);

}   // namespace platform

#endif
