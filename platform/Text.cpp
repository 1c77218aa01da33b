#include "platform/Text.h"

#include "platform/Composition.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace platform {

// The upper half of MacRoman, from 0x80 on, with the euro sign that Mac OS 8.5 brought.
static const char16_t kMacRoman[129] =
    u"\u00C4\u00C5\u00C7\u00C9\u00D1\u00D6\u00DC\u00E1\u00E0\u00E2\u00E4\u00E3\u00E5\u00E7\u00E9\u00E8"
    u"\u00EA\u00EB\u00ED\u00EC\u00EE\u00EF\u00F1\u00F3\u00F2\u00F4\u00F6\u00F5\u00FA\u00F9\u00FB\u00FC"
    u"\u2020\u00B0\u00A2\u00A3\u00A7\u2022\u00B6\u00DF\u00AE\u00A9\u2122\u00B4\u00A8\u2260\u00C6\u00D8"
    u"\u221E\u00B1\u2264\u2265\u00A5\u00B5\u2202\u2211\u220F\u03C0\u222B\u00AA\u00BA\u03A9\u00E6\u00F8"
    u"\u00BF\u00A1\u00AC\u221A\u0192\u2248\u2206\u00AB\u00BB\u2026\u00A0\u00C0\u00C3\u00D5\u0152\u0153"
    u"\u2013\u2014\u201C\u201D\u2018\u2019\u00F7\u25CA\u00FF\u0178\u2044\u20AC\u2039\u203A\uFB01\uFB02"
    u"\u2021\u00B7\u201A\u201E\u2030\u00C2\u00CA\u00C1\u00CB\u00C8\u00CD\u00CE\u00CF\u00CC\u00D3\u00D4"
    u"\uF8FF\u00D2\u00DA\u00DB\u00D9\u0131\u02C6\u02DC\u00AF\u02D8\u02D9\u02DA\u00B8\u02DD\u02DB\u02C7";

static bool IsSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit < 0xE000;
}

static void AppendUTF16(std::uint32_t character, std::u16string* text)
{
    if (character < 0x10000) {
        text->push_back(static_cast<char16_t>(character));
        return;
    }
    text->push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    text->push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

// Reads the character at `at` and moves behind it.
static bool NextOfUTF8(const std::string& bytes, size_t* at, std::uint32_t* character)
{
    const auto first = static_cast<unsigned char>(bytes[(*at)++]);
    if (first < 0x80) {
        *character = first;
        return true;
    }
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    static const std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (first < 0xC0 || first > 0xF7 || bytes.size() - *at < static_cast<size_t>(more))
        return false;
    std::uint32_t value = first & (0x3Fu >> more);
    for (int i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(bytes[(*at)++]);
        if ((next & 0xC0) != 0x80)
            return false;
        value = value << 6 | (next & 0x3F);
    }
    *character = value;
    return value >= kLeast[more] && value <= 0x10FFFF && !IsSurrogate(value);
}

static bool DecodeUTF8(const std::string& bytes, std::u16string* text)
{
    size_t at = 0;
    while (at < bytes.size()) {
        std::uint32_t character = 0;
        if (!NextOfUTF8(bytes, &at, &character))
            return false;
        AppendUTF16(character, text);
    }
    return true;
}

static bool DecodeUTF16(const std::string& bytes, std::u16string* text)
{
    if (bytes.size() % 2 != 0)
        return false;
    text->resize(bytes.size() / 2);
    if (!text->empty())
        memcpy(text->data(), bytes.data(), bytes.size());
    return true;
}

static bool IsEightBit(CFStringEncoding encoding)
{
    return encoding == kCFStringEncodingASCII || encoding == kCFStringEncodingISOLatin1 ||
           encoding == kCFStringEncodingMacRoman;
}

bool Decode(const std::string& bytes, CFStringEncoding encoding, std::u16string* text)
{
    text->clear();
    if (encoding == kCFStringEncodingUTF8)
        return DecodeUTF8(bytes, text);
    if (encoding == kCFStringEncodingUnicode)
        return DecodeUTF16(bytes, text);
    if (!IsEightBit(encoding))
        return false;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value >= 0x80 && encoding == kCFStringEncodingASCII)
            return false;
        text->push_back(value >= 0x80 && encoding == kCFStringEncodingMacRoman ? kMacRoman[value - 0x80] : value);
    }
    return true;
}

static void AppendUTF8(std::uint32_t character, std::string* bytes)
{
    const auto append = [bytes](std::uint32_t byte) { bytes->push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3F));
    } else {
        append(0xF0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3F));
        append(0x80 | (character >> 6 & 0x3F));
    }
    append(0x80 | (character & 0x3F));
}

// Returns how many units the character at `at` has: one, two, or 0 when it is half a character.
static size_t EncodeNextAsUTF8(const std::u16string& text, size_t at, std::string* bytes)
{
    const std::uint32_t first = text[at];
    if (!IsSurrogate(first)) {
        AppendUTF8(first, bytes);
        return 1;
    }
    if (first >= 0xDC00 || at + 1 == text.size() || text[at + 1] < 0xDC00 || text[at + 1] >= 0xE000)
        return 0;
    AppendUTF8(0x10000 + ((first - 0xD800) << 10) + (text[at + 1] - 0xDC00u), bytes);
    return 2;
}

static bool EncodeCharacter(char16_t character, CFStringEncoding encoding, std::string* bytes)
{
    std::uint32_t byte = character;
    if (character >= 0x80 && encoding == kCFStringEncodingMacRoman) {
        const auto* const found = std::find(kMacRoman, kMacRoman + 128, character);
        byte = static_cast<std::uint32_t>(0x80 + (found - kMacRoman));
    }
    if (byte > (encoding == kCFStringEncodingASCII ? 0x7Fu : 0xFFu))
        return false;
    bytes->push_back(static_cast<char>(byte));
    return true;
}

size_t EncodeNext(const std::u16string& text, size_t at, CFStringEncoding encoding, std::string* bytes)
{
    if (encoding == kCFStringEncodingUTF8)
        return EncodeNextAsUTF8(text, at, bytes);
    if (!IsEightBit(encoding))
        return 0;
    // As on a Mac, a letter and its combining mark become one byte where the encoding has no mark.
    const char16_t letter = at + 1 < text.size() ? Composed(text[at], text[at + 1]) : u'\0';
    if (letter != 0 && EncodeCharacter(letter, encoding, bytes))
        return 2;
    return EncodeCharacter(text[at], encoding, bytes) ? 1 : 0;
}

bool Encode(const std::u16string& text, CFStringEncoding encoding, std::string* bytes)
{
    bytes->clear();
    size_t at = 0;
    while (at < text.size()) {
        const size_t units = EncodeNext(text, at, encoding, bytes);
        if (units == 0)
            return false;
        at += units;
    }
    return encoding == kCFStringEncodingUTF8 || IsEightBit(encoding);
}

}   // namespace platform
