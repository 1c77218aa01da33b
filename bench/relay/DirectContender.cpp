// The product's TDriverEventServer, called in this process, and the limit beside it: a bare loop of write(2) over the same
// connections, in the same order.

#include "bench/relay/Contender.h"

#include "bench/Child.h"
#include "bench/Daemon.h"
#include "bench/Sockets.h"
#include "daemon/DriverEventServer.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static constexpr SInt32 kTypeForClients = 5;
static constexpr int kHighestDescriptor = 65536;

// Whether it is a connection that was accepted at the daemon's socket.
static bool IsAcceptedConnection(int descriptor)
{
    struct sockaddr_un name = {};
    socklen_t size = sizeof name;
    if (getsockname(descriptor, reinterpret_cast<struct sockaddr*>(&name), &size) != 0 || name.sun_family != AF_UNIX ||
        strncmp(name.sun_path, kDriverEventSocketPath, sizeof name.sun_path) != 0)
        return false;
    int listens = 0;
    size = sizeof listens;
    return getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens == 0;
}

class TDirectContender : public TContender
{
public:
    void Start() override
    {
        if (fServer.Start() != 0)
            GiveUp("the event server does not start");
    }

    int Connect() override { return ConnectTo(kDriverEventSocketPath); }

    // The server writes to the latest to connect first, and so does the loop. The kernel gives out rising numbers.
    void AllListen() override
    {
        const int end = std::min<int>(kHighestDescriptor, static_cast<int>(sysconf(_SC_OPEN_MAX)));
        for (int descriptor = end - 1; descriptor >= 0; --descriptor) {
            if (IsAcceptedConnection(descriptor))
                fConnections.push_back(descriptor);
        }
        if (fConnections.size() != fServer.ClientCount())
            GiveUp("the loop and the server have different clients");
    }

    void Post(const TRecord& posted) override
    {
        TDriverEventRecord record;
        memcpy(&record, posted.bytes, sizeof record);
        record.queueEmpty = 1;
        record.type = kTypeForClients;
        if (fBare)
            WriteToAll(&record);
        else
            fServer.Broadcast(&record);
    }

    bool Use(const std::string& way) override
    {
        fBare = way == "bare";
        return fBare || way == "broadcast";
    }

    pid_t Relay() const override { return getpid(); }

private:
    void WriteToAll(const TDriverEventRecord* record) const
    {
        for (const int descriptor : fConnections) {
            if (write(descriptor, record, sizeof *record) != static_cast<ssize_t>(sizeof *record))
                GiveUp("a write was not taken whole");
        }
    }

    TDriverEventServer fServer;
    std::vector<int> fConnections;
    bool fBare = false;
};

std::unique_ptr<TContender> MakeDirectContender()
{
    return std::make_unique<TDirectContender>();
}
