#include "bench/relay/Framing.h"

#include "bench/relay/Record.h"

#include <cstdint>
#include <cstring>

static constexpr TFrame kIncomplete = {0, nullptr};

TFrame PlainFrame(const char* bytes, std::size_t count)
{
    return count < kRecordSize ? kIncomplete : TFrame{kRecordSize, bytes};
}

static std::size_t NumberAt(const char* bytes)
{
    std::uint32_t number = 0;
    memcpy(&number, bytes, sizeof number);
    return number;
}

// The fixed part of the header is 16 bytes: byte 1 the type, 4 the body's length, 12 the length of the fields that follow,
// behind which the header is filled up to a multiple of 8.
TFrame DBusFrame(const char* bytes, std::size_t count)
{
    static const std::size_t kFixed = 16;
    static const std::size_t kArrayLength = 4;
    static const char kSignal = 4;
    if (count < kFixed)
        return kIncomplete;
    const std::size_t body = NumberAt(bytes + 4);
    const std::size_t header = (kFixed + NumberAt(bytes + 12) + 7) / 8 * 8;
    if (count < header + body)
        return kIncomplete;
    const bool holdsRecord = bytes[1] == kSignal && body == kArrayLength + kRecordSize;
    return {header + body, holdsRecord ? bytes + header + kArrayLength : nullptr};
}

// A byte of flags, a byte with the length of what follows.
TFrame ZMTPFrame(const char* bytes, std::size_t count)
{
    static const std::size_t kHeader = 2;
    if (count < kHeader)
        return kIncomplete;
    const std::size_t length = static_cast<unsigned char>(bytes[1]);
    if (count < kHeader + length)
        return kIncomplete;
    return {kHeader + length, bytes[0] == 0 && length == kRecordSize ? bytes + kHeader : nullptr};
}
