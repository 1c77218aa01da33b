// How init is asked: one file in requests/, one in replies/.

#ifndef HALVORIX_LAB_REQUESTS_H
#define HALVORIX_LAB_REQUESTS_H

#include "lab/Machine.h"

#include <string>

namespace lab {

// Asks init and waits for its answer. Returns an empty text and the answer's line ("ok 12", "refused busy"), or what went
// wrong: the machine does not run, does not answer, or answered by `error TEXT`.
std::string AskInit(const TMachine& machine, const std::string& request, std::string* answer);

}   // namespace lab

#endif
