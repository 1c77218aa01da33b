// Clients of the event socket that come and go, read quickly or slowly, and must each have received everything meanwhile.

#ifndef HALVORIX_TESTS_SOAK_SOAKCLIENTS_H
#define HALVORIX_TESTS_SOAK_SOAKCLIENTS_H

#include "tests/soak/NumberedEvents.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

class TSoakClient;

// Who is connected. The witness comes first and leaves last. The daemon writes to the latest client first, so that a
// record that the witness has was written to all others before.
class TSoakClients
{
public:
    // random  outlives this object
    TSoakClients(std::uint64_t seed, std::mt19937& random);
    ~TSoakClients();

    // A new client: a connection of this process's own that reads all there is or, of some, a little at a time; or, of some,
    // a program that nobody here wrote, which is killed when it is to leave.
    //
    // posted  the number of the last event that was posted so far
    void Come(std::uint64_t posted);

    // A client other than the witness leaves in the middle of everything, if there is one. What it must have received
    // until then is looked for.
    void LeaveOne();

    // Everybody but the witness leaves.
    void LeaveAll();

    // Everybody reads what it is wont to read.
    void Read();

    // Whether everybody that has begun has received everything up to this number, or something wrong.
    bool HaveAll(std::uint64_t posted) const;

    // Fails the test when somebody received anything wrong, or has not begun although it was connected when the event of
    // this number was posted and all up to the last were received by others.
    void Judge(std::uint64_t mustHaveBegun) const;

    std::uint64_t Came() const { return fCame; }
    std::uint64_t RecordsReceived() const;   // by all, those who left included

private:
    void Leave(std::size_t index);

    const std::uint64_t fSeed;
    std::mt19937& fRandom;
    std::vector<std::unique_ptr<TSoakClient>> fClients;
    std::uint64_t fCame = 0;
    std::uint64_t fRecordsOfDeparted = 0;
};

#endif
