#include "lab/import/MountOutput.h"

#include "lab/Files.h"
#include "lab/import/Capture.h"
#include "lab/import/RegistryValue.h"

#include <algorithm>

namespace import {

bool TMountedDisk::Has(const std::string& option) const
{
    return std::find(options.begin(), options.end(), option) != options.end();
}

// "/dev/disk1s3 on /Volumes/HAZ SPACE(!) (local, journaled)". Places hold blanks and parentheses; the last pair of
// parentheses holds the options, and some lines have none.
static TMountedDisk ReadLine(std::size_t number, const std::string& line)
{
    TMountedDisk disk;
    disk.line = number;
    const std::size_t on = line.find(" on /");
    if (on == std::string::npos)
        throw TDamage{number, "this is no line that mount prints: it says nothing of what is mounted on what place"};
    std::size_t end = line.size();
    const std::size_t options = line.rfind(" (");
    if (line.back() == ')' && options != std::string::npos && options > on + 4) {
        end = options;
        std::string words = line.substr(options + 2, line.size() - options - 3);
        for (const std::string& word : lab::Split(words, ','))
            disk.options.push_back(word.substr(std::min(word.find_first_not_of(' '), word.size())));
    }
    if (line.rfind("/dev/disk", 0) == 0)
        disk.bsdName = line.substr(5, on - 5);
    disk.path = ReadableText(line.substr(on + 4, end - on - 4));
    return disk;
}

std::vector<TMountedDisk> ReadMountOutput(const std::string& text)
{
    std::vector<TMountedDisk> disks;
    std::size_t number = 0;
    bool hasStartup = false;
    for (std::string line : lab::SplitLines(text)) {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            continue;
        const TMountedDisk disk = ReadLine(number, line);
        if (disk.bsdName.empty() && disk.path == "/")
            throw TDamage{number, "this Mac did not start from a disk, and a simulated one can only do that"};
        if (disk.bsdName.empty())
            continue;
        for (const TMountedDisk& other : disks) {
            if (other.path == disk.path || other.bsdName == disk.bsdName)
                throw TDamage{number,
                              "this disk or this place stands in line " + std::to_string(other.line) + " already"};
        }
        hasStartup = hasStartup || disk.path == "/";
        disks.push_back(disk);
    }
    if (!hasStartup)
        throw TDamage{0, "nothing is mounted on /, as the start-up volume of every Mac is"};
    return disks;
}

}   // namespace import
