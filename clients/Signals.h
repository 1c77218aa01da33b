// The signals that halvorixevents answers to, as bytes in a pipe, so that pselect(2) waits for them beside all else.

#ifndef HALVORIX_CLIENTS_SIGNALS_H
#define HALVORIX_CLIENTS_SIGNALS_H

#include <csignal>

// Lets SIGINT, SIGTERM and SIGTSTP (unless that is ignored, as shells without job control leave it) arrive in the pipe,
// but only while SignalsWhileWaiting() is the mask. Makes a write to a closed output or to a terminal that is another's
// fail or go through instead of ending or stopping us. For the life of the process.
//
// returns  the end to read, non-blocking, or -1 with errno when there is none below FD_SETSIZE
int CatchSignals();

// The mask to wait with. Whoever waits with pselect(2) and this mask misses no signal: on Mac OS X, where changing the mask
// and waiting are two steps, since the pipe holds what came between them.
const sigset_t& SignalsWhileWaiting();

// The number of one signal that arrived since the last look, or 0.
int NextSignal();

// Stops this process as SIGTSTP does by itself. Returns when it is continued.
void StopUntilContinued();

#endif
