// What the table of subcommands says of how each is called, taken apart, and the help that is made of it.

#ifndef HALVORIX_LAB_LABCTLUSAGE_H
#define HALVORIX_LAB_LABCTLUSAGE_H

#include "lab/Labctl.h"

namespace labctl {

struct TOption
{
    std::string name;    // without its dashes
    std::string value;   // what follows it: "BYTES"; empty when nothing does
};

// One way to call a subcommand.
struct TForm
{
    std::vector<TWords> positions;   // the alternatives for each word
    bool repeats = false;            // whether the last of them may be there more than once
    std::vector<TOption> options;
};

std::vector<TForm> FormsOf(const TCommand& command);

// The options of all forms, each once, with --help and --json behind them.
std::vector<TOption> OptionsOf(const TCommand& command);

// Each form whole, "labctl NAME ...", with what stands between them.
std::string UsageOf(const TCommand& command, const std::string& between);
extern const char* const kUsage;   // of labctl itself

// " (did you mean processes?)" when one of the known words is what somebody may have meant; otherwise empty.
std::string Suggestion(const std::string& word, const TWords& known);

// How many letters have to be added, left out, changed or swapped with their neighbour to make one word of the other.
std::size_t EditDistance(const std::string& left, const std::string& right);

// The list of subcommands, and what there is to know of one.
TAnswer HelpForAll();
TAnswer HelpFor(const TCommand& command);

}   // namespace labctl

#endif
