// How Open Firmware names a machine's disks: from a BSD name to what the firmware variable boot-device holds, and back.

#ifndef HALVORIX_LAB_OPENFIRMWARE_H
#define HALVORIX_LAB_OPENFIRMWARE_H

#include "lab/Machine.h"

#include <string>

namespace lab {

// What stands behind a disk's path in boot-device: start the file of type tbxi in the blessed folder.
extern const char* const kOpenFirmwareBooter;   // ",\\:tbxi", with two backslashes

// The path of a disk in the device tree: "/pci@f4000000/ata-6@D/@0:3" for partition 3 of the drive 0 on that bus. Empty when
// the machine has no such disk.
//
// The volumes of the RAID driver, and disks that were added, have no node in the device tree. No firmware could start from
// them; so that what is set can be read back for every disk, they have a path that no Mac has: "/disk@2:3" for disk2s3.
std::string OpenFirmwarePath(const TMachine& machine, const std::string& bsdName);

// The BSD name of the disk that a value of boot-device leads to, with or without the file behind the path; empty when it
// leads to none. The reverse of OpenFirmwarePath for every disk.
//
// Of several paths with blanks between them the first counts. A path that does not begin with a slash begins with an alias
// of the device tree's entry /aliases: "hd:3,\\:tbxi", "sata/k2-sata@0/@0:3,\\:tbxi". Unit addresses are compared as the
// firmware does, whatever the case of their digits, and a node's name may be missing on either side.
std::string DiskAtOpenFirmwarePath(const TMachine& machine, const std::string& value);

}   // namespace lab

#endif
