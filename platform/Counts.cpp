#include "platform/Counts.h"

#include "platform/MachineFolder.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

// One 64-bit word of the file. The host's own size is enough to count with, and a 32-bit host has no 64-bit atomics: it
// counts in the less significant half.
struct TWord
{
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ && !defined(__LP64__)
    std::uint32_t fUpperHalf;
#endif
    std::atomic<std::size_t> fCount;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && !defined(__LP64__)
    std::uint32_t fUpperHalf;
#endif
};
static_assert(sizeof(TWord) == 8, "a word of the file");

struct TFile
{
    std::uint64_t mark;
    TWord objects;
    TWord references;
    TWord overReleases;
    std::uint64_t unused[4];
};
static_assert(sizeof(TFile) == 64, "the file of counts");

constexpr std::uint64_t kMark = 0x48414c564f424a31;

static void* MapFile()
{
    const std::string path = MachinePath("objects/" + std::to_string(getpid()));
    const TDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file || ftruncate(file.Get(), sizeof(TFile)) != 0)
        return MAP_FAILED;
    return mmap(nullptr, sizeof(TFile), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
}

static TFile* Map()
{
    void* memory = MapFile();
    if (memory == MAP_FAILED)
        memory = mmap(nullptr, sizeof(TFile), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        abort();
    auto* const file = static_cast<TFile*>(memory);
    file->mark = kMark;
    return file;
}

static TFile& File();

// In a forked child: a private copy at the same place, so that the child does not count into its parent's file.
static void MakeCountsPrivate()
{
    TFile& file = File();
    unsigned char before[sizeof(TFile)];
    memcpy(before, static_cast<const void*>(&file), sizeof before);
    void* const place =
        mmap(&file, sizeof(TFile), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    if (place == MAP_FAILED)
        abort();
    memcpy(place, before, sizeof before);
}

static TFile& File()
{
    static TFile* const gFile = [] {
        TFile* const file = Map();
        pthread_atfork(nullptr, nullptr, MakeCountsPrivate);
        return file;
    }();
    return *gFile;
}

// Mapped before main, so that the file shows a process that holds nothing yet.
[[maybe_unused]] static const TFile& gMappedEarly = File();

static void Change(TWord& word, int change)
{
    word.fCount.fetch_add(static_cast<std::size_t>(change), std::memory_order_relaxed);
}

TCounts CurrentCounts()
{
    const TFile& file = File();
    return {file.objects.fCount.load(), file.references.fCount.load(), file.overReleases.fCount.load()};
}

void CountObject(int change)
{
    Change(File().objects, change);
}

void CountReference(int change)
{
    Change(File().references, change);
}

void CountOverRelease()
{
    Change(File().overReleases, 1);
}

}   // namespace platform
