// What a session was asked to do to disks, until it was told what became of it.

#ifndef HALVORIX_PLATFORM_DISKREQUESTS_H
#define HALVORIX_PLATFORM_DISKREQUESTS_H

#include "platform/Disks.h"
#include "platform/RunLoop.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace platform {

class TAnswerWatch;

// The callbacks of all requests have the same form.
typedef void (*TDiskAnswer)(DADiskRef disk, DADissenterRef dissenter, void* context);

// Who is told, on the run loop.
struct TAsker
{
    TDiskAnswer callback = nullptr;   // null: nobody
    void* context = nullptr;
};

class TDiskRequests final : public TRunLoopSource
{
public:
    explicit TDiskRequests(DASessionRef session);
    ~TDiskRequests();
    TDiskRequests(const TDiskRequests&) = delete;
    TDiskRequests& operator=(const TDiskRequests&) = delete;

    // Files a request for init, unless the machine refuses it.
    //
    // action   "mount", as the machine's refusals call it
    // request  the request's lines, as lab/README.md lists them
    void File(const TMedium& medium, const std::string& action, const std::string& request, const TAsker& asker);

    // Tells the asker of this status, after the disk's delay.
    void Answer(const TMedium& medium, DAReturn status, const TAsker& asker);

    void Schedule(CFRunLoopRef runLoop, CFStringRef mode);
    void Unschedule();

    int Descriptor() const override;
    bool IsDue() const override;
    void Tell() override;
    void RunLoopIsGone() override;

private:
    using TClock = std::chrono::steady_clock;

    struct TRequest
    {
        TMedium medium;
        std::string reply;   // the file that init's answer will stand in; empty when the status is known
        DAReturn status;
        TClock::time_point due;   // told no sooner
        TAsker asker;
    };

    void Add(const TMedium& medium, const std::string& reply, DAReturn status, const TAsker& asker);
    void ReadReplies();
    void Rewatch();

    const DASessionRef fSession;
    CFRunLoopRef fRunLoop = nullptr;
    std::vector<TRequest> fRequests;        // in the order in which they were asked
    std::unique_ptr<TAnswerWatch> fWatch;   // while there are any and the session is scheduled
};

// The session's own.
TDiskRequests& RequestsOf(DASessionRef session);

}   // namespace platform

#endif
