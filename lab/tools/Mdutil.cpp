// mdutil: whether Spotlight indexes a volume.

#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <cstdio>

using plist::TValue;

namespace tools {

static int SetIndexing(const lab::TMachine& machine, const std::string& bsdName, bool on)
{
    const std::string error =
        ChangeVolume(machine, bsdName, [&](TValue* volume) { volume->Set("Indexed", TValue::Boolean(on)); });
    return error.empty() ? 0 : Refuse("mdutil", error);
}

// The volume's state under its path.
static int PrintState(const lab::TMachine& machine, const std::string& path, const std::string& bsdName)
{
    std::printf("%s:\n\tStatus: Indexing %s\n", path.c_str(),
                lab::TruthOf(machine.Volume(bsdName), "Indexed") ? "Enabled" : "Disabled");
    return 0;
}

int Mdutil(lab::TMachine& machine, const TWords& words)
{
    const bool asks = words.size() == 2 && words[0] == "-s";
    const bool sets = words.size() == 3 && words[0] == "-i" && (words[1] == "on" || words[1] == "off");
    if (!asks && !sets)
        return Refuse("mdutil", "usage: mdutil -i on|off VOLUME, or -s VOLUME");

    const std::string bsdName = DiskOfVolume(machine, words.back());
    const std::string path = machine.MountPath(bsdName);
    if (path.empty())
        return Refuse("mdutil", "could not resolve path \"" + words.back() + "\": it is no mounted volume");
    const int status = sets ? SetIndexing(machine, bsdName, words[1] == "on") : 0;
    return status == 0 ? PrintState(machine, path, bsdName) : status;
}

}   // namespace tools
