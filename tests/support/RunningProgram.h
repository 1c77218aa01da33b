// A program that a test starts as its child and looks at from outside.

#ifndef HALVORIX_TESTS_SUPPORT_RUNNINGPROGRAM_H
#define HALVORIX_TESTS_SUPPORT_RUNNINGPROGRAM_H

#include <string>
#include <sys/types.h>
#include <vector>

class TRunningProgram
{
public:
    // Starts the program. Its standard output and error go to files of its own; standard input is empty.
    //
    // command      as lab::CommandFor makes it: the path to execute, then argv from argv[0] on
    // environment  NAME=VALUE, beside this process's own
    explicit TRunningProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment = {});

    // Kills the program if it still runs, and waits for it.
    ~TRunningProgram();

    TRunningProgram(const TRunningProgram&) = delete;
    TRunningProgram& operator=(const TRunningProgram&) = delete;

    pid_t Process() const { return fProcess; }
    void Signal(int number) const;

    bool IsRunning();

    // Waits until the program ends, within a generous deadline. Returns its wait status as a text: "exited 0", "killed 9",
    // or "running" when the deadline passed.
    std::string WaitForEnd();

    // Everything that it wrote so far.
    std::string Output() const;
    std::string Errors() const;

private:
    pid_t fProcess;
    bool fEnded = false;
    int fStatus = 0;
    std::string fOutputFile;
    std::string fErrorFile;
};

// Runs a program to its end and returns what it ended with, as WaitForEnd says it. output and errors may be null.
std::string RunToEnd(const std::vector<std::string>& command, std::string* output, std::string* errors);

#endif
