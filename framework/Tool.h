// The base of command-line tools: reads the arguments, then initialises, works and reports what went wrong.

#ifndef HALVORIX_FRAMEWORK_TOOL_H
#define HALVORIX_FRAMEWORK_TOOL_H

#include <CoreServices/CoreServices.h>

// What main does with a tool: HandleArgs, then InitTool, then DoWork, and on the first failure ShowHelp or HandleError.
class TTool
{
public:
    // Reads nothing yet: HandleArgs does.
    TTool();
    virtual ~TTool();

    TTool(const TTool&) = delete;
    TTool& operator=(const TTool&) = delete;

    // Prepares the work. Returns a status, 0 when all is well. Here it prints "InitTool\n" and returns 0.
    virtual SInt32 InitTool();

    // Does the work. Returns a status, 0 when all is well. Here it prints "DoWork\n" and returns 0.
    virtual SInt32 DoWork();

    // Prints how to use the tool, to standard output. Here it prints the descriptors' list and that nobody wrote a help.
    virtual void ShowHelp();

    // Prints what went wrong, to standard output, and then the help (ShowHelp). When HandleArgs was asked for help it
    // prints the help alone.
    //
    // err  a status; -50, a bad parameter, means a syntax error in the command line, every other one is printed as a number
    virtual void HandleError(short err);

    // Reads the command line, by way of the descriptors (TArg::ParseArgs in Arg.h). Call once in a process.
    //
    // argc, argv  as main gets them; argv[0] is not looked at. Up to 32,767 words may follow it. They stay the caller's
    // returns     whether the tool may go on. False when a word was not understood or a required one is missing, which has
    //             been printed then; without a message when the first word is "help", in any case, or "?", when memory
    //             ran out, when there are more words than can be counted, and when argc is below 1.
    bool HandleArgs(int argc, char** argv);

protected:
    UInt8 fHelpRequested;   // 1: the first word asked for help
};

#endif
