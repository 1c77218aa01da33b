// What may come next in a command line of labctl, for the shells' completion.

#ifndef HALVORIX_LAB_LABCTLCOMPLETION_H
#define HALVORIX_LAB_LABCTLCOMPLETION_H

#include "lab/Labctl.h"

namespace labctl {

// The words that the last word, which may be empty, could become, one a line; the others are those before it, without
// "labctl". A line "/" stands for the names of files, "//" for those of folders: these the shell knows itself. What is wrong
// has no completions. As a value: the words in an array.
TAnswer Completions(const TWords& words);

// The script by which a shell asks for them, "bash" or "zsh"; empty for another shell.
std::string CompletionScript(const std::string& shell);

}   // namespace labctl

#endif
