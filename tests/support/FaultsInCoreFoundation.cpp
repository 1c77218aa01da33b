// The functions of Core Foundation in the table of faults.

#include "tests/support/FaultTable.h"

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

static TListed kCFAbsoluteTime("CFAbsoluteTimeGetCurrent");
CFAbsoluteTime __real_CFAbsoluteTimeGetCurrent(void);
CFAbsoluteTime __wrap_CFAbsoluteTimeGetCurrent(void)
{
    return Call(kCFAbsoluteTime, __real_CFAbsoluteTimeGetCurrent);
}

static TListed kCFArrayAppendValue("CFArrayAppendValue");
void __real_CFArrayAppendValue(CFMutableArrayRef, const void*);
void __wrap_CFArrayAppendValue(CFMutableArrayRef array, const void* value)
{
    Call(kCFArrayAppendValue, __real_CFArrayAppendValue, array, value);
}

static TListed kCFArrayCreateMutable("CFArrayCreateMutable");
CFMutableArrayRef __real_CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks*);
CFMutableArrayRef __wrap_CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks* calls)
{
    return Call(kCFArrayCreateMutable, __real_CFArrayCreateMutable, allocator, capacity, calls);
}

static TListed kCFBundleCopyURL("CFBundleCopyExecutableURL");
CFURLRef __real_CFBundleCopyExecutableURL(CFBundleRef);
CFURLRef __wrap_CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    return Call(kCFBundleCopyURL, __real_CFBundleCopyExecutableURL, bundle);
}

static TListed kCFBundleCreate("CFBundleCreate");
CFBundleRef __real_CFBundleCreate(CFAllocatorRef, CFURLRef);
CFBundleRef __wrap_CFBundleCreate(CFAllocatorRef allocator, CFURLRef url)
{
    return Call(kCFBundleCreate, __real_CFBundleCreate, allocator, url);
}

static TListed kCFDataCreateWithBytesNoCopy("CFDataCreateWithBytesNoCopy");
CFDataRef __real_CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8*, CFIndex, CFAllocatorRef);
CFDataRef __wrap_CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                             CFAllocatorRef deallocator)
{
    return Call(kCFDataCreateWithBytesNoCopy, __real_CFDataCreateWithBytesNoCopy, allocator, bytes, length,
                deallocator);
}

static TListed kCFPropertyListCreateFrom("CFPropertyListCreateFromXMLData");
CFPropertyListRef __real_CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef, CFOptionFlags, CFStringRef*);
CFPropertyListRef __wrap_CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xml, CFOptionFlags options,
                                                         CFStringRef* errorText)
{
    return Call(kCFPropertyListCreateFrom, __real_CFPropertyListCreateFromXMLData, allocator, xml, options, errorText);
}

static TListed kCFPropertyListCreateXML("CFPropertyListCreateXMLData");
CFDataRef __real_CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef);
CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    return Call(kCFPropertyListCreateXML, __real_CFPropertyListCreateXMLData, allocator, list);
}

static TListed kCFPropertyListIsValid("CFPropertyListIsValid");
Boolean __real_CFPropertyListIsValid(CFPropertyListRef, CFPropertyListFormat);
Boolean __wrap_CFPropertyListIsValid(CFPropertyListRef list, CFPropertyListFormat format)
{
    return Call(kCFPropertyListIsValid, __real_CFPropertyListIsValid, list, format);
}

static TListed kCFRelease("CFRelease");
void __real_CFRelease(CFTypeRef);
void __wrap_CFRelease(CFTypeRef object)
{
    Call(kCFRelease, __real_CFRelease, object);
}

static TListed kCFRunLoopRun("CFRunLoopRun");
void __real_CFRunLoopRun(void);
void __wrap_CFRunLoopRun(void)
{
    Call(kCFRunLoopRun, __real_CFRunLoopRun);
}

static TListed kCFStringCreateWithCString("CFStringCreateWithCString");
CFStringRef __real_CFStringCreateWithCString(CFAllocatorRef, const char*, CFStringEncoding);
CFStringRef __wrap_CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding)
{
    return Call(kCFStringCreateWithCString, __real_CFStringCreateWithCString, allocator, text, encoding);
}

static TListed kCFStringCreateFromPath("CFStringCreateWithFileSystemRepresentation");
CFStringRef __real_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef, const char*);
CFStringRef __wrap_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator, const char* path)
{
    return Call(kCFStringCreateFromPath, __real_CFStringCreateWithFileSystemRepresentation, allocator, path);
}

static TListed kCFURLCreateData("CFURLCreateDataAndPropertiesFromResource");
Boolean __real_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef, CFDataRef*, CFDictionaryRef*,
                                                        CFArrayRef, SInt32*);
Boolean __wrap_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* bytes,
                                                        CFDictionaryRef* properties, CFArrayRef wanted, SInt32* error)
{
    return Call(kCFURLCreateData, __real_CFURLCreateDataAndPropertiesFromResource, allocator, url, bytes, properties,
                wanted, error);
}

static TListed kCFURLCreateFromPath("CFURLCreateFromFileSystemRepresentation");
CFURLRef __real_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8*, CFIndex, Boolean);
CFURLRef __wrap_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                                        Boolean isDirectory)
{
    return Call(kCFURLCreateFromPath, __real_CFURLCreateFromFileSystemRepresentation, allocator, bytes, length,
                isDirectory);
}

static TListed kCFURLDestroyResource("CFURLDestroyResource");
Boolean __real_CFURLDestroyResource(CFURLRef, SInt32*);
Boolean __wrap_CFURLDestroyResource(CFURLRef url, SInt32* error)
{
    return Call(kCFURLDestroyResource, __real_CFURLDestroyResource, url, error);
}

static TListed kCFURLWriteData("CFURLWriteDataAndPropertiesToResource");
Boolean __real_CFURLWriteDataAndPropertiesToResource(CFURLRef, CFDataRef, CFDictionaryRef, SInt32*);
Boolean __wrap_CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef bytes, CFDictionaryRef properties,
                                                     SInt32* error)
{
    return Call(kCFURLWriteData, __real_CFURLWriteDataAndPropertiesToResource, url, bytes, properties, error);
}

static TListed kCFUUIDCreateString("CFUUIDCreateString");
CFStringRef __real_CFUUIDCreateString(CFAllocatorRef, CFUUIDRef);
CFStringRef __wrap_CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid)
{
    return Call(kCFUUIDCreateString, __real_CFUUIDCreateString, allocator, uuid);
}
}
