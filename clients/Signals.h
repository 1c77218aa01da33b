// The signals that halvorixevents answers to, as bytes in a pipe, so that select(2) waits for them beside all else.

#ifndef HALVORIX_CLIENTS_SIGNALS_H
#define HALVORIX_CLIENTS_SIGNALS_H

// Lets SIGINT, SIGTERM and SIGTSTP (unless that is ignored, as shells without job control leave it) arrive in the pipe,
// and makes a write to a closed output or to a terminal that is another's fail or go through instead of ending or
// stopping us. For the life of the process.
//
// returns  the end to read, non-blocking, or -1 with errno when there is none below FD_SETSIZE
int CatchSignals();

// The number of one signal that arrived since the last look, or 0.
int NextSignal();

// Stops this process as SIGTSTP does by itself. Returns when it is continued.
void StopUntilContinued();

#endif
