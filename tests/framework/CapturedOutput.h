// What a piece of code writes to standard output.

#ifndef HALVORIX_TESTS_FRAMEWORK_CAPTUREDOUTPUT_H
#define HALVORIX_TESTS_FRAMEWORK_CAPTUREDOUTPUT_H

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <unistd.h>

// Runs the code and returns what it wrote; less than a pipe holds (64 KB).
inline std::string OutputOf(const std::function<void()>& code)
{
    fflush(stdout);
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    const int standardOutput = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    code();
    fflush(stdout);
    dup2(standardOutput, STDOUT_FILENO);
    close(standardOutput);

    std::string output;
    char piece[4096];
    for (ssize_t count; (count = read(ends[0], piece, sizeof piece)) > 0;)
        output.append(piece, static_cast<std::size_t>(count));
    close(ends[0]);
    return output;
}

#endif
