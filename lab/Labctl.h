// What labctl's subcommands share: the table that lists them, how they are called, and how they answer.

#ifndef HALVORIX_LAB_LABCTL_H
#define HALVORIX_LAB_LABCTL_H

#include "lab/Json.h"
#include "lab/Machine.h"

#include <string>
#include <utility>
#include <vector>

namespace labctl {

using TWords = std::vector<std::string>;

// How labctl ends.
enum : int
{
    kDone = 0,
    kNotDone = 1,
    kCalledWrongly = 2
};

// Thrown by those that read words when a subcommand is called wrongly; caught where its usage is known.
struct TMisuse
{
    std::string text;   // what is wrong, in the reader's words
};

// Thrown when something cannot be done.
struct TRefusal
{
    std::string text;   // one line for a person
};

// Throws a refusal unless the text is empty.
void RefuseIf(const std::string& error);

// What a subcommand has to say, once for people and once for programs.
struct TAnswer
{
    TAnswer() = default;
    TAnswer(std::string forPeople, plist::TValue forPrograms)
        : text(std::move(forPeople)), value(std::move(forPrograms))
    {
    }

    std::string text;                                    // with line feeds; empty when there is nothing to say
    plist::TValue value = plist::TValue::Dictionary();   // for --json
};

struct TCommand;

// The options of a call: those that the usage of its subcommand names, and --help and --json, which all have.
class TOptions
{
public:
    // Takes the options out of the words. Misuse when one is unknown or lacks its value. Words behind "--" are none, and with
    // `passesOn` neither those behind the first word that is none.
    TOptions(const TCommand& command, TWords* words);

    bool Has(const std::string& name) const;
    std::string Text(const std::string& name, const std::string& otherwise = "") const;
    // A whole number from the lowest to the highest.
    long long Number(const std::string& name, long long otherwise, long long lowest, long long highest) const;
    // Pairs of hexadecimal digits, as the bytes that they stand for.
    std::string Bytes(const std::string& name) const;

private:
    std::vector<std::pair<std::string, std::string>> fValues;
};

// A subcommand as it was called.
struct TCall
{
    lab::TMachine& machine;   // without a folder when the subcommand needs none
    TWords words;             // what follows the subcommand, without options
    const TOptions& options;
};

// A row of the table from which usage, help, completion and suggestions are made, and by which calls are read.
//
// Each line of `usage` is one form: words in small letters stand for themselves, those in capitals for what they say, a bar is
// between alternatives, brackets are around what may be missing, dots behind what may be there more than once. What a word in
// capitals may be is known to the completion (LabctlCompletion.cpp).
struct TCommand
{
    const char* name;
    const char* usage;     // what follows the name
    const char* summary;   // a line for the list of all
    const char* details;   // what more there is to know, in lines; may be empty
    bool needsMachine;
    bool passesOn;   // what stands behind its first word is another's, options included
    TAnswer (*run)(const TCall& call);
};

// Every subcommand, in the order in which help lists them.
const std::vector<TCommand>& Commands();
// Of these, what is about machines and labctl itself, the processes and the driver, the tools, and the disks, volumes and
// firmware variables.
const std::vector<TCommand>& MachineCommands();
const std::vector<TCommand>& ProcessCommands();
const std::vector<TCommand>& ToolCommands();
const std::vector<TCommand>& DiskCommands();

// The one with this name, or null.
const TCommand* FindCommand(const std::string& name);

// The machines that ship: the folder that the variable HALVORIX_MACHINES names, or that of this source tree.
std::string MachinesFolder();

// The machine that a call is about: what --machine says, or the sandbox's own, or what the variable HALVORIX_MACHINE says.
// Throws a refusal when there is none.
lab::TMachine ChooseMachine(const std::string& option);

// A whole number, or misuse. `what` says what it is of: "--count".
long long ReadNumber(const std::string& what, const std::string& text, long long lowest, long long highest);

// "TERM", "SIGTERM" or "15" as its number, or misuse.
int ReadSignal(const std::string& text);

// Misuse unless there are as many words as told.
void ExpectWords(const TWords& words, std::size_t lowest, std::size_t highest);

// The keys of what a volume is that labctl changes.
TWords VolumeKeys();

// The machine as a tree.
TAnswer DescribeMachine(const lab::TMachine& machine);

}   // namespace labctl

#endif
