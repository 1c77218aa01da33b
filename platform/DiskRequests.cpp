#include "platform/DiskRequests.h"

#include "platform/Dissenters.h"
#include "platform/MachineFolder.h"
#include "platform/Objects.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace platform {

// One descriptor that can be read when an answer came, or when the alarm went off.
class TAnswerWatch
{
public:
    TAnswerWatch();

    int Descriptor() const { return fEither.Get(); }

    // nanoseconds  from now; 0: never
    void SetAlarm(long long nanoseconds) const;

    // What happened is found by looking; that something happened is all that is read.
    void Forget() const;

private:
    const TDescriptor fReplies;
    const TDescriptor fAlarm;
    const TDescriptor fEither;
};

TAnswerWatch::TAnswerWatch()
    : fReplies(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      fAlarm(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)), fEither(epoll_create1(EPOLL_CLOEXEC))
{
    epoll_event readable = {};
    readable.events = EPOLLIN;
    if (inotify_add_watch(fReplies.Get(), MachinePath("replies").c_str(), IN_MOVED_TO) < 0 ||
        epoll_ctl(fEither.Get(), EPOLL_CTL_ADD, fReplies.Get(), &readable) != 0 ||
        epoll_ctl(fEither.Get(), EPOLL_CTL_ADD, fAlarm.Get(), &readable) != 0)
        perror("disk arbitration cannot watch for answers");
}

void TAnswerWatch::SetAlarm(long long nanoseconds) const
{
    constexpr long long kSecond = 1000000000;
    itimerspec when = {};
    when.it_value.tv_sec = static_cast<time_t>(nanoseconds / kSecond);
    when.it_value.tv_nsec = static_cast<long>(nanoseconds % kSecond);
    timerfd_settime(fAlarm.Get(), 0, &when, nullptr);
}

void TAnswerWatch::Forget() const
{
    char buffer[4096];
    for (const int descriptor : {fReplies.Get(), fAlarm.Get()}) {
        while (read(descriptor, buffer, sizeof buffer) > 0) {
        }
    }
}

// Init holds the lock as long as the machine runs. Shared, since another may be looking as well.
static bool IsMachineRunning()
{
    const TDescriptor lock(open(MachinePath("init.lock").c_str(), O_RDWR | O_CLOEXEC));
    return lock && flock(lock.Get(), LOCK_SH | LOCK_NB) != 0;
}

// Hands the request to init. False when that cannot be done; `reply` receives the file of the answer.
static bool HandOver(const std::string& request, std::string* reply)
{
    static std::atomic<unsigned> gNext{0};
    const std::string name = "disk-" + std::to_string(getpid()) + "-" + std::to_string(gNext++);
    // Init takes whatever stands there under a name without a dot before it.
    const std::string hidden = "requests/." + name;
    *reply = "replies/" + name;
    return IsMachineRunning() && ReplaceFile(hidden, request) &&
           rename(MachinePath(hidden).c_str(), MachinePath("requests/" + name).c_str()) == 0;
}

static DAReturn StatusOfReply(const std::string& text)
{
    static const char kRefused[] = "refused ";
    constexpr std::size_t kLength = sizeof kRefused - 1;
    if (text.compare(0, 2, "ok") == 0)
        return kDAReturnSuccess;
    if (text.compare(0, kLength, kRefused) != 0)
        return kDAReturnError;
    return StatusNamed(text.substr(kLength, text.find('\n') - kLength));
}

TDiskRequests::TDiskRequests(DASessionRef session) : fSession(session) {}

TDiskRequests::~TDiskRequests()
{
    Unschedule();
    for (const TRequest& request : fRequests) {
        if (!request.reply.empty())
            unlink(MachinePath(request.reply).c_str());
    }
}

void TDiskRequests::File(const TMedium& medium, const std::string& action, const std::string& request,
                         const TAsker& asker)
{
    const TRefusals refusals = ReadRefusals(medium.bsdName);
    const auto refusal = refusals.reasons.find(action);
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    std::string reply;
    if (!medium.isNamed || EntryOf(*registry, medium) == nullptr)
        Answer(medium, kDAReturnNotFound, asker);
    else if (refusal != refusals.reasons.end())
        Answer(medium, StatusNamed(refusal->second), asker);
    else if (HandOver(request, &reply))
        Add(medium, reply, kDAReturnSuccess, asker);
    else
        Answer(medium, kDAReturnError, asker);
}

void TDiskRequests::Answer(const TMedium& medium, DAReturn status, const TAsker& asker)
{
    Add(medium, "", status, asker);
}

void TDiskRequests::Add(const TMedium& medium, const std::string& reply, DAReturn status, const TAsker& asker)
{
    const std::chrono::milliseconds delay(ReadRefusals(medium.bsdName).delay);
    fRequests.push_back({medium, reply, status, TClock::now() + delay, asker});
    Rewatch();
    if (fRunLoop != nullptr)
        WakeRunLoop(fRunLoop);
}

void TDiskRequests::Schedule(CFRunLoopRef runLoop, CFStringRef mode)
{
    Unschedule();
    fRunLoop = runLoop;
    AddSource(runLoop, mode, this);
    Rewatch();
}

void TDiskRequests::Unschedule()
{
    if (fRunLoop != nullptr)
        RemoveSource(fRunLoop, this);
    RunLoopIsGone();
}

void TDiskRequests::RunLoopIsGone()
{
    fRunLoop = nullptr;
    fWatch.reset();
}

int TDiskRequests::Descriptor() const
{
    return fWatch ? fWatch->Descriptor() : -1;
}

bool TDiskRequests::IsDue() const
{
    const TClock::time_point now = TClock::now();
    return std::any_of(fRequests.begin(), fRequests.end(),
                       [&](const TRequest& request) { return request.reply.empty() && request.due <= now; });
}

void TDiskRequests::ReadReplies()
{
    for (TRequest& request : fRequests) {
        std::string text;
        if (request.reply.empty() || !ReadText(request.reply, &text))
            continue;
        request.status = StatusOfReply(text);
        unlink(MachinePath(request.reply).c_str());
        request.reply.clear();
    }
}

// Watches while there is something to watch for, and sets the alarm to the next answer that is known and not due yet.
void TDiskRequests::Rewatch()
{
    if (fRunLoop == nullptr || fRequests.empty()) {
        fWatch.reset();
        return;
    }
    if (!fWatch) {
        fWatch = std::make_unique<TAnswerWatch>();
        // Those that came before they were watched for.
        ReadReplies();
    }
    const TClock::time_point now = TClock::now();
    long long nanoseconds = 0;
    for (const TRequest& request : fRequests) {
        const long long left = std::chrono::nanoseconds(request.due - now).count();
        if (request.reply.empty() && (nanoseconds == 0 || left < nanoseconds))
            nanoseconds = std::max(left, 1LL);
    }
    fWatch->SetAlarm(nanoseconds);
}

// Tells one answer at most: its callback may stop the run loop, and nothing is told after that.
void TDiskRequests::Tell()
{
    // A callback may release the session, and with it this.
    const TReference keep(CFRetain(fSession));
    if (fWatch)
        fWatch->Forget();
    ReadReplies();

    const TClock::time_point now = TClock::now();
    const auto first = std::find_if(fRequests.begin(), fRequests.end(), [&](const TRequest& request) {
        return request.reply.empty() && request.due <= now;
    });
    if (first == fRequests.end()) {
        Rewatch();
        return;
    }
    const TRequest answered = *first;
    fRequests.erase(first);
    Rewatch();
    if (answered.asker.callback == nullptr)
        return;
    const TReference disk(MakeDisk(fSession, answered.medium));
    const TReference dissenter(answered.status != kDAReturnSuccess
                                   ? DADissenterCreate(kCFAllocatorDefault, answered.status, nullptr)
                                   : nullptr);
    answered.asker.callback(static_cast<DADiskRef>(const_cast<void*>(disk.Get())),
                            static_cast<DADissenterRef>(dissenter.Get()), answered.asker.context);
}

}   // namespace platform
