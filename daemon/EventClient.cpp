#include "daemon/EventClient.h"

#include <cstddef>
#include <unistd.h>

SInt32 TEventClient::SetSocket(int descriptor)
{
    fSocket = descriptor;
    return 0;
}

void TEventClient::CloseSocket()
{
    if (fSocket == -1)
        return;
    close(fSocket);
    fSocket = -1;
}

bool TEventClient::SendEvent(const TDriverEventRecord* record)
{
    std::size_t remaining = sizeof *record;
    while (remaining != 0) {
        // From the record's start every time: see the header.
        const auto taken = static_cast<std::size_t>(write(fSocket, record, remaining));
        if (taken > remaining)   // -1 included
            return false;
        remaining -= taken;
    }
    return true;
}
