// bless: sets the folder that a volume starts from, and the disk that the firmware starts from.

#include "lab/tools/Bless.h"

#include "lab/OpenFirmware.h"
#include "lab/Registry.h"
#include "lab/tools/Tool.h"

#include <sys/stat.h>

using plist::TValue;

namespace tools {

enum class TakesValue
{
    kNever,
    kPerhaps,
    kAlways
};

static TakesValue ValueOf(const std::string& option, bool* known)
{
    static const std::map<std::string, TakesValue>& options = *new std::map<std::string, TakesValue>{
        {"device", TakesValue::kAlways}, {"folder", TakesValue::kAlways}, {"mount", TakesValue::kAlways},
        {"label", TakesValue::kAlways},  {"info", TakesValue::kPerhaps},  {"bootinfo", TakesValue::kPerhaps},
        {"setBoot", TakesValue::kNever}, {"setOF", TakesValue::kNever},   {"getBoot", TakesValue::kNever},
        {"plist", TakesValue::kNever},   {"verbose", TakesValue::kNever}, {"quiet", TakesValue::kNever}};
    const auto found = options.find(option);
    *known = found != options.end();
    return *known ? found->second : TakesValue::kNever;
}

// Returns an empty text, or what is wrong with the command line.
static std::string ReadOptions(const TWords& words, TBlessOptions* options)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i].size() < 2 || words[i][0] != '-')
            return "unexpected argument " + words[i];
        const std::string option = words[i].substr(words[i][1] == '-' ? 2 : 1);
        bool known = false;
        const TakesValue takes = ValueOf(option, &known);
        const bool follows = i + 1 < words.size() && (takes == TakesValue::kAlways || words[i + 1][0] != '-');
        if (!known)
            return "unrecognized option `" + words[i] + "'";
        if (takes == TakesValue::kAlways && !follows)
            return "option `" + words[i] + "' requires an argument";
        (*options)[option] = takes != TakesValue::kNever && follows ? words[++i] : "";
    }
    const std::size_t modes =
        options->count("info") + options->count("folder") + options->count("mount") + options->count("device");
    return modes == 1 ? "" : "usage: bless -info [MOUNT], or -folder FOLDER, -mount MOUNT or -device NODE, [-setBoot]";
}

static int SetBootDevice(lab::TMachine& machine, const std::string& bsdName)
{
    const std::string path = lab::OpenFirmwarePath(machine, bsdName);
    if (path.empty())
        return Refuse("bless", "there is no disk " + bsdName);
    const std::string error =
        machine.SetDeviceTreeProperty("/options", "boot-device", TValue::String(path + lab::kOpenFirmwareBooter));
    return error.empty() ? 0 : Refuse("bless", "Can't set OpenFirmware boot device: " + error);
}

// Blesses the folder. bsdName receives the disk that it is on.
static int BlessFolder(const lab::TMachine& machine, const std::string& folder, std::string* bsdName)
{
    std::string within;
    *bsdName = MountHolding(machine, folder, &within).bsdName;
    struct stat status
    {
    };
    if (bsdName->empty() || stat(folder.c_str(), &status) != 0)
        return Refuse("bless", "No such file or directory: " + folder);
    if (!S_ISDIR(status.st_mode))
        return Refuse("bless", "Not a directory: " + folder);
    if (lab::TextOf(machine.Volume(*bsdName), "Kind") != "hfs")
        return Refuse("bless", "Volume of " + folder + " is not HFS or HFS+");

    const std::string error = ChangeVolume(machine, *bsdName, [&](TValue* volume) {
        volume->Set("Blessed Folder", TValue::String(within.empty() ? "." : within));
    });
    return error.empty() ? 0 : Refuse("bless", "Can't set Finder info of " + folder + ": " + error);
}

int Bless(lab::TMachine& machine, const TWords& words)
{
    TBlessOptions options;
    const std::string error = ReadOptions(words, &options);
    if (!error.empty())
        return Refuse("bless", error);
    if (options.count("info"))
        return BlessInfo(machine, options);

    std::string bsdName;
    if (options.count("folder")) {
        const int status = BlessFolder(machine, options["folder"], &bsdName);
        if (status != 0)
            return status;
    } else if (options.count("device")) {
        // Only a node: what nobody would take for a mount point.
        bsdName = options["device"].rfind("/dev/", 0) == 0 ? DiskOfNode(options["device"]) : "";
        if (!IsDisk(machine, bsdName))
            return Refuse("bless", "Can't stat " + options["device"] + ": No such file or directory");
    } else {
        std::string within;
        bsdName = MountHolding(machine, options["mount"], &within).bsdName;
        if (bsdName.empty() || !within.empty())
            return Refuse("bless", options["mount"] + " is not a mount point");
    }
    return options.count("setBoot") || options.count("setOF") ? SetBootDevice(machine, bsdName) : 0;
}

}   // namespace tools
