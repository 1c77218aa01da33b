// An input taken apart, line by line. No input is refused: what is missing is empty or 0.

#ifndef HALVORIX_TESTS_FUZZ_INPUT_H
#define HALVORIX_TESTS_FUZZ_INPUT_H

#include <cstdint>
#include <string>

class TInput
{
public:
    explicit TInput(const std::string& input) : fRest(input) {}

    // Takes what stands up to the next line feed, and that line feed.
    std::string Line();

    // Takes a line, and of that what stands up to the first NUL.
    std::string TextLine() { return Line().c_str(); }

    // Takes a line as hexadecimal digits; of other characters the last four bits count.
    // end  what the number stays below; 0: 2^64
    std::uint64_t Number(std::uint64_t end = 0);

    bool AtEnd() const { return fRest.empty(); }

    // Everything that was not taken yet.
    const std::string& Rest() const { return fRest; }

private:
    std::string fRest;
};

// What the words of a line are, separated by one blank each.
std::string TakeWord(std::string* line);

// The number that hexadecimal digits make, as above.
std::uint64_t NumberOf(const std::string& digits);

#endif
