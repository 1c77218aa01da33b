// Where a capture's two planes meet: an entry that stands in both is one entry.

#ifndef HALVORIX_LAB_IMPORT_DEVICETREE_H
#define HALVORIX_LAB_IMPORT_DEVICETREE_H

#include "platform/PropertyList.h"

namespace import {

// Gives every entry of both planes an identifier. Those that the capture tells are kept when all entries have one. Otherwise
// entries of the two planes are taken for one when they have the same class and the same data of the firmware, or the same
// BSD name; among several that are alike, the first goes with the first. Returns the first identifier that is free.
long long GiveIdentifiers(plist::TValue* services, plist::TValue* deviceTree);

// The device tree that the services themselves tell of, for a capture without one: what the firmware named, and the media on
// ATA disks as the firmware names them. Entries that no driver serves, such as /aliases and /chosen, are not in it. The
// services have identifiers already.
plist::TValue DeriveDeviceTree(const plist::TValue& services);

}   // namespace import

#endif
