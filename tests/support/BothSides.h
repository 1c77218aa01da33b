// Tries code that forks and whose child may come back from it, too.

#ifndef HALVORIX_TESTS_SUPPORT_BOTHSIDES_H
#define HALVORIX_TESTS_SUPPORT_BOTHSIDES_H

#include <functional>
#include <vector>

// What the code returned, once for each process that came back from it.
struct TReturns
{
    std::vector<long> inCaller;   // in the process that called it
    std::vector<long> inChild;    // in others
};

// Calls the code in a process that is sacrificed for it, so that no child of it goes on in the test. Returns when all
// those processes have ended.
TReturns ReturnsOf(const std::function<long()>& code);

#endif
