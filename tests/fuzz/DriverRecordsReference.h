// What the daemon does about the records that it fetches from the driver, as a list of what is seen from outside.

#ifndef HALVORIX_TESTS_FUZZ_DRIVERRECORDSREFERENCE_H
#define HALVORIX_TESTS_FUZZ_DRIVERRECORDSREFERENCE_H

#include <cstddef>
#include <string>
#include <vector>

constexpr std::size_t kDriverRecordSize = 128;

// What the system makes of writes to clients.
class TWriteResults
{
public:
    // results  a character for each write: "-" fails, "+" claims one byte more than it was given, "0" takes nothing, a to z
    //          take 1 to 26 bytes; any other, and all that come behind, take everything
    explicit TWriteResults(const std::string& results) : fResults(results) {}

    // The result of the next write of so many bytes.
    long Next(std::size_t size);

private:
    std::string fResults;
};

// Everything that happens in one look at the driver's queue:
//
//     "fetch 1; "          a record is asked for, with this listening flag
//     "3 gets ...; "       bytes that client 3 is sent
//     "3 goes; "           its connection is closed
//     "disk ...; "         a disk of this name is asked for, to learn where it is mounted
//     "service ...; "      the service of this name
//
// answers    what the driver answers to each fetch; behind the last it answers nothing at all. An answer may be shorter than
//            a record: the rest is 0 then
// clients    how many clients are connected, from 1 on in their order
// isLeopard  whether the system is one that starts from boot helper partitions
// left       receives who is still connected
std::string ActionsOnRecords(const std::vector<std::string>& answers, const std::string& writes, int clients,
                             bool isLeopard, std::vector<int>* left);

#endif
