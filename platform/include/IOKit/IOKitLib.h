// IOKit for programs: finding services, and talking to a driver through its user client.
//
// An io_object_t is a name for something in the kernel. One registry entry has one name in a process, with a count of
// references; iterators and connections have a name each. Every reference is counted while it is held
// (platform/Counts.h). The master port is no such reference.

#ifndef HALVORIX_PLATFORM_IOKITLIB_H
#define HALVORIX_PLATFORM_IOKITLIB_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <IOKit/IOReturn.h>
#include <IOKit/IOTypes.h>
#include <mach/mach.h>

extern "C" {

// Stands for the master port wherever one is asked for.
extern const mach_port_t kIOMasterPortDefault;

// bootstrapPort  MACH_PORT_NULL
kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* masterPort);

// Adds a reference to a name that is held. KERN_INVALID_NAME for one that is not.
kern_return_t IOObjectRetain(io_object_t object);

// Drops a reference. KERN_INVALID_NAME for a name that is not held (0 included), which is counted.
kern_return_t IOObjectRelease(io_object_t object);

// The next object, whose reference is the caller's, or 0 at the end and for what is no iterator.
io_object_t IOIteratorNext(io_iterator_t iterator);

// A dictionary that matches services of the class and of its subclasses: "IOProviderClass" and the name.
// Null for a null name.
CFMutableDictionaryRef IOServiceMatching(const char* name);

// Looks the services up, in the order of the IOService plane: an entry before what hangs below it.
//
// matching  "IOProviderClass" is all that is looked at; one reference is consumed, whatever is returned.
//           Null is a kIOReturnBadArgument
// existing  receives an iterator, or 0 when no service matches, which is a success as well
kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing);

// Opens a user client. Only the entry of class com_halvorix_driver_Halvorix has one, of type 0.
//
// connect  receives the connection, or 0 on failure
// returns  kIOReturnBadArgument for another type, kIOReturnUnsupported for a service without user client,
//          kIOReturnNoDevice for one that is gone, MACH_SEND_INVALID_DEST for what is no service
kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask, uint32_t type, io_connect_t* connect);

// Closes the connection and drops its reference. A connection whose driver went away returns MACH_SEND_INVALID_DEST, and
// its reference is dropped all the same.
kern_return_t IOServiceClose(io_connect_t connect);

// Calls a method of the user client that takes and returns a structure.
//
// structureInputSize   bytes at inputStructure, which may be null when it is 0
// structureOutputSize  in: bytes that outputStructure has room for; out: bytes that were written
// returns              what the method returns; on failure nothing is written. kIOReturnBadArgument when the user client
//                      has no such method or it takes other sizes, MACH_SEND_INVALID_DEST when the driver went away
kern_return_t IOConnectMethodStructureIStructureO(io_connect_t connect, uint32_t index, IOItemCount structureInputSize,
                                                  IOByteCount* structureOutputSize, void* inputStructure,
                                                  void* outputStructure);
}

#endif
