#include "lab/import/RegistryValue.h"

#include "lab/Files.h"
#include "platform/Text.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

using plist::TValue;

namespace import {

// Deeper than any real one, and shallow enough for a property list.
static constexpr int kMaximumNesting = 100;

static const char kUnknownObject[] = "<unknown object>";

std::string ReadableText(const std::string& bytes)
{
    std::u16string characters;
    if (!platform::Decode(bytes, kCFStringEncodingUTF8, &characters))
        platform::Decode(bytes, kCFStringEncodingMacRoman, &characters);
    std::string text;
    for (std::size_t at = 0; at < characters.size();) {
        const char16_t character = characters[at];
        const bool isControl = character < 0x20 && character != '\t' && character != '\n';
        if (isControl || character >= 0xfffe)
            text += '?';
        const std::size_t units =
            isControl || character >= 0xfffe ? 1 : platform::EncodeNext(characters, at, kCFStringEncodingUTF8, &text);
        at += units == 0 ? 1 : units;
    }
    return text;
}

static bool IsHexadecimal(const std::string& text)
{
    for (const char character : text) {
        if (!std::isxdigit(static_cast<unsigned char>(character)))
            return false;
    }
    return text.size() % 2 == 0;
}

// Data with a line feed in it is shown as digits, so that one among its texts or digits is none of ioreg's.
static bool HasLineFeed(const std::string& text)
{
    return text.find('\n') != std::string::npos;
}

// "15" or "0x0f". Numbers from 2^63 on are as common as others: negative ones are printed so.
static bool ReadNumber(const std::string& text, TValue* value)
{
    const bool hexadecimal = text.rfind("0x", 0) == 0;
    const std::string digits = hexadecimal ? text.substr(2) : text;
    const char* const known = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.find_first_not_of(known) != std::string::npos)
        return false;
    errno = 0;
    const unsigned long long number = std::strtoull(digits.c_str(), nullptr, hexadecimal ? 16 : 10);
    if (errno == ERANGE)
        return false;
    *value = TValue::Integer(static_cast<std::int64_t>(number));
    value->wide = value->integer < 0;
    return true;
}

namespace {

// Reads a container, or what stands in one, from left to right.
class TValueReader
{
public:
    TValueReader(const std::string& text, std::size_t* unreadable) : fText(text), fUnreadable(unreadable) {}

    bool ReadAll(TValue* value) { return ReadValue(0, value) && fAt == fText.size(); }

private:
    char Next() const { return fAt < fText.size() ? fText[fAt] : '\0'; }

    bool Take(char character)
    {
        if (Next() != character)
            return false;
        ++fAt;
        return true;
    }

    // The text up to the first quote behind which one of these follows; the reader stands at its own first quote.
    bool ReadText(const char* followers, std::string* text)
    {
        for (std::size_t end = fText.find('"', fAt + 1); end != std::string::npos; end = fText.find('"', end + 1)) {
            if (end + 1 < fText.size() && std::strchr(followers, fText[end + 1])) {
                *text = fText.substr(fAt + 1, end - fAt - 1);
                fAt = end + 1;
                return true;
            }
        }
        return false;
    }

    bool ReadValue(int nesting, TValue* value)
    {
        if (nesting > kMaximumNesting)
            return false;
        switch (Next()) {
        case '"': {
            std::string text;
            if (!ReadText(",)}]", &text))
                return false;
            *value = TValue::String(ReadableText(text));
            return true;
        }
        case '<':
            return ReadData(value);
        case '(':
            return ReadItems(')', nesting, value);
        case '[':
            return ReadItems(']', nesting, value);
        case '{':
            return ReadEntries(nesting, value);
        default:
            return ReadWord(value);
        }
    }

    bool ReadWord(TValue* value)
    {
        const std::size_t end = std::min(fText.find_first_of(",)}]", fAt), fText.size());
        const std::string word = fText.substr(fAt, end - fAt);
        fAt = end;
        if (word.empty()) {
            *value = TValue::String("");
            ++*fUnreadable;
            return true;
        }
        if (word == "Yes" || word == "No") {
            *value = TValue::Boolean(word == "Yes");
            return true;
        }
        return ReadNumber(word, value);
    }

    bool ReadData(TValue* value)
    {
        if (fText.compare(fAt, std::strlen(kUnknownObject), kUnknownObject) == 0) {
            *value = TValue::String(kUnknownObject);
            fAt += std::strlen(kUnknownObject);
            return true;
        }
        ++fAt;
        if (Next() == '"')
            return ReadTexts(value);
        const std::size_t end = fText.find('>', fAt);
        if (end == std::string::npos)
            return false;
        const std::string digits = fText.substr(fAt, end - fAt);
        if (HasLineFeed(digits))
            return false;
        fAt = end + 1;
        *value = TValue::Data(IsHexadecimal(digits) ? lab::BytesFromHexadecimal(digits) : "");
        *fUnreadable += IsHexadecimal(digits) ? 0 : 1;
        return true;
    }

    bool ReadTexts(TValue* value)
    {
        std::string bytes;
        do {
            std::string text;
            if (Next() != '"' || !ReadText(",>", &text) || HasLineFeed(text))
                return false;
            bytes += text + '\0';
        } while (Take(','));
        *value = TValue::Data(bytes);
        return Take('>');
    }

    bool ReadItems(char closing, int nesting, TValue* value)
    {
        ++fAt;
        *value = TValue::Array();
        if (Take(closing))
            return true;
        do {
            value->items.emplace_back();
            if (!ReadValue(nesting + 1, &value->items.back()))
                return false;
        } while (Take(','));
        return Take(closing);
    }

    bool ReadEntries(int nesting, TValue* value)
    {
        ++fAt;
        *value = TValue::Dictionary();
        if (Take('}'))
            return true;
        do {
            std::string key;
            TValue entry;
            if ((Next() == '"' && !ReadText("=", &key)) || !Take('=') || !ReadValue(nesting + 1, &entry))
                return false;
            value->Set(ReadableText(key), std::move(entry));
        } while (Take(','));
        return Take('}');
    }

    const std::string& fText;
    std::size_t* fUnreadable;
    std::size_t fAt = 0;
};

}   // namespace

// Data that is shown as texts, at the end of whose line it ends: <"one","two">.
static TValue DataFromTexts(const std::string& text)
{
    std::string bytes = text.substr(2, text.size() - 4);
    for (std::size_t at = bytes.find("\",\""); at != std::string::npos; at = bytes.find("\",\"", at + 1))
        bytes.replace(at, 3, 1, '\0');
    return TValue::Data(bytes + '\0');
}

static bool BeginsAndEnds(const std::string& text, const char* begin, const char* end)
{
    const std::size_t length = std::strlen(end);
    return text.size() >= std::strlen(begin) + length && text.rfind(begin, 0) == 0 &&
           text.compare(text.size() - length, length, end) == 0;
}

bool ReadRegistryValue(const std::string& text, TValue* value, std::size_t* unreadable)
{
    if (BeginsAndEnds(text, "\"", "\"")) {
        *value = TValue::String(ReadableText(text.substr(1, text.size() - 2)));
        return true;
    }
    if (BeginsAndEnds(text, "<\"", "\">") && !HasLineFeed(text)) {
        *value = DataFromTexts(text);
        return true;
    }
    return TValueReader(text, unreadable).ReadAll(value);
}

}   // namespace import
