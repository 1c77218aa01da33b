// The functions that allocate and free memory in the table of faults.

#include "tests/support/FaultTable.h"

#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {

static TListed kMalloc("malloc");
void* __real_malloc(size_t);
void* __wrap_malloc(size_t size)
{
    return Call(kMalloc, __real_malloc, size);
}

// Goes by one name whether or not the size is passed.
static TListed kDelete("operator delete");
void __real__ZdlPv(void*);
void __wrap__ZdlPv(void* block)
{
    Call(kDelete, __real__ZdlPv, block);
}

// The others go by their mangled names, in which the letter of std::size_t is the machine's.
void RealSizedDelete(void*, size_t) __asm__("__real__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void*, size_t) __asm__("__wrap__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void* block, size_t size)
{
    Call(kDelete, RealSizedDelete, block, size);
}

static TListed kNew("operator new nothrow");
void* RealNew(size_t, const std::nothrow_t&) __asm__("__real__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t, const std::nothrow_t&) __asm__("__wrap__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t size, const std::nothrow_t&)
{
    return Call(
        kNew, +[](size_t wanted) { return RealNew(wanted, std::nothrow); }, size);
}

static TListed kNewArray("operator new[] nothrow");
void* RealNewArray(size_t, const std::nothrow_t&) __asm__("__real__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t, const std::nothrow_t&) __asm__("__wrap__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t size, const std::nothrow_t&)
{
    return Call(
        kNewArray, +[](size_t wanted) { return RealNewArray(wanted, std::nothrow); }, size);
}
}
