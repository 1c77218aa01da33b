// What the volume on a disk was, by what `mount` printed of it and what the registry holds of its medium.

#ifndef HALVORIX_LAB_IMPORT_MOUNTEDVOLUME_H
#define HALVORIX_LAB_IMPORT_MOUNTEDVOLUME_H

#include "lab/import/MountOutput.h"
#include "platform/PropertyList.h"

#include <string>

namespace import {

// "hfs", "ufs", "msdos", "cd9660" or "udf": what mount tells from 10.5 on, before that what a partition of this content
// holds, and "hfs" for a content that says nothing. Empty when mount tells of a kind that no machine here has.
std::string KindOfVolume(const TMountedDisk& disk, const plist::TValue& medium);

// The name of its mount point, where a slash in it stands as a colon. What the start-up volume is called mount does not say:
// that is the name of the partition.
std::string NameOfVolume(const TMountedDisk& disk, const plist::TValue& medium);

}   // namespace import

#endif
