// The functions whose time is counted. CMake tells the linker of each, by its name with "__wrap_" before it.

#include "bench/OutsideTime.h"

#include <CoreServices/CoreServices.h>
#include <DiskArbitration/DiskArbitration.h>
#include <IOKit/IOKitLib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

thread_local TOutsideTimes gOutsideTimes;

extern "C" {

decltype(fork) __real_fork;
pid_t __wrap_fork()
{
    return Outside(kStartingTools, &__real_fork);
}

// Of a file as well: those that are read are of some hundred bytes.
decltype(read) __real_read;
ssize_t __wrap_read(int descriptor, void* bytes, size_t count)
{
    return Outside(kTools, &__real_read, descriptor, bytes, count);
}

decltype(waitpid) __real_waitpid;
pid_t __wrap_waitpid(pid_t process, int* status, int options)
{
    return Outside(kTools, &__real_waitpid, process, status, options);
}

decltype(DASessionCreate) __real_DASessionCreate;
DASessionRef __wrap_DASessionCreate(CFAllocatorRef allocator)
{
    return Outside(kDiskArbitration, &__real_DASessionCreate, allocator);
}

decltype(DASessionScheduleWithRunLoop) __real_DASessionScheduleWithRunLoop;
void __wrap_DASessionScheduleWithRunLoop(DASessionRef session, CFRunLoopRef loop, CFStringRef mode)
{
    Outside(kDiskArbitration, &__real_DASessionScheduleWithRunLoop, session, loop, mode);
}

decltype(DASessionUnscheduleFromRunLoop) __real_DASessionUnscheduleFromRunLoop;
void __wrap_DASessionUnscheduleFromRunLoop(DASessionRef session, CFRunLoopRef loop, CFStringRef mode)
{
    Outside(kDiskArbitration, &__real_DASessionUnscheduleFromRunLoop, session, loop, mode);
}

decltype(DADiskCreateFromBSDName) __real_DADiskCreateFromBSDName;
DADiskRef __wrap_DADiskCreateFromBSDName(CFAllocatorRef allocator, DASessionRef session, const char* name)
{
    return Outside(kDiskArbitration, &__real_DADiskCreateFromBSDName, allocator, session, name);
}

decltype(DADiskCopyIOMedia) __real_DADiskCopyIOMedia;
io_service_t __wrap_DADiskCopyIOMedia(DADiskRef disk)
{
    return Outside(kDiskArbitration, &__real_DADiskCopyIOMedia, disk);
}

decltype(DADiskCopyDescription) __real_DADiskCopyDescription;
CFDictionaryRef __wrap_DADiskCopyDescription(DADiskRef disk)
{
    return Outside(kDiskArbitration, &__real_DADiskCopyDescription, disk);
}

decltype(DADiskMountWithArguments) __real_DADiskMountWithArguments;
void __wrap_DADiskMountWithArguments(DADiskRef disk, CFURLRef path, DADiskMountOptions options,
                                     DADiskMountCallback callback, void* context, CFStringRef arguments[])
{
    Outside(kDiskArbitration, &__real_DADiskMountWithArguments, disk, path, options, callback, context, arguments);
}

decltype(DADiskUnmount) __real_DADiskUnmount;
void __wrap_DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context)
{
    Outside(kDiskArbitration, &__real_DADiskUnmount, disk, options, callback, context);
}

decltype(CFRunLoopRun) __real_CFRunLoopRun;
void __wrap_CFRunLoopRun()
{
    Outside(kDiskArbitration, &__real_CFRunLoopRun);
}

decltype(CFRelease) __real_CFRelease;
void __wrap_CFRelease(CFTypeRef object)
{
    Outside(kFrameworks, &__real_CFRelease, object);
}

decltype(CFURLCreateFromFileSystemRepresentation) __real_CFURLCreateFromFileSystemRepresentation;
CFURLRef __wrap_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                                        Boolean isFolder)
{
    return Outside(kFrameworks, &__real_CFURLCreateFromFileSystemRepresentation, allocator, bytes, length, isFolder);
}

decltype(CFURLCreateDataAndPropertiesFromResource) __real_CFURLCreateDataAndPropertiesFromResource;
Boolean __wrap_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* data,
                                                        CFDictionaryRef* properties, CFArrayRef desired, SInt32* error)
{
    return Outside(kFrameworks, &__real_CFURLCreateDataAndPropertiesFromResource, allocator, url, data, properties,
                   desired, error);
}

decltype(CFURLWriteDataAndPropertiesToResource) __real_CFURLWriteDataAndPropertiesToResource;
Boolean __wrap_CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef properties,
                                                     SInt32* error)
{
    return Outside(kFrameworks, &__real_CFURLWriteDataAndPropertiesToResource, url, data, properties, error);
}

decltype(CFURLDestroyResource) __real_CFURLDestroyResource;
Boolean __wrap_CFURLDestroyResource(CFURLRef url, SInt32* error)
{
    return Outside(kFrameworks, &__real_CFURLDestroyResource, url, error);
}

decltype(CFPropertyListCreateFromXMLData) __real_CFPropertyListCreateFromXMLData;
CFPropertyListRef __wrap_CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xml, CFOptionFlags options,
                                                         CFStringRef* error)
{
    return Outside(kFrameworks, &__real_CFPropertyListCreateFromXMLData, allocator, xml, options, error);
}

decltype(CFPropertyListCreateXMLData) __real_CFPropertyListCreateXMLData;
CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    return Outside(kFrameworks, &__real_CFPropertyListCreateXMLData, allocator, list);
}

decltype(FSPathMakeRef) __real_FSPathMakeRef;
OSStatus __wrap_FSPathMakeRef(const UInt8* path, FSRef* reference, Boolean* isFolder)
{
    return Outside(kFrameworks, &__real_FSPathMakeRef, path, reference, isFolder);
}

decltype(FSGetVolumeInfo) __real_FSGetVolumeInfo;
OSErr __wrap_FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap wanted,
                             FSVolumeInfo* info, HFSUniStr255* name, FSRef* root)
{
    return Outside(kFrameworks, &__real_FSGetVolumeInfo, volume, index, actual, wanted, info, name, root);
}

decltype(FSCompareFSRefs) __real_FSCompareFSRefs;
OSErr __wrap_FSCompareFSRefs(const FSRef* one, const FSRef* other)
{
    return Outside(kFrameworks, &__real_FSCompareFSRefs, one, other);
}

decltype(PBHGetVolParmsSync) __real_PBHGetVolParmsSync;
OSErr __wrap_PBHGetVolParmsSync(HParmBlkPtr parameters)
{
    return Outside(kFrameworks, &__real_PBHGetVolParmsSync, parameters);
}

decltype(IOMasterPort) __real_IOMasterPort;
kern_return_t __wrap_IOMasterPort(mach_port_t bootstrap, mach_port_t* master)
{
    return Outside(kFrameworks, &__real_IOMasterPort, bootstrap, master);
}

decltype(IOServiceMatching) __real_IOServiceMatching;
CFMutableDictionaryRef __wrap_IOServiceMatching(const char* className)
{
    return Outside(kFrameworks, &__real_IOServiceMatching, className);
}

decltype(IOServiceGetMatchingServices) __real_IOServiceGetMatchingServices;
kern_return_t __wrap_IOServiceGetMatchingServices(mach_port_t master, CFDictionaryRef matching, io_iterator_t* matches)
{
    return Outside(kFrameworks, &__real_IOServiceGetMatchingServices, master, matching, matches);
}

decltype(IOIteratorNext) __real_IOIteratorNext;
io_object_t __wrap_IOIteratorNext(io_iterator_t iterator)
{
    return Outside(kFrameworks, &__real_IOIteratorNext, iterator);
}

decltype(IOObjectRelease) __real_IOObjectRelease;
kern_return_t __wrap_IOObjectRelease(io_object_t object)
{
    return Outside(kFrameworks, &__real_IOObjectRelease, object);
}

decltype(IOServiceOpen) __real_IOServiceOpen;
kern_return_t __wrap_IOServiceOpen(io_service_t service, task_port_t task, uint32_t type, io_connect_t* connection)
{
    return Outside(kFrameworks, &__real_IOServiceOpen, service, task, type, connection);
}

decltype(IOServiceClose) __real_IOServiceClose;
kern_return_t __wrap_IOServiceClose(io_connect_t connection)
{
    return Outside(kFrameworks, &__real_IOServiceClose, connection);
}

decltype(IOConnectMethodStructureIStructureO) __real_IOConnectMethodStructureIStructureO;
kern_return_t __wrap_IOConnectMethodStructureIStructureO(io_connect_t connection, uint32_t selector,
                                                         IOItemCount inputSize, IOByteCount* outputSize, void* input,
                                                         void* output)
{
    return Outside(kFrameworks, &__real_IOConnectMethodStructureIStructureO, connection, selector, inputSize,
                   outputSize, input, output);
}

decltype(IORegistryEntrySearchCFProperty) __real_IORegistryEntrySearchCFProperty;
CFTypeRef __wrap_IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane, CFStringRef key,
                                                 CFAllocatorRef allocator, IOOptionBits options)
{
    return Outside(kFrameworks, &__real_IORegistryEntrySearchCFProperty, entry, plane, key, allocator, options);
}
}
