// vsdbutil: the database of the volumes whose owners and permissions are honoured.

#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <cstdio>

using plist::TValue;

namespace tools {

static bool HasUUID(const TValue& volume)
{
    return lab::TextOf(volume, "UUID").find_first_not_of("0-") != std::string::npos;
}

static int Check(const TValue& volume, const std::string& path)
{
    if (!HasUUID(volume))
        return Refuse("vsdbutil", "no valid volume UUID found on '" + path + "': permissions are disabled.", 0);
    if (!volume.Find("Owners"))
        std::printf("No entry found for '%s'.\n", path.c_str());
    else
        std::printf("Permissions on '%s' are %s.\n", path.c_str(),
                    lab::TruthOf(volume, "Owners") ? "enabled" : "disabled");
    return 0;
}

static int SetOwners(const lab::TMachine& machine, const std::string& bsdName, bool honoured)
{
    const std::string error =
        ChangeVolume(machine, bsdName, [&](TValue* volume) { volume->Set("Owners", TValue::Boolean(honoured)); });
    return error.empty() ? 0 : Refuse("vsdbutil", error);
}

// Takes every mounted volume into the database that has not been seen before, as a system does when it starts.
static int Initialize(const lab::TMachine& machine)
{
    for (const lab::TMount& mount : machine.Mounts()) {
        if (!machine.Volume(mount.bsdName).Find("Owners"))
            SetOwners(machine, mount.bsdName, mount.path == "/");
    }
    return 0;
}

int Vsdbutil(lab::TMachine& machine, const TWords& words)
{
    const std::string verb = words.empty() ? "" : words[0];
    if (verb == "-i" && words.size() == 1)
        return Initialize(machine);
    if ((verb != "-a" && verb != "-c" && verb != "-d") || words.size() != 2)
        return Refuse("vsdbutil", "usage: vsdbutil [-a PATH | -c PATH | -d PATH | -i]");

    const lab::TMount mount = MountHolding(machine, words[1]);
    if (mount.bsdName.empty())
        return Refuse("vsdbutil", "couldn't look at volume '" + words[1] + "': No such file or directory");
    const TValue volume = machine.Volume(mount.bsdName);
    if (verb == "-c")
        return Check(volume, words[1]);
    if (!HasUUID(volume))
        return Refuse("vsdbutil", "no valid volume UUID found on '" + words[1] + "'");
    return SetOwners(machine, mount.bsdName, verb == "-a");
}

}   // namespace tools
