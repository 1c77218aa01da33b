#include "tests/fuzz/VersionsReference.h"

#include <map>
#include <regex>

static const std::map<std::uint32_t, std::string>& Letters()
{
    static const auto& letters =
        *new std::map<std::uint32_t, std::string>{{0x20, "d"}, {0x40, "a"}, {0x60, "b"}, {0x80, ""}};
    return letters;
}

std::string TextOfVersion(std::uint32_t version, bool blankBeforeStage)
{
    const std::uint32_t tens = version >> 28;
    const std::uint32_t units = version >> 24 & 15;
    const std::uint32_t bug = version >> 16 & 15;
    const auto letter = Letters().find(version >> 8 & 255);
    if (tens > 9 || units > 9 || letter == Letters().end())
        return "";

    std::string text = (tens != 0 ? std::to_string(tens) : "") + std::to_string(units);
    text += "." + std::to_string(version >> 20 & 15);
    if (bug != 0)
        text += "." + std::to_string(bug);
    if (!letter->second.empty())
        text += (blankBeforeStage ? " " : "") + letter->second + std::to_string(version & 255);
    return text;
}

// A digit of a text that may have none.
static std::uint32_t Number(const std::string& digits)
{
    return digits.empty() ? 0 : static_cast<std::uint32_t>(std::stoul(digits));
}

bool VersionOfText(const std::string& text, std::uint32_t* version)
{
    // The last digit of a revision is not followed by one, unless it makes a number up to 15 with the one before.
    static const std::string kRevision = "(1[0-5]|[0-9](?![0-9]))";
    // Behind the release: perhaps a blank, then nothing, a digit and anything, or a stage, a number and anything.
    static const auto& pattern = *new std::regex("([0-9]{1,2})\\." + kRevision + "(?:\\." + kRevision +
                                                 ")? ?(?:|[0-9][\\s\\S]*|([dab])([0-9]{1,3})[\\s\\S]*)");
    std::smatch parts;
    // No more of a text is looked at than this, and the pattern's own code cannot do with very long ones.
    const std::string looked = text.substr(0, 100);
    if (!std::regex_match(looked, parts, pattern))
        return false;
    const std::uint32_t nonRelease = Number(parts[5]);
    if (nonRelease > 255)
        return false;

    std::uint32_t stage = 0x80;
    for (const auto& letter : Letters()) {
        if (parts[4] == letter.second)
            stage = letter.first;
    }
    // The major revision is packed as decimal digits, which is as hexadecimal digits are.
    const auto major = static_cast<std::uint32_t>(std::stoul(parts[1], nullptr, 16));
    *version = major << 24 | Number(parts[2]) << 20 | Number(parts[3]) << 16 | stage << 8 | nonRelease;
    return true;
}
