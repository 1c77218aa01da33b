// The process that all subscribers of a contender live in: it reads what comes, and counts.

#ifndef HALVORIX_BENCH_RELAY_SUBSCRIBERS_H
#define HALVORIX_BENCH_RELAY_SUBSCRIBERS_H

#include "bench/relay/Contender.h"
#include "bench/relay/Tally.h"

#include <sys/types.h>

class TSubscribers
{
public:
    // Forks the process, which waits. It has the machine's last processor, if there are several, and everybody else the
    // others: readers never take time from who is measured.
    TSubscribers(TContender* contender, TTally* tally, unsigned count);
    ~TSubscribers();
    TSubscribers(const TSubscribers&) = delete;
    TSubscribers& operator=(const TSubscribers&) = delete;

    // Has all of them connect, and returns when they have. From then on they read.
    void Connect();

private:
    TTally* fTally;
    unsigned fCount;
    int fStart;   // closed: the process may begin
    pid_t fProcess;
};

#endif
