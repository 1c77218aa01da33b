// The RAID driver's side of its user client, on the files of the machine folder.

#ifndef HALVORIX_PLATFORM_DRIVERCLIENT_H
#define HALVORIX_PLATFORM_DRIVERCLIENT_H

#include <IOKit/IOTypes.h>

#include <cstdint>

namespace platform {

constexpr char kDriverClass[] = "com_halvorix_driver_Halvorix";

// Whether the driver with this identifier is loaded still.
bool IsDriverLoaded(std::uint64_t identifier);

// What opening a user client of this type returns; both outcomes stand in the machine's log afterwards.
// opened  receives whether there is a connection now. A machine may be told to refuse with "success"
kern_return_t OpenDriver(std::uint32_t type, bool* opened);

// Notes that a user client was closed.
void CloseDriver();

// Calls a method; arguments and results as IOConnectMethodStructureIStructureO has them.
kern_return_t CallDriver(std::uint32_t selector, const void* input, std::size_t inputSize, void* output,
                         IOByteCount* outputSize);

}   // namespace platform

#endif
