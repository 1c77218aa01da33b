// Events of which no two are equal, and the check that a client received every one of them.

#ifndef HALVORIX_TESTS_SOAK_NUMBEREDEVENTS_H
#define HALVORIX_TESTS_SOAK_NUMBEREDEVENTS_H

#include "lab/Machine.h"

#include <cstdint>
#include <string>

// The event with this number, of a type that clients get. Every field of it is filled, with any bytes. The same seed and
// number give the same event.
//
// number  from 1 to 99,999,999, of which the record's bytes 4 to 11 tell
lab::TEvent NumberedEvent(std::uint64_t seed, std::uint64_t number);

// The 128 bytes that a client receives of it on this host.
std::string NumberedRecord(std::uint64_t seed, std::uint64_t number);

// What one client receives, held against what it must: from its first record on all that follow, in order, byte for byte.
class TStreamCheck
{
public:
    explicit TStreamCheck(std::uint64_t seed) : fSeed(seed) {}

    // Takes what came next. After a fault nothing more is looked at.
    void Take(const std::string& bytes);

    bool HasBegun() const { return fNext != 0; }

    // The number of the record that must come next; 0 while none has come.
    std::uint64_t Next() const { return fNext; }

    // How many came and were as they should be.
    std::uint64_t Records() const { return fRecords; }

    // One line that says what is wrong; empty while nothing is.
    const std::string& Fault() const { return fFault; }

private:
    void Check(const std::string& record);

    const std::uint64_t fSeed;
    std::uint64_t fNext = 0;
    std::uint64_t fRecords = 0;
    std::string fRest;   // of a record that has not come whole yet
    std::string fFault;
};

#endif
