// The program halvorixevents as the tests run it, and how they read what it prints.

#ifndef HALVORIX_TESTS_CLIENTS_LISTENER_H
#define HALVORIX_TESTS_CLIENTS_LISTENER_H

#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <string>
#include <vector>

class Listener : public TMachineTest
{
protected:
    using TArguments = std::vector<std::string>;

    // The command that runs the program with these arguments; Redirected, with its descriptors changed as this
    // redirection of the shell says; ToSlowReader, with its output going to the pipe of TSlowReader.
    static std::vector<std::string> Command(const TArguments& arguments);
    static std::vector<std::string> Redirected(const std::string& redirection, const TArguments& arguments);
    static std::vector<std::string> ToSlowReader(const TArguments& arguments);

    // Waits until the output holds this text.
    static bool Shows(const TRunningProgram& program, const std::string& text);

    static std::vector<std::string> Lines(const std::string& text);
    static std::size_t CountOf(const std::string& wanted, const std::string& text);

    // The sum of the numbers N of all {"dropped":N}.
    static unsigned long DroppedInJSON(const std::string& text);

    // The number that the report on standard error begins with; 0 when there is no report.
    static unsigned long DroppedInReport(const std::string& errors);
};

#endif
