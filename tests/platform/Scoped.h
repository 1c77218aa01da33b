// Holds what a test made and gives it back.

#ifndef HALVORIX_TESTS_PLATFORM_SCOPED_H
#define HALVORIX_TESTS_PLATFORM_SCOPED_H

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <string>

// Owns one reference to an object; TRef is CFStringRef, CFMutableArrayRef and so on.
template <class TRef>
class TScoped
{
public:
    explicit TScoped(TRef object) : fObject(object) {}
    ~TScoped()
    {
        if (fObject != nullptr)
            CFRelease(fObject);
    }
    TScoped(const TScoped&) = delete;
    TScoped& operator=(const TScoped&) = delete;

    TRef Get() const { return fObject; }

private:
    TRef fObject;
};

// Owns one reference to a name.
class TScopedName
{
public:
    explicit TScopedName(io_object_t name) : fName(name) {}
    ~TScopedName()
    {
        if (fName != IO_OBJECT_NULL)
            IOObjectRelease(fName);
    }
    TScopedName(const TScopedName&) = delete;
    TScopedName& operator=(const TScopedName&) = delete;

    io_object_t Get() const { return fName; }

private:
    io_object_t fName;
};

inline CFStringRef MakeText(const std::string& text)
{
    return CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8);
}

inline CFDataRef MakeBytes(const std::string& bytes)
{
    return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                        static_cast<CFIndex>(bytes.size()));
}

inline CFMutableArrayRef MakeObjects()
{
    return CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
}

inline CFMutableDictionaryRef MakeTable()
{
    return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                     &kCFTypeDictionaryValueCallBacks);
}

// The services of a class, or 0.
inline io_iterator_t ServicesOfClass(const char* name)
{
    io_iterator_t services = IO_OBJECT_NULL;
    IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching(name), &services);
    return services;
}

// The first service of a class, or 0; the caller releases it.
inline io_service_t FirstServiceOfClass(const char* name)
{
    const TScopedName services(ServicesOfClass(name));
    return IOIteratorNext(services.Get());
}

#endif
