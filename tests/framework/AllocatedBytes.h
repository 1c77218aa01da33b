// How much memory the process has allocated and not freed.

#ifndef HALVORIX_TESTS_FRAMEWORK_ALLOCATEDBYTES_H
#define HALVORIX_TESTS_FRAMEWORK_ALLOCATEDBYTES_H

#include <cstddef>
#include <malloc.h>

// A sanitizer's own count, where there is one.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

// What a test allocates to see it again here: small blocks are kept back by the allocator when they are freed.
constexpr std::size_t kLargeBlock = 4u << 20;

inline std::size_t AllocatedBytes()
{
    if (__sanitizer_get_current_allocated_bytes != nullptr)
        return __sanitizer_get_current_allocated_bytes();
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// How many large blocks more than `before` are allocated, to the nearest.
inline long LargeBlocksSince(std::size_t before)
{
    const long difference = static_cast<long>(AllocatedBytes()) - static_cast<long>(before);
    const long half = static_cast<long>(kLargeBlock / 2);
    return (difference + (difference < 0 ? -half : half)) / static_cast<long>(kLargeBlock);
}

#endif
