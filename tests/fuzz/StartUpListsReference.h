// What the property lists say that tell what a Mac starts from and which system is on a volume.
//
// They are read by platform/'s reader, which has comparisons of its own; what counts here is what is looked for in them.

#ifndef HALVORIX_TESTS_FUZZ_STARTUPLISTSREFERENCE_H
#define HALVORIX_TESTS_FUZZ_STARTUPLISTSREFERENCE_H

#include <cstdint>
#include <string>

// Finds the device that bless names: ASCII of at most 31 bytes. Returns false when it names none.
bool BootDeviceInList(const std::string& printed, std::string* device);

// The packed version of the system that a file tells; 0 when it tells none.
std::uint32_t VersionInList(const std::string& file);

#endif
