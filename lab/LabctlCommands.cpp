#include "lab/Labctl.h"

#include "lab/Files.h"

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <system_error>

using lab::TMachine;

namespace labctl {

// Processes

static int Start(TMachine& machine, const TWords& words)
{
    lab::TStart start;
    TWords rest = words;
    // Options stand before the name; behind it they are the program's.
    while (rest.size() >= 2 && rest[0] == "--output") {
        start.output = rest[1];
        rest.erase(rest.begin(), rest.begin() + 2);
    }
    ExpectWords(rest, 1, SIZE_MAX);
    start.name = rest[0];
    if (rest.size() > 1) {
        start.path = rest[1];
        start.arguments.assign(rest.begin() + 2, rest.end());
    }
    pid_t process = 0;
    const std::string error = machine.Start(start, &process);
    if (error.empty())
        std::printf("%d\n", static_cast<int>(process));
    return Report(error);
}

// The running processes that a name or a number stands for; when there are none, `error` says which there are.
static std::vector<pid_t> FindProcesses(const TMachine& machine, const std::string& word, std::string* error)
{
    std::vector<pid_t> found;
    std::string running;
    for (const lab::TProcess& process : machine.Processes()) {
        if (process.state != "running")
            continue;
        if (process.name == word || std::to_string(process.process) == word)
            found.push_back(process.process);
        running += (running.empty() ? "" : ", ") + process.name + " (" + std::to_string(process.process) + ")";
    }
    if (found.empty())
        *error = "no process " + word + " runs; there is " + (running.empty() ? "none" : running);
    return found;
}

static int SendTo(TMachine& machine, const std::string& word, int number)
{
    std::string error;
    for (const pid_t process : FindProcesses(machine, word, &error)) {
        if (error.empty())
            error = machine.Signal(process, number);
    }
    return Report(error);
}

static int Stop(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 1, 1);
    const int status = SendTo(machine, words[0], SIGTERM);
    if (status != 0)
        return status;
    std::string none;
    const double deadline = lab::MonotonicSeconds() + 30;
    while (machine.IsRunning() && !FindProcesses(machine, words[0], &none).empty()) {
        if (lab::MonotonicSeconds() > deadline)
            return Report(words[0] + " was told to end and still runs after 30 seconds; labctl signal " + words[0] +
                          " KILL ends it");
        const timespec pause{0, 1000000};
        nanosleep(&pause, nullptr);
    }
    return 0;
}

static int Signal(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 2, 2);
    return SendTo(machine, words[0], ReadSignal(words[1]));
}

static int Processes(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 0, 0);
    for (const lab::TProcess& process : machine.Processes())
        std::printf("%5d  %-16s %s\n", static_cast<int>(process.process), process.name.c_str(), process.state.c_str());
    return 0;
}

// The driver

static void ShowDriver(const TMachine& machine)
{
    std::printf("%s, %zu events waiting, %zu dropped\n", machine.DriverIsLoaded() ? "loaded" : "not loaded",
                machine.WaitingEvents(), machine.DroppedEvents());
    for (const lab::TDriverCall& call : machine.DriverCalls())
        std::printf("%14.6f %5d  %s\n", call.seconds, static_cast<int>(call.process), call.what.c_str());
}

static int Driver(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 1, 1);
    if (words[0] == "load")
        return Report(machine.LoadDriver());
    if (words[0] == "unload")
        return Report(machine.UnloadDriver());
    if (words[0] != "show")
        throw TMisuse{"the driver cannot " + words[0]};
    ShowDriver(machine);
    return 0;
}

// The number's 8 bytes, most significant first.
static std::string NumberAsHead(std::uint64_t number)
{
    std::string head;
    for (int shift = 56; shift >= 0; shift -= 8)
        head += static_cast<char>(number >> shift & 0xff);
    return head;
}

// What the words of one post, or one line of its input, ask for.
static std::vector<lab::TEvent> EventsFromWords(TWords words)
{
    const TOptions options(&words, {"type", "flag", "name", "head", "payload", "count"});
    ExpectWords(words, 0, 0);
    lab::TEvent event;
    event.type = static_cast<std::int32_t>(options.Number("type", 3, INT32_MIN, INT32_MAX));
    event.flagGiven = options.Text("flag", "auto") != "auto";
    if (event.flagGiven)
        event.flag = static_cast<std::uint32_t>(options.Number("flag", 0, 0, UINT32_MAX));
    event.name = options.Text("name");
    event.head = options.Bytes("head");
    event.payload = options.Bytes("payload");

    std::vector<lab::TEvent> events(static_cast<std::size_t>(options.Number("count", 1, 1, 1000000)), event);
    const bool numbered = options.Has("count") && !options.Has("head");
    for (std::size_t i = 0; numbered && i < events.size(); ++i)
        events[i].head = NumberAsHead(i + 1);
    return events;
}

static std::vector<lab::TEvent> EventsFromInput()
{
    std::vector<lab::TEvent> events;
    for (std::string line; std::getline(std::cin, line);) {
        TWords words;
        for (const std::string& word : lab::Split(line, ' ')) {
            if (!word.empty())
                words.push_back(word);
        }
        const std::vector<lab::TEvent> some = EventsFromWords(words);
        events.insert(events.end(), some.begin(), some.end());
    }
    return events;
}

static int Post(TMachine& machine, const TWords& words)
{
    const bool fromInput = words == TWords{"-"};
    return Report(machine.PostEvents(fromInput ? EventsFromInput() : EventsFromWords(words)));
}

static int Queue(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 0, 0);
    for (const lab::TEvent& event : machine.Queue()) {
        const std::string flag = event.flagGiven ? std::to_string(event.flag) : "auto";
        std::printf("type %d, flag %s, head %s, name %s\n", event.type, flag.c_str(),
                    lab::Hexadecimal(event.head).c_str(), lab::Escape(event.name.c_str()).c_str());
    }
    return 0;
}

// Machines

static int Tree(TMachine& machine, const TWords& words)
{
    ExpectWords(words, 0, 0);
    std::fputs(DescribeMachine(machine).c_str(), stdout);
    return 0;
}

static int Create(TMachine&, const TWords& words)
{
    ExpectWords(words, 2, 2);
    const char* const variable = std::getenv("HALVORIX_MACHINES");
    const std::string machines = variable ? variable : HALVORIX_MACHINES_FOLDER;
    std::string known;
    for (const std::string& name : lab::NamesInFolder(machines))
        known += (known.empty() ? "" : ", ") + name;
    const std::filesystem::path source = machines + "/" + words[0];
    std::error_code error;
    if (words[0].empty() || !std::filesystem::exists(source / "name", error))
        return Report("there is no machine " + words[0] + " to copy; there are " + known);
    if (std::filesystem::exists(std::filesystem::symlink_status(words[1], error)))
        return Report(words[1] + " is there already; a machine is made where nothing is yet");
    using std::filesystem::copy_options;
    std::filesystem::copy(source, words[1], copy_options::recursive | copy_options::copy_symlinks, error);
    return Report(error ? "cannot copy the machine to " + words[1] + ": " + error.message() : "");
}

static const std::vector<TCommand>& MachineCommands()
{
    static const std::vector<TCommand> commands{
        {"tree", "", "Shows the machine: its system, driver, processes and disks.", true, Tree},
        {"create", "NAME DIR", "Makes a machine folder of one's own, a copy of the machine with this name.", false,
         Create},
        {"start", "[--output FILE] NAME [PROGRAM ARGUMENT...]",
         "Starts a process and prints its number.\nWithout a program it is one that does nothing, shown by ps under "
         "the "
         "name. What it prints\ngoes to the file, or nowhere.",
         true, Start},
        {"stop", "NAME|PID", "Sends SIGTERM to the processes of this name or number, and waits until they have ended.",
         true, Stop},
        {"signal", "NAME|PID SIGNAL",
         "Sends a signal to the processes of this name or number.\nThe signal is a number or a name: 15, TERM, "
         "SIGTERM.",
         true, Signal},
        {"processes", "", "Lists the processes that were started, with their states.", true, Processes},
        {"driver", "load|unload|show",
         "Loads or unloads the driver, or shows what it was asked.\nUnloading takes its volumes away and loses what is "
         "queued; they return when it is loaded again.",
         true, Driver},
        {"post", "[--type N] [--flag auto|N] [--name BSD] [--head HEX] [--payload HEX] [--count N]\n-",
         "Puts events into the driver's queue.\nThe type is 3 when not given. With --count and without --head, the 8 "
         "bytes at offset 4 hold the\nevent's number from 1 on, most significant byte first. With - each line of "
         "standard input holds\nthe options of one post; all of them are posted together.",
         true, Post},
        {"queue", "", "Lists the events that wait in the driver's queue, oldest first.", true, Queue},
    };
    return commands;
}

static std::vector<TCommand> AllCommands()
{
    std::vector<TCommand> all;
    for (const auto* const some : {&MachineCommands(), &ToolCommands(), &DiskCommands()})
        all.insert(all.end(), some->begin(), some->end());
    return all;
}

const std::vector<TCommand>& Commands()
{
    static const std::vector<TCommand> commands = AllCommands();
    return commands;
}

}   // namespace labctl
