// Which other processes are running, by the name of their command.
//
// No function here reports an error: whatever fails reads as no such process. Names are compared exactly, upper and
// lower case included.

#ifndef HALVORIX_SERVICES_PROCESSES_H
#define HALVORIX_SERVICES_PROCESSES_H

#include <cstdint>

extern "C" {

// Finds a process of any user, other than the caller, by running /bin/ps.
//
// name     the command's name as `ps acxww` prints it: without its folder, not cut. One that holds a blank is never found
// returns  the first such process's ID, or 0 when there is none or anything failed
//
// Blocks until ps has ended. When ps cannot be executed, the child returns 0 from this function as well: the caller's
// code then runs in two processes. Who must not be doubled compares getpid() with its value from before the call, and
// ends the child with _exit:
//
//     const pid_t caller = getpid();
//     const pid_t found = Get_ProcessID("Finder");
//     if (getpid() != caller)
//         _exit(0);
int32_t Get_ProcessID(const char* name);

// Searches the complete lines of what `ps acxww` printed for a process other than the caller.
//
// buffer     NUL-terminated text; it is changed
// remainder  receives the length of the unfinished last line, which is moved to the start of buffer, without its NUL; 0
//            when a process was found
// name       the command's name
// returns    the process ID in the first line whose command is name, or 0 when there is none
//
// A line is read as scanf reads "%d %s %s %s %s": process ID, terminal, state, time, command. Lines that do not read so
// (the header), lines of 256 bytes or more without their line feed, and an ID of 0 are passed over.
int32_t SearchBufferFor_PID(char* buffer, uint32_t* remainder, const char* name);

// Counts the processes in the kernel's table whose command has this name, the caller included.
//
// name     the command's name as the kernel keeps it, its first 16 bytes: a longer one is never found
// returns  the count, or 0 when anything failed; also when the table grew between the two calls that learn its size and
//          read it
uint32_t NumberOfProcessesWithName(const char* name);

// Say whether a process named exactly "kextcache" or "Preview" is running, by the kernel's table.
//
// returns  false also where NumberOfProcessesWithName fails
bool KextCacheProcessRunning(void);
bool PreviewProcessRunning(void);
}

#endif
