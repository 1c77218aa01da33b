#include "bench/relay/Record.h"

#include <cstring>

static constexpr std::size_t kNumberOffset = 16;
static constexpr std::size_t kStampOffset = 32;
static constexpr std::size_t kDigits = 16;

static void PutLetters(std::uint64_t value, char* letters)
{
    for (std::size_t i = 0; i < kDigits; ++i, value >>= 4)
        letters[i] = static_cast<char>('A' + (value & 15));
}

static std::uint64_t ReadLetters(const char* letters)
{
    std::uint64_t value = 0;
    for (std::size_t i = kDigits; i-- > 0;)
        value = value << 4 | static_cast<std::uint64_t>(letters[i] - 'A');
    return value;
}

void FillRecord(std::uint64_t number, std::uint64_t stamp, TRecord* record)
{
    memset(record->bytes, 'x', sizeof record->bytes);
    PutLetters(number, record->bytes + kNumberOffset);
    PutLetters(stamp, record->bytes + kStampOffset);
}

std::uint64_t NumberOfRecord(const char* bytes)
{
    return ReadLetters(bytes + kNumberOffset);
}

std::uint64_t StampOfRecord(const char* bytes)
{
    return ReadLetters(bytes + kStampOffset);
}
