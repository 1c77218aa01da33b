// halvorixd: starts the daemon's tool object and ends with its status.

#include "daemon/DaemonTool.h"
#include "daemon/Termination.h"
#include "foundation/Status.h"

#include <new>

// Returns the exit status: 0, 1 for -50, which is a command line that was not accepted, or 2 for any other status.
static int Run(TTool* tool, int argc, char** argv)
{
    SInt32 status = kStatusParameterError;
    if (tool->HandleArgs(argc, argv)) {
        status = tool->InitTool();
        if (status == kStatusOK)
            status = tool->DoWork();
        if (status == kStatusOK)
            return 0;
    }
    tool->ShowHelp();
    return status == kStatusParameterError ? 1 : 2;
}

int main(int argc, char** argv)
{
    const int handlerStatus = InstallTerminationHandler();
    if (handlerStatus != 0)
        return handlerStatus;
    TTool* const tool = new (std::nothrow) THXDaemonTool;
    if (tool == nullptr)
        return kStatusOutOfMemory;
    const int exitStatus = Run(tool, argc, argv);
    delete tool;
    return exitStatus;
}
