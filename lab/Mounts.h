// The volumes that a running machine has mounted: what init does at its start, and when it is asked.

#ifndef HALVORIX_LAB_MOUNTS_H
#define HALVORIX_LAB_MOUNTS_H

#include "lab/Machine.h"

#include <string>
#include <vector>

namespace lab {

// To be used by process 1 alone, since who mounts also counts.
class TMounts
{
public:
    // machine  the machine's folder
    explicit TMounts(const std::string& machine) : fMachine(machine) {}

    // Forgets what an earlier run left in mounts/, records the start-up volume as mounted at "/" and mounts the others as a
    // Mac does that has just started. Returns a line for each volume that should have been mounted and was not,
    // and one when there is no start-up volume.
    std::vector<std::string> MountAtStart();

    // Carries out a request that begins with "mount ", "unmount " or "rename ".
    //
    // lines    the request's lines as lab/README.md lists them
    // returns  the answer's line: "ok PATH", "refused REASON" or "error TEXT"
    std::string Serve(const std::vector<std::string>& lines);

private:
    std::string Mount(const std::string& bsdName, bool writable, const std::vector<std::string>& options);
    std::string Unmount(const TMount& mount, bool force);
    std::string Rename(TMount mount, bool writable, const std::string& name);
    std::string Record(const TMount& mount);
    std::string RecordStartupVolume();

    TMachine fMachine;
    std::string fStartupLink;   // the link to "/" among the volumes
    int fNextNumber = -100;
};

}   // namespace lab

#endif
