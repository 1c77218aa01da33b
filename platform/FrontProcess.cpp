// The application in front, and the processes behind serial numbers.

#include "platform/MachineFolder.h"

#include <ApplicationServices/ApplicationServices.h>

#include <string>
#include <unistd.h>

using namespace platform;

// Serial numbers are not process IDs, and nobody is to take one for the other.
static const UInt32 kTurned = 0x00580000;

static bool Exists(pid_t process)
{
    return process > 0 && access(("/proc/" + std::to_string(process)).c_str(), F_OK) == 0;
}

OSErr GetFrontProcess(ProcessSerialNumber* number)
{
    if (number == nullptr)
        return paramErr;
    long long process = 0;
    if (!ReadNumber("front-process", &process) || !Exists(static_cast<pid_t>(process)))
        return procNotFound;
    number->highLongOfPSN = 0;
    number->lowLongOfPSN = static_cast<UInt32>(process) ^ kTurned;
    return noErr;
}

OSStatus GetProcessPID(const ProcessSerialNumber* number, pid_t* process)
{
    if (number == nullptr || process == nullptr)
        return paramErr;
    if (number->highLongOfPSN != 0)
        return procNotFound;
    if (number->lowLongOfPSN == kCurrentProcess) {
        *process = getpid();
        return noErr;
    }
    const auto found = static_cast<pid_t>(number->lowLongOfPSN ^ kTurned);
    if (!Exists(found))
        return procNotFound;
    *process = found;
    return noErr;
}
