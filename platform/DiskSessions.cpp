// Disk Arbitration's sessions: what they have to tell, and the run loop on which they tell it.

#include "platform/DiskClaims.h"
#include "platform/DiskRequests.h"
#include "platform/Disks.h"
#include "platform/MachineFolder.h"
#include "platform/Objects.h"
#include "platform/RunLoop.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

using namespace platform;

static bool Holds(const std::vector<TMedium>& media, std::uint64_t identifier)
{
    return std::any_of(media.begin(), media.end(), [&](const TMedium& one) { return one.identifier == identifier; });
}

// The callbacks of both kinds have the same form.
typedef void (*TDiskCallback)(DADiskRef disk, void* context);

struct TRegistration
{
    bool ofAppearance;
    TDiskCallback callback;
    void* context;
    std::set<std::uint64_t> told;   // the disks whose appearance was told
};

class TDiskWatcher final : public TRunLoopSource
{
public:
    explicit TDiskWatcher(DASessionRef session) : fSession(session) {}
    ~TDiskWatcher() { Unschedule(); }
    TDiskWatcher(const TDiskWatcher&) = delete;
    TDiskWatcher& operator=(const TDiskWatcher&) = delete;

    void Register(bool ofAppearance, CFDictionaryRef match, TDiskCallback callback, void* context);
    void Schedule(CFRunLoopRef runLoop, CFStringRef mode);
    void Unschedule();

    int Descriptor() const override { return fChanges ? fChanges->Get() : -1; }
    bool IsDue() const override { return fIsDue; }
    void Tell() override;
    void RunLoopIsGone() override;

private:
    void ForgetChanges() const;
    void TellDisappeared(const TMedium& medium);
    void TellAppeared(const TMedium& medium);
    void Call(std::size_t registration, const TMedium& medium);

    const DASessionRef fSession;
    std::vector<TRegistration> fRegistrations;
    std::vector<TMedium> fKnown;   // at the last look, in the registry's order
    CFRunLoopRef fRunLoop = nullptr;
    std::unique_ptr<TDescriptor> fChanges;   // tells of changes of the registry
    bool fIsDue = false;
};

struct __DASession : TObject
{
    explicit __DASession(const TType& type) : TObject(type, 1), fWatcher(this), fRequests(this) {}
    ~__DASession() { DropClaimsOf(this); }

    TDiskWatcher fWatcher;
    TDiskRequests fRequests;
};

static const TType kSessionType = {"DASession", 257, Destroy<__DASession>, nullptr, nullptr};

static TDiskWatcher& WatcherOf(DASessionRef session)
{
    return AsMutable<__DASession>(session, kSessionType)->fWatcher;
}

TDiskRequests& platform::RequestsOf(DASessionRef session)
{
    return AsMutable<__DASession>(session, kSessionType)->fRequests;
}

void TDiskWatcher::Register(bool ofAppearance, CFDictionaryRef match, TDiskCallback callback, void* context)
{
    if (match != nullptr)
        Die("disk arbitration was asked for some disks; only all disks can be asked for");
    fRegistrations.push_back({ofAppearance, callback, context, {}});
    fIsDue = true;
    if (fRunLoop != nullptr)
        WakeRunLoop(fRunLoop);
}

void TDiskWatcher::Schedule(CFRunLoopRef runLoop, CFStringRef mode)
{
    Unschedule();
    // Watched from before the first look, so that no change falls between.
    fChanges = std::make_unique<TDescriptor>(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    const std::string folder = MachinePath("registry");
    if (inotify_add_watch(fChanges->Get(), folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE) < 0)
        perror("disk arbitration cannot watch the registry");
    fIsDue = true;
    fRunLoop = runLoop;
    AddSource(runLoop, mode, this);
}

void TDiskWatcher::Unschedule()
{
    if (fRunLoop != nullptr)
        RemoveSource(fRunLoop, this);
    RunLoopIsGone();
}

void TDiskWatcher::RunLoopIsGone()
{
    fRunLoop = nullptr;
    fChanges.reset();
}

// What changed is found by looking; that something changed is all that the descriptor is read for.
void TDiskWatcher::ForgetChanges() const
{
    char buffer[4096];
    while (read(fChanges->Get(), buffer, sizeof buffer) > 0) {
    }
}

void TDiskWatcher::Tell()
{
    // A callback may release the session, and with it this.
    const TReference keep(CFRetain(fSession));
    fIsDue = false;
    ForgetChanges();

    const std::vector<TMedium> before = std::exchange(fKnown, PresentMedia());
    const std::vector<TMedium> now = fKnown;
    for (auto medium = before.rbegin(); medium != before.rend(); ++medium) {
        if (!Holds(now, medium->identifier))
            TellDisappeared(*medium);
    }
    for (const TMedium& medium : now) {
        // Gone meanwhile when a callback ran the run loop itself.
        if (Holds(fKnown, medium.identifier))
            TellAppeared(medium);
    }
}

void TDiskWatcher::TellDisappeared(const TMedium& medium)
{
    for (std::size_t i = 0; i < fRegistrations.size(); ++i) {
        fRegistrations[i].told.erase(medium.identifier);
        if (!fRegistrations[i].ofAppearance)
            Call(i, medium);
    }
}

void TDiskWatcher::TellAppeared(const TMedium& medium)
{
    for (std::size_t i = 0; i < fRegistrations.size(); ++i) {
        // Noted before the call, in which the run loop may run again.
        if (fRegistrations[i].ofAppearance && fRunLoop != nullptr &&
            fRegistrations[i].told.insert(medium.identifier).second)
            Call(i, medium);
    }
}

void TDiskWatcher::Call(std::size_t registration, const TMedium& medium)
{
    // A callback may have taken the session off its run loop; nothing is told after that.
    if (fRunLoop == nullptr)
        return;
    // Copied: the callback may register another, which moves them.
    const TDiskCallback callback = fRegistrations[registration].callback;
    void* const context = fRegistrations[registration].context;
    const TReference disk(MakeDisk(fSession, medium));
    callback(static_cast<DADiskRef>(const_cast<void*>(disk.Get())), context);
}

CFTypeID DASessionGetTypeID(void)
{
    return kSessionType.identifier;
}

DASessionRef DASessionCreate(CFAllocatorRef)
{
    return Make<__DASession>(kSessionType);
}

void DASessionScheduleWithRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef runLoopMode)
{
    WatcherOf(session).Schedule(runLoop, runLoopMode);
    RequestsOf(session).Schedule(runLoop, runLoopMode);
}

void DASessionUnscheduleFromRunLoop(DASessionRef session, CFRunLoopRef, CFStringRef)
{
    WatcherOf(session).Unschedule();
    RequestsOf(session).Unschedule();
}

void DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                    void* context)
{
    WatcherOf(session).Register(true, match, callback, context);
}

void DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match, DADiskDisappearedCallback callback,
                                       void* context)
{
    WatcherOf(session).Register(false, match, callback, context);
}
