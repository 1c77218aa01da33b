// The processes that init starts: how they come into being, and which programs they are.

#ifndef HALVORIX_LAB_NEWPROCESS_H
#define HALVORIX_LAB_NEWPROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

namespace lab {

// Where a new process reads and writes, and what else tells the main command from the others.
struct TSurroundings
{
    bool isMain = false;
    std::string output = "/dev/null";
    std::vector<std::string> environment;
};

// Starts a command: the path to execute, then argv from argv[0] on. Returns its process and no reason, or -1 and the errno
// that stood in the way. When it returns, the program was executed, so ps shows its name.
pid_t Spawn(const std::vector<std::string>& command, const TSurroundings& surroundings, int* reason);

// The path of a program. One that is named without a slash is looked for in PATH; the name itself when it is not there.
std::string FindProgram(const std::string& name);

// A copy of the idle program under this name; the same one for every process of the name. `error` receives one line when it
// could not be made.
std::string MakeIdleCopy(const std::string& name, std::string* error);

}   // namespace lab

#endif
