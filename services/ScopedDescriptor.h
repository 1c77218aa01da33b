// Holds one file descriptor and closes it at the end of a scope.

#ifndef HALVORIX_SERVICES_SCOPEDDESCRIPTOR_H
#define HALVORIX_SERVICES_SCOPEDDESCRIPTOR_H

#include <unistd.h>

class TScopedDescriptor
{
public:
    // descriptor  what open(2) returned: one that becomes this holder's, or -1
    explicit TScopedDescriptor(int descriptor) : fDescriptor(descriptor) {}
    ~TScopedDescriptor()
    {
        if (fDescriptor != -1)
            close(fDescriptor);
    }

    TScopedDescriptor(const TScopedDescriptor&) = delete;
    TScopedDescriptor& operator=(const TScopedDescriptor&) = delete;

    explicit operator bool() const { return fDescriptor != -1; }
    int Get() const { return fDescriptor; }

private:
    int fDescriptor;
};

#endif
