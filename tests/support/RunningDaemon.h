// The real daemon at its real path, started and looked at from outside, and a client of its socket.

#ifndef HALVORIX_TESTS_SUPPORT_RUNNINGDAEMON_H
#define HALVORIX_TESTS_SUPPORT_RUNNINGDAEMON_H

#include "lab/Machine.h"
#include "tests/support/RunningProgram.h"

#include <string>
#include <vector>

constexpr const char* kEventSocket = "/tmp/com.halvorix.halvorixd/driverevents";

// The command for the daemon as users have it.
std::vector<std::string> DaemonCommand(const std::vector<std::string>& arguments = {});

// An environment in which AddressSanitizer looks for no leaks at exit. For a daemon that is ended while it works: the signal's
// handler calls exit in the middle of whatever the main thread does, and the check would wait for a lock that it holds. And
// for one whose children may find a tool missing: those leave by exit as well, in a process without its other threads.
std::vector<std::string> NoLeakCheckAtExit();

// The command for the daemon with the table of faults linked in.
std::vector<std::string> FaultyDaemonCommand();

// A login session: a process named SystemUIServer.
void StartLoginSession(const lab::TMachine& machine);

// Connects to the daemon, with a descriptor that no program inherits.
//
// flags    socket types beside SOCK_STREAM, such as SOCK_NONBLOCK
// returns  the descriptor, which the caller closes, or -1
int ConnectToEventSocket(int flags = 0);

// Polls until the daemon accepts connections.
bool WaitForEventSocket();

// Ends a daemon by SIGTERM: it must still run, and end with status 0.
void EndDaemon(TRunningProgram* daemon);

// Polls until the daemon has started and looked at every disk of the machine leopard: its RAID volume is the last that it
// asks hfs.util about.
//
// runsBefore  how many tools had run before its driver was loaded again
bool WaitForDisks(const lab::TMachine& machine, pid_t daemon, std::size_t runsBefore = 0);

// How many descriptors and threads a process has, by /proc; -1 when it is gone.
int DescriptorsOf(pid_t process);
int ThreadsOf(pid_t process);
// Its children, zombies included.
int ChildrenOf(pid_t process);
// Memory that it has touched, in kilobytes.
long ResidentKilobytesOf(pid_t process);

// A client made of system calls alone.
class TListener
{
public:
    // Connects; a test that cannot connect fails.
    TListener();
    ~TListener() { Leave(); }
    TListener(const TListener&) = delete;
    TListener& operator=(const TListener&) = delete;

    // Takes what has come so far, without waiting. Returns everything received since the beginning.
    const std::string& Receive();

    // Takes at most so many bytes of what has come and was not taken yet, without waiting. Receive does not return them.
    std::string Take(std::size_t limit);

    // Waits until so many bytes have come; returns whether they did.
    bool WaitForBytes(std::size_t bytes);

    bool AtEnd() const { return fAtEnd; }

    // Closes the connection.
    void Leave();

private:
    int fSocket;
    bool fAtEnd = false;
    std::string fReceived;
};

// Whether what the driver tells reaches the client. Events are posted until one does, since one that is fetched before the daemon
// has taken the client in is not kept for it.
bool HearsEvents(lab::TMachine& machine, TListener* listener);

#endif
