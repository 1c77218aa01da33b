#include "platform/RunLoop.h"

#include "platform/MachineFolder.h"
#include "platform/Objects.h"

#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <vector>

using namespace platform;

const CFStringRef kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");

struct TScheduled
{
    TRunLoopSource* source;
    bool inDefaultMode;
};

// One call of CFRunLoopRun.
struct TRun
{
    bool stopped = false;
};

struct __CFRunLoop : TObject
{
    explicit __CFRunLoop(const TType& type) : TObject(type, kImmortal) {}

    std::mutex fLock;
    std::vector<TScheduled> fSources;
    std::vector<TRun*> fRuns;   // the innermost last
    int fWake = -1;             // while it runs
};

static const TType kRunLoopType = {"CFRunLoop", 35, nullptr, nullptr, nullptr};

static __CFRunLoop* LoopOf(CFRunLoopRef runLoop)
{
    return AsMutable<__CFRunLoop>(runLoop, kRunLoopType);
}

// The lock is held.
static void Wake(const __CFRunLoop* loop)
{
    if (loop->fWake >= 0)
        eventfd_write(loop->fWake, 1);
}

static void EndOfThread(void* thread)
{
    auto* const loop = static_cast<__CFRunLoop*>(thread);
    for (const TScheduled& scheduled : loop->fSources)
        scheduled.source->RunLoopIsGone();
    delete loop;
}

// Not thread_local: that would be destroyed at exit as well, while other threads may still stop the loop.
static pthread_key_t LoopKey()
{
    static const pthread_key_t gKey = [] {
        pthread_key_t key = 0;
        if (pthread_key_create(&key, EndOfThread) != 0)
            Die("no thread can have a run loop: too many thread keys");
        return key;
    }();
    return gKey;
}

namespace platform {

void AddSource(CFRunLoopRef runLoop, CFStringRef mode, TRunLoopSource* source)
{
    __CFRunLoop* const loop = LoopOf(runLoop);
    const std::lock_guard<std::mutex> hold(loop->fLock);
    loop->fSources.push_back({source, CFEqual(mode, kCFRunLoopDefaultMode) != 0});
    Wake(loop);
}

void RemoveSource(CFRunLoopRef runLoop, TRunLoopSource* source)
{
    __CFRunLoop* const loop = LoopOf(runLoop);
    const std::lock_guard<std::mutex> hold(loop->fLock);
    auto& all = loop->fSources;
    all.erase(std::remove_if(all.begin(), all.end(), [&](const TScheduled& one) { return one.source == source; }),
              all.end());
    Wake(loop);
}

void WakeRunLoop(CFRunLoopRef runLoop)
{
    __CFRunLoop* const loop = LoopOf(runLoop);
    const std::lock_guard<std::mutex> hold(loop->fLock);
    Wake(loop);
}

}   // namespace platform

CFTypeID CFRunLoopGetTypeID(void)
{
    return kRunLoopType.identifier;
}

CFRunLoopRef CFRunLoopGetCurrent(void)
{
    auto* loop = static_cast<__CFRunLoop*>(pthread_getspecific(LoopKey()));
    if (loop == nullptr) {
        loop = new __CFRunLoop(kRunLoopType);
        pthread_setspecific(LoopKey(), loop);
    }
    return loop;
}

// Registers a run for as long as it lasts; the outermost one has the descriptor that wakes the loop.
class TRunning
{
public:
    explicit TRunning(__CFRunLoop* loop) : fLoop(loop)
    {
        const std::lock_guard<std::mutex> hold(fLoop->fLock);
        if (fLoop->fRuns.empty())
            fLoop->fWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        fLoop->fRuns.push_back(&fRun);
    }

    ~TRunning()
    {
        const std::lock_guard<std::mutex> hold(fLoop->fLock);
        fLoop->fRuns.pop_back();
        if (!fLoop->fRuns.empty())
            return;
        const TDescriptor closed(fLoop->fWake);
        fLoop->fWake = -1;
    }

    // The sources of the mode that runs; none when the run is over.
    std::vector<TRunLoopSource*> Sources() const
    {
        std::vector<TRunLoopSource*> sources;
        const std::lock_guard<std::mutex> hold(fLoop->fLock);
        for (const TScheduled& scheduled : fLoop->fSources) {
            if (scheduled.inDefaultMode && !fRun.stopped)
                sources.push_back(scheduled.source);
        }
        return sources;
    }

    int WakeDescriptor() const { return fLoop->fWake; }

private:
    __CFRunLoop* fLoop;
    TRun fRun;
};

// Waits until a source has something to tell or the loop is woken. Returns the sources that have.
static std::vector<TRunLoopSource*> WaitForSources(const std::vector<TRunLoopSource*>& sources, int wakeDescriptor)
{
    std::vector<pollfd> descriptors;
    bool due = false;
    for (const TRunLoopSource* source : sources) {
        descriptors.push_back({source->Descriptor(), POLLIN, 0});
        due = due || source->IsDue();
    }
    descriptors.push_back({wakeDescriptor, POLLIN, 0});
    // Without a descriptor to be woken by (there may be no more of them), a stop is noticed within this time.
    const int patience = wakeDescriptor >= 0 ? -1 : 50;
    const int count = poll(descriptors.data(), descriptors.size(), due ? 0 : patience);

    eventfd_t ignored = 0;
    eventfd_read(wakeDescriptor, &ignored);
    std::vector<TRunLoopSource*> ready;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if ((count > 0 && descriptors[i].revents != 0) || sources[i]->IsDue())
            ready.push_back(sources[i]);
    }
    return ready;
}

void CFRunLoopRun(void)
{
    const TRunning run(LoopOf(CFRunLoopGetCurrent()));
    for (;;) {
        const std::vector<TRunLoopSource*> sources = run.Sources();
        if (sources.empty())
            return;
        for (TRunLoopSource* source : WaitForSources(sources, run.WakeDescriptor())) {
            // What was told before may have taken this one away, or stopped the run.
            const std::vector<TRunLoopSource*> left = run.Sources();
            if (std::find(left.begin(), left.end(), source) != left.end())
                source->Tell();
        }
    }
}

void CFRunLoopStop(CFRunLoopRef runLoop)
{
    __CFRunLoop* const loop = LoopOf(runLoop);
    const std::lock_guard<std::mutex> hold(loop->fLock);
    if (!loop->fRuns.empty())
        loop->fRuns.back()->stopped = true;
    Wake(loop);
}
