#include "tests/fuzz/TextsReference.h"

#include <cstdio>
#include <map>

TTrimmed Trimmed(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos)
        return {text.size(), text.size()};
    return {begin, text.find_last_not_of(' ') + 1};
}

// How many times the divisor goes into the number, to the nearest; of two that are as near, the even one.
static std::uint64_t Rounded(std::uint64_t number, std::uint64_t divisor)
{
    const std::uint64_t whole = number / divisor;
    const std::uint64_t rest = number % divisor;
    const bool up = rest > divisor / 2 || (rest == divisor / 2 && whole % 2 == 1);
    return whole + (up ? 1 : 0);
}

std::string TextOfSize(std::uint64_t bytes, std::uint32_t* power)
{
    std::uint64_t unit = 1;
    for (*power = 3; *power <= 12; *power += 3) {
        unit *= 1024;
        const std::uint64_t whole = bytes / unit;
        if (whole >= 1000)
            continue;
        if (whole >= 100)
            return std::to_string(whole);
        const std::uint64_t parts = whole >= 10 ? 10 : 100;
        const std::uint64_t count = Rounded(bytes * parts, unit);
        // As many digits behind the point as there are noughts in the number of parts.
        const std::string digits = std::to_string(parts + count % parts).substr(1);
        return std::to_string(count / parts) + "." + digits;
    }
    *power = 0;
    return "";
}

std::string UnitOfPower(std::uint32_t power)
{
    static const auto& units =
        *new std::map<std::uint32_t, std::string>{{3, " KB"}, {6, " MB"}, {9, " GB"}, {12, " TB"}, {15, " EB"}};
    const auto unit = units.find(power);
    return unit != units.end() ? unit->second : " -";
}

std::string TextOfBytes(std::uint64_t number)
{
    std::string text;
    for (int shift = 56; shift >= 0; shift -= 8) {
        char byte[4];
        snprintf(byte, sizeof byte, " %02X", static_cast<unsigned>(number >> shift & 255));
        text += byte;
    }
    return text.substr(1);
}
