// diskutil: the half of the tool that shows disks instead of changing them.

#ifndef HALVORIX_LAB_TOOLS_DISKUTILLIST_H
#define HALVORIX_LAB_TOOLS_DISKUTILLIST_H

#include "lab/Machine.h"

#include <string>

namespace tools {

// Prints the table of the partitions of a whole disk, or of every one when bsdName is empty. Returns the exit status.
int ListDisks(const lab::TMachine& machine, const std::string& bsdName);

// Prints what is known of a disk that the machine has. Returns the exit status.
int ShowDisk(const lab::TMachine& machine, const std::string& bsdName);

}   // namespace tools

#endif
