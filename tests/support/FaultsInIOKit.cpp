// The functions of IOKit in the table of faults.

#include "tests/support/FaultTable.h"

#include <IOKit/IOKitLib.h>

extern "C" {

void __real_CFRelease(CFTypeRef);

static TListed kIOBSDNameMatching("IOBSDNameMatching", Fails(0));
CFMutableDictionaryRef __real_IOBSDNameMatching(mach_port_t, uint32_t, const char*);
CFMutableDictionaryRef __wrap_IOBSDNameMatching(mach_port_t master, uint32_t options, const char* name)
{
    return Call(kIOBSDNameMatching, __real_IOBSDNameMatching, master, options, name);
}

static TListed kIOConnectMethod("IOConnectMethodStructureIStructureO", Fails(kIOReturnError));
kern_return_t __real_IOConnectMethodStructureIStructureO(io_connect_t, UInt32, IOItemCount, IOByteCount*, void*, void*);
kern_return_t __wrap_IOConnectMethodStructureIStructureO(io_connect_t connection, UInt32 selector,
                                                         IOItemCount inputSize, IOByteCount* outputSize, void* input,
                                                         void* output)
{
    return Call(kIOConnectMethod, __real_IOConnectMethodStructureIStructureO, connection, selector, inputSize,
                outputSize, input, output);
}

static TListed kIOIteratorNext("IOIteratorNext", Fails(0));
io_object_t __real_IOIteratorNext(io_iterator_t);
io_object_t __wrap_IOIteratorNext(io_iterator_t iterator)
{
    return Call(kIOIteratorNext, __real_IOIteratorNext, iterator);
}

static TListed kIOMasterPort("IOMasterPort", Fails(kIOReturnError));
kern_return_t __real_IOMasterPort(mach_port_t, mach_port_t*);
kern_return_t __wrap_IOMasterPort(mach_port_t bootstrap, mach_port_t* master)
{
    return Call(kIOMasterPort, __real_IOMasterPort, bootstrap, master);
}

static TListed kIOObjectRelease("IOObjectRelease", FailsThoughDone(kIOReturnError));
kern_return_t __real_IOObjectRelease(io_object_t);
kern_return_t __wrap_IOObjectRelease(io_object_t object)
{
    return Call(kIOObjectRelease, __real_IOObjectRelease, object);
}

static TListed kIOObjectConformsTo("IOObjectConformsTo", Fails(0));
boolean_t __real_IOObjectConformsTo(io_object_t, const char*);
boolean_t __wrap_IOObjectConformsTo(io_object_t object, const char* className)
{
    return Call(kIOObjectConformsTo, __real_IOObjectConformsTo, object, className);
}

static TListed kIOObjectRetain("IOObjectRetain", kNeverFails);
kern_return_t __real_IOObjectRetain(io_object_t);
kern_return_t __wrap_IOObjectRetain(io_object_t object)
{
    return Call(kIOObjectRetain, __real_IOObjectRetain, object);
}

static TListed kIOOpenFirmwarePathMatching("IOOpenFirmwarePathMatching", Fails(0));
CFMutableDictionaryRef __real_IOOpenFirmwarePathMatching(mach_port_t, uint32_t, const char*);
CFMutableDictionaryRef __wrap_IOOpenFirmwarePathMatching(mach_port_t master, uint32_t options, const char* path)
{
    return Call(kIOOpenFirmwarePathMatching, __real_IOOpenFirmwarePathMatching, master, options, path);
}

static TListed kIORegistryEntryCreateProperty("IORegistryEntryCreateCFProperty", Fails(0));
CFTypeRef __real_IORegistryEntryCreateCFProperty(io_registry_entry_t, CFStringRef, CFAllocatorRef, IOOptionBits);
CFTypeRef __wrap_IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                                 IOOptionBits options)
{
    return Call(kIORegistryEntryCreateProperty, __real_IORegistryEntryCreateCFProperty, entry, key, allocator, options);
}

static TListed kIORegistryEntryFromPath("IORegistryEntryFromPath", Fails(0));
io_registry_entry_t __real_IORegistryEntryFromPath(mach_port_t, const char*);
io_registry_entry_t __wrap_IORegistryEntryFromPath(mach_port_t master, const char* path)
{
    return Call(kIORegistryEntryFromPath, __real_IORegistryEntryFromPath, master, path);
}

static TListed kIORegistryEntryGetParent("IORegistryEntryGetParentEntry", Fails(kIOReturnError));
kern_return_t __real_IORegistryEntryGetParentEntry(io_registry_entry_t, const char*, io_registry_entry_t*);
kern_return_t __wrap_IORegistryEntryGetParentEntry(io_registry_entry_t entry, const char* plane,
                                                   io_registry_entry_t* parent)
{
    return Call(kIORegistryEntryGetParent, __real_IORegistryEntryGetParentEntry, entry, plane, parent);
}

static TListed kIORegistryEntrySearch("IORegistryEntrySearchCFProperty", Fails(0));
CFTypeRef __real_IORegistryEntrySearchCFProperty(io_registry_entry_t, const char*, CFStringRef, CFAllocatorRef,
                                                 IOOptionBits);
CFTypeRef __wrap_IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const char* plane, CFStringRef key,
                                                 CFAllocatorRef allocator, IOOptionBits options)
{
    return Call(kIORegistryEntrySearch, __real_IORegistryEntrySearchCFProperty, entry, plane, key, allocator, options);
}

static TListed kIOServiceClose("IOServiceClose", FailsThoughDone(kIOReturnError));
kern_return_t __real_IOServiceClose(io_connect_t);
kern_return_t __wrap_IOServiceClose(io_connect_t connection)
{
    return Call(kIOServiceClose, __real_IOServiceClose, connection);
}

static TListed kIOServiceGetMatchingOne("IOServiceGetMatchingService", kFailsInItsWay);
io_service_t __real_IOServiceGetMatchingService(mach_port_t, CFDictionaryRef);
io_service_t __wrap_IOServiceGetMatchingService(mach_port_t master, CFDictionaryRef matching)
{
    if (SweepFails(kIOServiceGetMatchingOne)) {
        __real_CFRelease(matching);   // taken from the caller, whatever the result
        return 0;
    }
    return Call(kIOServiceGetMatchingOne, __real_IOServiceGetMatchingService, master, matching);
}

static TListed kIOServiceGetMatching("IOServiceGetMatchingServices", kFailsInItsWay);
kern_return_t __real_IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef, io_iterator_t*);
kern_return_t __wrap_IOServiceGetMatchingServices(mach_port_t master, CFDictionaryRef matching, io_iterator_t* matches)
{
    if (SweepFails(kIOServiceGetMatching)) {
        __real_CFRelease(matching);
        return kIOReturnError;
    }
    const unsigned failedBefore = kIOServiceGetMatching.reached;
    const kern_return_t status =
        Call(kIOServiceGetMatching, __real_IOServiceGetMatchingServices, master, matching, matches);
    if (kIOServiceGetMatching.reached != failedBefore)
        __real_CFRelease(matching);   // taken from the caller, whatever the result
    return status;
}

static TListed kIOServiceMatching("IOServiceMatching", Fails(0));
CFMutableDictionaryRef __real_IOServiceMatching(const char*);
CFMutableDictionaryRef __wrap_IOServiceMatching(const char* name)
{
    return Call(kIOServiceMatching, __real_IOServiceMatching, name);
}

static TListed kIOServiceOpen("IOServiceOpen", Fails(kIOReturnError));
kern_return_t __real_IOServiceOpen(io_service_t, task_port_t, UInt32, io_connect_t*);
kern_return_t __wrap_IOServiceOpen(io_service_t service, task_port_t task, UInt32 type, io_connect_t* connection)
{
    return Call(kIOServiceOpen, __real_IOServiceOpen, service, task, type, connection);
}
}
