// How long the library's functions take, beside others that do the same. A Google Benchmark program: --help lists how it is
// called. Runs on the host itself, whose ps is the system's own; property lists are those of the machines that ship.
//
// A name is SUBJECT/WHO, or SUBJECT/WHAT/WHO; who is "ours" is the product. Core Foundation is the stand-in for it.

#include "foundation/CFTypes.h"
#include "foundation/CStrings.h"
#include "foundation/CaseFolding.h"
#include "foundation/HexText.h"
#include "foundation/NumVersions.h"
#include "foundation/Sizes.h"
#include "services/ChildProcess.h"
#include "services/Processes.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <plist/plist.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using benchmark::DoNotOptimize;
using TLoop = benchmark::State;

static const char kSmallList[] =
    "/leopard/volumes/disk2s3/files/Library/Preferences/SystemConfiguration/com.apple.Boot.plist";
static const char kLargeList[] = "/workshop/registry/ioreg.plist";

// Text and numbers

static void StripOurs(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        char text[] = "   the name of a volume with blanks around it   ";
        DoNotOptimize(StripSpaces(text));
    }
}

static void SizeOurs(TLoop& loop)
{
    char text[16];
    UInt64 bytes = 1;
    for ([[maybe_unused]] const auto step : loop) {
        ConvertUInt64ToSizeString(bytes = bytes * 3 + 1, text, sizeof text);
        DoNotOptimize(text[0]);
    }
}

// The number alone, without the choice of a unit and of decimals.
static void SizeSnprintf(TLoop& loop)
{
    char text[16];
    UInt64 bytes = 1;
    for ([[maybe_unused]] const auto step : loop) {
        bytes = bytes * 3 + 1;
        snprintf(text, sizeof text, "%.2f GB", static_cast<double>(bytes) / (1 << 30));
        DoNotOptimize(text[0]);
    }
}

static void HexOurs(TLoop& loop)
{
    char text[24];
    UInt64 value = 0x50060E8000123456;
    for ([[maybe_unused]] const auto step : loop) {
        ++value;
        ConvertUInt64ToHexString(&value, text);
        DoNotOptimize(text[0]);
    }
}

static void HexSnprintf(TLoop& loop)
{
    char text[24];
    UInt64 value = 0x50060E8000123456;
    for ([[maybe_unused]] const auto step : loop) {
        ++value;
        unsigned byte[8];
        for (int i = 0; i < 8; ++i)
            byte[i] = static_cast<unsigned>(value >> (56 - 8 * i)) & 0xff;
        snprintf(text, sizeof text, "%02X %02X %02X %02X %02X %02X %02X %02X", byte[0], byte[1], byte[2], byte[3],
                 byte[4], byte[5], byte[6], byte[7]);
        DoNotOptimize(text[0]);
    }
}

static const char kVersion[] = "10.4.11";

static void VersionOurs(TLoop& loop)
{
    NumVersion version;
    for ([[maybe_unused]] const auto step : loop)
        DoNotOptimize(ConvertStringToNumVersion(kVersion, &version));
}

static void VersionSscanf(TLoop& loop)
{
    int major = 0;
    int minor = 0;
    int bug = 0;
    for ([[maybe_unused]] const auto step : loop)
        DoNotOptimize(sscanf(kVersion, "%2d.%2d.%2d", &major, &minor, &bug));
}

static void LowerOurs(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        char text[] = "The Quick Brown Fox Jumps Over The Lazy Dog";
        ToLowerCStr(text);
        DoNotOptimize(text[0]);
    }
}

static void LowerTolower(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        char text[] = "The Quick Brown Fox Jumps Over The Lazy Dog";
        for (char* at = text; *at != 0; ++at)
            *at = static_cast<char>(tolower(static_cast<unsigned char>(*at)));
        DoNotOptimize(text[0]);
    }
}

// The list of processes

static std::string OutputOf(const char* command)
{
    std::string output;
    char bytes[4096];
    FILE* const pipe = popen(command, "r");
    for (std::size_t got = fread(bytes, 1, sizeof bytes, pipe); got != 0; got = fread(bytes, 1, sizeof bytes, pipe))
        output.append(bytes, got);
    pclose(pipe);
    return output;
}

// What ps prints now, and no process of the name that is looked for is among it.
static const std::string& Listing()
{
    static const std::string listing = OutputOf("ps acxww").substr(0, 32000);
    return listing;
}
static const char kNobody[] = "SystemUIServer";

static void LabelLines(TLoop& loop)
{
    loop.SetLabel(std::to_string(std::count(Listing().begin(), Listing().end(), '\n')) + " lines");
}

static void ListingOurs(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        std::string text = Listing();
        uint32_t remainder = 0;
        DoNotOptimize(SearchBufferFor_PID(text.data(), &remainder, kNobody));
    }
    LabelLines(loop);
}

static void ListingSscanf(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        std::string text = Listing();
        for (char *line = text.data(), *end = strchr(line, '\n'); end != nullptr; end = strchr(line, '\n')) {
            *end = 0;
            int process = 0;
            char words[4][256];
            DoNotOptimize(sscanf(line, "%d %255s %255s %255s %255s", &process, words[0], words[1], words[2], words[3]));
            DoNotOptimize(strcmp(words[3], kNobody));
            line = end + 1;
        }
    }
    LabelLines(loop);
}

static void FindOurs(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop)
        DoNotOptimize(Get_ProcessID(kNobody));
}

static void FindPS(TLoop& loop)
{
    static const char* const arguments[] = {"ps", "acxww", nullptr};
    char bytes[32768];
    for ([[maybe_unused]] const auto step : loop) {
        TChildProcess ps;
        if (ps.Start({"/bin/ps", arguments, kKeepUser, kPipeOutput, kExitWithOne}) != kChildStarted)
            loop.SkipWithError("ps cannot be started");
        while (ps.Read(bytes, sizeof bytes) != 0)
            continue;
        ps.Wait(nullptr);
    }
}

// Property lists

static std::string ListText(const char* file)
{
    std::ifstream stream(std::string(HALVORIX_MACHINES_FOLDER) + file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

static void LabelBytes(TLoop& loop, const std::string& text)
{
    loop.SetLabel(std::to_string(text.size()) + " bytes");
}

static CFPropertyListRef ReadByOurs(const std::string& text)
{
    return CreatePropertyListFromBytes(reinterpret_cast<const UInt8*>(text.data()), static_cast<CFIndex>(text.size()));
}

static void ReadOurs(TLoop& loop, const char* file)
{
    const std::string text = ListText(file);
    for ([[maybe_unused]] const auto step : loop) {
        const CFPropertyListRef list = ReadByOurs(text);
        if (list == nullptr)
            loop.SkipWithError("the list cannot be read");
        else
            CFRelease(list);
    }
    LabelBytes(loop, text);
}

static void ReadLibplist(TLoop& loop, const char* file)
{
    const std::string text = ListText(file);
    for ([[maybe_unused]] const auto step : loop) {
        plist_t list = nullptr;
        plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &list);
        if (list == nullptr)
            loop.SkipWithError("the list cannot be read");
        plist_free(list);
    }
    LabelBytes(loop, text);
}

static void WriteOurs(TLoop& loop, const char* file)
{
    const std::string text = ListText(file);
    const CFPropertyListRef list = ReadByOurs(text);
    for ([[maybe_unused]] const auto step : loop)
        CFRelease(CFPropertyListCreateXMLData(kCFAllocatorDefault, list));
    CFRelease(list);
    LabelBytes(loop, text);
}

static void WriteLibplist(TLoop& loop, const char* file)
{
    const std::string text = ListText(file);
    plist_t list = nullptr;
    plist_from_xml(text.data(), static_cast<uint32_t>(text.size()), &list);
    for ([[maybe_unused]] const auto step : loop) {
        char* xml = nullptr;
        uint32_t size = 0;
        plist_to_xml(list, &xml, &size);
        free(xml);
    }
    plist_free(list);
    LabelBytes(loop, text);
}

// Children

static const char kNothing[] = "/bin/true";
static const char* const kNoArguments[] = {"true", nullptr};

static void ChildOurs(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        if (RunAndTellSuccess({kNothing, kNoArguments, kKeepUser, kKeepOutput, kExitWithOne}) == 0)
            loop.SkipWithError("the child failed");
    }
}

static void ChildPosixSpawn(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        pid_t child = 0;
        int status = 0;
        if (posix_spawn(&child, kNothing, nullptr, nullptr, const_cast<char* const*>(kNoArguments), environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0)
            loop.SkipWithError("the child failed");
    }
}

static void ChildSystem(TLoop& loop)
{
    for ([[maybe_unused]] const auto step : loop) {
        if (system(kNothing) != 0)   // NOLINT(bugprone-command-processor): that is what is compared
            loop.SkipWithError("the child failed");
    }
}

static void RegisterLists()
{
    static const struct
    {
        const char* name;
        const char* file;
    } kLists[] = {{"small", kSmallList}, {"large", kLargeList}};
    for (const auto& list : kLists) {
        const std::string name = list.name;
        benchmark::RegisterBenchmark(("list read/" + name + "/ours").c_str(), ReadOurs, list.file);
        benchmark::RegisterBenchmark(("list read/" + name + "/libplist").c_str(), ReadLibplist, list.file);
        benchmark::RegisterBenchmark(("list write/" + name + "/ours").c_str(), WriteOurs, list.file);
        benchmark::RegisterBenchmark(("list write/" + name + "/libplist").c_str(), WriteLibplist, list.file);
    }
}

static void RegisterAll()
{
    static const struct
    {
        const char* name;
        void (*function)(TLoop&);
    } kFunctions[] = {{"blanks taken off/ours", StripOurs},
                      {"size as text/ours", SizeOurs},
                      {"size as text/snprintf", SizeSnprintf},
                      {"eight bytes as hexadecimal text/ours", HexOurs},
                      {"eight bytes as hexadecimal text/snprintf", HexSnprintf},
                      {"version from text/ours", VersionOurs},
                      {"version from text/sscanf", VersionSscanf},
                      {"lower case, 43 letters/ours", LowerOurs},
                      {"lower case, 43 letters/tolower", LowerTolower},
                      {"search of a process listing/ours", ListingOurs},
                      {"search of a process listing/sscanf alone", ListingSscanf}};
    for (const auto& entry : kFunctions)
        benchmark::RegisterBenchmark(entry.name, entry.function);
    // What a child takes is not this process's time.
    static const struct
    {
        const char* name;
        void (*function)(TLoop&);
    } kChildren[] = {{"process looked up/ours", FindOurs},
                     {"process looked up/ps alone", FindPS},
                     {"child run/ours", ChildOurs},
                     {"child run/posix_spawn", ChildPosixSpawn},
                     {"child run/system", ChildSystem}};
    for (const auto& entry : kChildren)
        benchmark::RegisterBenchmark(entry.name, entry.function)->UseRealTime();
    RegisterLists();
}

int main(int count, char** words)
{
    RegisterAll();
    benchmark::Initialize(&count, words);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
