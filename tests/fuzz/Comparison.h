// Compares the product's answers with a reference's.

#ifndef HALVORIX_TESTS_FUZZ_COMPARISON_H
#define HALVORIX_TESTS_FUZZ_COMPARISON_H

#include <cstdint>
#include <string>

// Compares what became of one input.
class TComparison
{
public:
    // input  stays the caller's, and must outlive this
    explicit TComparison(const std::string& input) : fInput(input) {}

    // Ends the process, with a message that shows the input and both, unless they are equal.
    // what  which answer it is, in words
    void Same(const char* what, const std::string& expected, const std::string& got) const;
    void Same(const char* what, std::uint64_t expected, std::uint64_t got) const;

private:
    const std::string& fInput;
};

#endif
