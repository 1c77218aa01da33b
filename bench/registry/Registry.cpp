// Many volumes appear and disappear in the daemon's registry: `registry COUNT`, in a simulated Mac whose hfs.util is
// registry-tool, which gives each volume an identity of its own.
//
// Prints a line of fields separated by commas: volumes, and in nanoseconds the mean of an appearance with the tool's run, of
// the registry's own part of it, of that part over the last tenth, and of a disappearance.

#include "bench/Child.h"
#include "bench/OutsideTime.h"
#include "daemon/VolumeRegistry.h"
#include "services/IORegistry.h"
#include "services/ScopedIOObject.h"

#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

static unsigned long long Mean(std::vector<std::uint64_t>::const_iterator first,
                               std::vector<std::uint64_t>::const_iterator end)
{
    const std::uint64_t sum = std::accumulate(first, end, std::uint64_t{0});
    return sum / static_cast<std::uint64_t>(end - first);
}

static std::string BSDName(unsigned number)
{
    return "disk" + std::to_string(3 + number / 15) + "s" + std::to_string(1 + number % 15);
}

int main(int wordCount, char** words)
{
    const auto volumes = static_cast<unsigned>(wordCount == 2 ? atoi(words[1]) : 0);
    if (volumes < 10)
        GiveUp("say registry COUNT, of at least 10 volumes");
    // Any RAID volume's medium: each volume has one, and what it is makes no difference.
    const TScopedIOObject medium(GetIOKitObjectWithBSDName("disk2s3"));
    TVolumeRegistry registry;
    registry.SetEnabled(true);

    std::vector<std::uint64_t> whole;
    std::vector<std::uint64_t> ours;
    for (unsigned i = 0; i < volumes; ++i) {
        const std::string name = BSDName(i);
        ForgetOutsideTimes();
        const std::uint64_t begin = Now();
        registry.VolumeAppeared(name.c_str(), medium.Get());
        whole.push_back(Now() - begin);
        ours.push_back(whole.back() - gOutsideTimes.All());
    }
    if (registry.Count() != volumes)
        GiveUp("the registry holds " + std::to_string(registry.Count()) + " of " + std::to_string(volumes));

    std::vector<std::uint64_t> gone;
    for (unsigned i = 0; i < volumes; ++i) {
        const std::string name = BSDName(i);
        const std::uint64_t begin = Now();
        registry.VolumeDisappeared(name.c_str());
        gone.push_back(Now() - begin);
    }
    if (registry.Count() != 0)
        GiveUp("the registry still holds something");

    std::printf("%u,%llu,%llu,%llu,%llu\n", volumes, Mean(whole.begin(), whole.end()), Mean(ours.begin(), ours.end()),
                Mean(ours.end() - volumes / 10, ours.end()), Mean(gone.begin(), gone.end()));
    return 0;
}
