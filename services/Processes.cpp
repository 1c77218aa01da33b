#include "services/Processes.h"

#include "services/ChildProcess.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sys/sysctl.h>
#include <unistd.h>

// Text that is read from ps at a time, without the NUL behind it.
static const std::size_t kTextCapacity = 32767;

// What a line of ps, and so each of its words, fits into, the NUL included.
static const std::size_t kLineSize = 256;

// Reads ps's output piece by piece until a process is found or the output ends.
static int32_t SearchOutputOfPS(TChildProcess* ps, char* text, const char* name)
{
    uint32_t remainder = 0;
    for (;;) {
        // A line that fills the whole text leaves no room: nothing is read then, which ends the search.
        const std::size_t count = ps->Read(text + remainder, kTextCapacity - remainder);
        if (count == 0)
            return 0;
        text[remainder + count] = 0;
        const int32_t process = SearchBufferFor_PID(text, &remainder, name);
        if (process != 0)
            return process;
    }
}

int32_t Get_ProcessID(const char* name)
{
    const std::unique_ptr<char[]> text(new (std::nothrow) char[kTextCapacity + 1]);
    if (text == nullptr)
        return 0;

    const char* const arguments[] = {"ps", "acxww", nullptr};
    TChildProcess ps;
    if (ps.Start({"/bin/ps", arguments, kKeepUser, kPipeOutput, kReturnToCaller}) != kChildStarted)
        return 0;
    const int32_t process = SearchOutputOfPS(&ps, text.get(), name);
    // Before waiting: ps would block for ever on a pipe that is full and read no further.
    ps.CloseOutput();
    ps.Wait(nullptr);
    return process;
}

// Returns the process ID of a line whose command is name, or 0.
static int32_t ParseLine(const char* line, const char* name)
{
    int process = 0;
    char terminal[kLineSize];
    char state[kLineSize];
    char time[kLineSize];
    char command[kLineSize];
    if (sscanf(line, "%d %s %s %s %s", &process, terminal, state, time, command) != 5)
        return 0;
    return strcmp(command, name) == 0 ? process : 0;
}

int32_t SearchBufferFor_PID(char* buffer, uint32_t* remainder, const char* name)
{
    const pid_t caller = getpid();
    char* line = buffer;
    for (char* end = strchr(line, '\n'); end != nullptr; end = strchr(line, '\n')) {
        *end = 0;
        // A line that fits is what makes the words of ParseLine fit.
        if (static_cast<std::size_t>(end - line) < kLineSize) {
            const int32_t process = ParseLine(line, name);
            if (process != 0 && process != caller) {
                *remainder = 0;
                return process;
            }
        }
        line = end + 1;
    }
    // Without its NUL: the caller puts one behind what it reads next.
    *remainder = static_cast<uint32_t>(strchr(line, 0) - line);
    memmove(buffer, line, *remainder);
    return 0;
}

uint32_t NumberOfProcessesWithName(const char* name)
{
    int table[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    std::size_t size = 0;
    if (sysctl(table, 3, nullptr, &size, nullptr, 0) != 0)
        return 0;
    const std::unique_ptr<void, decltype(&free)> block(malloc(size), free);
    // No slack is added for processes that start just now: a table that grew fails here.
    if (block == nullptr || sysctl(table, 3, block.get(), &size, nullptr, 0) != 0)
        return 0;

    uint32_t count = 0;
    const kinfo_proc* const processes = static_cast<const kinfo_proc*>(block.get());
    for (std::size_t i = 0; i < size / sizeof(kinfo_proc); ++i) {
        if (strcmp(processes[i].kp_proc.p_comm, name) == 0)
            ++count;
    }
    return count;
}

bool KextCacheProcessRunning(void)
{
    return NumberOfProcessesWithName("kextcache") > 0;
}

bool PreviewProcessRunning(void)
{
    return NumberOfProcessesWithName("Preview") > 0;
}
