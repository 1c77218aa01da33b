#include "services/ChildProcess.h"

#include "foundation/PosixDifferences.h"   // SetCloseOnExec
#include "foundation/ScopedLock.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

// Held from before a pipe is created until after the fork: a child that another thread forks before the pipe is
// close-on-exec would inherit its write end and hold back the end of the output.
static pthread_mutex_t gForkLock = PTHREAD_MUTEX_INITIALIZER;

// Holds every signal back from this thread for the length of a scope. A handler may call exit, which waits for locks of the
// C library's that fork holds: handled in the middle of fork, by the thread that forks, it would wait for ever.
class TSignalsHeldBack
{
public:
    TSignalsHeldBack()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &fBefore);
    }
    ~TSignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &fBefore, nullptr); }

    TSignalsHeldBack(const TSignalsHeldBack&) = delete;
    TSignalsHeldBack& operator=(const TSignalsHeldBack&) = delete;

private:
    sigset_t fBefore;
};

static void CloseDescriptor(int* descriptor)
{
    if (*descriptor == -1)
        return;
    close(*descriptor);
    *descriptor = -1;
}

TChildProcess::TChildProcess() : fProcess(-1), fReadEnd(-1), fWriteEnd(-1) {}

TChildProcess::~TChildProcess()
{
    CloseDescriptor(&fReadEnd);
    CloseDescriptor(&fWriteEnd);
}

void TChildProcess::OpenPipe()
{
    int ends[2];
    if (pipe(ends) != 0)
        return;
    fReadEnd = ends[0];
    fWriteEnd = ends[1];
    SetCloseOnExec(fReadEnd);
    SetCloseOnExec(fWriteEnd);
}

EChildStart TChildProcess::Start(const TCommand& command)
{
    {
        const TScopedLock lock(&gForkLock);
        if (command.output == kPipeOutput)
            OpenPipe();
        const TSignalsHeldBack heldBack;
        fProcess = fork();
    }
    if (fProcess == 0)
        return Execute(command);
    CloseDescriptor(&fWriteEnd);
    return fProcess == -1 ? kForkFailed : kChildStarted;
}

// Between a fork and an execution, in a process with threads, only what is safe in a signal handler may be called.
EChildStart TChildProcess::Execute(const TCommand& command)
{
    if (command.output == kPipeOutput) {
        // The read end first: it may stand where the output is to go, when the caller has no standard output.
        CloseDescriptor(&fReadEnd);
        dup2(fWriteEnd, STDOUT_FILENO);
        // For the same reason the write end may be there already, and dup2 leaves it close-on-exec then.
        if (fWriteEnd == STDOUT_FILENO)
            fcntl(STDOUT_FILENO, F_SETFD, 0);
    }
    if (command.user == kBecomeRoot && setuid(0) != 0) {
        // The program runs all the same, with the rights that are left.
    }
    execv(command.path, const_cast<char* const*>(command.arguments));
    switch (command.executionFailure) {
    case kExitWithZero:
        exit(0);
    case kExitWithOne:
        exit(1);
    case kReturnToCaller:
        break;
    }
    return kInChild;
}

std::size_t TChildProcess::Read(char* buffer, std::size_t capacity)
{
    const ssize_t count = read(fReadEnd, buffer, capacity);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void TChildProcess::DiscardOutput()
{
    char scratch[512];
    while (Read(scratch, sizeof scratch) != 0)
        continue;
}

void TChildProcess::CloseOutput()
{
    CloseDescriptor(&fReadEnd);
}

pid_t TChildProcess::Wait(int* status)
{
    return waitpid(fProcess, status, 0);
}

bool TChildProcess::WaitForSuccess()
{
    int status = 0;
    return Wait(&status) != -1 && ExitedWith(status, 0);
}

bool TChildProcess::ExitedWith(int status, int code)
{
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

UInt32 RunAndTellSuccess(const TCommand& command)
{
    TChildProcess child;
    const EChildStart started = child.Start(command);
    if (started != kChildStarted)
        return started == kInChild;
    return child.WaitForSuccess();
}
