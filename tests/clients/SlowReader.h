// An output that is read only when the test likes, and how a program gets it.

#ifndef HALVORIX_TESTS_CLIENTS_SLOWREADER_H
#define HALVORIX_TESTS_CLIENTS_SLOWREADER_H

#include "tests/support/RunningProgram.h"

#include <string>
#include <vector>

// The pipe of TSlowReader.
extern const char kSlowReader[];

// A command (as lab::CommandFor makes it) with its descriptors changed as this redirection of the shell says.
std::vector<std::string> WithRedirection(const std::string& redirection, const std::vector<std::string>& command);

// The command with its standard output going to this file or pipe.
std::vector<std::string> WithOutputTo(const std::string& file, const std::vector<std::string>& command);

// A pipe with a name, whose reader the test is. There can be one at a time.
class TSlowReader
{
public:
    TSlowReader();
    ~TSlowReader();
    TSlowReader(const TSlowReader&) = delete;
    TSlowReader& operator=(const TSlowReader&) = delete;

    // Reads no more: the pipe is without a reader.
    void Leave();

    // Lets the pipe hold so many bytes.
    void MakeRoom(int bytes);

    // Reads what is there. Returns everything that was read so far.
    const std::string& Read();

    // Reads until the program has ended, and then the rest.
    const std::string& ReadAllOf(TRunningProgram& program);

private:
    int fPipe = -1;
    std::string fText;
};

#endif
