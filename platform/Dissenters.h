// The reasons why Disk Arbitration refuses what it is asked.

#ifndef HALVORIX_PLATFORM_DISSENTERS_H
#define HALVORIX_PLATFORM_DISSENTERS_H

#include <DiskArbitration/DADissenter.h>

#include <string>

namespace platform {

// The status that the machine folder's files call by this name: "busy" is kDAReturnBusy. kDAReturnError for any other.
DAReturn StatusNamed(const std::string& name);

}   // namespace platform

#endif
