// Memory that the product is handed: exactly so much, on the heap, so that a byte too far is seen by the sanitizer.

#ifndef HALVORIX_TESTS_FUZZ_ROOM_H
#define HALVORIX_TESTS_FUZZ_ROOM_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

class TRoom
{
public:
    // Room for so many bytes, which are '?' at first.
    explicit TRoom(std::size_t size) : fSize(size), fBytes(new char[size]) { std::fill_n(Get(), size, '?'); }

    // Holds the text as a C string, and nothing behind it.
    explicit TRoom(const std::string& text) : TRoom(text.size() + 1)
    {
        std::copy_n(text.c_str(), text.size() + 1, Get());
    }

    // Never null.
    char* Get() const { return fBytes.get(); }

    // All bytes.
    std::string Bytes() const { return std::string(Get(), fSize); }

private:
    std::size_t fSize;
    std::unique_ptr<char[]> fBytes;
};

#endif
