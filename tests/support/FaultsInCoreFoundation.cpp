// The functions of Core Foundation in the table of faults.

#include "tests/support/FaultTable.h"

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

static TListed kCFAbsoluteTime("CFAbsoluteTimeGetCurrent", kNeverFails);
CFAbsoluteTime __real_CFAbsoluteTimeGetCurrent(void);
CFAbsoluteTime __wrap_CFAbsoluteTimeGetCurrent(void)
{
    return Call(kCFAbsoluteTime, __real_CFAbsoluteTimeGetCurrent);
}

static TListed kCFArrayAppendValue("CFArrayAppendValue", kNeverFails);
void __real_CFArrayAppendValue(CFMutableArrayRef, const void*);
void __wrap_CFArrayAppendValue(CFMutableArrayRef array, const void* value)
{
    Call(kCFArrayAppendValue, __real_CFArrayAppendValue, array, value);
}

static TListed kCFArrayCreateMutable("CFArrayCreateMutable", Fails(0));
CFMutableArrayRef __real_CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks*);
CFMutableArrayRef __wrap_CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks* calls)
{
    return Call(kCFArrayCreateMutable, __real_CFArrayCreateMutable, allocator, capacity, calls);
}

static TListed kCFBundleCopyURL("CFBundleCopyExecutableURL", Fails(0));
CFURLRef __real_CFBundleCopyExecutableURL(CFBundleRef);
CFURLRef __wrap_CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    return Call(kCFBundleCopyURL, __real_CFBundleCopyExecutableURL, bundle);
}

static TListed kCFBundleCreate("CFBundleCreate", Fails(0));
CFBundleRef __real_CFBundleCreate(CFAllocatorRef, CFURLRef);
CFBundleRef __wrap_CFBundleCreate(CFAllocatorRef allocator, CFURLRef url)
{
    return Call(kCFBundleCreate, __real_CFBundleCreate, allocator, url);
}

static TListed kCFDataCreate("CFDataCreate", Fails(0));
CFDataRef __real_CFDataCreate(CFAllocatorRef, const UInt8*, CFIndex);
CFDataRef __wrap_CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length)
{
    return Call(kCFDataCreate, __real_CFDataCreate, allocator, bytes, length);
}

static TListed kCFDataCreateWithBytesNoCopy("CFDataCreateWithBytesNoCopy", Fails(0));
CFDataRef __real_CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8*, CFIndex, CFAllocatorRef);
CFDataRef __wrap_CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                             CFAllocatorRef deallocator)
{
    return Call(kCFDataCreateWithBytesNoCopy, __real_CFDataCreateWithBytesNoCopy, allocator, bytes, length,
                deallocator);
}

static TListed kCFNumberGetValue("CFNumberGetValue", Fails(0));
Boolean __real_CFNumberGetValue(CFNumberRef, CFNumberType, void*);
Boolean __wrap_CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value)
{
    return Call(kCFNumberGetValue, __real_CFNumberGetValue, number, type, value);
}

static TListed kCFPropertyListCreateFrom("CFPropertyListCreateFromXMLData", Fails(0));
CFPropertyListRef __real_CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef, CFOptionFlags, CFStringRef*);
CFPropertyListRef __wrap_CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xml, CFOptionFlags options,
                                                         CFStringRef* errorText)
{
    return Call(kCFPropertyListCreateFrom, __real_CFPropertyListCreateFromXMLData, allocator, xml, options, errorText);
}

static TListed kCFPropertyListCreateXML("CFPropertyListCreateXMLData", Fails(0));
CFDataRef __real_CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef);
CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    return Call(kCFPropertyListCreateXML, __real_CFPropertyListCreateXMLData, allocator, list);
}

static TListed kCFPropertyListIsValid("CFPropertyListIsValid", Fails(0));
Boolean __real_CFPropertyListIsValid(CFPropertyListRef, CFPropertyListFormat);
Boolean __wrap_CFPropertyListIsValid(CFPropertyListRef list, CFPropertyListFormat format)
{
    return Call(kCFPropertyListIsValid, __real_CFPropertyListIsValid, list, format);
}

static TListed kCFRelease("CFRelease", kNeverFails);
void __real_CFRelease(CFTypeRef);
void __wrap_CFRelease(CFTypeRef object)
{
    Call(kCFRelease, __real_CFRelease, object);
}

static TListed kCFRunLoopRun("CFRunLoopRun", kNeverFails);
void __real_CFRunLoopRun(void);
void __wrap_CFRunLoopRun(void)
{
    Call(kCFRunLoopRun, __real_CFRunLoopRun);
}

static TListed kCFStringCreateWithCString("CFStringCreateWithCString", Fails(0));
CFStringRef __real_CFStringCreateWithCString(CFAllocatorRef, const char*, CFStringEncoding);
CFStringRef __wrap_CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding)
{
    return Call(kCFStringCreateWithCString, __real_CFStringCreateWithCString, allocator, text, encoding);
}

static TListed kCFStringCreateFromPath("CFStringCreateWithFileSystemRepresentation", Fails(0));
CFStringRef __real_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef, const char*);
CFStringRef __wrap_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator, const char* path)
{
    return Call(kCFStringCreateFromPath, __real_CFStringCreateWithFileSystemRepresentation, allocator, path);
}

static TListed kCFStringGetCString("CFStringGetCString", Fails(0));
Boolean __real_CFStringGetCString(CFStringRef, char*, CFIndex, CFStringEncoding);
Boolean __wrap_CFStringGetCString(CFStringRef string, char* buffer, CFIndex size, CFStringEncoding encoding)
{
    return Call(kCFStringGetCString, __real_CFStringGetCString, string, buffer, size, encoding);
}

static TListed kCFURLCreateData("CFURLCreateDataAndPropertiesFromResource", Fails(0));
Boolean __real_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef, CFDataRef*, CFDictionaryRef*,
                                                        CFArrayRef, SInt32*);
Boolean __wrap_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* bytes,
                                                        CFDictionaryRef* properties, CFArrayRef wanted, SInt32* error)
{
    return Call(kCFURLCreateData, __real_CFURLCreateDataAndPropertiesFromResource, allocator, url, bytes, properties,
                wanted, error);
}

static TListed kCFURLCreateFromPath("CFURLCreateFromFileSystemRepresentation", Fails(0));
CFURLRef __real_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8*, CFIndex, Boolean);
CFURLRef __wrap_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                                        Boolean isDirectory)
{
    return Call(kCFURLCreateFromPath, __real_CFURLCreateFromFileSystemRepresentation, allocator, bytes, length,
                isDirectory);
}

static TListed kCFURLDestroyResource("CFURLDestroyResource", Fails(0));
Boolean __real_CFURLDestroyResource(CFURLRef, SInt32*);
Boolean __wrap_CFURLDestroyResource(CFURLRef url, SInt32* error)
{
    return Call(kCFURLDestroyResource, __real_CFURLDestroyResource, url, error);
}

static TListed kCFURLGetPath("CFURLGetFileSystemRepresentation", Fails(0));
Boolean __real_CFURLGetFileSystemRepresentation(CFURLRef, Boolean, UInt8*, CFIndex);
Boolean __wrap_CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8* buffer, CFIndex size)
{
    return Call(kCFURLGetPath, __real_CFURLGetFileSystemRepresentation, url, resolve, buffer, size);
}

static TListed kCFURLWriteData("CFURLWriteDataAndPropertiesToResource", Fails(0));
Boolean __real_CFURLWriteDataAndPropertiesToResource(CFURLRef, CFDataRef, CFDictionaryRef, SInt32*);
Boolean __wrap_CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef bytes, CFDictionaryRef properties,
                                                     SInt32* error)
{
    return Call(kCFURLWriteData, __real_CFURLWriteDataAndPropertiesToResource, url, bytes, properties, error);
}

static TListed kCFUUIDCreateString("CFUUIDCreateString", Fails(0));
CFStringRef __real_CFUUIDCreateString(CFAllocatorRef, CFUUIDRef);
CFStringRef __wrap_CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid)
{
    return Call(kCFUUIDCreateString, __real_CFUUIDCreateString, allocator, uuid);
}
}
