// What a running daemon holds and takes, measured from outside.

#ifndef HALVORIX_TESTS_SUPPORT_PROCESSFIGURES_H
#define HALVORIX_TESTS_SUPPORT_PROCESSFIGURES_H

#include "lab/Machine.h"
#include "tests/support/MachineTest.h"

#include <string>
#include <sys/types.h>

// What a process inside the machine holds now: descriptors and children by /proc, zombies included, objects by its file of
// counts. A process without such a file fails the test.
THeld HeldBy(const lab::TMachine& machine, pid_t process);

// As a text, to compare and to print: "9 descriptors, 0 children, 41 objects, 13 references, 0 released too often".
std::string InWords(const THeld& held);

// What the daemon holds between two fetches: the least of each count over many looks, since a look may fall into a fetch.
// Takes two fetches' time.
THeld LeastHeldBy(const lab::TMachine& machine, pid_t daemon);

// How often the daemon has asked the driver for an event.
std::size_t FetchesOf(const lab::TMachine& machine);

#endif
