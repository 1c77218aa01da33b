// labctl: shows and changes a simulated Mac, from inside the sandbox and from outside.

#include "lab/Labctl.h"

#include "lab/Files.h"
#include "lab/LabctlCompletion.h"
#include "lab/LabctlUsage.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using plist::TValue;

namespace labctl {

// What stands before the subcommand.
struct TGlobals
{
    std::string folder;
    bool json = false;
};

const std::vector<TCommand>& Commands()
{
    static const std::vector<TCommand> commands = [] {
        std::vector<TCommand> all;
        for (const auto* const some : {&MachineCommands(), &ProcessCommands(), &ToolCommands(), &DiskCommands()})
            all.insert(all.end(), some->begin(), some->end());
        return all;
    }();
    return commands;
}

const TCommand* FindCommand(const std::string& name)
{
    for (const TCommand& command : Commands()) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

std::string MachinesFolder()
{
    const char* const variable = std::getenv("HALVORIX_MACHINES");
    return variable ? variable : HALVORIX_MACHINES_FOLDER;
}

lab::TMachine ChooseMachine(const std::string& option)
{
    const char* const variable = std::getenv("HALVORIX_MACHINE");
    std::string folder = option;
    if (folder.empty())
        folder = access("/machine/name", F_OK) == 0 ? "/machine" : variable ? variable : "";
    if (folder.empty())
        throw TRefusal{"which machine? --machine DIR or the variable HALVORIX_MACHINE names its folder"};
    if (access((folder + "/name").c_str(), F_OK) != 0)
        throw TRefusal{folder + " is no machine folder; labctl create NAME " + folder + " makes one"};
    return lab::TMachine(folder);
}

static int Print(const TGlobals& globals, const TAnswer& answer)
{
    const std::string text = globals.json ? lab::WriteJson(answer.value) + "\n" : answer.text;
    // Whoever reads what does not arrive must not take it for all.
    const bool arrived = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    if (!arrived)
        std::perror("labctl: cannot print");
    return arrived ? kDone : kNotDone;
}

// Tells what went wrong: a program finds it where it looks for the answer, a person where errors stand.
static int Fail(const TGlobals& globals, int status, const std::string& text, const std::string& usage)
{
    if (!globals.json) {
        std::fprintf(stderr, "labctl: %s%s\n", text.c_str(), usage.empty() ? "" : ("; usage: " + usage).c_str());
        return status;
    }
    TValue value = lab::MakeObject({{"error", TValue::String(text)}, {"status", TValue::Integer(status)}});
    if (!usage.empty())
        value.Set("usage", TValue::String(usage));
    const int printed = Print(globals, {"", value});
    return printed == kDone ? status : printed;
}

// Whether --json stands among the words, for a call that is too wrong to be read. What is another's is not looked at.
static bool AsksForJson(const TCommand& command, const TWords& words)
{
    for (const std::string& word : words) {
        if (word == "--json")
            return true;
        if (word == "--" || (command.passesOn && word.rfind("--", 0) != 0))
            return false;
    }
    return false;
}

static int Run(TGlobals globals, const TCommand& command, TWords words)
{
    const std::string usage = UsageOf(command, " or ");
    globals.json = globals.json || AsksForJson(command, words);
    try {
        const TOptions options(command, &words);
        globals.json = globals.json || options.Has("json");
        if (options.Has("help"))
            return Print(globals, HelpFor(command));
        lab::TMachine machine = command.needsMachine ? ChooseMachine(globals.folder) : lab::TMachine("");
        return Print(globals, command.run({machine, words, options}));
    } catch (const TRefusal& refusal) {
        return Fail(globals, kNotDone, refusal.text, "");
    } catch (const TMisuse& misuse) {
        return Fail(globals, kCalledWrongly, misuse.text, usage);
    }
}

// Takes what stands before the subcommand out of the words. Returns what is wrong with it.
static std::string TakeGlobals(TWords* words, TGlobals* globals)
{
    while (!words->empty() && ((*words)[0] == "--machine" || (*words)[0] == "--json")) {
        const bool isFolder = (*words)[0] == "--machine";
        if (isFolder && words->size() < 2)
            return "--machine needs a folder";
        globals->json = globals->json || !isFolder;
        if (isFolder)
            globals->folder = (*words)[1];
        words->erase(words->begin(), words->begin() + (isFolder ? 2 : 1));
    }
    return words->empty() ? "a subcommand is missing, labctl --help lists them" : "";
}

static TAnswer Version()
{
    return {"labctl " HALVORIX_VERSION "\n",
            lab::MakeObject({{"name", TValue::String("labctl")}, {"version", TValue::String(HALVORIX_VERSION)}})};
}

static int Main(TWords words)
{
    TGlobals globals;
    const std::string wrong = TakeGlobals(&words, &globals);
    if (!wrong.empty())
        return Fail(globals, kCalledWrongly, wrong, kUsage);
    const TWords rest(words.begin() + 1, words.end());
    if (words[0] == "--help")
        return Print(globals, HelpForAll());
    if (words[0] == "--version")
        return Print(globals, Version());
    if (words[0] == "--complete")
        return Print(globals, Completions(rest));
    const TCommand* const command = FindCommand(words[0]);
    if (command)
        return Run(globals, *command, rest);
    TWords names{"--machine", "--json", "--help", "--version"};
    for (const TCommand& each : Commands())
        names.push_back(each.name);
    return Fail(globals, kCalledWrongly,
                "there is no subcommand " + words[0] + Suggestion(words[0], names) + ", labctl --help lists them",
                kUsage);
}

}   // namespace labctl

int main(int argc, char** argv)
{
    return labctl::Main({argv + 1, argv + argc});
}
