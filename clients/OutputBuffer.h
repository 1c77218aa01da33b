// What waits to be written: a bounded queue before an output that may stop taking anything at any moment.

#ifndef HALVORIX_CLIENTS_OUTPUTBUFFER_H
#define HALVORIX_CLIENTS_OUTPUTBUFFER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>

// Waits until a write of 512 bytes would not wait, or would fail at once. With select(2), since poll(2) of Mac OS X knows
// no terminals. A terminal that blocks may have less room than that, and so may a pipe that another program fills, too.
//
// descriptor    less than FD_SETSIZE
// milliseconds  how long to wait at most; 0 only looks
// returns       whether a write may be tried; false also when a signal came first
bool WaitUntilWritable(int descriptor, int milliseconds);

class TOutputBuffer
{
public:
    // What stands in the output in place of so many dropped messages; may answer an empty text.
    using FNotice = std::function<std::string(std::uint64_t dropped)>;

    // output    the descriptor to write to; neither closed nor changed (it may be a terminal that others share)
    // capacity  how many bytes may wait; when a message finds no room, it is dropped and counted
    TOutputBuffer(int output, std::size_t capacity, FNotice notice);

    // Puts one message behind the others, or drops it. Once one was dropped, all are until half of the capacity is
    // free; then the notice goes before the next message. So a slow reader finds few notices, each for many messages.
    void Put(const std::string& message);

    // Puts the notice of what was dropped since the last one, although no message follows; for the end.
    void PutLastNotice();

    // Writes what the output takes without waiting, at most 64 KB.
    //
    // returns  0, or the errno value of a write that failed; EPIPE when nobody reads any more
    int Write();

    bool IsEmpty() const { return fMessages.empty(); }

    // Messages that were dropped, all in all; notices do not count.
    std::uint64_t Dropped() const { return fDropped; }

    // Messages that wait, or of which a part waits; notices do not count.
    std::uint64_t Waiting() const;

private:
    struct TMessage
    {
        std::string text;
        bool isNotice;
    };

    void Append(const std::string& text, bool isNotice);
    void Advance(std::size_t written);

    const int fOutput;
    const std::size_t fCapacity;
    const FNotice fNotice;
    std::deque<TMessage> fMessages;
    std::size_t fWritten = 0;   // of the first message
    std::size_t fBytes = 0;     // that wait
    std::uint64_t fDropped = 0;
    std::uint64_t fUnsaid = 0;   // of those dropped
};

#endif
