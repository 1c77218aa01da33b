// A program that a measurement starts, and that ends with it.

#ifndef HALVORIX_BENCH_CHILD_H
#define HALVORIX_BENCH_CHILD_H

#include <string>
#include <sys/types.h>
#include <vector>

class TChild
{
public:
    TChild() : fProcess(-1) {}
    ~TChild() { End(); }
    TChild(const TChild&) = delete;
    TChild& operator=(const TChild&) = delete;

    // Starts the program, with nothing on its standard input and what it prints dropped. Ends this one when it cannot.
    //
    // command  its path, then argv from argv[1] on
    void Start(const std::vector<std::string>& command);

    pid_t Process() const { return fProcess; }

    // Kills it and waits for it; nothing when none was started.
    void End();

private:
    pid_t fProcess;   // -1: none
};

// Ends this program with a line that says what was in vain.
[[noreturn]] void GiveUp(const std::string& what);

#endif
