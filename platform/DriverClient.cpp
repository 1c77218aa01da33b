#include "platform/DriverClient.h"

#include "platform/MachineFolder.h"
#include "platform/MachineLock.h"
#include "platform/Registry.h"

#include <IOKit/IOKitLib.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

enum
{
    kBeginSession = 0,
    kEndSession = 1,
    kSetTimeZone = 18,
    kFetchEvent = 21
};

constexpr std::size_t kRecordSize = 128;

// A line of driver/queue.
constexpr std::size_t kLineSize = 266;
constexpr std::size_t kTypeColumn = 0;
constexpr std::size_t kFlagColumn = 12;
constexpr std::size_t kNameColumn = 23;
constexpr std::size_t kHeadColumn = 56;
constexpr std::size_t kPayloadColumn = 73;

void Log(const std::string& what)
{
    AppendLogLine("driver/calls", what);
}

// What a file that makes the driver refuse says, if it is there.
bool IsRefused(const char* file, kern_return_t* status)
{
    long long number = kIOReturnError;
    if (!ReadNumber(file, &number))
        return false;
    *status = static_cast<kern_return_t>(number);
    return true;
}

bool ReadDigits(const char* digits, unsigned char* bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        char pair[3] = {digits[2 * i], digits[2 * i + 1], 0};
        char* end = nullptr;
        bytes[i] = static_cast<unsigned char>(strtoul(pair, &end, 16));
        if (end != pair + 2)
            return false;
    }
    return true;
}

// Makes the record of a line in this host's byte order. lastOne: no record waits behind it.
bool MakeRecord(const std::string& line, bool lastOne, unsigned char* record)
{
    const auto type = static_cast<std::int32_t>(strtol(line.c_str() + kTypeColumn, nullptr, 10));
    const char* const flagText = line.c_str() + kFlagColumn;
    const auto flag = strncmp(flagText, "auto", 4) == 0 ? static_cast<std::uint32_t>(lastOne)
                                                        : static_cast<std::uint32_t>(strtoul(flagText, nullptr, 10));
    memcpy(record, &flag, sizeof flag);
    memcpy(record + 12, &type, sizeof type);
    return ReadDigits(line.c_str() + kHeadColumn, record + 4, 8) &&
           ReadDigits(line.c_str() + kPayloadColumn, record + 16, 96) &&
           ReadDigits(line.c_str() + kNameColumn, record + 112, 16);
}

// Takes the oldest record that was not fetched yet, under the lock so that no two callers get the same.
kern_return_t FetchRecord(unsigned char* record)
{
    memset(record, 0, kRecordSize);
    const TMachineLock hold;
    const TDescriptor queue(open(MachinePath("driver/queue").c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (queue && fstat(queue.Get(), &info) != 0)
        return kIOReturnError;

    // What is left of a line that its writer did not finish does not count.
    const long long posted = info.st_size / static_cast<long long>(kLineSize);
    long long head = 0;
    ReadNumber("driver/queue-head", &head);
    if (head >= posted) {
        const std::uint32_t empty = 1;
        memcpy(record, &empty, sizeof empty);
        return kIOReturnSuccess;
    }

    std::string line(kLineSize, '\0');
    const auto offset = static_cast<off_t>(head) * static_cast<off_t>(kLineSize);
    if (pread(queue.Get(), line.data(), kLineSize, offset) != static_cast<ssize_t>(kLineSize) ||
        !MakeRecord(line, head + 1 == posted, record))
        return kIOReturnError;
    return ReplaceFile("driver/queue-head", std::to_string(head + 1) + "\n") ? kIOReturnSuccess : kIOReturnError;
}

// Whether the method exists, takes a structure of this size and has room for what it returns.
bool TakesSizes(std::uint32_t selector, std::size_t input, std::size_t room)
{
    switch (selector) {
    case kBeginSession:
    case kEndSession:
        return input == 0 && room == 0;
    case kSetTimeZone:
        return input == 4 && room == 0;
    case kFetchEvent:
        return input == 4 && room >= kRecordSize;
    default:
        return false;
    }
}

kern_return_t Refuse(std::uint32_t selector, kern_return_t status)
{
    Log("refused " + std::to_string(selector) + " " + std::to_string(status));
    return status;
}

}   // namespace

bool IsDriverLoaded(std::uint64_t identifier)
{
    // Held while the entry is looked at: another thread may find that the registry changed.
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = registry->Find(identifier);
    return entry != nullptr && entry->className == kDriverClass;
}

kern_return_t OpenDriver(std::uint32_t type, bool* opened)
{
    kern_return_t status = kIOReturnBadArgument;
    *opened = type == 0 && !IsRefused("driver/refuse-open", &status);
    if (*opened)
        status = kIOReturnSuccess;
    Log(*opened ? "open" : "open-refused " + std::to_string(status));
    return status;
}

void CloseDriver()
{
    Log("close");
}

kern_return_t CallDriver(std::uint32_t selector, const void* input, std::size_t inputSize, void* output,
                         IOByteCount* outputSize)
{
    kern_return_t status = kIOReturnSuccess;
    if (IsRefused("driver/refuse-methods", &status))
        return Refuse(selector, status);
    if (outputSize == nullptr || !TakesSizes(selector, inputSize, *outputSize))
        return Refuse(selector, kIOReturnBadArgument);

    std::string what = "method " + std::to_string(selector);
    if (selector == kSetTimeZone) {
        std::int32_t offset = 0;
        memcpy(&offset, input, sizeof offset);
        what += " " + std::to_string(offset);
    } else if (selector == kFetchEvent) {
        std::uint32_t flag = 0;
        memcpy(&flag, input, sizeof flag);
        what += " " + std::to_string(flag);
        status = FetchRecord(static_cast<unsigned char*>(output));
        *outputSize = kRecordSize;
    }
    Log(what);
    return status;
}

}   // namespace platform
