#include "clients/EventStream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int TEventStream::Connect(const std::string& path)
{
    Close();
    fUsed = 0;
    if (path.size() > kLongestSocketPath)
        return ENAMETOOLONG;

    fSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fSocket < 0)
        return errno;

    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, path.c_str(), path.size() + 1);

    // Before connecting: a daemon with too many callers would hold a blocking caller for as long as it likes.
    int error = fSocket < FD_SETSIZE ? 0 : EMFILE;
    if (!error && fcntl(fSocket, F_SETFL, O_NONBLOCK) != 0)
        error = errno;
    if (!error && connect(fSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        error = errno;
    if (error)
        Close();
    return error;
}

bool TEventStream::Read(std::vector<HalvorixEvent>* records)
{
    const ssize_t got = read(fSocket, fBytes + fUsed, kBytesAtOnce);
    if (got < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    if (got == 0)
        return false;

    fUsed += static_cast<std::size_t>(got);
    CutRecords(records);
    return true;
}

void TEventStream::CutRecords(std::vector<HalvorixEvent>* records)
{
    std::size_t start = 0;
    for (; fUsed - start >= kHalvorixEventSize; start += kHalvorixEventSize) {
        HalvorixEvent record;
        memcpy(&record, fBytes + start, sizeof record);
        records->push_back(record);
    }
    fUsed -= start;
    memmove(fBytes, fBytes + start, fUsed);
}

void TEventStream::Close()
{
    if (fSocket >= 0)
        close(fSocket);
    fSocket = -1;
}
