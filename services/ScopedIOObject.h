// Holds one reference to an IOKit object and gives it back at the end of a scope.

#ifndef HALVORIX_SERVICES_SCOPEDIOOBJECT_H
#define HALVORIX_SERVICES_SCOPEDIOOBJECT_H

#include <IOKit/IOKitLib.h>

class TScopedIOObject
{
public:
    // object  a reference that becomes this holder's, or 0
    explicit TScopedIOObject(io_object_t object) : fObject(object) {}
    ~TScopedIOObject()
    {
        if (fObject != 0)
            IOObjectRelease(fObject);
    }

    TScopedIOObject(const TScopedIOObject&) = delete;
    TScopedIOObject& operator=(const TScopedIOObject&) = delete;

    explicit operator bool() const { return fObject != 0; }
    io_object_t Get() const { return fObject; }

private:
    io_object_t fObject;
};

#endif
