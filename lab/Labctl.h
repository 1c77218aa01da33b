// What labctl's subcommands share: how they are called, and how they tell a person what is wrong.

#ifndef HALVORIX_LAB_LABCTL_H
#define HALVORIX_LAB_LABCTL_H

#include "lab/Machine.h"

#include <string>
#include <vector>

namespace labctl {

using TWords = std::vector<std::string>;

struct TCommand
{
    const char* name;
    const char* usage;                                         // what follows the name; one line for each form
    const char* help;                                          // what it does, for --help
    bool needsMachine;                                         // false: the machine it is given is none
    int (*run)(lab::TMachine& machine, const TWords& words);   // returns the exit status
};

// Every subcommand, in the order in which --help lists them.
const std::vector<TCommand>& Commands();
// Of these, what changes tools, and what changes disks, volumes and firmware variables.
const std::vector<TCommand>& ToolCommands();
const std::vector<TCommand>& DiskCommands();

// How a subcommand is called wrongly: thrown by those that read words, caught where the usage line is known.
struct TMisuse
{
    std::string text;   // what is wrong, in the reader's words
};

// The words' options, as "--name VALUE", taken out of them. `known` are their names without the dashes.
class TOptions
{
public:
    TOptions(TWords* words, const TWords& known);

    bool Has(const std::string& name) const;
    std::string Text(const std::string& name, const std::string& otherwise = "") const;
    // A whole number from the lowest to the highest.
    long long Number(const std::string& name, long long otherwise, long long lowest, long long highest) const;
    // Pairs of hexadecimal digits, as the bytes that they stand for.
    std::string Bytes(const std::string& name) const;

private:
    std::vector<std::pair<std::string, std::string>> fValues;
};

// A whole number, or misuse. `what` says what it is of: "--count".
long long ReadNumber(const std::string& what, const std::string& text, long long lowest, long long highest);

// "TERM", "SIGTERM" or "15" as its number, or misuse.
int ReadSignal(const std::string& text);

// Misuse unless there are as many words as told.
void ExpectWords(const TWords& words, std::size_t lowest, std::size_t highest);

// Prints what went wrong and returns 1; returns 0 when the text is empty.
int Report(const std::string& error);

// The machine as a tree for people, with line feeds.
std::string DescribeMachine(const lab::TMachine& machine);

}   // namespace labctl

#endif
