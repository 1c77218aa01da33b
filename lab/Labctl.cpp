// labctl: shows and changes a simulated Mac, from inside the sandbox and from outside.

#include "lab/Labctl.h"

#include "lab/Files.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace labctl {

TOptions::TOptions(TWords* words, const TWords& known)
{
    TWords rest;
    for (std::size_t i = 0; i < words->size(); ++i) {
        const std::string& word = (*words)[i];
        if (word.rfind("--", 0) != 0) {
            rest.push_back(word);
            continue;
        }
        bool found = false;
        for (const std::string& name : known)
            found = found || word == "--" + name;
        if (!found)
            throw TMisuse{"there is no option " + word};
        if (i + 1 == words->size())
            throw TMisuse{word + " needs a value"};
        fValues.push_back({word.substr(2), (*words)[++i]});
    }
    *words = rest;
}

bool TOptions::Has(const std::string& name) const
{
    for (const auto& value : fValues) {
        if (value.first == name)
            return true;
    }
    return false;
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

int Report(const std::string& error)
{
    if (error.empty())
        return 0;
    std::fprintf(stderr, "labctl: %s\n", error.c_str());
    return 1;
}

static const TCommand* FindCommand(const std::string& name)
{
    for (const TCommand& command : Commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

// Each form of a subcommand, whole, with what stands between them.
static std::string Usage(const TCommand& command, const std::string& between)
{
    std::string text;
    for (const std::string& form : lab::SplitLines(command.usage))
        text += (text.empty() ? "" : between) + "labctl " + command.name + (form.empty() ? "" : " ") + form;
    return text.empty() ? std::string("labctl ") + command.name : text;
}

static int Misuse(const std::string& text, const std::string& usage)
{
    std::fprintf(stderr, "labctl: %s; usage: %s\n", text.c_str(), usage.c_str());
    return 2;
}

static const char kUsage[] = "labctl [--machine DIR] SUBCOMMAND";

static int Help()
{
    std::printf("usage: %s\n\nShows and changes a simulated Mac. Inside the sandbox the machine is /machine; outside,\n"
                "--machine or the variable HALVORIX_MACHINE names its folder.\n\n",
                kUsage);
    for (const TCommand& command : Commands())
        std::printf("  %-10s %s\n", command.name, lab::Split(command.help, '\n')[0].c_str());
    std::printf("\nlabctl SUBCOMMAND --help says more.\n");
    return 0;
}

// The machine's folder, or empty with the reason printed.
static std::string ChooseMachine(std::string folder)
{
    const char* const variable = std::getenv("HALVORIX_MACHINE");
    if (folder.empty())
        folder = access("/machine/name", F_OK) == 0 ? "/machine" : variable ? variable : "";
    if (folder.empty()) {
        Report("which machine? --machine DIR or the variable HALVORIX_MACHINE names its folder");
        return "";
    }
    if (access((folder + "/name").c_str(), F_OK) != 0) {
        Report(folder + " is no machine folder; labctl create NAME " + folder + " makes one");
        return "";
    }
    return folder;
}

static int Run(const TCommand& command, const TWords& words, const std::string& folder)
{
    if (!words.empty() && words[0] == "--help") {
        std::printf("usage: %s\n\n%s\n", Usage(command, "\n       ").c_str(), command.help);
        return 0;
    }
    lab::TMachine machine("");
    if (command.needsMachine) {
        const std::string chosen = ChooseMachine(folder);
        if (chosen.empty())
            return 1;
        machine = lab::TMachine(chosen);
    }
    try {
        return command.run(machine, words);
    } catch (const TMisuse& misuse) {
        return Misuse(misuse.text, Usage(command, " or "));
    }
}

static int Main(TWords words)
{
    std::string folder;
    while (!words.empty() && words[0] == "--machine") {
        if (words.size() < 2)
            return Misuse("--machine needs a folder", kUsage);
        folder = words[1];
        words.erase(words.begin(), words.begin() + 2);
    }
    if (words.empty())
        return Misuse("a subcommand is missing, labctl --help lists them", kUsage);
    if (words[0] == "--help")
        return Help();
    const TCommand* const command = FindCommand(words[0]);
    if (!command)
        return Misuse("there is no subcommand " + words[0] + ", labctl --help lists them", kUsage);
    return Run(*command, {words.begin() + 1, words.end()}, folder);
}

}   // namespace labctl

int main(int argc, char** argv)
{
    return labctl::Main({argv + 1, argv + argc});
}
