#include "daemon/ProcessLookup.h"

#include "services/Processes.h"   // Get_ProcessID

#include <unistd.h>

pid_t FindProcess(const char* name)
{
    const pid_t caller = getpid();
    const pid_t found = Get_ProcessID(name);
    if (getpid() != caller)
        _exit(0);
    return found;
}
