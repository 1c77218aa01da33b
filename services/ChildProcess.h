// Runs a program as a child process: forks, executes, reads what it prints and waits for it.
//
// Every tool of the system that is run at all is run through this. A tool is then its path, its arguments and how its
// end is read:
//
//     const char* const arguments[] = {"diskutil", "enableJournal", volumePath, nullptr};
//     TChildProcess child;
//     if (child.Start({"/usr/sbin/diskutil", arguments, kKeepUser, kPipeOutput, kReturnToCaller}) != kChildStarted)
//         return 0;

#ifndef HALVORIX_SERVICES_CHILDPROCESS_H
#define HALVORIX_SERVICES_CHILDPROCESS_H

#include <CoreServices/CoreServices.h>

#include <cstddef>
#include <sys/types.h>

// As whom the child runs.
enum EChildUser
{
    kKeepUser,
    kBecomeRoot   // setuid(0), whatever its result
};

// Where the child's standard output goes.
enum EChildOutput
{
    kKeepOutput,   // where the caller's goes
    kPipeOutput    // to the caller, who reads it
};

// What the child does when the program cannot be executed.
enum EExecutionFailure
{
    kReturnToCaller,   // goes on in the caller's code, as a second process; Start returns kInChild in it
    kExitWithZero,     // exit(0), so that the program seems to have ended well
    kExitWithOne       // exit(1)
};

// A program to run.
struct TCommand
{
    const char* path;               // absolute; one that is empty cannot be executed
    const char* const* arguments;   // argv from argv[0] on, with a null behind the last
    EChildUser user;
    EChildOutput output;
    EExecutionFailure executionFailure;
};

// What Start returns.
enum EChildStart
{
    kChildStarted,   // in the caller: the child runs and must be waited for
    kForkFailed,     // in the caller: there is no child
    kInChild         // in the child, when the program could not be executed and kReturnToCaller was asked for
};

// One child. Descriptors are closed at the end of the scope, the child is not waited for: call Wait.
class TChildProcess
{
public:
    // No child yet, and no pipe.
    TChildProcess();
    ~TChildProcess();

    TChildProcess(const TChildProcess&) = delete;
    TChildProcess& operator=(const TChildProcess&) = delete;

    // Starts the program; call once.
    //
    // A pipe that cannot be created is no failure: the child then prints to where the caller prints, and Read finds
    // nothing. No other child, of this thread or another, inherits the pipe, as long as all are started through this
    // class. While it forks, this thread handles no signal.
    //
    // command  stays the caller's with all that it points to; needed no longer when this returns
    // returns  kChildStarted; kForkFailed, and there is nothing to wait for; or kInChild, in the child and nowhere else
    EChildStart Start(const TCommand& command);

    // Reads what the child printed, with one read(2), which blocks until there is some.
    // buffer    receives the bytes, with no NUL behind them
    // capacity  bytes of buffer
    // returns   how many bytes were put into buffer; 0 at the end of the output, after an error and without a pipe
    std::size_t Read(char* buffer, std::size_t capacity);

    // Reads to the end of the output and drops it, so that the child never blocks on a full pipe.
    void DiscardOutput();

    // Closes the caller's end of the pipe: from here on a child that still prints gets SIGPIPE. Nothing when it is
    // closed.
    void CloseOutput();

    // Waits until the child has ended.
    // status   receives the wait status, as waitpid gives it; untouched when waitpid fails. May be null
    // returns  what waitpid returned: the child's process ID, or -1
    pid_t Wait(int* status);

    // Waits until the child has ended, and returns whether it ended well: exited with 0. A signal, another exit code and a
    // wait that fails are no success.
    bool WaitForSuccess();

    // Returns whether a wait status tells of a program that exited with this code, and was not killed by a signal.
    static bool ExitedWith(int status, int code);

private:
    void OpenPipe();
    EChildStart Execute(const TCommand& command);

    pid_t fProcess;   // -1: no child
    int fReadEnd;     // -1: closed, or there is no pipe
    int fWriteEnd;
};

// Runs a program to its end without reading what it prints.
//
// command  with kKeepOutput: nobody reads a pipe here, and a program that fills it would never end
// returns  1 when the program exited with 0; 0 when it ended otherwise, or when it could not be forked or waited for.
//          With kReturnToCaller, 1 in a child that could not execute it
UInt32 RunAndTellSuccess(const TCommand& command);

#endif
