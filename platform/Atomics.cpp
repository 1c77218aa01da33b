#include <CoreServices/CoreServices.h>

SInt32 IncrementAtomic(SInt32* address)
{
    return AddAtomic(1, address);
}

SInt32 AddAtomic(SInt32 amount, SInt32* address)
{
    return __atomic_fetch_add(address, amount, __ATOMIC_SEQ_CST);
}
