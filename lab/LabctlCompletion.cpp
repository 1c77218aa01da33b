#include "lab/LabctlCompletion.h"

#include "lab/Files.h"
#include "lab/LabctlScripts.h"
#include "lab/LabctlUsage.h"
#include "lab/Registry.h"

#include <algorithm>
#include <set>

namespace labctl {

std::string CompletionScript(const std::string& shell)
{
    return shell == "bash" ? kBashCompletion : shell == "zsh" ? kZshCompletion : "";
}

// What a word in capitals may be

static TWords DiskNames(const lab::TMachine& machine)
{
    TWords names = lab::TRegistry(machine.Folder(), false).MediumNames();
    for (const std::string& bsdName : lab::NamesInFolder(machine.Folder() + "/volumes"))
        names.push_back(bsdName);
    return names;
}

static TWords ProcessNames(const lab::TMachine& machine)
{
    TWords names;
    for (const lab::TProcess& process : machine.Processes()) {
        if (process.state == "running")
            names.insert(names.end(), {process.name, std::to_string(process.process)});
    }
    return names;
}

static TWords ToolNames(const lab::TMachine& machine)
{
    TWords names;
    for (const std::string& line : lab::SplitLines(machine.ReadText("tools/paths")))
        names.push_back(line.substr(0, line.find(' ')));
    return names;
}

static TWords VariableNames(const lab::TMachine& machine)
{
    lab::TRegistry registry(machine.Folder());
    const plist::TValue* const options = registry.Error().empty() ? registry.AtDeviceTreePath("/options") : nullptr;
    TWords names;
    for (std::size_t i = 0; options && i < options->entries.size(); ++i)
        names.push_back(options->entries[i].first);
    return names;
}

static TWords CommandNames(const lab::TMachine&)
{
    TWords names;
    for (const TCommand& command : Commands())
        names.push_back(command.name);
    return names;
}

static TWords AnyFile(const lab::TMachine&)
{
    return {"/"};
}

// Words in small letters stand for themselves.
static bool IsLiteral(const std::string& alternative)
{
    return alternative.find_first_of("abcdefghijklmnopqrstuvwxyz") != std::string::npos;
}

// One for each word in capitals that is not free.
static TWords ValuesOf(const std::string& placeholder, const lab::TMachine& machine)
{
    static const struct
    {
        const char* placeholder;
        TWords (*values)(const lab::TMachine& machine);
        bool ofMachine = false;   // known only where there is a machine
    } kSources[] = {
        {"DISK", DiskNames, true},
        {"PROCESS", ProcessNames, true},
        {"TOOL", ToolNames, true},
        {"VARIABLE", VariableNames, true},
        {"SUBCOMMAND", CommandNames},
        {"MACHINE", [](const lab::TMachine&) { return lab::NamesInFolder(MachinesFolder()); }},
        {"SIGNAL", [](const lab::TMachine&) { return TWords{"HUP", "INT", "KILL", "STOP", "CONT", "TERM"}; }},
        {"KIND",
         [](const lab::TMachine&) {
             return TWords{"hfs", "ufs", "msdos", "cd9660", "udf"};
         }},
        {"KEY", [](const lab::TMachine&) { return VolumeKeys(); }},
        {"FILE", AnyFile},
        {"PROGRAM", AnyFile},
        {"REGISTRY", AnyFile},
        {"SYSTEM", AnyFile},
        {"MOUNTS", AnyFile},
        {"DIR", [](const lab::TMachine&) { return TWords{"//"}; }},
    };
    for (const auto& source : kSources) {
        if (placeholder == source.placeholder)
            return source.ofMachine && machine.Folder().empty() ? TWords{} : source.values(machine);
    }
    return IsLiteral(placeholder) ? TWords{placeholder} : TWords{};
}

// Where a word stands

// Whether the words before the last one can be this form's.
static bool Fits(const TForm& form, const TWords& words)
{
    if (words.size() >= form.positions.size() && !form.repeats)
        return false;
    for (std::size_t i = 0; i < words.size() && i < form.positions.size(); ++i) {
        const TWords& alternatives = form.positions[i];
        const bool allLiteral = std::all_of(alternatives.begin(), alternatives.end(), IsLiteral);
        if (allLiteral && std::find(alternatives.begin(), alternatives.end(), words[i]) == alternatives.end())
            return false;
    }
    return true;
}

// The words without options and their values. `value` is what the last one's value is called when it is to come.
static TWords TakeOptions(const TCommand& command, const TWords& words, std::string* value)
{
    TWords rest;
    const std::vector<TOption> options = OptionsOf(command);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const auto option = std::find_if(options.begin(), options.end(),
                                         [&](const TOption& each) { return words[i] == "--" + each.name; });
        if (option == options.end() || (command.passesOn && !rest.empty()))
            rest.push_back(words[i]);
        else if (!option->value.empty() && ++i == words.size())
            *value = option->value;
    }
    return rest;
}

static TWords CandidatesFor(const TCommand& command, const TWords& before, const std::string& last,
                            const lab::TMachine& machine)
{
    std::string value;
    const TWords words = TakeOptions(command, before, &value);
    TWords candidates;
    const auto addEach = [&](const TWords& alternatives) {
        for (const std::string& alternative : alternatives) {
            const TWords values = ValuesOf(alternative, machine);
            candidates.insert(candidates.end(), values.begin(), values.end());
        }
    };
    if (!value.empty()) {
        addEach(lab::Split(value, '|'));
        return candidates;
    }
    if (last.rfind('-', 0) == 0 && (words.empty() || !command.passesOn)) {
        for (const TOption& option : OptionsOf(command))
            candidates.push_back("--" + option.name);
        return candidates;
    }
    for (const TForm& form : FormsOf(command)) {
        if (Fits(form, words))
            addEach(form.positions[std::min(words.size(), form.positions.size() - 1)]);
    }
    return candidates;
}

static TWords Candidates(TWords words)
{
    const std::string last = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    std::string folder;
    while (!words.empty() && words[0].rfind("--", 0) == 0) {
        const bool isFolder = words[0] == "--machine";
        if (isFolder && words.size() == 1)
            return {"//"};
        folder = isFolder ? words[1] : folder;
        words.erase(words.begin(), words.begin() + (isFolder ? 2 : 1));
    }
    lab::TMachine machine("");
    try {
        machine = ChooseMachine(folder);
    } catch (const TRefusal&) {
        // Without a machine there are no names of disks, but everything else.
    }
    if (words.empty() && last.rfind('-', 0) == 0)
        return {"--machine", "--json", "--help", "--version"};
    if (words.empty())
        return CommandNames(machine);
    const TCommand* const command = FindCommand(words[0]);
    return command ? CandidatesFor(*command, {words.begin() + 1, words.end()}, last, machine) : TWords{};
}

TAnswer Completions(const TWords& words)
{
    const std::string last = words.empty() ? "" : words.back();
    // In order and each once.
    std::set<std::string> found;
    for (const std::string& candidate : Candidates(words)) {
        if (candidate[0] == '/' || candidate.rfind(last, 0) == 0)
            found.insert(candidate);
    }
    TAnswer answer{"", plist::TValue::Array()};
    for (const std::string& candidate : found) {
        answer.text += candidate + "\n";
        answer.value.items.push_back(plist::TValue::String(candidate));
    }
    return answer;
}

}   // namespace labctl
