#include "clients/OutputBuffer.h"

#include <algorithm>
#include <cerrno>
#include <sys/select.h>
#include <unistd.h>
#include <utility>

// What a pipe that select(2) calls ready takes without blocking, on every system: _POSIX_PIPE_BUF.
static const std::size_t kBytesAtOnce = 512;
static const std::size_t kBytesPerCall = 65536;

bool WaitUntilWritable(int descriptor, int milliseconds)
{
    fd_set writable;
    FD_ZERO(&writable);
    FD_SET(descriptor, &writable);
    timeval timeout = {};
    timeout.tv_sec = milliseconds / 1000;
    timeout.tv_usec = milliseconds % 1000;
    timeout.tv_usec *= 1000;
    return select(descriptor + 1, nullptr, &writable, nullptr, &timeout) == 1;
}

TOutputBuffer::TOutputBuffer(int output, std::size_t capacity, FNotice notice)
    : fOutput(output), fCapacity(capacity), fNotice(std::move(notice))
{
}

void TOutputBuffer::Put(const std::string& message)
{
    const std::size_t limit = fUnsaid ? fCapacity / 2 : fCapacity;
    if (fBytes + message.size() > limit) {
        ++fDropped;
        ++fUnsaid;
        return;
    }
    PutLastNotice();
    Append(message, false);
}

void TOutputBuffer::PutLastNotice()
{
    if (fUnsaid)
        Append(fNotice(fUnsaid), true);
    fUnsaid = 0;
}

int TOutputBuffer::Write()
{
    for (std::size_t done = 0; !fMessages.empty() && done < kBytesPerCall && WaitUntilWritable(fOutput, 0);) {
        const std::string& text = fMessages.front().text;
        const ssize_t written = write(fOutput, text.data() + fWritten, std::min(text.size() - fWritten, kBytesAtOnce));
        // Somebody else who has the output may have made it non-blocking.
        if (written < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? 0 : errno;
        done += static_cast<std::size_t>(written);
        Advance(static_cast<std::size_t>(written));
    }
    return 0;
}

std::uint64_t TOutputBuffer::Waiting() const
{
    return static_cast<std::uint64_t>(
        std::count_if(fMessages.begin(), fMessages.end(), [](const TMessage& message) { return !message.isNotice; }));
}

void TOutputBuffer::Append(const std::string& text, bool isNotice)
{
    if (text.empty())
        return;
    fMessages.push_back({text, isNotice});
    fBytes += text.size();
}

void TOutputBuffer::Advance(std::size_t written)
{
    fBytes -= written;
    fWritten += written;
    if (fWritten < fMessages.front().text.size())
        return;
    fMessages.pop_front();
    fWritten = 0;
}
