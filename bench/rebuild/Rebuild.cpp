// Where the time of one boot helper partition's rebuild goes: `rebuild TIMES`, in the simulated Mac leopard.
//
// Prints a line of fields separated by commas for each time and step: step, and in nanoseconds all of it, waiting for
// tools, starting them, Disk Arbitration, the other frameworks, and what is left, the product's own.

#include "bench/Child.h"
#include "bench/OutsideTime.h"
#include "daemon/BootHelperFiles.h"
#include "daemon/BootHelperPartitions.h"
#include "daemon/SystemVersionProbe.h"
#include "lab/Machine.h"
#include "services/ExternalTools.h"
#include "services/VolumeOperations.h"
#include "services/VolumePaths.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

static constexpr const char* kHelper = "disk0s3";
static constexpr const char* kSource = "/";
static constexpr CFIndex kPathCapacity = 1024;

static void Measure(const char* step, const std::function<void()>& work)
{
    ForgetOutsideTimes();
    const std::uint64_t begin = Now();
    work();
    const std::uint64_t all = Now() - begin;
    const TOutsideTimes outside = gOutsideTimes;
    std::printf("%s,%llu", step, static_cast<unsigned long long>(all));
    for (const std::uint64_t time : outside.nanoseconds)
        std::printf(",%llu", static_cast<unsigned long long>(time));
    std::printf(",%llu\n", static_cast<unsigned long long>(all - outside.All()));
}

static void Expect(bool done, const char* what)
{
    if (!done)
        GiveUp(what);
}

// What makes the firmware start from it, the last that is put there.
static bool IsFilled()
{
    const std::string cache = "/com.apple.boot.S/System/Library/Extensions.mkext";
    struct stat info;
    return stat((lab::TMachine().VolumeFiles(kHelper) + cache).c_str(), &info) == 0;
}

// The same as RebuildBootHelperPartition does, in its order.
static void MeasureSteps()
{
    char path[kPathCapacity] = {};
    Measure("erase (newfs_hfs)", [] { FormatBootHelperPartition(kHelper, "Boot OSX", kFileSystemHFSPlus, 0); });
    Measure("mount", [] { Expect(MountVolume(kHelper, 0) != 0, "the partition cannot be mounted"); });
    Measure("find its path", [&] {
        Expect(GetVolumePathnameWithBSDName(kHelper, path, kPathCapacity) != 0, "the partition has no path");
    });
    Measure("honour owners (vsdbutil)", [&] { EnableOwnershipAndPermissions(path); });
    Measure("give it to root", [&] { Expect(chown(path, 0, 0) == 0, "the partition cannot be given to root"); });
    Measure("look at the system's version",
            [] { Expect(SystemIsNewerThan(kHighestBefore10_5, kSource), "the system is too old"); });
    Measure("fill it (5 times cp)",
            [&] { Expect(PopulateBootHelperPartition(kSource, path) != 0, "the partition cannot be filled"); });
    Measure("unmount", [] { Expect(UnmountVolume(kHelper, 0) != 0, "the partition cannot be unmounted"); });
}

int main(int count, char** words)
{
    const int times = count == 2 ? atoi(words[1]) : 0;
    if (times < 1)
        GiveUp("say rebuild TIMES");
    for (int i = 0; i < times; ++i) {
        Measure("all", [] { RebuildBootHelperPartition(kHelper, kSource); });
        Expect(IsFilled(), "the partition was not filled");
        MeasureSteps();
        Expect(IsFilled(), "the partition was not filled step by step");
    }
    return 0;
}
