// IOKit for programs: finding services, reading the I/O Registry, and talking to a driver through its user client.
//
// An io_object_t is a name for something in the kernel. One registry entry has one name in a process, with a count of
// references; iterators and connections have a name each. Every reference is counted while it is held
// (platform/Counts.h). The master port is no such reference.

#ifndef HALVORIX_PLATFORM_IOKITLIB_H
#define HALVORIX_PLATFORM_IOKITLIB_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>
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

// A dictionary that matches services by their name in the IOService plane: "IONameMatch". Null for a null name.
CFMutableDictionaryRef IOServiceNameMatching(const char* name);

// A dictionary that matches the service with this BSD name, "disk2s3": "BSD Name". It is a service of any class, so the
// name of a network interface finds that.
// options  0
// returns  null for a null name or another port than the master port
CFMutableDictionaryRef IOBSDNameMatching(mach_port_t masterPort, uint32_t options, const char* bsdName);

// A dictionary that matches the service at this path of the device tree: "IOPathMatch". A path of a disk's partition,
// "/pci@f4000000/k2-sata-root@c/k2-sata@0/disk@0:3", leads to its medium. Nothing may follow the partition's number.
// options  0
// returns  null for a null path or another port than the master port; whether there is such a service shows when it is
//          looked up
CFMutableDictionaryRef IOOpenFirmwarePathMatching(mach_port_t masterPort, uint32_t options, const char* path);

// Looks the services up, in the order of the IOService plane: an entry before what hangs below it.
//
// matching  "IOProviderClass", "IONameMatch", "IOPathMatch" and "BSD Name" are looked at, and all that are there must fit;
//           a dictionary with none of them matches nothing. One reference is consumed, whatever is returned.
//           Null is a kIOReturnBadArgument
// existing  receives an iterator, or 0 when no service matches, which is a success as well
kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing);

// The first of those services, which the caller releases, or 0. The dictionary is consumed likewise.
io_service_t IOServiceGetMatchingService(mach_port_t masterPort, CFDictionaryRef matching);

// Entries of the I/O Registry
//
// An entry stands in one plane or in both, "IOService" and "IODeviceTree"; in each it has one entry above it, and perhaps
// another name. What is asked about an entry that went away while its name is held fails with kIOReturnNoDevice, about
// what is no entry with MACH_SEND_INVALID_DEST; where an object or a truth value is returned, that is null or 0.

// Whether the object's class is this one or is derived from it.
boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className);

kern_return_t IOObjectGetClass(io_object_t object, io_name_t className);

// The name in the IOService plane, or in the device tree for what stands in that alone. The class's name for an entry
// without one.
kern_return_t IORegistryEntryGetName(io_registry_entry_t entry, io_name_t name);

// The entry with this path, which the caller releases, or 0.
// path  "IOService:/MacRISC4PE/ht@0,f2000000", "IODeviceTree:/options", of at most 511 bytes: the elements below the first
//       entry under the root, each NAME or NAME@LOCATION; "IOService:/" is that first entry. Aliases are not known
io_registry_entry_t IORegistryEntryFromPath(mach_port_t masterPort, const io_string_t path);

// The path of the entry in the plane, as IORegistryEntryFromPath takes it.
// returns  kIOReturnBadArgument for the root, for an entry that is not in that plane, for a plane that there is not, and
//          when the path does not fit
kern_return_t IORegistryEntryGetPath(io_registry_entry_t entry, const io_name_t plane, io_string_t path);

// The entry above this one in the plane.
// parent   receives it, the caller releases it; 0 on failure
// returns  kIOReturnNoDevice for the root and for an entry that is not in that plane, kIOReturnBadArgument for a plane that
//          there is not
kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent);

// A copy of the property, which the caller releases, or null.
// options  0
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                          IOOptionBits options);

// A copy of all properties; the caller releases it.
// properties  receives the dictionary, null on failure
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits options);

enum
{
    kIORegistryIterateRecursively = 0x00000001,
    kIORegistryIterateParents = 0x00000002
};

// A copy of the property of the entry itself, or of the next in the plane that has it; the caller releases it. Null when
// there is none.
// options  kIORegistryIterateRecursively: what hangs below is looked at as well, an entry before what hangs below that;
//          with kIORegistryIterateParents: what is above, the nearest first. Without kIORegistryIterateRecursively the
//          entry alone is looked at
CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options);

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
