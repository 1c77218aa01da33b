// Texts that are trimmed, appended and stored in buffers of a fixed size, and numbers as text.
//
// An input is lines, numbers in hexadecimal digits: the room of a buffer, below 80; how much of it is used, below 100; a line
// that is not empty when what is appended is trimmed; what the buffer holds; what is appended; the number that is written;
// a power of ten, below 20.

#include "foundation/CStrings.h"
#include "foundation/HexText.h"
#include "foundation/Sizes.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Room.h"
#include "tests/fuzz/Targets.h"
#include "tests/fuzz/TextsReference.h"

#include <algorithm>
#include <vector>

static const UInt32 kHexTextSize = 24;

// The text as it stands in a buffer that was zeroed before, cut to its room.
static std::string InRoom(const std::string& text, UInt32 capacity)
{
    std::string cut = text.substr(0, capacity == 0 ? 0 : capacity - 1);
    cut.resize(capacity, '\0');
    return cut;
}

static void TryStripping(const TComparison& compare, const std::string& text)
{
    const TTrimmed trimmed = Trimmed(text);
    std::string expected = text + '\0';
    expected[trimmed.end] = '\0';

    const TRoom buffer(text);
    const char* const start = StripSpaces(buffer.Get());
    compare.Same("where the stripped text begins", trimmed.begin, static_cast<std::size_t>(start - buffer.Get()));
    compare.Same("the stripped text", expected, buffer.Bytes());
}

static void TryConcatenation(const TComparison& compare, TInput parts)
{
    const auto capacity = static_cast<UInt32>(parts.Number(80));
    auto used = static_cast<UInt32>(parts.Number(100));
    const bool trim = !parts.Line().empty();
    parts.Line();
    const std::string source = parts.TextLine();

    const TTrimmed trimmed = trim ? Trimmed(source) : TTrimmed{0, source.size()};
    const std::string added =
        source.substr(trimmed.begin, trimmed.end - trimmed.begin).substr(0, used < capacity ? capacity - used - 1 : 0);
    std::string expected(capacity, '?');
    if (!added.empty())
        expected.replace(used, added.size(), added);
    const std::uint64_t expectedUsed = used + added.size();

    const TRoom buffer(capacity);
    CatStrings(buffer.Get(), TRoom(source).Get(), capacity, &used, trim);
    compare.Same("what was appended", expected, buffer.Bytes());
    compare.Same("how much is used", expectedUsed, used);
}

static void TryStoring(const TComparison& compare, const std::string& text, UInt32 capacity)
{
    const std::string stored = text.substr(0, capacity == 0 ? 0 : capacity - 1) + std::string(capacity != 0, '\0');
    const std::string expected = stored + std::string(capacity - stored.size(), '?');

    const TRoom buffer(capacity);
    StoreCString(buffer.Get(), TRoom(text).Get(), capacity);
    compare.Same("what was stored", expected, buffer.Bytes());
}

static void TryAppending(const TComparison& compare, const std::string& before, const std::string& text, UInt32 room)
{
    const std::string held = before.substr(0, room);
    const std::string both = (held + text).substr(0, room);
    const std::string expected = both + '\0' + std::string(room - both.size(), '?');

    const TRoom buffer(room + 1);
    std::copy_n(held.c_str(), held.size() + 1, buffer.Get());
    const bool fitted = AppendText(buffer.Get(), TRoom(text).Get(), room + 1);
    compare.Same("the text that was appended to", expected, buffer.Bytes());
    compare.Same("whether all of it fitted", held.size() + text.size() <= room, fitted);
}

static void TrySizes(const TComparison& compare, UInt64 number, UInt32 capacity, UInt32 power)
{
    std::uint32_t expectedPower = 0;
    const std::string size = TextOfSize(number, &expectedPower);

    const TRoom buffer(capacity);
    UInt32 foundPower = 77;
    ConvertUInt64ToSizeSizeStringAndPowerOfTen(number, buffer.Get(), capacity, &foundPower);
    compare.Same("the size without its unit", InRoom(size, capacity), buffer.Bytes());
    compare.Same("the power of ten", expectedPower, foundPower);

    const TRoom whole(capacity);
    ConvertUInt64ToSizeString(number, whole.Get(), capacity);
    compare.Same("the size", InRoom(size + UnitOfPower(expectedPower), capacity), whole.Bytes());
    compare.Same("the unit", UnitOfPower(power), ReturnSizeUnit(power));
}

static void TryHexText(const TComparison& compare, UInt64 number)
{
    std::vector<UInt8> data;
    for (int shift = 56; shift >= 0; shift -= 8)
        data.push_back(static_cast<UInt8>(number >> shift));
    const std::string expected = TextOfBytes(number) + '\0';

    const TRoom buffer(kHexTextSize);
    ConvertWWN_DataToHexString(data.data(), buffer.Get());
    compare.Same("the bytes as text", expected, buffer.Bytes());
    const TRoom other(kHexTextSize);
    ConvertUInt64ToHexString(&number, other.Get());
    compare.Same("the number's bytes as text", expected, other.Bytes());
}

void TryTexts(const std::string& input)
{
    const TComparison compare(input);
    TInput parts(input);
    TryConcatenation(compare, parts);

    const auto capacity = static_cast<UInt32>(parts.Number(80));
    parts.Line();
    parts.Line();
    const std::string before = parts.TextLine();
    const std::string text = parts.TextLine();
    const UInt64 number = parts.Number();
    TryStripping(compare, text);
    TryStoring(compare, text, capacity);
    TryAppending(compare, before, text, capacity);
    TrySizes(compare, number, capacity, static_cast<UInt32>(parts.Number(20)));
    TryHexText(compare, number);
}
