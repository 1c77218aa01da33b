#include "tests/clients/Listener.h"

#include "tests/clients/SlowReader.h"

#include <sstream>

std::vector<std::string> Listener::Command(const TArguments& arguments)
{
    return lab::CommandFor("/product/halvorixevents", arguments);
}

std::vector<std::string> Listener::Redirected(const std::string& redirection, const TArguments& arguments)
{
    return WithRedirection(redirection, Command(arguments));
}

std::vector<std::string> Listener::ToSlowReader(const TArguments& arguments)
{
    return WithOutputTo(kSlowReader, Command(arguments));
}

bool Listener::Shows(const TRunningProgram& program, const std::string& text)
{
    return WaitUntil([&] { return program.Output().find(text) != std::string::npos; });
}

std::vector<std::string> Listener::Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::size_t Listener::CountOf(const std::string& wanted, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; at += wanted.size())
        ++count;
    return count;
}

unsigned long Listener::DroppedInJSON(const std::string& text)
{
    const std::string mark = "{\"dropped\":";
    unsigned long sum = 0;
    for (const std::string& line : Lines(text))
        if (line.compare(0, mark.size(), mark) == 0)
            sum += std::stoul(line.substr(mark.size()));
    return sum;
}

unsigned long Listener::DroppedInReport(const std::string& errors)
{
    const std::string mark = "halvorixevents: ";
    return errors.find("dropped, since the output was not read in time\n") == std::string::npos
               ? 0
               : std::stoul(errors.substr(mark.size()));
}
