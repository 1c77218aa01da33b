// Builds a text piece by piece in a buffer of a fixed size.

#ifndef HALVORIX_FOUNDATION_BOUNDEDTEXT_H
#define HALVORIX_FOUNDATION_BOUNDEDTEXT_H

#include <cstddef>
#include <cstring>

// Appends as much of a text as fits, always with a NUL behind it.
//
// destination  a C string in a buffer of `size` bytes
// source       the C string to append, not within destination
// returns      whether all of it fitted
inline bool AppendText(char* destination, const char* source, std::size_t size)
{
    const std::size_t used = strlen(destination);
    const std::size_t room = size - used - 1;
    const std::size_t length = strlen(source);
    const std::size_t copied = length < room ? length : room;
    memcpy(destination + used, source, copied);
    destination[used + copied] = 0;
    return copied == length;
}

#endif
