// What names and paths of disks say, by searching whole texts.

#ifndef HALVORIX_TESTS_FUZZ_DISKNAMESREFERENCE_H
#define HALVORIX_TESTS_FUZZ_DISKNAMESREFERENCE_H

#include <cstddef>
#include <cstdint>
#include <string>

bool BeginsLikeARawDisk(const std::string& pathname);
bool IsNameOfPartition(const std::string& name);
std::uint32_t NumberBehindLastK(const std::string& name);

// The text, of which each NUL ends what a C program sees.
std::string CutToDisk(std::string pathname);
std::string CutToTrack(std::string pathname);

// The BSD name in a pathname; empty when there is none of at most so many bytes.
std::string BSDNameIn(const std::string& pathname, std::size_t longest);

// The mount path of a pathname; empty when there is none that fits into so many bytes with its NUL.
std::string MountPathOf(const std::string& pathname, std::size_t room);

#endif
