// A descriptor that writes down what is asked of it, and the fixture of those who try descriptors.

#ifndef HALVORIX_TESTS_FRAMEWORK_TESTARG_H
#define HALVORIX_TESTS_FRAMEWORK_TESTARG_H

#include "framework/Arg.h"
#include "tests/support/MachineTest.h"

#include <string>

// Accepts one word, and writes every call to `log`: "a?word " when it is asked whether it accepts it, "a! " when it complains,
// "a: " when it describes itself, where "a" is the descriptor's word.
class TTestArg : public TArg
{
public:
    TTestArg(std::string* log, const std::string& word, unsigned char required = 0)
        : TArg(required), fLog(log), fWord(word)
    {
    }

    // Tests' descriptors do not live as long as the process.
    ~TTestArg() override { gArgList.Unlink(static_cast<TArg*>(this)); }

    UInt8 MatchArg(const char* lowered) override
    {
        *fLog += fWord + "?" + lowered + " ";
        return fWord == lowered ? fAnswer : UInt8(0);
    }
    void ReportMissingArg() override { *fLog += fWord + "! "; }
    void DescribeArg() override { *fLog += fWord + ": "; }

    UInt8 Found() const { return fFound; }
    UInt8 Required() const { return fRequired; }

    UInt8 fAnswer = 1;   // what MatchArg returns for the word that it accepts

private:
    std::string* fLog;
    std::string fWord;
};

#endif
