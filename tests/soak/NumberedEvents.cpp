#include "tests/soak/NumberedEvents.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

constexpr std::size_t kRecordSize = 128;
constexpr std::size_t kNumberAt = 4;
constexpr std::size_t kNumberSize = 8;

// A small generator, since every record has one of its own: Steele, Lea and Flood's SplitMix64.
class TBytes
{
public:
    explicit TBytes(std::uint64_t state) : fState(state) {}

    std::uint64_t Next()
    {
        fState += 0x9e3779b97f4a7c15u;
        std::uint64_t bits = fState;
        bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9u;
        bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebu;
        return bits ^ (bits >> 31);
    }

    std::string Text(std::size_t size)
    {
        std::string text;
        while (text.size() < size)
            text += static_cast<char>(Next() & 0xff);
        return text;
    }

private:
    std::uint64_t fState;
};

lab::TEvent NumberedEvent(std::uint64_t seed, std::uint64_t number)
{
    TBytes bytes((seed << 32) + number);
    lab::TEvent event;
    event.type = bytes.Next() % 16 == 0 ? std::numeric_limits<std::int32_t>::max() : 3 + static_cast<int>(number % 5);
    // Given, so that a record does not depend on when it was fetched; now and then one that ends a draining of the queue.
    event.flagGiven = true;
    event.flag = bytes.Next() % 500 == 0 ? 1 : 0;
    char digits[kNumberSize + 1];
    snprintf(digits, sizeof digits, "%08u", static_cast<unsigned>(number % 100000000));
    event.head = digits;
    event.payload = bytes.Text(96);
    event.name = bytes.Text(16);
    return event;
}

std::string NumberedRecord(std::uint64_t seed, std::uint64_t number)
{
    const lab::TEvent event = NumberedEvent(seed, number);
    return lab::TMachine::RecordBytes(event, event.flag);
}

void TStreamCheck::Take(const std::string& bytes)
{
    fRest += bytes;
    std::size_t taken = 0;
    for (; fRest.size() - taken >= kRecordSize && fFault.empty(); taken += kRecordSize)
        Check(fRest.substr(taken, kRecordSize));
    fRest.erase(0, taken);
}

void TStreamCheck::Check(const std::string& record)
{
    const std::uint64_t number = strtoull(record.substr(kNumberAt, kNumberSize).c_str(), nullptr, 10);
    const std::uint64_t expected = HasBegun() ? fNext : number;
    const std::string wanted = NumberedRecord(fSeed, expected);
    if (record == wanted) {
        fNext = expected + 1;
        ++fRecords;
        return;
    }
    if (number != expected) {
        fFault = "record " + std::to_string(expected) + " was to come, but record " + std::to_string(number) + " came";
        return;
    }
    const auto differs = std::mismatch(record.begin(), record.end(), wanted.begin()).first - record.begin();
    fFault = "record " + std::to_string(expected) + " came with another byte " + std::to_string(differs);
}
