// How a contender's records stand in what its subscribers read.

#ifndef HALVORIX_BENCH_RELAY_FRAMING_H
#define HALVORIX_BENCH_RELAY_FRAMING_H

#include <cstddef>

// One unit of a stream.
struct TFrame
{
    std::size_t size;     // bytes that it takes; 0: it has not come whole yet
    const char* record;   // the record in it; null when it is something else
};

// Looks at the first unit of these bytes.
typedef TFrame (*TFraming)(const char* bytes, std::size_t count);

// Records one behind the other, nothing between them.
TFrame PlainFrame(const char* bytes, std::size_t count);

// D-Bus messages in this host's byte order, of which signals hold a record as their only argument, an array of bytes.
TFrame DBusFrame(const char* bytes, std::size_t count);

// Short frames of ZMTP 3, ZeroMQ's protocol, of which messages hold a record.
TFrame ZMTPFrame(const char* bytes, std::size_t count);

#endif
