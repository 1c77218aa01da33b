// How the daemon ends: by a signal.

#ifndef HALVORIX_DAEMON_TERMINATION_H
#define HALVORIX_DAEMON_TERMINATION_H

// From here on SIGINT and SIGTERM end the process with exit(0), while its threads run. Every signal is blocked meanwhile.
//
// returns  0, or what sigaction returned where it failed; SIGINT comes first, and SIGTERM is then not tried
int InstallTerminationHandler();

#endif
