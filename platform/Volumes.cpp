#include "platform/Volumes.h"

#include "platform/MachineFolder.h"
#include "platform/PropertyList.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <utility>

namespace platform {

static bool TakeText(const plist::TValue& dictionary, const char* key, std::string* text)
{
    const plist::TValue* const value = dictionary.Find(key);
    if (value == nullptr || value->kind != plist::Kind::kString)
        return false;
    *text = value->text;
    return true;
}

static bool Flag(const plist::TValue& dictionary, const char* key)
{
    const plist::TValue* const value = dictionary.Find(key);
    return value != nullptr && value->kind == plist::Kind::kBoolean && value->boolean;
}

bool FindVolume(const std::string& bsdName, TVolume* volume)
{
    std::string text;
    plist::TValue list;
    std::string error;
    if (!ReadText("volumes/" + bsdName + "/volume.plist", &text) || !plist::Read(text, &list, &error))
        return false;

    TVolume found;
    found.bsdName = bsdName;
    if (!TakeText(list, "Name", &found.name) || !TakeText(list, "Kind", &found.kind))
        return false;
    TakeText(list, "Identifier", &found.identifier);
    TakeText(list, "UUID", &found.uuid);
    found.owners = Flag(list, "Owners");
    found.journaled = Flag(list, "Journaled");
    found.readOnly = Flag(list, "Read Only");
    *volume = std::move(found);
    return true;
}

// The file's lines, each cut at its first blank into a word and what follows it.
static std::vector<std::pair<std::string, std::string>> ReadWords(const std::string& file)
{
    std::string text;
    ReadText(file, &text);
    std::vector<std::pair<std::string, std::string>> words;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        const size_t blank = std::min(line.find(' '), line.size());
        words.emplace_back(line.substr(0, blank), line.substr(std::min(blank + 1, line.size())));
        start = end + 1;
    }
    return words;
}

bool FindMount(const std::string& bsdName, TMount* mount)
{
    TMount found;
    found.bsdName = bsdName;
    for (const auto& line : ReadWords("mounts/" + bsdName)) {
        if (line.first == "path")
            found.path = line.second;
        else if (line.first == "number")
            found.number = atoi(line.second.c_str());
        else if (line.first == "option")
            found.options.push_back(line.second);
    }
    if (found.path.empty() || found.number == 0)
        return false;
    *mount = std::move(found);
    return true;
}

std::vector<TMount> Mounts()
{
    std::vector<TMount> mounts;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(MachinePath("mounts").c_str()), closedir);
    while (const dirent* const entry = folder ? readdir(folder.get()) : nullptr) {
        const std::string name = entry->d_name;
        TMount mount;
        // A name with a dot is a file that is being written beside the real one.
        if (name.find('.') == std::string::npos && FindMount(name, &mount))
            mounts.push_back(std::move(mount));
    }
    std::sort(mounts.begin(), mounts.end(),
              [](const TMount& one, const TMount& other) { return one.number > other.number; });
    return mounts;
}

TRefusals ReadRefusals(const std::string& bsdName)
{
    TRefusals refusals;
    for (const auto& line : ReadWords("volumes/" + bsdName + "/refuse")) {
        if (line.first == "delay")
            refusals.delay = static_cast<unsigned>(strtoul(line.second.c_str(), nullptr, 10));
        else
            refusals.reasons[line.first] = line.second;
    }
    return refusals;
}

}   // namespace platform
