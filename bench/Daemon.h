// The daemon as users have it, at work in the simulated Mac.

#ifndef HALVORIX_BENCH_DAEMON_H
#define HALVORIX_BENCH_DAEMON_H

#include "bench/Child.h"

// Where it listens.
constexpr const char* kDaemonSocket = "/tmp/com.halvorix.halvorixd/driverevents";

// Lets somebody log in and starts the daemon; when this returns, it has looked at every disk and relays.
void StartDaemon(TChild* daemon);

#endif
