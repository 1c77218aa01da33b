// The boot helper partitions of a machine, whose state a sweep compares.

#ifndef HALVORIX_TESTS_SWEEP_BOOTSWEEPTEST_H
#define HALVORIX_TESTS_SWEEP_BOOTSWEEPTEST_H

#include "tests/sweep/Operation.h"

#include <filesystem>
#include <fstream>
#include <string>

// The RAID volume that the Mac starts from, with 10.5.8 on it, and the boot helper partitions of its two members.
constexpr const char* kVolume = "disk2s3";
constexpr const char* kHelper = "disk0s3";
constexpr const char* kSecondHelper = "disk1s3";

class SweptBoot : public TMachineTest
{
protected:
    // What a helper partition holds: "old", "empty", "part" or "full", and whether it is still mounted.
    std::string StateOf(const char* helper) const
    {
        const std::filesystem::path files = machine.VolumeFiles(helper);
        const std::string mounted = machine.MountPath(helper).empty() ? "" : ", mounted";
        if (std::filesystem::exists(files / "old"))
            return "old" + mounted;
        if (std::filesystem::is_empty(files))
            return "empty" + mounted;
        return (std::filesystem::exists(files / "com.apple.boot.S/System/Library/Extensions.mkext") ? "full" : "part") +
               mounted;
    }

    // Unmounted, and with something on it that formatting takes away.
    void Reset(const char* helper)
    {
        if (!machine.MountPath(helper).empty()) {
            ASSERT_EQ("", machine.UnmountVolume(helper));
        }
        for (const std::filesystem::directory_entry& entry :
             std::filesystem::directory_iterator(machine.VolumeFiles(helper)))
            std::filesystem::remove_all(entry.path());
        std::ofstream(machine.VolumeFiles(helper) + "/old") << "old";
    }

    // What this tool was run with since this was asked last, the last argument of each run.
    std::string NewRunsOf(const std::string& tool)
    {
        const std::vector<lab::TToolRun> runs = machine.ToolRuns();
        std::string text = tool + ":";
        for (std::size_t i = fRuns; i < runs.size(); ++i) {
            if (runs[i].arguments.at(0) == tool)
                text += " " + runs[i].arguments.at(tool == "bless" ? 2 : runs[i].arguments.size() - 1);
        }
        fRuns = runs.size();
        return text;
    }

private:
    std::size_t fRuns = 0;
};

#endif
