// Tells, in a daemon that runs, which locks its threads take and how many of them one thread holds at once. Linked into the
// daemon with the table of faults; told to by HALVORIX_TELL_LOCKS in its environment.
//
// A line goes to standard error when a lock is taken for the first time, of the others together, and each time that a
// thread holds more of them than any did before:
//
//     the driver connection's lock is used
//     the list of clients' lock is used
//     another lock is used
//     a thread holds 1 at once
//
// The driver connection's is part of the tool object, that of the list of clients is the one that pthread_mutex_init makes.
// The others are constants of the product's and of stand-ins.

#include "tests/support/HeldLocks.h"

#include "daemon/DaemonTool.h"
#include "tests/support/Faults.h"

#include <cstdlib>
#include <set>
#include <string>
#include <unistd.h>

static void Say(const std::string& line)
{
    if (write(STDERR_FILENO, line.data(), line.size()) < 0)
        abort();   // a report that does not go out must not pass for silence
}

// Everything below is called by one thread at a time.

static std::set<long>& MadeLocks()
{
    static auto* const made = new std::set<long>;
    return *made;
}

static void MakesLock(const TCallWatch::TArguments& arguments)
{
    MadeLocks().insert(arguments[0]);
}

static const char* NameOfLock(long address)
{
    const auto tool = reinterpret_cast<long>(gDaemonTool);
    if (tool != 0 && address >= tool && address < tool + static_cast<long>(sizeof *gDaemonTool))
        return "the driver connection's lock";
    return MadeLocks().count(address) != 0 ? "the list of clients' lock" : "another lock";
}

static void WantsLock(const TCallWatch::TArguments& arguments)
{
    static auto* const used = new std::set<std::string>;
    static unsigned most = 0;
    const std::string name = NameOfLock(arguments[0]);
    if (used->insert(name).second)
        Say(name + " is used\n");
    if (++gLocksHeld <= most)
        return;
    most = gLocksHeld;
    Say("a thread holds " + std::to_string(most) + " at once\n");
}

static bool WatchAsTold()
{
    if (getenv("HALVORIX_TELL_LOCKS") == nullptr)
        return false;
    // For as long as the process lives: nothing is destroyed at exit.
    static auto* const made = new TCallWatch("pthread_mutex_init", MakesLock);
    static auto* const taken = new TCallWatch("pthread_mutex_lock", WantsLock);
    return made != nullptr && taken != nullptr;
}

// Before main; the program is linked so that the table's own entries are made first.
[[maybe_unused]] static const bool gWatches = WatchAsTold();
