// Holds one reference to a Core Foundation object and gives it back at the end of a scope.

#ifndef HALVORIX_FOUNDATION_SCOPEDCFTYPE_H
#define HALVORIX_FOUNDATION_SCOPEDCFTYPE_H

#include <CoreFoundation/CoreFoundation.h>

// The reference's type follows from what it is made of:
//
//     const TScopedCFType name(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingASCII));
//     if (!name)
//         return 0;
//     CFStringGetLength(name.Get());
//
// What a function with Get in its name returned is not its caller's to hold.
template <class TReference = CFTypeRef>
class TScopedCFType
{
public:
    // object  a reference that becomes this holder's, or null
    explicit TScopedCFType(TReference object = nullptr) : fObject(object) {}
    ~TScopedCFType()
    {
        if (fObject != nullptr)
            CFRelease(fObject);
    }

    TScopedCFType(const TScopedCFType&) = delete;
    TScopedCFType& operator=(const TScopedCFType&) = delete;

    explicit operator bool() const { return fObject != nullptr; }

    // The reference, which stays this holder's; null when there is none.
    TReference Get() const { return fObject; }

    // Returns the reference, which the caller releases from here on; null when there was none. This holder is empty then.
    TReference Release()
    {
        const TReference object = fObject;
        fObject = nullptr;
        return object;
    }

private:
    TReference fObject;
};

#endif
