// The Process Manager, the part that is called.

#ifndef HALVORIX_PLATFORM_PROCESSES_H
#define HALVORIX_PLATFORM_PROCESSES_H

#include <MacTypes.h>
#include <sys/types.h>

extern "C" {

// Serial numbers with a high half of 0 that are not a process's own.
enum
{
    kNoProcess = 0,
    kSystemProcess = 1,
    kCurrentProcess = 2
};

// The application whose windows are in front. procNotFound when there is none: nobody is logged in.
OSErr GetFrontProcess(ProcessSerialNumber* number);

// The process ID behind a serial number; kCurrentProcess is this process. procNotFound when it has ended or never was.
OSStatus GetProcessPID(const ProcessSerialNumber* number, pid_t* process);
}

#endif
