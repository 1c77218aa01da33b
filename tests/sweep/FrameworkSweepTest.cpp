// Every call that the functions of framework/ make, failing once. What they print is not looked at.

#include "framework/Arg.h"
#include "framework/Tool.h"
#include "tests/sweep/Operation.h"

using SweptFramework = TMachineTest;

// Accepts the word "verbose".
class TVerboseArg : public TArg
{
public:
    TVerboseArg() : TArg(0) {}
    UInt8 MatchArg(const char* lowered) override { return std::string(lowered) == "verbose"; }
    void ReportMissingArg() override {}
    void DescribeArg() override {}
};

TEST_F(SweptFramework, AListWithoutMemoryForANodeStaysAsItIs)
{
    TOperation("TArgList::Append",
               [] {
                   TArgList list;
                   list.Append(nullptr);
                   return Text(list.Count());
               })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
    TOperation("TArgList::Prepend",
               [] {
                   TArgList list;
                   list.Prepend(nullptr);
                   return Text(list.Count());
               })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptFramework, ADescriptorWithoutMemoryForItsNodeIsNotOffered)
{
    TOperation("TArg",
               [] {
                   const short before = TArg::gArgList.Count();
                   TVerboseArg arg;
                   const int added = TArg::gArgList.Count() - before;
                   TArg::gArgList.Unlink(&arg);
                   return Text(added);
               })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptFramework, ACommandLineWithoutMemoryIsRefused)
{
    TOperation("TTool::HandleArgs",
               [] {
                   char program[] = "tool";
                   char word[] = "Verbose";
                   char* words[] = {program, word, nullptr};
                   TVerboseArg arg;
                   TTool tool;
                   const bool result = tool.HandleArgs(2, words);
                   TArg::gArgList.Unlink(&arg);
                   return Text(result);
               })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}
