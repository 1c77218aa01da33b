// The real daemon, clients of its socket that misbehave, and a witness who has to get every record all the same.

#ifndef HALVORIX_TESTS_DAEMON_HOSTILECLIENTS_H
#define HALVORIX_TESTS_DAEMON_HOSTILECLIENTS_H

#include "tests/support/RunningDaemonTest.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

// A connection whose every system call is the test's.
class TConnection
{
public:
    // Connects without waiting; a daemon that takes nobody in has room for a few callers only.
    TConnection();
    ~TConnection() { Leave(); }
    TConnection(const TConnection&) = delete;
    TConnection& operator=(const TConnection&) = delete;

    bool IsConnected() const { return fSocket != -1; }
    void Leave();

    // How many bytes wait to be read.
    std::size_t Unread() const;

    // Takes at most so many bytes of what has come, without waiting. Returns everything taken so far.
    const std::string& Take(std::size_t limit);

    // Writes until the system takes no more. Returns how many bytes it took.
    std::size_t WriteAllItTakes();

private:
    int fSocket;
    std::string fTaken;
};

// What a thread has used so far.
struct TThreadUse
{
    long ticks = 0;   // of processor time, a hundred a second
    long waits = 0;   // how often it waited for something
    char state = ' ';
};

// The threads of a process, by their numbers.
std::map<std::string, TThreadUse> ThreadUseOf(pid_t process);

class THostileClientsTest : public TRunningDaemonTest
{
protected:
    void SetUp() override;

    // Everybody but the witness has left, and the daemon holds what it held before they came; a test that ended it has
    // said so.
    void TearDown() override;

    // Has the driver tell of so many events, each unlike all others. Returns what a client that hears them all receives.
    std::string Post(unsigned count);

    // Posts events and waits until the witness has them.
    void Relay(unsigned count);

    // Waits until the witness has received everything that was posted, and says whether that is all it received.
    bool WitnessHasAll();

    // Whether the daemon, once it has begun to relay what was posted last, comes to stand still while events wait: the
    // witness hears nothing for so long that it would have heard something from one that goes on, which makes no pause
    // while events wait.
    bool StandsStill();

    // What the daemon holds, in words: descriptors but for the machine's files, which are open while they are read, and
    // threads and children.
    std::string Held() const;

    // Its descriptors, as above, and how many of them there are but for the witness's and those it began with.
    std::vector<std::string> Descriptors() const;
    std::size_t ClientsTakenIn() const { return Descriptors().size() - fDescriptorsBefore; }
    bool TakesIn(std::size_t clients);

    pid_t Process() const { return daemon->Process(); }

    std::unique_ptr<TListener> witness;
    std::string posted;   // what the witness is to receive

private:
    void SettleWithWitness();

    std::size_t fDescriptorsBefore = 0;
    std::string fHeldBefore;
    std::size_t fHeardBeforePost = 0;   // the daemon may relay at once
    unsigned fEvents = 0;
};

#endif
