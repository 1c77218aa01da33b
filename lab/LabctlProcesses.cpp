// labctl's subcommands about processes, and about the driver and its events.

#include "lab/Files.h"
#include "lab/Labctl.h"
#include "lab/LabctlUsage.h"

#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iostream>

using lab::TMachine;
using plist::TValue;

namespace labctl {

// Processes

static TAnswer Start(const TCall& call)
{
    ExpectWords(call.words, 1, SIZE_MAX);
    lab::TStart start;
    start.output = call.options.Text("output");
    start.name = call.words[0];
    if (call.words.size() > 1) {
        start.path = call.words[1];
        start.arguments.assign(call.words.begin() + 2, call.words.end());
    }
    pid_t process = 0;
    RefuseIf(call.machine.Start(start, &process));
    return {std::to_string(process) + "\n", lab::MakeObject({{"pid", TValue::Integer(process)}})};
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

static void SendTo(TMachine& machine, const std::string& word, int number)
{
    std::string error;
    for (const pid_t process : FindProcesses(machine, word, &error)) {
        if (error.empty())
            error = machine.Signal(process, number);
    }
    RefuseIf(error);
}

static TAnswer Stop(const TCall& call)
{
    ExpectWords(call.words, 1, 1);
    const std::string& word = call.words[0];
    SendTo(call.machine, word, SIGTERM);
    std::string none;
    const double deadline = lab::MonotonicSeconds() + 30;
    while (call.machine.IsRunning() && !FindProcesses(call.machine, word, &none).empty()) {
        if (lab::MonotonicSeconds() > deadline)
            throw TRefusal{word + " was told to end and still runs after 30 seconds; labctl signal " + word +
                           " KILL ends it"};
        const timespec pause{0, 1000000};
        nanosleep(&pause, nullptr);
    }
    return {};
}

static TAnswer Signal(const TCall& call)
{
    ExpectWords(call.words, 2, 2);
    SendTo(call.machine, call.words[0], ReadSignal(call.words[1]));
    return {};
}

static TAnswer Processes(const TCall& call)
{
    ExpectWords(call.words, 0, 0);
    TAnswer answer{"", TValue::Array()};
    for (const lab::TProcess& process : call.machine.Processes()) {
        char line[128];
        std::snprintf(line, sizeof line, "%5d  %-16s ", static_cast<int>(process.process), process.name.c_str());
        answer.text += line + process.state + "\n";
        answer.value.items.push_back(lab::MakeObject({{"pid", TValue::Integer(process.process)},
                                                      {"name", TValue::String(process.name)},
                                                      {"state", TValue::String(process.state)}}));
    }
    return answer;
}

// The driver

static TAnswer ShowDriver(const TMachine& machine)
{
    const bool isLoaded = machine.DriverIsLoaded();
    const std::size_t waiting = machine.WaitingEvents();
    const std::size_t dropped = machine.DroppedEvents();
    std::string text = std::string(isLoaded ? "loaded, " : "not loaded, ") + std::to_string(waiting) +
                       " events waiting, " + std::to_string(dropped) + " dropped\n";
    TValue calls = TValue::Array();
    for (const lab::TDriverCall& each : machine.DriverCalls()) {
        char line[64];
        std::snprintf(line, sizeof line, "%14.6f %5d  ", each.seconds, static_cast<int>(each.process));
        text += line + each.what + "\n";
        calls.items.push_back(lab::MakeObject({{"seconds", lab::MakeReal(each.seconds)},
                                               {"pid", TValue::Integer(each.process)},
                                               {"what", TValue::String(each.what)}}));
    }
    return {text, lab::MakeObject({{"loaded", TValue::Boolean(isLoaded)},
                                   {"waiting", lab::MakeInteger(waiting)},
                                   {"dropped", lab::MakeInteger(dropped)},
                                   {"calls", calls}})};
}

static TAnswer Driver(const TCall& call)
{
    ExpectWords(call.words, 1, 1);
    const std::string& what = call.words[0];
    if (what == "show")
        return ShowDriver(call.machine);
    if (what != "load" && what != "unload")
        throw TMisuse{"the driver cannot " + what + Suggestion(what, {"load", "unload", "show"})};
    RefuseIf(what == "load" ? call.machine.LoadDriver() : call.machine.UnloadDriver());
    return {};
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
static std::vector<lab::TEvent> MakeEvents(const TWords& words, const TOptions& options)
{
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
        const TOptions options(*FindCommand("post"), &words);
        const std::vector<lab::TEvent> some = MakeEvents(words, options);
        events.insert(events.end(), some.begin(), some.end());
    }
    return events;
}

static TAnswer Post(const TCall& call)
{
    const bool fromInput = call.words == TWords{"-"};
    RefuseIf(call.machine.PostEvents(fromInput ? EventsFromInput() : MakeEvents(call.words, call.options)));
    return {};
}

static TAnswer Queue(const TCall& call)
{
    ExpectWords(call.words, 0, 0);
    TAnswer answer{"", TValue::Array()};
    for (const lab::TEvent& event : call.machine.Queue()) {
        const std::string flag = event.flagGiven ? std::to_string(event.flag) : "auto";
        const std::string head = lab::Hexadecimal(event.head);
        const std::string name = event.name.c_str();   // NOLINT(readability-redundant-string-cstr): ends at the padding
        answer.text += "type " + std::to_string(event.type) + ", flag " + flag + ", head " + head + ", name " +
                       lab::Escape(name) + "\n";
        answer.value.items.push_back(
            lab::MakeObject({{"type", TValue::Integer(event.type)},
                             {"flag", event.flagGiven ? TValue::Integer(event.flag) : TValue::String(flag)},
                             {"head", TValue::String(head)},
                             {"name", TValue::String(name)},
                             {"payload", TValue::String(lab::Hexadecimal(event.payload))}}));
    }
    return answer;
}

const std::vector<TCommand>& ProcessCommands()
{
    static const std::vector<TCommand> commands{
        {"start", "[--output FILE] NAME [PROGRAM ARGUMENT...]", "Starts a process and prints its number.",
         "Without a program it is one that does nothing, shown by ps under the name. What it prints\n"
         "goes to the file, or nowhere. Options stand before the name; behind it they are the program's.",
         true, true, Start},
        {"stop", "PROCESS", "Sends SIGTERM to the processes of this name or number, and waits until they have ended.",
         "", true, false, Stop},
        {"signal", "PROCESS SIGNAL", "Sends a signal to the processes of this name or number.",
         "The signal is a number or a name: 15, TERM, SIGTERM.", true, false, Signal},
        {"processes", "", "Lists the processes that were started, with their states.", "", true, false, Processes},
        {"driver", "load|unload|show", "Loads or unloads the driver, or shows what it was asked.",
         "Unloading takes its volumes away and loses what is queued; they return when it is loaded again.", true, false,
         Driver},
        {"post", "[--type N] [--flag auto|N] [--name DISK] [--head HEX] [--payload HEX] [--count N]\n-",
         "Puts events into the driver's queue.",
         "The type is 3 when not given. With --count and without --head, the 8 bytes at offset 4 hold the\n"
         "event's number from 1 on, most significant byte first. With - each line of standard input holds\n"
         "the options of one post; all of them are posted together.",
         true, false, Post},
        {"queue", "", "Lists the events that wait in the driver's queue, oldest first.", "", true, false, Queue},
    };
    return commands;
}

}   // namespace labctl
