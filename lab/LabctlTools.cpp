// labctl's subcommands about the tools that the product runs.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/LabctlUsage.h"

#include <climits>
#include <cstdio>

using plist::TValue;

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
                      what +
                      Suggestion(what, {"missing", "works", "exit", "signal", "print", "fill", "hang", "behave"})};
    ExpectWords(words, 2, 2);
    if (what == "exit")
        return "exit " + std::to_string(ReadNumber("an exit status", words[1], 0, 255));
    if (what == "signal")
        return "signal " + std::to_string(ReadSignal(words[1]));
    if (what == "fill")
        return "fill " + std::to_string(ReadNumber("a count of bytes", words[1], 0, INT_MAX));
    return "print " + words[1];
}

static TAnswer Tool(const TCall& call)
{
    const TWords& words = call.words;
    ExpectWords(words, 2, SIZE_MAX);
    const std::string& tool = words[0];
    if (words[1] == "missing") {
        ExpectWords(words, 2, 2);
        RefuseIf(call.machine.SetToolMissing(tool, true));
        return {};
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
    RefuseIf(call.machine.SetToolMissing(tool, false));
    RefuseIf(call.machine.SetToolBehaviour(tool, lines));
    return {};
}

static TAnswer Tools(const TCall& call)
{
    ExpectWords(call.words, 0, 0);
    TAnswer answer{"", TValue::Array()};
    for (const lab::TToolRun& run : call.machine.ToolRuns()) {
        char line[64];
        std::snprintf(line, sizeof line, "%14.6f %5d  ", run.seconds, static_cast<int>(run.process));
        answer.text += line + lab::Escape(run.path);
        for (const std::string& argument : run.arguments)
            answer.text += " \"" + lab::Escape(argument) + "\"";
        answer.text += "\n";
        answer.value.items.push_back(lab::MakeObject({{"seconds", lab::MakeReal(run.seconds)},
                                                      {"pid", TValue::Integer(run.process)},
                                                      {"path", TValue::String(run.path)},
                                                      {"arguments", lab::MakeTexts(run.arguments)}}));
    }
    return answer;
}

const std::vector<TCommand>& ToolCommands()
{
    static const std::vector<TCommand> commands{
        {"tool",
         "TOOL missing|works|hang\nTOOL exit STATUS\nTOOL signal SIGNAL\nTOOL print TEXT\nTOOL fill BYTES\n"
         "TOOL behave LINE...",
         "Takes a tool away, lets it do its work again, or tells it what to do instead.",
         "It ends at once with a status or by a signal, prints a text (\\x0a is a line feed), fills its output\n"
         "with bytes, or never ends. Of several lines each is carried out in its order: print TEXT,\n"
         "print-file PATH, fill COUNT, hang, signal NUMBER, exit STATUS.",
         true, true, Tool},
        {"tools", "", "Lists every run of a tool with its exact arguments.", "", true, false, Tools},
    };
    return commands;
}

}   // namespace labctl
