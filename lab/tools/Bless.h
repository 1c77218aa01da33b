// bless: what its command line asks for, and the half of the tool that shows instead of changing.

#ifndef HALVORIX_LAB_TOOLS_BLESS_H
#define HALVORIX_LAB_TOOLS_BLESS_H

#include "lab/Machine.h"

#include <map>
#include <string>

namespace tools {

// The options without their dashes, of which bless takes one or two; a flag's value is empty.
using TBlessOptions = std::map<std::string, std::string>;

// bless -info [MOUNT] [-getBoot] [-plist] [-verbose]: prints the blessed folder of a volume, or the disk that the firmware
// starts from. Without a mount point it asks the firmware first. Returns the exit status.
int BlessInfo(const lab::TMachine& machine, const TBlessOptions& options);

}   // namespace tools

#endif
