// What halvorixevents is told on its command line.

#ifndef HALVORIX_CLIENTS_COMMANDLINE_H
#define HALVORIX_CLIENTS_COMMANDLINE_H

#include "clients/EventFormat.h"
#include "clients/halvorixevent.h"

#include <cstdint>
#include <string>
#include <vector>

struct TOptions
{
    enum class ETask
    {
        kListen,
        kShowHelp,
        kShowVersion
    };

    ETask task = ETask::kListen;
    EFormat format = EFormat::kText;
    std::string socketPath = HALVORIX_EVENT_SOCKET;
    bool wait = false;
    bool reconnect = false;
    std::uint64_t count = 0;   // events to end after; 0: never
};

// What --help prints.
extern const char kHelp[];

// Reads the arguments, without the program's name. --help and --version end the reading: what follows them is not
// looked at. A value stands in the next argument or after "="; of an option that stands twice, the last counts.
//
// returns  empty, or what is wrong and what would be right: one line without the program's name; *options is then no
// use
std::string ReadCommandLine(const std::vector<std::string>& arguments, TOptions* options);

#endif
