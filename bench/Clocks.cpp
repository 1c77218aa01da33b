#include "bench/Clocks.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>

static constexpr std::uint64_t kSecond = 1000000000;

static std::uint64_t Read(clockid_t clock)
{
    struct timespec time = {};
    if (clock_gettime(clock, &time) != 0)
        return 0;
    return static_cast<std::uint64_t>(time.tv_sec) * kSecond + static_cast<std::uint64_t>(time.tv_nsec);
}

std::uint64_t Now()
{
    return Read(CLOCK_MONOTONIC);
}

std::uint64_t ProcessorTimeOf(pid_t process)
{
    clockid_t clock = 0;
    return clock_getcpuclockid(process, &clock) == 0 ? Read(clock) : 0;
}

std::uint64_t ProcessorTimeOfThread()
{
    return Read(CLOCK_THREAD_CPUTIME_ID);
}

long ResidentKilobytesOf(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string line;
    long kilobytes = 0;
    while (std::getline(status, line)) {
        if (std::sscanf(line.c_str(), "VmRSS: %ld", &kilobytes) == 1)
            return kilobytes;
    }
    return 0;
}

void SleepUntil(std::uint64_t moment)
{
    const struct timespec time = {static_cast<time_t>(moment / kSecond), static_cast<long>(moment % kSecond)};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0)
        continue;
}
