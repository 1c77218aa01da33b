#include "bench/Sockets.h"

#include "bench/Child.h"
#include "bench/Clocks.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int ConnectTo(const std::string& path)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int connected = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(connected, reinterpret_cast<const struct sockaddr*>(&address), sizeof address) == 0)
        return connected;
    close(connected);
    return -1;
}

int ConnectWhenItListens(const std::string& path)
{
    static const std::uint64_t kStep = 5000000;
    static const int kSteps = 4000;
    for (int i = 0; i < kSteps; ++i) {
        const int connected = ConnectTo(path);
        if (connected != -1)
            return connected;
        SleepUntil(Now() + kStep);
    }
    GiveUp("nobody listens at " + path);
}
