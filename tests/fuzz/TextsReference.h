// Trimming, joining and cutting of texts, and numbers as text, without buffers.

#ifndef HALVORIX_TESTS_FUZZ_TEXTSREFERENCE_H
#define HALVORIX_TESTS_FUZZ_TEXTSREFERENCE_H

#include <cstddef>
#include <cstdint>
#include <string>

// Where the text without the blanks around it begins and ends; both are its end when it is all blanks.
struct TTrimmed
{
    std::size_t begin;
    std::size_t end;
};
TTrimmed Trimmed(const std::string& text);

// A size without its unit, and the power of ten that goes with the unit. Empty and 0 from 1000 terabytes on.
std::string TextOfSize(std::uint64_t bytes, std::uint32_t* power);

// The unit with this power.
std::string UnitOfPower(std::uint32_t power);

// Eight bytes of a number, the most significant first.
std::string TextOfBytes(std::uint64_t number);

#endif
