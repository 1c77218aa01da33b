#include "tests/fuzz/Input.h"

// Takes what stands up to the first such character, and that character.
static std::string TakeUpTo(char end, std::string* text)
{
    const std::size_t found = text->find(end);
    const std::string taken = text->substr(0, found);
    text->erase(0, found == std::string::npos ? found : found + 1);
    return taken;
}

std::string TInput::Line()
{
    return TakeUpTo('\n', &fRest);
}

std::uint64_t TInput::Number(std::uint64_t end)
{
    const std::uint64_t number = NumberOf(Line());
    return end == 0 ? number : number % end;
}

std::string TakeWord(std::string* line)
{
    return TakeUpTo(' ', line);
}

std::uint64_t NumberOf(const std::string& digits)
{
    static const std::string kDigits = "0123456789abcdef0123456789ABCDEF";
    std::uint64_t number = 0;
    for (const char digit : digits) {
        const std::size_t place = kDigits.find(digit);
        const auto value = place != std::string::npos ? place : static_cast<unsigned char>(digit);
        number = number << 4 | (value & 0x0F);
    }
    return number;
}
