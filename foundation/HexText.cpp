#include "foundation/HexText.h"

#include <cstddef>

static const std::size_t kBytes = 8;

void ConvertWWN_DataToHexString(const UInt8* data, char* text)
{
    static const char kDigits[] = "0123456789ABCDEF";
    for (std::size_t i = 0; i < kBytes; ++i) {
        text[3 * i] = kDigits[data[i] >> 4];
        text[3 * i + 1] = kDigits[data[i] & 0x0F];
        text[3 * i + 2] = ' ';
    }
    // In place of the blank behind the last byte.
    text[3 * kBytes - 1] = 0;
}

void ConvertUInt64ToHexString(const UInt64* value, char* text)
{
    // Not the bytes as they stand in memory: that would turn the number round on a little-endian host.
    UInt8 bytes[kBytes];
    for (std::size_t i = 0; i < kBytes; ++i)
        bytes[i] = static_cast<UInt8>(*value >> (8 * (kBytes - 1 - i)));
    ConvertWWN_DataToHexString(bytes, text);
}
