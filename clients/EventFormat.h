// How a record reads: one line for people, one JSON object for programs, or its bytes.

#ifndef HALVORIX_CLIENTS_EVENTFORMAT_H
#define HALVORIX_CLIENTS_EVENTFORMAT_H

#include "clients/halvorixevent.h"

#include <cstdint>
#include <string>

// Milliseconds since 1970 began in Greenwich, leap seconds left out, as time(3) counts.
using TMilliseconds = std::int64_t;

enum class EFormat
{
    kText,
    kJSON,
    kRaw
};

// Whether the name field looks like a device: "diskN" or "diskNsM" with decimal numbers that start with no superfluous
// 0, ended by a zero byte within the 16. What follows the zero byte does not matter. It is a guess, since the daemon
// promises nothing about this field in the records that it sends.
//
// device   receives the name when it looks like one; otherwise untouched
// returns  whether it does
bool GuessDevice(const HalvorixEvent& event, std::string* device);

// The record in this format, with what ends it.
//
// received  when the record came
//
// Text, with local time, bytes 4 to 11 and 16 to 31 in hexadecimal, and "..." when bytes 32 to 111 are not all 0:
//   2007-11-03 15:05:09  type 3  disk2s3 (a guess)  4: 0011223344556677  16: 000102030405060708090a0b0c0d0e0f...
// The name is left out where there is nothing to guess.
//
// JSON, one object a line, with these fields in this order:
//   received     text, UTC: "2007-11-03T14:05:09.123Z"
//   type         number
//   queueEmpty   true or false
//   deviceGuess  text, or null
//   record       text: the 128 bytes as 256 hexadecimal digits, in the order in which they came
//
// Raw: the 128 bytes.
std::string FormatEvent(EFormat format, const HalvorixEvent& event, TMilliseconds received);

// What stands in the output in place of records that were dropped: a line of text, {"dropped":N}, or nothing in raw
// output, where it could not be told from a record.
std::string FormatDropped(EFormat format, std::uint64_t count);

#endif
