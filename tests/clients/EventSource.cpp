#include "tests/clients/EventSource.h"

#include "tests/support/MachineTest.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

TEventSource::TEventSource(const std::string& path, int backlog)
{
    mkdir(path.substr(0, path.rfind('/')).c_str(), 0755);
    unlink(path.c_str());
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);

    fListening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, bind(fListening, reinterpret_cast<const sockaddr*>(&address), sizeof address)) << path;
    EXPECT_EQ(0, listen(fListening, backlog));
}

TEventSource::~TEventSource()
{
    // In this order, as a process that ends: a client that comes back at once finds nobody.
    close(fListening);
    EndStream();
}

void TEventSource::Accept()
{
    EndStream();
    ASSERT_TRUE(WaitUntil([this] { return SomebodyWaits(); })) << "no client came";
    fClient = accept4(fListening, nullptr, nullptr, SOCK_CLOEXEC);
    const timeval patience = {5, 0};
    setsockopt(fClient, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

bool TEventSource::SomebodyWaits() const
{
    pollfd waiting = {fListening, POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
}

void TEventSource::Send(const std::string& bytes)
{
    using TClock = std::chrono::steady_clock;
    const TClock::time_point start = TClock::now();
    ASSERT_EQ(static_cast<ssize_t>(bytes.size()), send(fClient, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    fLongestSend = std::max(fLongestSend, std::chrono::duration<double>(TClock::now() - start).count());
}

void TEventSource::SendMany(const std::string& bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count && !testing::Test::HasFatalFailure(); ++i)
        Send(bytes);
}

void TEventSource::WaitUntilRead()
{
    EXPECT_TRUE(WaitUntil([this] {
        int unread = -1;
        return ioctl(fClient, TIOCOUTQ, &unread) == 0 && unread == 0;
    }));
}

bool TEventSource::ClientIsGone() const
{
    pollfd client = {fClient, 0, 0};
    return poll(&client, 1, 0) == 1 && (client.revents & POLLHUP);
}

void TEventSource::EndStream()
{
    if (fClient >= 0)
        close(fClient);
    fClient = -1;
}
