// Event records for the tests of those who listen.

#ifndef HALVORIX_TESTS_CLIENTS_SAMPLEEVENTS_H
#define HALVORIX_TESTS_CLIENTS_SAMPLEEVENTS_H

#include "clients/halvorixevent.h"

#include <cstdint>
#include <cstring>
#include <string>

// A record whose opaque bytes each hold their own offset, so that none is like its neighbour.
//
// name  what stands in the last 16 bytes, filled up with zeros
inline HalvorixEvent SampleEvent(std::int32_t type, const std::string& name)
{
    unsigned char bytes[kHalvorixEventSize];
    for (unsigned char i = 0; i < kHalvorixEventSize; ++i)
        bytes[i] = i < kHalvorixEventNameOffset ? i : 0;

    HalvorixEvent event;
    memcpy(&event, bytes, sizeof event);
    event.queueEmpty = 1;
    event.type = type;
    memcpy(event.name, name.data(), name.size());
    return event;
}

// The record as it goes through the socket.
inline std::string BytesOf(const HalvorixEvent& event)
{
    return std::string(reinterpret_cast<const char*>(&event), sizeof event);
}

#endif
