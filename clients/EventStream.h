// The connection to the daemon's event socket, cut into records.

#ifndef HALVORIX_CLIENTS_EVENTSTREAM_H
#define HALVORIX_CLIENTS_EVENTSTREAM_H

#include "clients/halvorixevent.h"

#include <cstddef>
#include <string>
#include <vector>

// The longest path that a socket's address takes on a Mac: 104 bytes with the zero byte.
const std::size_t kLongestSocketPath = 103;

class TEventStream
{
public:
    TEventStream() = default;
    ~TEventStream() { Close(); }
    TEventStream(const TEventStream&) = delete;
    TEventStream& operator=(const TEventStream&) = delete;

    // Connects to the socket at this path, without waiting. What was open is closed, and what was left of a record is
    // forgotten.
    //
    // path     at most kLongestSocketPath bytes
    // returns  0, or an errno value: ENOENT and ECONNREFUSED when no daemon listens there, EAGAIN when one does but has
    //          too many callers at this moment, ENAMETOOLONG when the path is too long, EMFILE also when the descriptor
    //          is too large for select(2)
    int Connect(const std::string& path);

    bool IsOpen() const { return fSocket >= 0; }

    // The socket, for select(2); -1 when not open.
    int Socket() const { return fSocket; }

    // Reads once, without waiting, at most 4096 bytes, and appends the records that are complete now.
    //
    // returns  false when the stream has ended, however it did; the records that came before are appended all the same
    bool Read(std::vector<HalvorixEvent>* records);

    // How many bytes of an unfinished record have come: 0 to 127. After the end of the stream these are what was torn
    // off.
    std::size_t PartialBytes() const { return fUsed; }

    // Closes the socket; PartialBytes stays.
    void Close();

private:
    static const std::size_t kBytesAtOnce = 4096;

    void CutRecords(std::vector<HalvorixEvent>* records);

    int fSocket = -1;
    std::size_t fUsed = 0;
    unsigned char fBytes[kHalvorixEventSize + kBytesAtOnce];
};

#endif
