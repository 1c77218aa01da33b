// The functions that allocate and free memory in the table of faults.

#include "tests/support/FaultTable.h"

#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {

static TListed kMalloc("malloc", Fails(0, ENOMEM));
void* __real_malloc(size_t);
void* __wrap_malloc(size_t size)
{
    void* const block = Call(kMalloc, __real_malloc, size);
    NoteAllocated(block);
    return block;
}

static TListed kFree("free", kNeverFails);
void __real_free(void*);
void __wrap_free(void* block)
{
    NoteFreed(block);
    Call(kFree, __real_free, block);
}

// Goes by one name whether or not the size is passed.
static TListed kDelete("operator delete", kNeverFails);
void __real__ZdlPv(void*);
void __wrap__ZdlPv(void* block)
{
    NoteFreed(block);
    Call(kDelete, __real__ZdlPv, block);
}

// The others go by their mangled names, in which the letter of std::size_t is the machine's.
void RealSizedDelete(void*, size_t) __asm__("__real__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void*, size_t) __asm__("__wrap__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void* block, size_t size)
{
    NoteFreed(block);
    Call(kDelete, RealSizedDelete, block, size);
}

static TListed kDeleteArray("operator delete[]", kNeverFails);
void __real__ZdaPv(void*);
void __wrap__ZdaPv(void* block)
{
    NoteFreed(block);
    Call(kDeleteArray, __real__ZdaPv, block);
}

// Those that throw are no product's. They stand here because in a static program they call the malloc above.
void* RealThrowingNew(size_t) __asm__("__real__Znw" HALVORIX_SIZE_LETTER);
void* WrapThrowingNew(size_t) __asm__("__wrap__Znw" HALVORIX_SIZE_LETTER);
void* WrapThrowingNew(size_t size)
{
    const TInside inside;
    return RealThrowingNew(size);
}

void* RealThrowingNewArray(size_t) __asm__("__real__Zna" HALVORIX_SIZE_LETTER);
void* WrapThrowingNewArray(size_t) __asm__("__wrap__Zna" HALVORIX_SIZE_LETTER);
void* WrapThrowingNewArray(size_t size)
{
    const TInside inside;
    return RealThrowingNewArray(size);
}

static TListed kNew("operator new nothrow", Fails(0, ENOMEM));
void* RealNew(size_t, const std::nothrow_t&) __asm__("__real__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t, const std::nothrow_t&) __asm__("__wrap__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t size, const std::nothrow_t&)
{
    void* const block = Call(
        kNew, +[](size_t wanted) { return RealNew(wanted, std::nothrow); }, size);
    NoteAllocated(block);
    return block;
}

static TListed kNewArray("operator new[] nothrow", Fails(0, ENOMEM));
void* RealNewArray(size_t, const std::nothrow_t&) __asm__("__real__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t, const std::nothrow_t&) __asm__("__wrap__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t size, const std::nothrow_t&)
{
    void* const block = Call(
        kNewArray, +[](size_t wanted) { return RealNewArray(wanted, std::nothrow); }, size);
    NoteAllocated(block);
    return block;
}
}
