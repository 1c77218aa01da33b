// What halvorixstatus makes of what it sees: what is wrong, what could not be looked at, and what to do about it.

#ifndef HALVORIX_CLIENTS_STATUSFINDINGS_H
#define HALVORIX_CLIENTS_STATUSFINDINGS_H

#include "clients/MachineStatus.h"

#include <string>
#include <vector>

struct TFinding
{
    enum class EKind
    {
        kProblem,    // a start would not find what it needs, or something else is not as it should be
        kUnchecked   // nobody could look
    };

    EKind kind;
    std::string about;   // a BSD name, "volumes", "firmware" or "daemon"
    std::string what;    // one line, no full stop
    std::string advice;
};

// Judges what was seen, volume by volume, then the firmware and the daemon.
//
// returns  none when all is well: a start from any boot member of any RAID volume finds everything, no two volumes have one
//          identity, and the daemon is there
//
// Whether boot helper partitions are complete is asked of volumes with a system of 10.5 or later alone: older ones start
// otherwise. Where the firmware points is asked when the Mac was started from such a volume; whoever started it from
// another disk may have wanted that.
std::vector<TFinding> Judge(const TMachineStatus& machine);

// What halvorixstatus exits with
enum
{
    kStatusAllIsWell = 0,
    kStatusProblems = 1,   // also: the output could not be written
    kStatusWrongArguments = 2,
    kStatusNotAllWasChecked = 3   // and there is no problem in what was
};

int ExitStatusFor(const std::vector<TFinding>& findings);

#endif
