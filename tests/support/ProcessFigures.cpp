#include "tests/support/ProcessFigures.h"

#include "tests/support/RunningDaemon.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

THeld HeldBy(const lab::TMachine& machine, pid_t process)
{
    const std::string text = machine.ReadText("objects/" + std::to_string(process));
    std::uint64_t words[8] = {};
    EXPECT_EQ(sizeof words, text.size());
    memcpy(words, text.data(), std::min(sizeof words, text.size()));
    EXPECT_EQ(0x48414c564f424a31u, words[0]);

    THeld held;
    held.descriptors = DescriptorsOf(process);
    held.children = ChildrenOf(process);
    held.objects = words[1];
    held.references = words[2];
    held.overReleases = words[3];
    return held;
}

std::string InWords(const THeld& held)
{
    return std::to_string(held.descriptors) + " descriptors, " + std::to_string(held.children) + " children, " +
           std::to_string(held.objects) + " objects, " + std::to_string(held.references) + " references, " +
           std::to_string(held.overReleases) + " released too often";
}

static void TakeLeast(THeld* least, const THeld& held)
{
    least->descriptors = std::min(least->descriptors, held.descriptors);
    least->children = std::min(least->children, held.children);
    least->objects = std::min(least->objects, held.objects);
    least->references = std::min(least->references, held.references);
    least->overReleases = std::min(least->overReleases, held.overReleases);
}

THeld LeastHeldBy(const lab::TMachine& machine, pid_t daemon)
{
    const std::size_t fetches = FetchesOf(machine);
    THeld least = HeldBy(machine, daemon);
    WaitUntil([&] {
        TakeLeast(&least, HeldBy(machine, daemon));
        return FetchesOf(machine) >= fetches + 2;
    });
    return least;
}

std::size_t FetchesOf(const lab::TMachine& machine)
{
    const std::string calls = machine.ReadText("driver/calls");
    static const std::string kFetch = " method 21 ";
    std::size_t fetches = 0;
    for (std::size_t at = calls.find(kFetch); at != std::string::npos; at = calls.find(kFetch, at + 1))
        ++fetches;
    return fetches;
}
