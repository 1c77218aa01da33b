// Text as `ps acxww` prints it, for tests.

#ifndef HALVORIX_TESTS_SERVICES_PROCESSLISTTEXT_H
#define HALVORIX_TESTS_SERVICES_PROCESSLISTTEXT_H

#include <cstdio>
#include <string>

// A line as ps prints it, with its line feed.
inline std::string Line(long process, const std::string& command)
{
    char front[64];
    snprintf(front, sizeof front, "%5ld  ??  Ss     0:01.25 ", process);
    return front + command + "\n";
}

constexpr char kHeader[] = "  PID  TT  STAT      TIME COMMAND\n";

// A line of exactly this many bytes, its line feed not counted, whose command is `command`.
inline std::string LineOfLength(std::size_t length, long process, const std::string& command)
{
    const std::string line = Line(process, command);
    return std::string(length + 1 - line.size(), ' ') + line;
}

#endif
