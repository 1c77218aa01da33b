#include "tests/fuzz/Comparison.h"

#include <cstdio>
#include <cstdlib>

// A text as C would have it, so that every byte of it is seen.
static std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        char shown[8];
        const auto byte = static_cast<unsigned char>(character);
        const bool plain = byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
        snprintf(shown, sizeof shown, plain ? "%c" : "\\%03o", static_cast<unsigned>(byte));
        quoted += shown;
    }
    return quoted + "\"";
}

void TComparison::Same(const char* what, const std::string& expected, const std::string& got) const
{
    if (expected == got)
        return;
    fprintf(stderr, "%s differs\ninput:    %s\nexpected: %s\ngot:      %s\n", what, Quoted(fInput).c_str(),
            Quoted(expected).c_str(), Quoted(got).c_str());
    abort();
}

void TComparison::Same(const char* what, std::uint64_t expected, std::uint64_t got) const
{
    if (expected != got)
        Same(what, std::to_string(expected), std::to_string(got));
}
