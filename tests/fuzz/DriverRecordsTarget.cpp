// Records that the driver hands over: what goes to clients, and what is done about those that are for the daemon itself.
//
// An input is: a line, how many clients there are, in hexadecimal digits and below 6, and behind a blank what their writes
// come to (TWriteResults); a line, "10.5.8" when that is the system's version, which is 10.4.11 otherwise; and a line for
// each record, of words separated by blanks: how many bytes the driver writes, up to 128, the type, the queue-empty flag
// (all three in hexadecimal digits), the BSD name, of which 16 bytes count, and what fills the other bytes over and over.
// Of records the first 64 count.

#include "daemon/DriverConnection.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/DriverRecordsReference.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/ScriptedSystem.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>

using TArguments = TCallWatch::TArguments;

static const int kMostClients = 5;
static const std::size_t kMostRecords = 64;

// The descriptor of client 0, which there is none of; higher than any descriptor of the process.
static const int kFirstClient = 1 << 21;

static const io_connect_t kConnection = 0x4242;

// A socket's folders, as the server wants them.
static long StatOfSocketFolders(const TArguments& arguments)
{
    const std::string path = reinterpret_cast<const char*>(arguments[0]);
    auto* const info = reinterpret_cast<struct stat*>(arguments[1]);
    memset(info, 0, sizeof *info);
    info->st_mode = static_cast<mode_t>(S_IFDIR | (path == "/tmp" ? 01777 : 0755));
    return 0;
}

// A tool with a server that nobody connects to by themselves, made once, since the server never gives up its mutex. Its
// connection to the driver seems to be open all the time.
static TOpenedDaemonTool* MakeTool()
{
    const auto succeed = [](const TArguments&) { return 0L; };
    const TScript stat("stat", StatOfSocketFolders);
    const TScript unlink("unlink", succeed);
    const TScript socket("socket", [](const TArguments&) { return long{kFirstClient}; });
    const TScript bind("bind", succeed);
    const TScript listen("listen", succeed);
    const TScript thread("pthread_create", succeed);
    const TScript ownership("geteuid", succeed);
    const TScript signals("sigaction", succeed);
    auto* const tool = new TOpenedDaemonTool;
    tool->fServer = std::make_unique<TDriverEventServer>();
    tool->fServer->Start();
    tool->fConnection = kConnection;
    tool->fUseCount = 1;
    return tool;
}

// A record as the driver of this machine writes it.
static std::string ReadRecord(std::string line)
{
    const auto size = static_cast<std::size_t>(NumberOf(TakeWord(&line)) % (kDriverRecordSize + 1));
    const auto type = static_cast<std::int32_t>(NumberOf(TakeWord(&line)));
    const auto flag = static_cast<std::uint32_t>(NumberOf(TakeWord(&line)));
    const std::string name = TakeWord(&line);
    std::string record;
    while (record.size() < kDriverRecordSize)
        record += line.empty() ? std::string(1, '\0') : line;
    record.resize(kDriverRecordSize);
    memcpy(&record[0], &flag, sizeof flag);
    memcpy(&record[12], &type, sizeof type);
    std::string field = name.substr(0, 16);
    field.resize(16, '\0');
    return record.replace(112, 16, field).substr(0, size);
}

static std::vector<std::string> ReadRecords(TInput* parts)
{
    std::vector<std::string> records;
    while (!parts->AtEnd() && records.size() < kMostRecords)
        records.push_back(ReadRecord(parts->Line()));
    return records;
}

// Says what it is asked, and answers with the records. Lasts while the queue is looked at.
class TScriptedDriver
{
public:
    TScriptedDriver(const std::vector<std::string>& answers, const std::string& writes)
        : fAnswers(answers), fWrites(writes),
          fMethod("IOConnectMethodStructureIStructureO", [this](const TArguments& given) { return Fetch(given); }),
          fWrite("write", [this](const TArguments& given) { return Write(given); }),
          // Not counted as an object, so that it can be given back any number of times.
          fSession("DASessionCreate", [](const TArguments&) { return reinterpret_cast<long>(kCFBooleanTrue); }),
          fDisk("DADiskCreateFromBSDName", [this](const TArguments& given) { return Name("disk ", given[2]); }),
          fService("IOBSDNameMatching", [this](const TArguments& given) { return Name("service ", given[2]); })
    {
    }

    void CloseClient(int descriptor) { fActions += std::to_string(descriptor - kFirstClient) + " goes; "; }

    const std::string& Actions() const { return fActions; }

private:
    // Arguments: the connection, the selector, the sizes of input and output, input, output.
    long Fetch(const TArguments& given)
    {
        const auto input = *reinterpret_cast<const UInt32*>(given[4]);
        const auto room = *reinterpret_cast<const IOByteCount*>(given[3]);
        const bool asExpected = static_cast<io_connect_t>(given[0]) == kConnection && given[1] == kDriverFetchEvent &&
                                given[2] == sizeof input && room == kDriverRecordSize;
        fActions += asExpected ? "fetch " + std::to_string(input) + "; " : "something else; ";
        if (fAnswered == fAnswers.size())
            return KERN_FAILURE;
        const std::string& answer = fAnswers[fAnswered++];
        memcpy(reinterpret_cast<void*>(given[5]), answer.data(), answer.size());
        return KERN_SUCCESS;
    }

    // Arguments: the descriptor, the bytes, their number.
    long Write(const TArguments& given)
    {
        const auto size = static_cast<std::size_t>(given[2]);
        const long taken = fWrites.Next(size);
        if (taken > 0 && taken <= given[2])
            fActions += std::to_string(given[0] - kFirstClient) + " gets " +
                        std::string(reinterpret_cast<const char*>(given[1]), static_cast<std::size_t>(taken)) + "; ";
        return taken;
    }

    long Name(const char* what, long name)
    {
        fActions += what + std::string(reinterpret_cast<const char*>(name)) + "; ";
        return 0;
    }

    const std::vector<std::string>& fAnswers;
    TWriteResults fWrites;
    std::size_t fAnswered = 0;
    std::string fActions;
    TScript fMethod;
    TScript fWrite;
    TScript fSession;
    TScript fDisk;
    TScript fService;
};

static void SetVersion(const std::string& version, TScriptedSystem* system)
{
    const std::string list =
        "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>" + version + "</string></dict></plist>";
    system->SetFile("/System/Library/CoreServices/SystemVersion.plist", list, list.size());
}

// Has every client leave. Returns how many did.
static std::size_t DropClients(THXDaemonTool* tool)
{
    std::size_t dropped = 0;
    TScriptedSystem system;
    system.SetOnClose([&](int) { ++dropped; });
    const TScript write("write", [](const TArguments&) { return -1L; });
    const TDriverEventRecord record = {};
    tool->Server()->Broadcast(&record);
    return dropped;
}

void TryDriverRecords(const std::string& input)
{
    static TOpenedDaemonTool* const tool = MakeTool();
    const TComparison compare(input);
    TInput parts(input);
    std::string writes = parts.Line();
    const int clients = static_cast<int>(NumberOf(TakeWord(&writes)) % (kMostClients + 1));
    const bool isLeopard = parts.Line() == "10.5.8";
    const std::vector<std::string> answers = ReadRecords(&parts);
    for (int client = 1; client <= clients; ++client)
        tool->fServer->AddClient(kFirstClient + client);

    std::string actions;
    {
        TScriptedSystem system;
        SetVersion(isLeopard ? "10.5.8" : "10.4.11", &system);
        TScriptedDriver driver(answers, writes);
        system.SetOnClose([&](int descriptor) { driver.CloseClient(descriptor); });
        TDriverEventPoller::DrainDriverQueue(tool);
        actions = driver.Actions();
        compare.Same("what is left open", "", system.WhatIsLeft());
    }

    std::vector<int> left;
    compare.Same("what was done", ActionsOnRecords(answers, writes, clients, isLeopard, &left), actions);
    compare.Same("how many clients the server counts", left.size(), tool->fServer->ClientCount());
    compare.Same("how many clients are left", left.size(), DropClients(tool));
    compare.Same("how often the connection is used", 1, tool->fUseCount);
}
