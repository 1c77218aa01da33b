// Finding other processes without ever becoming two.

#ifndef HALVORIX_DAEMON_PROCESSLOOKUP_H
#define HALVORIX_DAEMON_PROCESSLOOKUP_H

#include <sys/types.h>

// Finds another process by the name of its command, as Get_ProcessID does. A child in which ps could not be executed comes
// back from that as well; it ends here, or there would be two daemons.
//
// name     compared exactly; one that holds a blank is never found
// returns  the process ID, or 0 when there is none or anything failed
pid_t FindProcess(const char* name);

#endif
