// Reads small files in one piece.

#ifndef HALVORIX_SERVICES_WHOLEFILES_H
#define HALVORIX_SERVICES_WHOLEFILES_H

#include <cstddef>

// Reads a file of a size that is known, with one read(2).
//
// path     a path
// buffer   receives the bytes; after a failure it may hold some
// size     how many bytes the file has, as stat(2) told; buffer has room for them
// returns  whether so many were read: false when the file cannot be opened or became shorter. What it grew by is not
//          read
bool ReadWholeFile(const char* path, void* buffer, std::size_t size);

#endif
