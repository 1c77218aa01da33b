// What a file or folder holds beside its data: the Finder's information, and the resource fork.

#ifndef HALVORIX_PLATFORM_FINDERINFORMATION_H
#define HALVORIX_PLATFORM_FINDERINFORMATION_H

#include <CoreServices/CoreServices.h>

#include <cstdint>
#include <string>

namespace platform {

// Reads the first half of the information, FileInfo or FolderInfo, in the host's byte order; zeros when there is none.
void ReadFinderInfo(const std::string& path, bool isFolder, UInt8 info[16]);

// Writes that half; the other stays as it is. Returns noErr or what the host refused it for.
OSErr WriteFinderInfo(const std::string& path, bool isFolder, const UInt8 info[16]);

// The length of the resource fork in bytes; 0 when there is none.
std::uint64_t ResourceForkSize(const std::string& path);

// Whether the file holds the Finder information of another one beside it.
bool IsCompanion(const std::string& folder, const std::string& name);

}   // namespace platform

#endif
