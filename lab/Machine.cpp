#include "lab/Machine.h"

#include "lab/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace lab {

constexpr std::size_t kLineLength = 266;
constexpr std::size_t kNameLength = 16;
constexpr std::size_t kHeadLength = 8;
constexpr std::size_t kPayloadLength = 96;
constexpr std::size_t kUsualCapacity = 1024;

TMachine::TMachine(std::string folder) : fFolder(std::move(folder)) {}

std::string TMachine::ReadText(const std::string& file) const
{
    std::string text;
    ReadFile(fFolder + "/" + file, &text);
    return text;
}

std::string TMachine::WriteText(const std::string& file, const std::string& text) const
{
    return ReplaceFile(fFolder + "/" + file, text);
}

void TMachine::Remove(const std::string& file) const
{
    unlink((fFolder + "/" + file).c_str());
}

// The number in a file, or the other one when there is no file.
static std::size_t ReadNumber(const TMachine& machine, const std::string& file, std::size_t otherwise)
{
    const std::string text = machine.ReadText(file);
    return text.empty() ? otherwise : static_cast<std::size_t>(std::strtoull(text.c_str(), nullptr, 10));
}

// The bytes in hexadecimal digits, filled with zeros to a number of bytes.
static std::string Padded(const std::string& bytes, std::size_t width)
{
    std::string text = Hexadecimal(bytes);
    text.resize(2 * width, '0');
    return text;
}

static std::string QueueLine(const TEvent& event)
{
    const std::string flag = event.flagGiven ? std::to_string(event.flag) : "auto";
    char numbers[32];
    std::snprintf(numbers, sizeof numbers, "%+011d %-10s ", event.type, flag.c_str());
    return numbers + Padded(event.name, kNameLength) + " " + Padded(event.head, kHeadLength) + " " +
           Padded(event.payload, kPayloadLength) + "\n";
}

static std::string TooLong(const char* what, std::size_t length, std::size_t limit)
{
    return std::string("an event's ") + what + " has at most " + std::to_string(limit) + " bytes; this one has " +
           std::to_string(length) + ", so nothing was posted";
}

static std::string CheckLengths(const TEvent& event)
{
    if (event.name.size() > kNameLength)
        return TooLong("name", event.name.size(), kNameLength);
    if (event.head.size() > kHeadLength)
        return TooLong("head", event.head.size(), kHeadLength);
    if (event.payload.size() > kPayloadLength)
        return TooLong("payload", event.payload.size(), kPayloadLength);
    return "";
}

// How many whole lines the queue's file has.
static std::size_t LinesInQueue(const std::string& folder)
{
    struct stat status
    {
    };
    if (stat((folder + "/driver/queue").c_str(), &status) != 0)
        return 0;
    return static_cast<std::size_t>(status.st_size) / kLineLength;
}

static std::size_t Waiting(const TMachine& machine)
{
    const std::size_t lines = LinesInQueue(machine.Folder());
    return lines - std::min(lines, ReadNumber(machine, "driver/queue-head", 0));
}

// Cuts off what a writer that died in the middle of a line left.
static void CutPartialLine(const std::string& folder)
{
    const auto whole = static_cast<off_t>(LinesInQueue(folder) * kLineLength);
    if (truncate((folder + "/driver/queue").c_str(), whole) != 0)
        return;   // there is no queue yet
}

std::string TMachine::PostEvents(const std::vector<TEvent>& events)
{
    std::vector<std::string> lines;
    for (const TEvent& event : events) {
        const std::string error = CheckLengths(event);
        if (!error.empty())
            return error;
        lines.push_back(QueueLine(event));
    }

    const TFileLock lock(fFolder + "/lock");
    if (!DriverIsLoaded())
        return "the driver is not loaded, so it has no queue; load it first";
    std::string error = MakeFolder(fFolder + "/driver");
    if (!error.empty())
        return error;
    CutPartialLine(fFolder);
    const std::size_t capacity = ReadNumber(*this, "driver/capacity", kUsualCapacity);
    const std::size_t room = capacity - std::min(capacity, Waiting(*this));
    const std::size_t taken = std::min(room, lines.size());
    std::string text;
    for (std::size_t i = 0; i < taken; ++i)
        text += lines[i];
    if (taken > 0)
        error = AppendToFile(fFolder + "/driver/queue", text);
    if (!error.empty() || taken == lines.size())
        return error;

    const std::size_t dropped = lines.size() - taken;
    error = WriteText("driver/dropped", std::to_string(ReadNumber(*this, "driver/dropped", 0) + dropped) + "\n");
    return !error.empty() ? error
                          : "the driver's queue is full: it holds " + std::to_string(capacity) + " records, so " +
                                std::to_string(dropped) + " of " + std::to_string(lines.size()) + " were dropped";
}

std::size_t TMachine::WaitingEvents() const
{
    const TFileLock lock(fFolder + "/lock");
    return Waiting(*this);
}

static TEvent EventFromLine(const std::string& line)
{
    TEvent event;
    event.type = static_cast<std::int32_t>(std::strtol(line.substr(0, 11).c_str(), nullptr, 10));
    event.flagGiven = line.compare(12, 4, "auto") != 0;
    if (event.flagGiven)
        event.flag = static_cast<std::uint32_t>(std::strtoul(line.substr(12, 10).c_str(), nullptr, 10));
    event.name = BytesFromHexadecimal(line.substr(23, 2 * kNameLength));
    event.head = BytesFromHexadecimal(line.substr(56, 2 * kHeadLength));
    event.payload = BytesFromHexadecimal(line.substr(73, 2 * kPayloadLength));
    return event;
}

std::vector<TEvent> TMachine::Queue() const
{
    const TFileLock lock(fFolder + "/lock");
    const std::string text = ReadText("driver/queue");
    std::vector<TEvent> events;
    for (std::size_t i = ReadNumber(*this, "driver/queue-head", 0); (i + 1) * kLineLength <= text.size(); ++i)
        events.push_back(EventFromLine(text.substr(i * kLineLength, kLineLength)));
    return events;
}

std::size_t TMachine::DroppedEvents() const
{
    return ReadNumber(*this, "driver/dropped", 0);
}

std::string TMachine::RecordBytes(const TEvent& event, std::uint32_t flag)
{
    std::string bytes(128, '\0');
    std::memcpy(bytes.data(), &flag, sizeof flag);
    bytes.replace(4, std::min(event.head.size(), kHeadLength), event.head, 0, kHeadLength);
    std::memcpy(&bytes[12], &event.type, sizeof event.type);
    bytes.replace(16, std::min(event.payload.size(), kPayloadLength), event.payload, 0, kPayloadLength);
    bytes.replace(112, std::min(event.name.size(), kNameLength), event.name, 0, kNameLength);
    return bytes;
}

// The whole lines of a log that only grows; what stands behind the last line feed is not finished yet.
static std::vector<std::string> LogLines(const TMachine& machine, const std::string& file)
{
    const std::string text = machine.ReadText(file);
    const std::size_t end = text.rfind('\n');
    return end == std::string::npos ? std::vector<std::string>() : SplitLines(text.substr(0, end + 1));
}

std::vector<TDriverCall> TMachine::DriverCalls() const
{
    std::vector<TDriverCall> calls;
    for (const std::string& line : LogLines(*this, "driver/calls")) {
        TDriverCall call;
        int process = 0;
        int start = 0;
        if (std::sscanf(line.c_str(), "%lf %d %n", &call.seconds, &process, &start) < 2)
            continue;
        call.process = process;
        call.what = line.substr(static_cast<std::size_t>(start));
        calls.push_back(call);
    }
    return calls;
}

std::vector<TToolRun> TMachine::ToolRuns() const
{
    std::vector<TToolRun> runs;
    for (const std::string& line : LogLines(*this, "tools/log")) {
        const std::vector<std::string> fields = Split(line, '\t');
        if (fields.size() < 3)
            continue;
        TToolRun run;
        run.seconds = std::strtod(fields[0].c_str(), nullptr);
        run.process = static_cast<pid_t>(std::atoi(fields[1].c_str()));
        run.path = Unescape(fields[2]);
        for (std::size_t i = 3; i < fields.size(); ++i)
            run.arguments.push_back(Unescape(fields[i]));
        runs.push_back(run);
    }
    return runs;
}

// Empty when the machine has the tool, otherwise which it has.
static std::string CheckTool(const TMachine& machine, const std::string& tool)
{
    std::string known;
    for (const std::string& line : SplitLines(machine.ReadText("tools/paths"))) {
        const std::string name = line.substr(0, line.find(' '));
        if (name == tool)
            return "";
        known += (known.empty() ? "" : ", ") + name;
    }
    return "this machine has no tool " + tool + "; it has " + known;
}

std::string TMachine::SetToolMissing(const std::string& tool, bool missing)
{
    std::string error = CheckTool(*this, tool);
    if (!error.empty())
        return error;
    const std::string link = fFolder + "/tools/bin/" + tool;
    if (missing) {
        unlink(link.c_str());
        return "";
    }
    error = MakeFolder(fFolder + "/tools/bin");
    if (error.empty() && symlink("/lab/bin/stand-in", link.c_str()) != 0 && errno != EEXIST)
        error = SystemError("link", link);
    return error;
}

// Empty when each line says something that a stand-in can do.
static std::string CheckBehaviour(const std::string& lines)
{
    for (const std::string& line : SplitLines(lines)) {
        const std::string word = line.substr(0, line.find(' '));
        const bool alone = word == line;
        const bool takesValue =
            word == "print" || word == "print-file" || word == "fill" || word == "signal" || word == "exit";
        if (!(takesValue && !alone) && !(word == "hang" && alone))
            return "a tool cannot \"" + line +
                   "\"; it can print TEXT, print-file PATH, fill COUNT, hang, signal NUMBER and exit STATUS";
    }
    return "";
}

std::string TMachine::SetToolBehaviour(const std::string& tool, const std::string& lines)
{
    std::string error = CheckTool(*this, tool);
    if (error.empty())
        error = CheckBehaviour(lines);
    if (!error.empty())
        return error;
    const std::string file = "tools/behaviour/" + tool;
    if (lines.empty()) {
        Remove(file);
        return "";
    }
    error = MakeFolder(fFolder + "/tools/behaviour");
    return error.empty() ? WriteText(file, lines.back() == '\n' ? lines : lines + "\n") : error;
}

}   // namespace lab
