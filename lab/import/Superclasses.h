// What the classes of a capture inherit from, which a registry of these systems does not print.

#ifndef HALVORIX_LAB_IMPORT_SUPERCLASSES_H
#define HALVORIX_LAB_IMPORT_SUPERCLASSES_H

#include "lab/import/Capture.h"

#include <string>

namespace import {

// The table for a machine folder. A class's superclass is, in this order, what the capture itself says (ioreg -i of 10.5);
// what the machines that ship know, whose table is `known`; IOMedia for what has the BSD name of a disk; IOPartitionScheme for
// what has a "Content Mask"; IORegistryEntry for entries without a state of services; IOService for the rest. `guessed`
// counts the classes for which only the last one was left.
plist::TValue MakeSuperclasses(const TCapture& capture, const plist::TValue& known, std::size_t* guessed);

}   // namespace import

#endif
