// The identifier of an HFS volume, which its UUID is made from.

#ifndef HALVORIX_LAB_TOOLS_VOLUMEIDENTIFIERS_H
#define HALVORIX_LAB_TOOLS_VOLUMEIDENTIFIERS_H

#include "lab/Machine.h"

#include <string>

namespace tools {

// Sixteen upper-case hexadecimal digits that no volume of the machine has, mounted or not, and not all zeros. The caller holds
// the machine's lock until the volume has it.
std::string FreshIdentifier(const lab::TMachine& machine);

// The UUID of a volume with this identifier: the MD5 of a fixed name space and the identifier's eight bytes, as UUIDs of
// version 3 are made. 36 characters, upper case. An identifier of all zeros, and one that is no sixteen digits, has the
// UUID of all zeros.
std::string UUIDOfIdentifier(const std::string& identifier);

// A UUID of its own, for volumes without an identifier.
std::string FreshUUID();

}   // namespace tools

#endif
