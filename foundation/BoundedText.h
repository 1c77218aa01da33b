// Copies C strings into buffers of a fixed size: what does not fit is cut off, and there is always a NUL.

#ifndef HALVORIX_FOUNDATION_BOUNDEDTEXT_H
#define HALVORIX_FOUNDATION_BOUNDEDTEXT_H

#include <cstddef>
#include <cstring>

// They do what a Mac's strlcpy and strlcat do, which other systems lack.
//
// destination  room for `size` bytes, NUL included; nothing is written when size is 0
// source       does not overlap the destination
// returns      whether all of source fitted

inline bool CopyText(char* destination, const char* source, std::size_t size)
{
    const std::size_t length = strlen(source);
    if (size == 0)
        return false;
    const std::size_t copied = length < size ? length : size - 1;
    memcpy(destination, source, copied);
    destination[copied] = 0;
    return copied == length;
}

// destination  holds a C string that is shorter than `size`
inline bool AppendText(char* destination, const char* source, std::size_t size)
{
    const std::size_t used = strlen(destination);
    return CopyText(destination + used, source, size - used);
}

#endif
