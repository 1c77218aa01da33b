// labctl's subcommands about the tools that the product runs.

#include "lab/Files.h"
#include "lab/Labctl.h"

#include <climits>
#include <cstdio>

using lab::TMachine;

namespace labctl {

// The line of a behaviour that one misbehaviour is, or misuse: {"exit", "3"} is "exit 3".
static std::string BehaviourLine(const TWords& words)
{
    const std::string& what = words[0];
    if (what == "hang") {
        ExpectWords(words, 1, 1);
        return what;
    }
    if (what != "exit" && what != "signal" && what != "print" && what != "fill")
        throw TMisuse{"a tool is missing, works, or is told to exit, signal, print, fill, hang or behave, not to " +
                      what};
    ExpectWords(words, 2, 2);
    if (what == "exit")
        return "exit " + std::to_string(ReadNumber("an exit status", words[1], 0, 255));
    if (what == "signal")
        return "signal " + std::to_string(ReadSignal(words[1]));
    if (what == "fill")
        return "fill " + std::to_string(ReadNumber("a count of bytes", words[1], 0, INT_MAX));
    return "print " + words[1];
}

static int Tool(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 2, SIZE_MAX);
    const std::string& tool = words[0];
    if (words[1] == "missing") {
        ExpectWords(words, 2, 2);
        return Report(machine.SetToolMissing(tool, true));
    }
    std::string lines;
    if (words[1] == "behave") {
        ExpectWords(words, 3, SIZE_MAX);
        for (std::size_t i = 2; i < words.size(); ++i)
            lines += words[i] + "\n";
    } else if (words[1] == "works") {
        ExpectWords(words, 2, 2);
    } else {
        lines = BehaviourLine({words.begin() + 1, words.end()});
    }
    // A tool that is told what to do is there to do it.
    const std::string error = machine.SetToolMissing(tool, false);
    return Report(error.empty() ? machine.SetToolBehaviour(tool, lines) : error);
}

static int Tools(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 0, 0);
    for (const lab::TToolRun& run : machine.ToolRuns()) {
        std::printf("%14.6f %5d  %s", run.seconds, static_cast<int>(run.process), lab::Escape(run.path).c_str());
        for (const std::string& argument : run.arguments)
            std::printf(" \"%s\"", lab::Escape(argument).c_str());
        std::printf("\n");
    }
    return 0;
}

const std::vector<TCommand>& ToolCommands()
{
    static const std::vector<TCommand> commands{
        {"tool", "NAME missing|works|hang\nNAME exit STATUS|signal SIGNAL|print TEXT|fill BYTES\nNAME behave LINE...",
         "Takes a tool away, lets it do its work again, or tells it what to do instead.\nIt ends at once with a status "
         "or "
         "by a signal, prints a text (\\x0a is a line feed), fills its output\nwith bytes, or never ends. Of several "
         "lines "
         "each is carried out in its order: print TEXT,\nprint-file PATH, fill COUNT, hang, signal NUMBER, exit "
         "STATUS.",
         true, Tool},
        {"tools", "", "Lists every run of a tool with its exact arguments.", true, Tools},
    };
    return commands;
}

}   // namespace labctl
