// labctl's subcommands about whole machines, and about labctl itself.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/LabctlCompletion.h"
#include "lab/LabctlUsage.h"
#include "lab/import/ImportedMachine.h"

#include <filesystem>
#include <system_error>

using plist::TValue;

namespace labctl {

static TAnswer Tree(const TCall& call)
{
    ExpectWords(call.words, 0, 0);
    return DescribeMachine(call.machine);
}

static TAnswer Create(const TCall& call)
{
    ExpectWords(call.words, 2, 2);
    const std::string machines = MachinesFolder();
    const std::string& name = call.words[0];
    const std::string& folder = call.words[1];
    const TWords known = lab::NamesInFolder(machines);
    std::string list;
    for (const std::string& each : known)
        list += (list.empty() ? "" : ", ") + each;
    const std::filesystem::path source = machines + "/" + name;
    std::error_code error;
    if (name.empty() || !std::filesystem::exists(source / "name", error))
        throw TRefusal{"there is no machine " + name + Suggestion(name, known) + " to copy; there are " + list};
    if (std::filesystem::exists(std::filesystem::symlink_status(folder, error)))
        throw TRefusal{folder + " is there already; a machine is made where nothing is yet"};
    using std::filesystem::copy_options;
    std::filesystem::copy(source, folder, copy_options::recursive | copy_options::copy_symlinks, error);
    RefuseIf(error ? "cannot copy the machine to " + folder + ": " + error.message() : "");
    return {};
}

static TAnswer Import(const TCall& call)
{
    ExpectWords(call.words, 4, 4);
    import::TCaptureFiles files;
    files.registry = call.words[0];
    files.system = call.words[1];
    files.mounts = call.words[2];
    files.deviceTree = call.options.Text("device-tree");
    import::TImported imported;
    RefuseIf(import::ImportMachine(files, MachinesFolder(), call.words[3], &imported));
    std::string text = imported.name + ": " + std::to_string(imported.entries) + " registry entries, " +
                       std::to_string(imported.media) +
                       " disks and partitions, volumes mounted: " + std::to_string(imported.volumes) +
                       ", started from " + imported.startupDisk + "\n";
    for (const std::string& note : imported.notes)
        text += "note: " + note + "\n";
    return {text, lab::MakeObject({{"name", TValue::String(imported.name)},
                                   {"entries", lab::MakeInteger(imported.entries)},
                                   {"media", lab::MakeInteger(imported.media)},
                                   {"volumes", lab::MakeInteger(imported.volumes)},
                                   {"startup-volume", TValue::String(imported.startupDisk)},
                                   {"notes", lab::MakeTexts(imported.notes)}})};
}

static TAnswer Help(const TCall& call)
{
    ExpectWords(call.words, 0, 1);
    if (call.words.empty())
        return HelpForAll();
    if (const TCommand* const command = FindCommand(call.words[0]))
        return HelpFor(*command);
    TWords names;
    for (const TCommand& command : Commands())
        names.push_back(command.name);
    throw TMisuse{"there is no subcommand " + call.words[0] + Suggestion(call.words[0], names)};
}

static TAnswer Completion(const TCall& call)
{
    ExpectWords(call.words, 1, 1);
    const std::string script = CompletionScript(call.words[0]);
    if (script.empty())
        throw TMisuse{"bash and zsh complete labctl's command lines, not " + call.words[0]};
    return {script, lab::MakeObject({{"shell", TValue::String(call.words[0])}, {"script", TValue::String(script)}})};
}

const std::vector<TCommand>& MachineCommands()
{
    static const std::vector<TCommand> commands{
        {"tree", "", "Shows the machine: its system, boot device, driver, processes and disks.",
         "Of each disk and partition it shows the size and content, the volume on it and where that is mounted,\n"
         "what is a RAID volume, and which partitions are its members and hold its boot helpers.",
         true, false, Tree},
        {"create", "MACHINE DIR", "Makes a machine folder of one's own, a copy of the machine with this name.", "",
         false, false, Create},
        {"import", "[--device-tree FILE] REGISTRY SYSTEM MOUNTS DIR",
         "Makes a machine folder of what was captured on a real Mac.",
         "The registry is what ioreg -l -w0 printed there, or the archive of ioreg -a -l; the system is its\n"
         "SystemVersion.plist, and the mounts are what mount printed. The device tree, which is optional, is what\n"
         "ioreg -l -w0 -p IODeviceTree printed. A capture that is damaged is refused with the number of the line.",
         false, false, Import},
        {"help", "[SUBCOMMAND]", "Lists the subcommands, or says what there is to know of one.", "", false, false,
         Help},
        {"completion", "bash|zsh", "Prints the script that completes labctl's command lines in this shell.",
         "In a shell: source <(labctl completion bash)", false, false, Completion},
    };
    return commands;
}

}   // namespace labctl
