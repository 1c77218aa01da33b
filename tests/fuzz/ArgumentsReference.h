// What becomes of a tool's command line.

#ifndef HALVORIX_TESTS_FUZZ_ARGUMENTSREFERENCE_H
#define HALVORIX_TESTS_FUZZ_ARGUMENTSREFERENCE_H

#include <string>
#include <vector>

// An argument that a tool knows, by the one word that it is.
struct TKnownArgument
{
    std::string word;
    bool required;
};

struct TCommandLineResult
{
    bool handled = false;
    bool helpRequested = false;
    std::string asked;     // "2?word " for each question whether argument 2 accepts a word, "2! " for each complaint
    std::string printed;   // to standard output
};

// words  those behind the tool's own name
TCommandLineResult ResultOfCommandLine(const std::vector<TKnownArgument>& known, const std::vector<std::string>& words);

// What is printed about a failure with this status.
std::string TextOfError(const TCommandLineResult& result, int status, std::size_t known);

#endif
