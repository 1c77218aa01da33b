#include "tests/support/FaultSweep.h"

#include "tests/support/FaultTable.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

static constexpr unsigned kMaxFunctions = 256;
static constexpr unsigned kMaxBlocks = 4096;

// What the caller and its children share.
struct TSweepPage
{
    std::atomic<unsigned> calls[2][kMaxFunctions];   // those of the caller, then those of children
    std::atomic<unsigned> reached;
};

// Who sweeps, and which call fails. A child has a copy of this.
struct TSweep
{
    TSweepPage* page = nullptr;
    pid_t caller = 0;
    unsigned function = kMaxFunctions;   // that many: none fails
    bool inChild = false;
    unsigned call = 0;

    const void* blocks[kMaxBlocks];   // in no order
    unsigned blockCount = 0;
};

static TSweep gSweep;

bool SweepFails(const TListed& function)
{
    if (!gSwept || gInside != 0)
        return false;
    const bool inChild = getpid() != gSweep.caller;
    const unsigned call = ++gSweep.page->calls[inChild ? 1 : 0][function.number];
    if (function.number != gSweep.function || inChild != gSweep.inChild || call != gSweep.call)
        return false;
    ++gSweep.page->reached;
    return true;
}

void NoteAllocated(const void* block)
{
    if (!gSwept || gInside != 0 || block == nullptr)
        return;
    if (gSweep.blockCount == kMaxBlocks)
        abort();   // one that is not noted could not be missed
    gSweep.blocks[gSweep.blockCount++] = block;
}

void NoteFreed(const void* block)
{
    if (!gSwept || block == nullptr)
        return;
    const void** const end = gSweep.blocks + gSweep.blockCount;
    const void** const found = std::find(gSweep.blocks, end, block);
    if (found != end)
        *found = gSweep.blocks[--gSweep.blockCount];
}

static void Begin()
{
    if (gSweep.page == nullptr) {
        void* const page = mmap(nullptr, sizeof(TSweepPage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (page == MAP_FAILED)
            abort();
        gSweep.page = static_cast<TSweepPage*>(page);
    }
    memset(static_cast<void*>(gSweep.page), 0, sizeof *gSweep.page);
    gSweep.caller = getpid();
    gSweep.blockCount = 0;
}

// Runs the code as what is swept. A child that comes back from it is not swept any longer either.
static void Sweep(const std::function<void()>& code)
{
    gSwept = true;
    code();
    gSwept = false;
}

static unsigned NumberOf(const char* name)
{
    for (const TListed* const function : ListedFunctions()) {
        if (strcmp(function->name, name) == 0)
            return function->number;
    }
    abort();
}

std::string Described(const TFaultPoint& point)
{
    return std::string(point.function) + ", call " + std::to_string(point.call) + (point.inChild ? ", in a child" : "");
}

std::vector<TFaultPoint> FaultPointsOf(const std::function<void()>& code)
{
    Begin();
    gSweep.function = kMaxFunctions;
    Sweep(code);

    std::vector<TFaultPoint> points;
    const std::vector<const TListed*> functions = ListedFunctions();
    if (functions.size() > kMaxFunctions)
        abort();
    for (const TListed* const function : functions) {
        for (const bool inChild : {false, true}) {
            const unsigned calls = gSweep.page->calls[inChild ? 1 : 0][function->number];
            for (unsigned call = 1; call <= calls; ++call)
                points.push_back({function->name, inChild, call});
        }
    }
    return points;
}

bool RunWithFaultAt(const TFaultPoint& point, const std::function<void()>& code)
{
    Begin();
    gSweep.function = NumberOf(point.function);
    gSweep.inChild = point.inChild;
    gSweep.call = point.call;
    Sweep(code);
    return gSweep.page->reached == 1;
}

unsigned BlocksLeftBySweep()
{
    return gSweep.blockCount;
}
