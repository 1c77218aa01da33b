// hfs.util: recognises an HFS volume, and reads and changes its identifier.

#include "lab/Registry.h"
#include "lab/tools/Tool.h"
#include "lab/tools/VolumeIdentifiers.h"

#include <cstdio>

namespace tools {

// The results of Apple's FSMaster utilities (FSUR_ in loadable_fs.h), as the unsigned byte that an exit status is.
constexpr int kRecognized = 255;
constexpr int kUnrecognized = 254;
constexpr int kSucceeded = 253;
constexpr int kFailed = 252;
constexpr int kInvalid = 250;

static int PrintIdentifier(const lab::TMachine& machine, const std::string& identifier)
{
    // Without a line feed, as this tool prints for programs.
    std::fputs(SystemIsLeopard(machine) ? UUIDOfIdentifier(identifier).c_str() : identifier.c_str(), stdout);
    return kSucceeded;
}

static int GiveIdentifier(const lab::TMachine& machine, const std::string& bsdName)
{
    const std::string error = ChangeVolume(machine, bsdName, [&](plist::TValue* volume) {
        const std::string identifier = FreshIdentifier(machine);
        volume->Set("Identifier", plist::TValue::String(identifier));
        volume->Set("UUID", plist::TValue::String(UUIDOfIdentifier(identifier)));
    });
    return error.empty() ? kSucceeded : Refuse("hfs.util", error, kFailed);
}

int HfsUtil(lab::TMachine& machine, const TWords& words)
{
    const std::string verb = words.empty() ? "" : words[0];
    const bool probes = verb == "-p";
    // A probe is told what the medium is like: DEVICE fixed|removable readonly|writable.
    if ((!probes && verb != "-k" && verb != "-s") || words.size() != (probes ? 4u : 2u))
        return Refuse("hfs.util", "usage: hfs.util -p DEVICE fixed|removable readonly|writable, or -k or -s DEVICE",
                      kInvalid);

    // The device is given by its name alone, but with a path it is found as well.
    const std::string bsdName = DiskOfNode(words[1]);
    // The exit status alone says what it cannot do: programs ask this of any disk.
    if (!IsDisk(machine, bsdName))
        return kFailed;
    const plist::TValue volume = machine.Volume(bsdName);
    if (lab::TextOf(volume, "Kind") != "hfs")
        return kUnrecognized;

    if (verb == "-k")
        return PrintIdentifier(machine, lab::TextOf(volume, "Identifier"));
    if (verb == "-s")
        return GiveIdentifier(machine, bsdName);
    std::fputs(lab::TextOf(volume, "Name").c_str(), stdout);
    return kRecognized;
}

}   // namespace tools
