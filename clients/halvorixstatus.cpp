// halvorixstatus: looks whether the Mac would start from each member of its RAID volumes, and whether the daemon is there.

#include "clients/MachineStatus.h"
#include "clients/StatusFindings.h"
#include "clients/StatusReport.h"

#include <cstdio>
#include <string>

static const char kHelp[] = R"(halvorixstatus tells how the RAID volumes of this Mac are, and changes nothing.

usage: halvorixstatus [--json]

  --json     one JSON object, for programs
  --version  print the version and end
  --help     print this and end

It shows each RAID volume with its identity, its boot members and the boot helper partition beside each, what the firmware
starts from, and whether the daemon runs and its socket answers. Behind that stands what it found, and what to do about it.

Exit status: 0 when a start from any boot member would find everything, no two volumes have the same identity and the
daemon is there; 1 when something is wrong, or this could not be printed; 2 when the arguments make no sense; 3 when
nothing is wrong in what could be looked at, but not all could be: mostly a boot helper partition that is not mounted.
)";

static bool Print(const std::string& text)
{
    return fputs(text.c_str(), stdout) >= 0 && fflush(stdout) == 0;
}

static int PrintAndEnd(const std::string& text)
{
    return Print(text) ? kStatusAllIsWell : kStatusProblems;
}

static int Refuse(const std::string& argument)
{
    fprintf(stderr, "halvorixstatus: there is no option %s; --help lists those that there are\n", argument.c_str());
    return kStatusWrongArguments;
}

static int ShowStatus(bool asJSON)
{
    const TMachineStatus machine = LookAtMachine();
    const std::vector<TFinding> findings = Judge(machine);
    const std::string text = asJSON ? StatusAsJSON(machine, findings) : StatusAsTree(machine, findings);
    return Print(text) ? ExitStatusFor(findings) : kStatusProblems;
}

int main(int count, char** arguments)
{
    bool asJSON = false;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--help")
            return PrintAndEnd(kHelp);
        if (argument == "--version")
            return PrintAndEnd("halvorixstatus " HALVORIX_VERSION "\n");
        if (argument != "--json")
            return Refuse(argument);
        asJSON = true;
    }
    return ShowStatus(asJSON);
}
