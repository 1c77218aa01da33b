// What the tests of the tools' work share: a tool is run to its end, and what it said is looked at.

#ifndef HALVORIX_TESTS_LAB_TOOLWORK_H
#define HALVORIX_TESTS_LAB_TOOLWORK_H

#include "lab/Files.h"
#include "lab/Registry.h"
#include "platform/PropertyList.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <string>
#include <vector>

class TToolWork : public TMachineTest
{
protected:
    // Runs the tool at the path, its own name as argv[0], and returns what it ended with, such as "exited 0".
    std::string Run(const std::string& path, const std::vector<std::string>& words)
    {
        std::vector<std::string> command{path, lab::BaseName(path)};
        command.insert(command.end(), words.begin(), words.end());
        return RunToEnd(command, &output, &errors);
    }

    // A disk with a volume that is not mounted.
    void AddVolume(const std::string& bsdName, const std::string& name, const std::string& kind = "hfs")
    {
        ASSERT_EQ("", machine.AddMedium(bsdName, "", 64 << 20, bsdName.find('s', 4) == std::string::npos));
        ASSERT_EQ("", machine.AddVolume(bsdName, name, kind));
    }

    // Likewise, mounted.
    void AddMountedVolume(const std::string& bsdName, const std::string& name, const std::string& kind = "hfs")
    {
        AddVolume(bsdName, name, kind);
        ASSERT_EQ("", machine.MountVolume(bsdName));
    }

    // Puts another system on the start-up volume.
    void SetSystem(const std::string& version)
    {
        plist::TValue system = plist::TValue::Dictionary();
        system.Set("ProductVersion", plist::TValue::String(version));
        ASSERT_EQ("",
                  lab::ReplaceFile(machine.VolumeFiles("disk2s3") + "/System/Library/CoreServices/SystemVersion.plist",
                                   plist::Write(system)));
    }

    std::string Text(const std::string& bsdName, const std::string& key)
    {
        return lab::TextOf(machine.Volume(bsdName), key);
    }

    bool Truth(const std::string& bsdName, const std::string& key)
    {
        return lab::TruthOf(machine.Volume(bsdName), key);
    }

    std::string output;
    std::string errors;
};

#endif
