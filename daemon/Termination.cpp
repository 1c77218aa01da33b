#include "daemon/Termination.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

static void Terminate(int)
{
    exit(0);
}

int InstallTerminationHandler()
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = Terminate;
    sigfillset(&action.sa_mask);
    const int status = sigaction(SIGINT, &action, nullptr);
    return status != 0 ? status : sigaction(SIGTERM, &action, nullptr);
}
