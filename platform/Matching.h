// Which services a matching dictionary stands for.

#ifndef HALVORIX_PLATFORM_MATCHING_H
#define HALVORIX_PLATFORM_MATCHING_H

#include <CoreFoundation/CFDictionary.h>
#include <IOKit/IOTypes.h>

#include <cstdint>
#include <vector>

namespace platform {

// The identifiers of the entries of the IOService plane that the dictionary matches, the first one last, as an iterator
// keeps them.
std::vector<std::uint64_t> MatchingEntries(CFDictionaryRef matching);

// Whether the port is the master port, or stands for it.
bool IsMasterPort(mach_port_t port);

}   // namespace platform

#endif
