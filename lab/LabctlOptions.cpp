// How labctl reads the words that it was called with.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/LabctlUsage.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace labctl {

// The option that a word is, or misuse.
static TOption FindOption(const TCommand& command, const std::string& word)
{
    TWords names;
    for (const TOption& option : OptionsOf(command)) {
        if (word == "--" + option.name)
            return option;
        names.push_back("--" + option.name);
    }
    throw TMisuse{"there is no option " + word + Suggestion(word, names)};
}

TOptions::TOptions(const TCommand& command, TWords* words)
{
    TWords rest;
    std::size_t i = 0;
    for (; i < words->size() && (rest.empty() || !command.passesOn); ++i) {
        const std::string& word = (*words)[i];
        if (word == "--") {
            ++i;
            break;
        }
        if (word.rfind("--", 0) != 0) {
            rest.push_back(word);
            continue;
        }
        const TOption option = FindOption(command, word);
        if (!option.value.empty() && i + 1 == words->size())
            throw TMisuse{word + " needs a value"};
        fValues.push_back({option.name, option.value.empty() ? "" : (*words)[++i]});
    }
    rest.insert(rest.end(), words->begin() + static_cast<std::ptrdiff_t>(i), words->end());
    *words = rest;
}

bool TOptions::Has(const std::string& name) const
{
    return std::any_of(fValues.begin(), fValues.end(), [&](const auto& value) { return value.first == name; });
}

std::string TOptions::Text(const std::string& name, const std::string& otherwise) const
{
    std::string text = otherwise;
    for (const auto& value : fValues) {
        if (value.first == name)
            text = value.second;
    }
    return text;
}

long long ReadNumber(const std::string& what, const std::string& text, long long lowest, long long highest)
{
    errno = 0;
    char* end = nullptr;
    const long long number = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0 || number < lowest || number > highest)
        throw TMisuse{what + " is a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                      ", not \"" + text + "\""};
    return number;
}

long long TOptions::Number(const std::string& name, long long otherwise, long long lowest, long long highest) const
{
    return Has(name) ? ReadNumber("--" + name, Text(name), lowest, highest) : otherwise;
}

std::string TOptions::Bytes(const std::string& name) const
{
    const std::string text = Text(name);
    bool digits = text.size() % 2 == 0;
    for (const char character : text)
        digits = digits && std::isxdigit(static_cast<unsigned char>(character));
    if (!digits)
        throw TMisuse{"--" + name + " is pairs of hexadecimal digits, not \"" + text + "\""};
    return lab::BytesFromHexadecimal(text);
}

int ReadSignal(const std::string& text)
{
    const std::string name = text.rfind("SIG", 0) == 0 ? text.substr(3) : text;
    for (int number = 1; number < 32; ++number) {
        const char* const known = sigabbrev_np(number);
        if (known && name == known)
            return number;
    }
    return static_cast<int>(ReadNumber("a signal that is no name such as TERM", text, 1, 64));
}

void ExpectWords(const TWords& words, std::size_t lowest, std::size_t highest)
{
    if (words.size() < lowest)
        throw TMisuse{"something is missing"};
    if (words.size() > highest)
        throw TMisuse{"\"" + words[highest] + "\" is too much"};
}

void RefuseIf(const std::string& error)
{
    if (!error.empty())
        throw TRefusal{error};
}

}   // namespace labctl
