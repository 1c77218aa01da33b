// An operation of the product, each of whose calls is made to fail, one at a time, and what is documented of it then.
//
//     TOperation("CopyDirectoryOrFile", [] { return Text(CopyDirectoryOrFile("/a", "/b")); })
//         .Gives("1")
//         .GivesOnFailure("0")
//         .DespiteFailureOf({"setuid"})
//         .GivesOnFailureOf("execv", kByChild, "1, as the header says of a tool that cannot be executed")
//         .Sweep();
//
// For each call, the operation is run while that call fails: the call must be reached, the result must be the documented
// one, and nothing may be left behind. Then it is run without a fault, and must give what it gives when nothing fails.

#ifndef HALVORIX_TESTS_SWEEP_OPERATION_H
#define HALVORIX_TESTS_SWEEP_OPERATION_H

#include "tests/support/FaultSweep.h"
#include "tests/support/MachineTest.h"

#include <functional>
#include <string>
#include <vector>

// Whose call it is that fails.
enum ESide
{
    kByAnybody,
    kByCaller,
    kByChild
};

class TOperation
{
public:
    // name  the function's; its number of calls is recorded under it
    // work  runs the operation and returns its result. What a child that came back from it returned is added to that as
    //       ", in a child: 0", and what it left behind as ", left 1 object"
    TOperation(const char* name, std::function<std::string()> work);

    // What it gives when nothing fails, and when a call fails of which nothing else is said.
    TOperation& Gives(const std::string& result);
    TOperation& GivesOnFailure(const std::string& result);

    // What it gives when calls of this function fail: all of them or, of those on that side, the one with this number.
    // Whatever is said first counts.
    TOperation& GivesOnFailureOf(const std::string& function, const std::string& result, ESide side = kByAnybody,
                                 unsigned call = 0);

    // Failures of these functions change nothing.
    TOperation& DespiteFailureOf(const std::vector<std::string>& functions, ESide side = kByAnybody);

    // Something of the operation's effects that is compared as well; a blank and this text are added to the result.
    TOperation& Showing(std::function<std::string()> effect);

    // What is done before each run.
    TOperation& After(std::function<void()> preparation);

    // It runs in a process that is sacrificed for each run, whose calls all count as a child's: for what a process can do
    // but once. Nothing is run after the fault in that process, and without a fault it is run at the end alone.
    TOperation& InAProcessOfItsOwn();

    // What it leaves is not looked at: its threads work on.
    TOperation& WhateverItLeaves();

    // Long ones are run without a fault once, after the last call, instead of after each.
    TOperation& RunAgainAtTheEnd();

    // Ends the sacrificed process of an operation that never returns, as if it had returned this.
    [[noreturn]] static void End(const std::string& result);

    // Goes over all calls. Fails the test where something differs, and when there are fewer calls than are recorded in
    // points.txt. Prints one line for tests/sweep/run.
    //
    // returns  what all runs together left behind, each of which has been compared
    THeld Sweep();

private:
    struct TRule
    {
        std::string function;
        ESide side;
        unsigned call;   // 0: each
        std::string result;
    };

    using THow = std::function<void(const std::function<void()>&)>;

    std::string Run(const THow& how) const;
    std::string RunHere(const THow& how) const;
    std::string RunSacrificed(const THow& how) const;
    std::string Expected(const TFaultPoint& point) const;
    std::string RunPlainly() const;
    void Try(const TFaultPoint& point) const;
    void Report(std::size_t points) const;
    std::string Rules() const;

    const char* fName;
    std::function<std::string()> fWork;
    std::string fClean;
    std::string fFailed;
    std::vector<TRule> fRules;
    std::function<std::string()> fEffect;
    std::function<void()> fPreparation;
    bool fSacrificed = false;
    bool fLooksAtRest = true;
    bool fAgainAfterEach = true;
};

// A result as text.
template <class TNumber>
std::string Text(TNumber number)
{
    return std::to_string(number);
}

#endif
