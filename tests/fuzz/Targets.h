// What is tried with input of every kind. Each function takes one input, makes it into what the product is handed, and ends
// the process with a message (Comparison.h) where the product's answer is not that of a reference. The references stand in
// files of their own, slow and obvious, and know nothing of the product's code.
//
// How an input is read stands at the head of each target's source. The same functions are called by libFuzzer with inputs
// that it makes up (tests/fuzz/run), and by the tests with the inputs that were kept (tests/fuzz/corpus).

#ifndef HALVORIX_TESTS_FUZZ_TARGETS_H
#define HALVORIX_TESTS_FUZZ_TARGETS_H

#include <string>

void TryArguments(const std::string& input);
void TryDiskNames(const std::string& input);
void TryDriverRecords(const std::string& input);
void TryProcessLines(const std::string& input);
void TryPropertyLists(const std::string& input);
void TryStartUpLists(const std::string& input);
void TryTexts(const std::string& input);
void TryVersions(const std::string& input);

#endif
