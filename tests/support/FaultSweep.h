// Finds every call of the table of faults that a piece of code makes, and lets exactly one of them fail.
//
//     for (const TFaultPoint& point : FaultPointsOf(code)) {
//         EXPECT_TRUE(RunWithFaultAt(point, code));
//         ...
//     }
//
// What counts is what the calling thread calls as the product, and what the children do that it forks meanwhile. Each
// call fails as is natural for its function, which the table says (FaultsIn*.cpp). Functions that cannot fail are no points.

#ifndef HALVORIX_TESTS_SUPPORT_FAULTSWEEP_H
#define HALVORIX_TESTS_SUPPORT_FAULTSWEEP_H

#include <functional>
#include <string>
#include <vector>

// One call. Calls of each function count from 1, those of the caller and those of all its children apart: which of the two
// comes first is not fixed.
struct TFaultPoint
{
    const char* function;
    bool inChild;
    unsigned call;
};

// "close, call 2, in a child".
std::string Described(const TFaultPoint& point);

// Runs the code without a fault and returns the calls that it made.
std::vector<TFaultPoint> FaultPointsOf(const std::function<void()>& code);

// Runs the code while that call fails. Returns whether it was made, and so failed.
bool RunWithFaultAt(const TFaultPoint& point, const std::function<void()>& code);

// How many blocks of memory the calling process got in the last run and did not free: by new (std::nothrow), malloc and
// strdup.
unsigned BlocksLeftBySweep();

#endif
