// The 128 bytes that every contender relays: a number, by which a lost record shows, and when it was posted.
//
// All is text without a line feed, since one of the contenders relays lines. It stands where an event's clients find the
// event's body, so that what the daemon's side needs beside it can be put in.

#ifndef HALVORIX_BENCH_RELAY_RECORD_H
#define HALVORIX_BENCH_RELAY_RECORD_H

#include <cstddef>
#include <cstdint>

constexpr std::size_t kRecordSize = 128;

struct TRecord
{
    char bytes[kRecordSize];
};

// Fills a record.
//
// number  of the record, from 1 on
// stamp   when it was posted, by Now(); 0 when nobody asks how long it took
void FillRecord(std::uint64_t number, std::uint64_t stamp, TRecord* record);

// What stands in the bytes of a record.
std::uint64_t NumberOfRecord(const char* bytes);
std::uint64_t StampOfRecord(const char* bytes);

#endif
