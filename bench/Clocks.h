// Clocks, and what a process takes of the machine.

#ifndef HALVORIX_BENCH_CLOCKS_H
#define HALVORIX_BENCH_CLOCKS_H

#include <cstdint>
#include <sys/types.h>

// Nanoseconds of the monotonic clock, which all processes share.
std::uint64_t Now();

// Processor time of a process so far, of all its threads, in nanoseconds; 0 when there is no such process.
std::uint64_t ProcessorTimeOf(pid_t process);

// Processor time of the calling thread so far.
std::uint64_t ProcessorTimeOfThread();

// Memory that a process has touched, in kilobytes; 0 when there is no such process.
long ResidentKilobytesOf(pid_t process);

// Sleeps until the monotonic clock says so; not at all when it has passed.
void SleepUntil(std::uint64_t moment);

#endif
