#include "tests/fuzz/ProcessLinesReference.h"

#include <cstdio>
#include <sstream>

static int ProcessInLine(const std::string& line, const std::string& name)
{
    int process = 0;
    char words[4][256];
    if (sscanf(line.c_str(), "%d %255s %255s %255s %255s", &process, words[0], words[1], words[2], words[3]) != 5)
        return 0;
    return words[3] == name ? process : 0;
}

int FirstProcessInText(const std::string& text, const std::string& name, int caller, std::size_t longest)
{
    // Only what a line feed ends is a line.
    std::istringstream lines(text.substr(0, text.rfind('\n') + 1));
    std::string line;
    while (std::getline(lines, line)) {
        if (longest != 0 && line.size() >= longest)
            return 0;
        const int process = line.size() < 256 ? ProcessInLine(line, name) : 0;
        if (process != 0 && process != caller)
            return process;
    }
    return 0;
}
