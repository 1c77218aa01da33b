#include "foundation/Buffers.h"

#include <cstring>
#include <new>

static bool GrowBuffer(void** buffer, UInt32* size, UInt32 wanted, bool keep)
{
    void* const larger = ::operator new(wanted, std::nothrow);
    if (larger == nullptr)
        return false;

    memset(larger, 0, wanted);
    if (keep && *buffer != nullptr)
        memcpy(larger, *buffer, *size);
    ::operator delete(*buffer);
    *buffer = larger;
    *size = wanted;
    return true;
}

bool AdjustBufferSize(void** buffer, UInt32* size, UInt32 wanted, bool keep)
{
    if (*size < wanted)
        return GrowBuffer(buffer, size, wanted, keep);
    // A buffer of no bytes may be null, which memset must not see.
    if (wanted != 0)
        memset(*buffer, 0, wanted);
    return true;
}
