#include "clients/CommandLine.h"

#include "clients/EventStream.h"   // kLongestSocketPath

const char kHelp[] = R"(halvorixevents prints the events that halvorixd sends to its clients, as they come.

usage: halvorixevents [--json | --raw] [--count N] [--wait] [--reconnect] [--socket PATH]

  --json         one JSON object a line, for programs
  --raw          the records themselves, 128 bytes each
  --count N      end after N events
  --wait         when no daemon runs, wait until one does
  --reconnect    when the daemon ends, wait for the next one
  --socket PATH  listen there instead of at /tmp/com.halvorix.halvorixd/driverevents
  --version      print the version and end
  --help         print this and end

It reads whatever comes, so that the daemon never waits for it. When its own output is not read in time, 1 MB waits; what
finds no room is dropped and counted.

Exit status: 0 when the stream ended, the output was closed, N events came or SIGINT or SIGTERM did; 1 when no daemon
runs or something failed; 2 when the arguments make no sense.
)";

namespace {

// Steps through the arguments; each option takes its value, if it has one.
class TCommandLineReader
{
public:
    TCommandLineReader(const std::vector<std::string>& arguments, TOptions* options)
        : fArguments(arguments), fOptions(options)
    {
    }

    std::string Read();

private:
    std::string ReadOption(const std::string& argument);
    std::string ReadValuedOption(const std::string& argument);
    std::string SetFormat(EFormat format);
    // Does what never goes wrong.
    template <typename T>
    static std::string Set(T* option, T value);
    std::string SetCount(const std::string& value);
    std::string SetSocketPath(const std::string& value);

    const std::vector<std::string>& fArguments;
    TOptions* const fOptions;
    std::size_t fNext = 0;
};

std::string TCommandLineReader::Read()
{
    while (fNext < fArguments.size() && fOptions->task == TOptions::ETask::kListen) {
        const std::string& argument = fArguments[fNext++];
        const bool optionsEnd = argument == "--";
        if (optionsEnd && fNext == fArguments.size())
            return "";
        if (optionsEnd || argument[0] != '-') {
            return "it takes options alone, not '" + (optionsEnd ? fArguments[fNext] : argument) +
                   "'; --help lists them";
        }

        std::string error = ReadOption(argument);
        if (!error.empty())
            return error;
    }
    return "";
}

std::string TCommandLineReader::ReadOption(const std::string& argument)
{
    if (argument == "--help")
        return Set(&fOptions->task, TOptions::ETask::kShowHelp);
    if (argument == "--version")
        return Set(&fOptions->task, TOptions::ETask::kShowVersion);
    if (argument == "--wait")
        return Set(&fOptions->wait, true);
    if (argument == "--reconnect")
        return Set(&fOptions->reconnect, true);
    if (argument == "--json")
        return SetFormat(EFormat::kJSON);
    if (argument == "--raw")
        return SetFormat(EFormat::kRaw);
    return ReadValuedOption(argument);
}

std::string TCommandLineReader::ReadValuedOption(const std::string& argument)
{
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    if (name != "--count" && name != "--socket")
        return "there is no option " + argument + "; --help lists those that there are";

    if (equals == std::string::npos && fNext == fArguments.size())
        return name + (name == "--count" ? " needs a number after it" : " needs a path after it");
    const std::string value = equals == std::string::npos ? fArguments[fNext++] : argument.substr(equals + 1);
    return name == "--count" ? SetCount(value) : SetSocketPath(value);
}

template <typename T>
std::string TCommandLineReader::Set(T* option, T value)
{
    *option = value;
    return "";
}

std::string TCommandLineReader::SetFormat(EFormat format)
{
    if (fOptions->format != EFormat::kText && fOptions->format != format)
        return "--json and --raw exclude each other; choose one";
    fOptions->format = format;
    return "";
}

std::string TCommandLineReader::SetCount(const std::string& value)
{
    const bool isNumber = !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
    std::uint64_t count = 0;
    if (isNumber && value.size() <= 18) {
        for (const char digit : value)
            count = count * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    if (count == 0)
        return "--count takes a number of events from 1 to 18 digits, not '" + value + "'";
    fOptions->count = count;
    return "";
}

std::string TCommandLineReader::SetSocketPath(const std::string& value)
{
    if (value.empty() || value.size() > kLongestSocketPath) {
        return "--socket takes a path of 1 to " + std::to_string(kLongestSocketPath) + " bytes, not of " +
               std::to_string(value.size());
    }
    fOptions->socketPath = value;
    return "";
}

}   // namespace

std::string ReadCommandLine(const std::vector<std::string>& arguments, TOptions* options)
{
    *options = TOptions();
    return TCommandLineReader(arguments, options).Read();
}
