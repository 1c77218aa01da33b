#include "tests/daemon/HostileClients.h"

#include "lab/Files.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

TConnection::TConnection() : fSocket(ConnectToEventSocket(SOCK_NONBLOCK)) {}

void TConnection::Leave()
{
    if (fSocket != -1)
        close(fSocket);
    fSocket = -1;
}

std::size_t TConnection::Unread() const
{
    int bytes = 0;
    EXPECT_EQ(0, ioctl(fSocket, FIONREAD, &bytes));
    return static_cast<std::size_t>(bytes);
}

const std::string& TConnection::Take(std::size_t limit)
{
    std::string bytes(limit, '\0');
    const ssize_t got = recv(fSocket, bytes.data(), limit, 0);
    if (got > 0)
        fTaken.append(bytes, 0, static_cast<std::size_t>(got));
    return fTaken;
}

std::size_t TConnection::WriteAllItTakes()
{
    const std::string bytes(4096, 'x');
    std::size_t written = 0;
    for (ssize_t took = 0; (took = send(fSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL)) > 0;)
        written += static_cast<std::size_t>(took);
    return written;
}

static TThreadUse UseOfThread(const std::string& folder)
{
    TThreadUse use;
    std::string text;
    lab::ReadFile(folder + "/stat", &text);
    // Behind the name, which may hold anything: the state, and ten fields later the time of the program and the system.
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    fields >> use.state;
    std::string skipped;
    for (int field = 0; field < 10; ++field)
        fields >> skipped;
    long inSystem = 0;
    fields >> use.ticks >> inSystem;
    use.ticks += inSystem;

    std::ifstream status(folder + "/status");
    for (std::string word; status >> word;) {
        if (word == "voluntary_ctxt_switches:")
            status >> use.waits;
    }
    return use;
}

std::map<std::string, TThreadUse> ThreadUseOf(pid_t process)
{
    const std::string folder = "/proc/" + std::to_string(process) + "/task";
    std::map<std::string, TThreadUse> threads;
    for (const std::string& thread : lab::NamesInFolder(folder))
        threads[thread] = UseOfThread(folder + "/" + thread);
    return threads;
}

void THostileClientsTest::SetUp()
{
    ASSERT_NO_FATAL_FAILURE(TRunningDaemonTest::SetUp());
    ASSERT_NO_FATAL_FAILURE(SettleWithWitness());
}

// Who only called to see whether the daemon listens is still held. The first record finds them gone, and when the second
// has come they are dropped.
void THostileClientsTest::SettleWithWitness()
{
    const std::size_t held = Descriptors().size();
    witness = std::make_unique<TListener>();
    ASSERT_TRUE(WaitUntil([&] { return Descriptors().size() == held + 1; }));
    ASSERT_NO_FATAL_FAILURE(Relay(2));
    fDescriptorsBefore = Descriptors().size();
    fHeldBefore = Held();
}

void THostileClientsTest::TearDown()
{
    if (daemon != nullptr) {
        EXPECT_TRUE(daemon->IsRunning()) << daemon->Errors();
        Relay(2);
        EXPECT_TRUE(WaitUntil([this] { return Held() == fHeldBefore; })) << Held() << ", and before " << fHeldBefore;
    }
    witness.reset();
    TRunningDaemonTest::TearDown();
}

std::string THostileClientsTest::Post(unsigned count)
{
    std::vector<lab::TEvent> events;
    std::string bytes;
    for (unsigned number = 0; number < count; ++number) {
        lab::TEvent event;
        event.type = 3 + static_cast<std::int32_t>(fEvents % 5);
        event.payload = "event " + std::to_string(fEvents++);
        event.flagGiven = true;   // so that what arrives does not depend on when it was fetched
        bytes += lab::TMachine::RecordBytes(event, event.flag);
        events.push_back(event);
    }
    fHeardBeforePost = witness->Receive().size();
    EXPECT_EQ("", machine.PostEvents(events));
    posted += bytes;
    return bytes;
}

void THostileClientsTest::Relay(unsigned count)
{
    Post(count);
    ASSERT_TRUE(WitnessHasAll());
}

bool THostileClientsTest::WitnessHasAll()
{
    return witness->WaitForBytes(posted.size()) && witness->Receive() == posted;
}

bool THostileClientsTest::StandsStill()
{
    using TClock = std::chrono::steady_clock;
    std::size_t heard = fHeardBeforePost;
    auto since = TClock::now();
    return WaitUntil([&] {
        if (heard != witness->Receive().size() || heard == fHeardBeforePost || machine.WaitingEvents() == 0) {
            heard = witness->Receive().size();
            since = TClock::now();
        }
        return TClock::now() - since > std::chrono::milliseconds(1500);
    });
}

std::vector<std::string> THostileClientsTest::Descriptors() const
{
    const std::string folder = "/proc/" + std::to_string(Process()) + "/fd";
    std::vector<std::string> descriptors;
    for (const std::string& number : lab::NamesInFolder(folder)) {
        char target[256];
        const ssize_t length = readlink((folder + "/" + number).c_str(), target, sizeof target);
        const std::string what(target, length > 0 ? static_cast<std::size_t>(length) : 0);
        if (length > 0 && what.rfind("/machine/", 0) != 0)
            descriptors.push_back(what);
    }
    return descriptors;
}

std::string THostileClientsTest::Held() const
{
    return std::to_string(Descriptors().size()) + " descriptors, " + std::to_string(ThreadsOf(Process())) +
           " threads, " + std::to_string(ChildrenOf(Process())) + " children";
}

bool THostileClientsTest::TakesIn(std::size_t clients)
{
    return WaitUntil([&] { return ClientsTakenIn() == clients; });
}
