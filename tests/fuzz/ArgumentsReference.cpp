#include "tests/fuzz/ArgumentsReference.h"

#include <algorithm>
#include <map>

static char Lowered(char character)
{
    // The accented capitals of Mac Roman that have a lower case, by their codes.
    static const auto& accented = *new std::map<unsigned, unsigned>{
        {0x80, 0x8A}, {0x81, 0x8C}, {0x82, 0x8D}, {0x83, 0x8E}, {0x84, 0x96}, {0x85, 0x9A}, {0x86, 0x9F},
        {0xAE, 0xBE}, {0xAF, 0xBF}, {0xCB, 0x88}, {0xCC, 0x8B}, {0xCD, 0x9B}, {0xCE, 0xCF}};
    if (character >= 'A' && character <= 'Z')
        return static_cast<char>(character + ('a' - 'A'));
    const auto found = accented.find(static_cast<unsigned char>(character));
    return found != accented.end() ? static_cast<char>(found->second) : character;
}

static std::string Lowered(std::string word)
{
    for (char& character : word)
        character = Lowered(character);
    return word;
}

// Finds the argument that accepts a word. Those that were found before are not asked.
static bool Accept(const std::vector<TKnownArgument>& known, const std::string& word, std::vector<bool>* found,
                   std::string* asked)
{
    for (std::size_t i = 0; i < known.size(); ++i) {
        if ((*found)[i])
            continue;
        *asked += std::to_string(i) + "?" + word + " ";
        if (known[i].word == word) {
            (*found)[i] = true;
            return true;
        }
    }
    return false;
}

TCommandLineResult ResultOfCommandLine(const std::vector<TKnownArgument>& known, const std::vector<std::string>& words)
{
    TCommandLineResult result;
    if (!words.empty() && (Lowered(words[0]) == "help" || words[0] == "?")) {
        result.helpRequested = true;
        return result;
    }
    if (known.empty()) {
        result.handled = words.empty();
        return result;
    }
    std::vector<bool> found(known.size());
    for (const std::string& word : words) {
        if (!Accept(known, Lowered(word), &found, &result.asked)) {
            result.printed = "### Unrecognized argument: " + word + ".\n";
            return result;
        }
    }
    result.handled = true;
    for (std::size_t i = 0; i < known.size(); ++i) {
        if (known[i].required && !found[i]) {
            result.asked += std::to_string(i) + "! ";
            result.handled = false;
        }
    }
    return result;
}

std::string TextOfError(const TCommandLineResult& result, int status, std::size_t known)
{
    std::string text;
    if (!result.helpRequested && status == -50)
        text = "### Syntax error in command line.\n";
    else if (!result.helpRequested)
        text = "### Tool execution stopped. Error #: " + std::to_string(status) + ".\n";
    text += "Argument List: ";
    for (std::size_t i = 0; i < known; ++i)
        text += std::to_string(i) + ": ";
    return text +
           "\n### No Help String available for this tool(blame the programmer who subclassed the TTool base class).\n";
}
