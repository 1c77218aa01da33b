// The property lists that tell what a Mac starts from and which system is on a volume: what bless prints, and the file
// SystemVersion.plist. One list is both.
//
// An input is: a line, how bless ends, "0" or "1" for that status, "k" killed, "l" lost, "f" not forked; a line, the size of
// the buffer for the name, in hexadecimal digits and below 40, or "null" for none; a line, the pieces in which bless prints
// (TScriptedSystem::SetChild); a line about the file: "server" when it is ServerVersion.plist, "no" when there is none,
// "short" when it is a byte shorter than was told, "long" when it is longer; and the list.

#include "foundation/NumVersions.h"
#include "platform/Counts.h"
#include "services/BootDevice.h"
#include "services/SystemVersion.h"
#include "tests/fuzz/Comparison.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Room.h"
#include "tests/fuzz/ScriptedSystem.h"
#include "tests/fuzz/StartUpListsReference.h"
#include "tests/fuzz/Targets.h"

#include <algorithm>

// How much of what bless prints is looked at.
static const std::size_t kLookedAt = 2048;

static const char kFolder[] = "/Volumes/Data/System/Library/CoreServices/";

static EChildEnd EndOf(const std::string& line)
{
    switch (line.empty() ? '0' : line[0]) {
    case '1':
        return EChildEnd::kExitedWithOne;
    case 'k':
        return EChildEnd::kKilled;
    case 'l':
        return EChildEnd::kLost;
    case 'f':
        return EChildEnd::kNotForked;
    default:
        return EChildEnd::kExitedWithZero;
    }
}

// Writes a name into a buffer of this size as it is to be found there.
static std::string InBuffer(const std::string& device, std::size_t size)
{
    const std::string name = device.size() > 5 ? device.substr(5) : "";
    std::string buffer = name.substr(0, size == 0 ? 0 : size - 1);
    buffer.resize(size, '\0');
    return buffer;
}

static void TryBootVolume(const TComparison& compare, TInput parts)
{
    const EChildEnd end = EndOf(parts.Line());
    const std::string sizeLine = parts.Line();
    const bool hasBuffer = sizeLine != "null";
    const auto size = hasBuffer ? static_cast<UInt32>(NumberOf(sizeLine) % 40) : 0;
    const std::string pieces = parts.Line();
    parts.Line();
    const std::string printed = parts.Rest();

    TScriptedSystem system;
    system.SetChild(printed, pieces, end);
    const TRoom buffer(size);
    const UInt32 found = GetBootVolumeBSD_Name(hasBuffer ? buffer.Get() : nullptr, size);
    const std::string left = system.WhatIsLeft();

    const std::size_t looked = std::min(kLookedAt, SizeOfFirstPiece(pieces));
    std::string device;
    const bool named = end == EChildEnd::kExitedWithZero && BootDeviceInList(printed.substr(0, looked), &device);
    compare.Same("whether there is a boot volume", named, found);
    compare.Same("the boot volume's name", InBuffer(named ? device : "", size), buffer.Bytes());
    compare.Same("what is left of bless", "", left);
}

static void TrySystemVersion(const TComparison& compare, TInput parts)
{
    for (int line = 0; line < 3; ++line)
        parts.Line();
    const std::string about = parts.Line();
    const std::string& list = parts.Rest();
    const bool isShort = about == "short";
    const std::size_t told = list.size() + (isShort ? 1 : 0) - (about == "long" && !list.empty() ? 1 : 0);

    TScriptedSystem system;
    if (about != "no")
        system.SetFile(std::string(kFolder) + (about == "server" ? "ServerVersion.plist" : "SystemVersion.plist"), list,
                       told);
    NumVersion version = ReturnNumVersionOfNumber(0xDEADBEEF);
    ReturnSystemVersionOnVolume(&version, "/Volumes/Data");

    const std::uint32_t expected = about == "no" || isShort ? 0 : VersionInList(list.substr(0, told));
    compare.Same("the system's version", expected, ReturnNumberOfNumVersion(version));
    compare.Same("what is left of the file", "", system.WhatIsLeft());
}

void TryStartUpLists(const std::string& input)
{
    const TComparison compare(input);
    const std::uint64_t objects = platform::CurrentCounts().objects;
    TryBootVolume(compare, TInput(input));
    TrySystemVersion(compare, TInput(input));
    compare.Same("how many Core Foundation objects are left", objects, platform::CurrentCounts().objects);
}
