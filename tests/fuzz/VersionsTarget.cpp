// Versions, from text and to text.
//
// An input is: a line, a text that may be a version; a line, a packed version in hexadecimal digits; a line, the room that
// its text has, which stays below 24; and a line that is not empty when a blank is wanted before the stage.

#include "foundation/NumVersions.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Room.h"
#include "tests/fuzz/Targets.h"
#include "tests/fuzz/VersionsReference.h"

// More than any version needs.
static const UInt32 kRoomForAll = 32;

static std::string Written(UInt32 number, UInt32 capacity, bool blank)
{
    const TRoom text(capacity);
    ConvertNumVersionToString(ReturnNumVersionOfNumber(number), text.Get(), capacity, blank);
    return text.Bytes();
}

// Reads a text, and returns the number that was there before when it is no version.
static UInt32 Read(const std::string& text, UInt32 before)
{
    NumVersion version = ReturnNumVersionOfNumber(before);
    const bool read = ConvertStringToNumVersion(TRoom(text).Get(), &version);
    const UInt32 number = ReturnNumberOfNumVersion(version);
    // What is no version leaves things as they are, and no version is 0.
    return read ? number : number + 1;
}

static UInt32 Expected(const std::string& text, UInt32 before)
{
    std::uint32_t number = before;
    return VersionOfText(text, &number) ? number : before + 1;
}

static void TryRoundTrip(const TComparison& compare, UInt32 number)
{
    const std::string text = Written(number, kRoomForAll, false).c_str();
    if (text.empty())
        return;
    const UInt32 withoutRest = (number & 0xFF00) == 0x8000 ? number & 0xFFFFFF00 : number;
    compare.Same("what a version's text is read as", withoutRest, Read(text, 0));
}

void TryVersions(const std::string& input)
{
    const TComparison compare(input);
    TInput parts(input);
    const std::string text = parts.TextLine();
    const auto number = static_cast<UInt32>(parts.Number());
    const auto capacity = static_cast<UInt32>(parts.Number(24));
    const bool blank = !parts.AtEnd();

    compare.Same("the version that was read", Expected(text, 0xDEADBEEF), Read(text, 0xDEADBEEF));
    compare.Same("a number and back", number, ReturnNumberOfNumVersion(ReturnNumVersionOfNumber(number)));

    std::string expected = TextOfVersion(number, blank).substr(0, capacity == 0 ? 0 : capacity - 1);
    expected.resize(capacity, '\0');
    compare.Same("the buffer that was written", expected, Written(number, capacity, blank));
    TryRoundTrip(compare, number);
    TryRoundTrip(compare, Read(text, 0x01008000));
}
