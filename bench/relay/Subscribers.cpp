#include "bench/relay/Subscribers.h"

#include "bench/Child.h"
#include "bench/Clocks.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr int kEventsAtOnce = 256;
static constexpr std::size_t kReadAtOnce = 65536;

// One subscriber.
class TSubscriber
{
public:
    TSubscriber(int descriptor, TFraming framing, TTally* tally)
        : fDescriptor(descriptor), fFraming(framing), fTally(tally)
    {
    }

    // Reads once. Returns how many records came.
    std::uint64_t Read()
    {
        char bytes[kReadAtOnce];
        const std::size_t kept = fRest.copy(bytes, sizeof bytes);
        const ssize_t got = recv(fDescriptor, bytes + kept, sizeof bytes - kept, MSG_DONTWAIT);
        if (got <= 0) {
            if (got == 0 || (errno != EAGAIN && errno != EINTR))
                End();
            return 0;
        }
        return Count(bytes, kept + static_cast<std::size_t>(got));
    }

private:
    std::uint64_t Count(const char* bytes, std::size_t count)
    {
        std::uint64_t records = 0;
        std::size_t at = 0;
        for (TFrame frame = fFraming(bytes, count); frame.size != 0; frame = fFraming(bytes + at, count - at)) {
            at += frame.size;
            if (frame.record == nullptr)
                continue;
            Look(frame.record);
            ++records;
        }
        fRest.assign(bytes + at, count - at);
        return records;
    }

    void Look(const char* record)
    {
        const std::uint64_t number = NumberOfRecord(record);
        if (fLast == 0)
            fTally->AddListener();
        else if (number != fLast + 1)
            fTally->AddWrong();
        fLast = number;
        const std::uint64_t stamp = StampOfRecord(record);
        if (stamp != 0)
            fTally->AddDelay(Now() - stamp);
    }

    void End()
    {
        fTally->AddEnded();
        close(fDescriptor);
    }

    int fDescriptor;
    TFraming fFraming;
    TTally* fTally;
    std::uint64_t fLast = 0;
    std::string fRest;   // of a unit that has not come whole
};

// Lets so many nanoseconds pass, awake.
static void Pass(std::uint64_t nanoseconds)
{
    const std::uint64_t end = Now() + nanoseconds;
    while (Now() < end)
        continue;
}

static void ReadForEver(const TContender& contender, const std::vector<int>& descriptors, TTally* tally)
{
    const int poll = epoll_create1(EPOLL_CLOEXEC);
    std::vector<TSubscriber> subscribers;
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        subscribers.emplace_back(descriptors[i], contender.Framing(), tally);
        struct epoll_event event = {};
        event.events = EPOLLIN;
        event.data.u64 = i;
        epoll_ctl(poll, EPOLL_CTL_ADD, descriptors[i], &event);
    }

    // Who rests is let sleep for a moment only, to hear that it is to be restless. Who is restless lets go of the kernel's
    // locks between two looks.
    static const int kMostRest = 100;
    static const std::uint64_t kPause = 1000;
    struct epoll_event events[kEventsAtOnce];
    for (;;) {
        while (tally->IsGathering(subscribers.size()))
            Pass(kPause);
        const int ready = epoll_wait(poll, events, kEventsAtOnce, tally->Restless() ? 0 : kMostRest);
        if (ready == 0 && tally->Restless())
            Pass(kPause);
        std::uint64_t records = 0;
        for (int i = 0; i < ready; ++i)
            records += subscribers[events[i].data.u64].Read();
        if (records != 0)
            tally->AddDeliveries(records, Now());
    }
}

static void ConnectAndRead(TContender* contender, TTally* tally, unsigned count)
{
    std::vector<int> descriptors;
    for (unsigned i = 0; i < count; ++i) {
        descriptors.push_back(contender->Connect());
        if (descriptors.back() == -1)
            GiveUp("a subscriber cannot connect");
        tally->AddConnected();
    }
    ReadForEver(*contender, descriptors, tally);
}

// Gives this process the last processor alone, or all the others.
static void TakeProcessors(bool last)
{
    cpu_set_t all;
    if (sched_getaffinity(0, sizeof all, &all) != 0 || CPU_COUNT(&all) < 2)
        return;
    int highest = CPU_SETSIZE - 1;
    while (!CPU_ISSET(highest, &all))
        --highest;
    CPU_CLR(highest, &all);
    cpu_set_t only;
    CPU_ZERO(&only);
    CPU_SET(highest, &only);
    sched_setaffinity(0, sizeof all, last ? &only : &all);
}

TSubscribers::TSubscribers(TContender* contender, TTally* tally, unsigned count)
    : fTally(tally), fCount(count), fStart(-1), fProcess(-1)
{
    int ends[2];
    // Close-on-exec: who relays must not hold it open.
    if (pipe2(ends, O_CLOEXEC) != 0)
        GiveUp("there is no pipe");
    fStart = ends[1];
    fProcess = fork();
    if (fProcess != 0) {
        close(ends[0]);
        TakeProcessors(false);
        return;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    TakeProcessors(true);
    close(ends[1]);
    char nothing;
    while (read(ends[0], &nothing, 1) == -1)
        continue;
    ConnectAndRead(contender, tally, count);
}

TSubscribers::~TSubscribers()
{
    kill(fProcess, SIGKILL);
    waitpid(fProcess, nullptr, 0);
}

void TSubscribers::Connect()
{
    static const std::uint64_t kStep = 5000000;
    close(fStart);
    while (fTally->Connected() < fCount) {
        if (waitpid(fProcess, nullptr, WNOHANG) != 0)
            GiveUp("the subscribers ended");
        SleepUntil(Now() + kStep);
    }
}
