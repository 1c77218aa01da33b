#include "lab/Json.h"

#include "lab/Files.h"

#include <cmath>
#include <cstdio>

using plist::Kind;
using plist::TValue;

namespace lab {

// How many bytes the character at `at` has, 0 when there is none of UTF-8. Surrogates and what is longer than need be are
// let through: whoever reads the JSON sees what was in the machine.
static std::size_t CharacterLength(const std::string& text, std::size_t at)
{
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xc2 ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (at + i >= text.size() || (static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80)
            return 0;
    }
    return length;
}

static std::string Quoted(const std::string& text)
{
    std::string json = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const std::size_t length = CharacterLength(text, at);
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(byte));
        if (byte == '"' || byte == '\\')
            json += std::string("\\") + text[at];
        else if (byte == '\n')
            json += "\\n";
        else if (byte < 0x20 || byte == 0x7f || length == 0)
            json += escaped;
        else
            json.append(text, at, length);
        at += length == 0 ? 1 : length;
    }
    return json + "\"";
}

static std::string NumberText(double number)
{
    if (!std::isfinite(number))
        return "null";
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", number);
    return text;
}

static std::string WriteItems(const TValue& value)
{
    std::string json;
    for (const TValue& item : value.items)
        json += (json.empty() ? "" : ", ") + WriteJson(item);
    return "[" + json + "]";
}

static std::string WriteEntries(const TValue& value)
{
    std::string json;
    for (const auto& entry : value.entries)
        json += (json.empty() ? "" : ", ") + Quoted(entry.first) + ": " + WriteJson(entry.second);
    return "{" + json + "}";
}

std::string WriteJson(const TValue& value)
{
    switch (value.kind) {
    case Kind::kString:
        return Quoted(value.text);
    case Kind::kInteger:
        return value.wide ? std::to_string(static_cast<std::uint64_t>(value.integer)) : std::to_string(value.integer);
    case Kind::kReal:
    case Kind::kDate:
        return NumberText(value.real);
    case Kind::kBoolean:
        return value.boolean ? "true" : "false";
    case Kind::kData:
        return Quoted(Hexadecimal(value.text));
    case Kind::kArray:
        return WriteItems(value);
    case Kind::kDictionary:
        return WriteEntries(value);
    }
    return "null";
}

TValue MakeObject(std::vector<std::pair<std::string, TValue>> entries)
{
    TValue object = TValue::Dictionary();
    object.entries = std::move(entries);
    return object;
}

TValue MakeReal(double number)
{
    TValue value;
    value.kind = Kind::kReal;
    value.real = number;
    return value;
}

TValue MakeInteger(std::size_t number)
{
    return TValue::Integer(static_cast<std::int64_t>(number));
}

TValue MakeTexts(const std::vector<std::string>& texts)
{
    TValue array = TValue::Array();
    for (const std::string& text : texts)
        array.items.push_back(TValue::String(text));
    return array;
}

}   // namespace lab
