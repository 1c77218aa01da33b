// One record to many clients, by one contender: `relay CONTENDER CLIENTS`, in a simulated Mac.
//
// Sets everything up, says "ready", and does what it is told on standard input, a line each, so that several contenders
// can be measured in turn:
//
//     stream WAY MILLISECONDS        as fast as it goes, with a window of records underway
//     single WAY MILLISECONDS        each record when the one before has arrived everywhere
//     quiet WAY RECORDS MICROSECONDS a record in so many microseconds
//
// and answers each with a line of fields separated by commas: phase, way, clients, records, deliveries, lost, out of order,
// elapsed nanoseconds, processor nanoseconds of who relays, its resident kilobytes, median delay, 99th percentile.
//
// Every delivery is counted, and each must be the record behind the last one of its subscriber.

#include "bench/Child.h"
#include "bench/Clocks.h"
#include "bench/Statistics.h"
#include "bench/relay/Contender.h"
#include "bench/relay/Subscribers.h"
#include "bench/relay/Tally.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

static constexpr std::uint64_t kMillisecond = 1000000;

// Fewer than fit into a subscriber's buffer, so that no contender has a reason to drop one.
static constexpr std::uint64_t kWindow = 64;
// How often it is looked whether the window is full.
static constexpr std::uint64_t kLookEvery = 16;
// What is posted at once to who looks for records now and then.
static constexpr std::size_t kBatch = 500;

class TMeasurement
{
public:
    TMeasurement(TContender* contender, TTally* tally, unsigned clients)
        : fContender(contender), fTally(tally), fClients(clients)
    {
    }

    // Posts until every subscriber has heard something, and the last record has arrived everywhere.
    void WaitForListeners()
    {
        static const int kTries = 600;
        for (int i = 0; i < kTries && fTally->Listening() < fClients; ++i) {
            PostOne(0);
            SleepUntil(Now() + 50 * kMillisecond);
        }
        if (fTally->Listening() < fClients)
            GiveUp("not all subscribers hear anything");
        // No record of before is underway when counting begins.
        for (std::uint64_t before = 0; before != fTally->Delivered(); SleepUntil(Now() + 1500 * kMillisecond))
            before = fTally->Delivered();
        fContender->AllListen();
    }

    void Do(const std::string& phase, const std::string& way, std::uint64_t amount, std::uint64_t microseconds)
    {
        Begin(phase);
        if (phase == "quiet")
            Quiet(amount, microseconds * 1000);
        else if (phase == "single")
            Single(Now() + amount * kMillisecond);
        else if (fContender->LooksNowAndThen())
            Batch();
        else
            Stream(Now() + amount * kMillisecond);
        Tell(phase, way);
    }

private:
    void PostOne(std::uint64_t stamp)
    {
        TRecord record;
        FillRecord(++fNumber, stamp, &record);
        fContender->Post(record);
    }

    // Of all subscribers since the beginning.
    std::uint64_t DeliveriesDue() const { return fBefore + (fNumber - fFirst) * fClients; }

    // Whether those that were posted have arrived, but for so many. Waiting for that is nobody's work: falling asleep and
    // being woken takes longer than a record.
    bool WaitForAllBut(std::uint64_t records)
    {
        if (fNumber - fFirst <= records)
            return true;
        const std::uint64_t awaited = DeliveriesDue() - records * fClients;
        if (fTally->Delivered() >= awaited)
            return true;
        const std::uint64_t processor = ProcessorTimeOfThread();
        const bool arrived = fTally->WaitForDeliveries(awaited);
        fWaiting += ProcessorTimeOfThread() - processor;
        return arrived;
    }

    void Stream(std::uint64_t end)
    {
        while (Now() < end) {
            for (std::uint64_t i = 0; i < kLookEvery; ++i)
                PostOne(0);
            fTally->SetDue(DeliveriesDue());
            if (!WaitForAllBut(kWindow - kLookEvery))
                break;
        }
    }

    // Each is timed until the last subscriber has it.
    void Single(std::uint64_t end)
    {
        bool arrived = true;
        while (arrived && Now() < end) {
            const std::uint64_t begin = Now();
            PostOne(0);
            arrived = WaitForAllBut(0);
            fUnderway += fTally->LastReceipt() - begin;
        }
    }

    void Quiet(std::uint64_t records, std::uint64_t interval)
    {
        std::uint64_t next = Now();
        for (std::uint64_t i = 0; i < records; ++i) {
            SleepUntil(next += interval);
            PostOne(Now());
        }
    }

    void Batch()
    {
        std::vector<TRecord> records(kBatch);
        for (TRecord& record : records)
            FillRecord(++fNumber, 0, &record);
        fContender->PostAll(records);
    }

    void Begin(const std::string& phase)
    {
        fTally->SetRestless(phase != "quiet" && !fContender->LooksNowAndThen());
        fTally->SetGathering(phase == "stream" && !fContender->LooksNowAndThen());
        fTally->BeginLook();
        fFirst = fNumber;
        fBefore = fTally->Delivered();
        fWrongBefore = fTally->Wrong();
        fProcessorBefore = ProcessorTimeOf(fContender->Relay());
        fWaiting = 0;
        fUnderway = 0;
        fBegin = Now();
    }

    // How long it took.
    std::uint64_t Elapsed(const std::string& phase) const
    {
        if (phase == "single")
            return fUnderway;
        // Who looks now and then sleeps before: that is the delay's, not the pace's.
        const bool slept = phase == "stream" && fContender->LooksNowAndThen();
        return fTally->LastReceipt() - (slept ? fTally->FirstReceipt() : fBegin);
    }

    void Tell(const std::string& phase, const std::string& way)
    {
        fTally->SetGathering(false);
        WaitForAllBut(0);
        const std::uint64_t processor =
            ProcessorTimeOf(fContender->Relay()) - fProcessorBefore - (fContender->Relay() == getpid() ? fWaiting : 0);
        const std::uint64_t posted = fNumber - fFirst;
        const std::uint64_t delivered = fTally->Delivered() - fBefore;
        const std::vector<std::uint64_t> delays = fTally->Delays();
        std::printf("%s,%s,%u,%llu,%llu,%lld,%llu,%llu,%llu,%ld,%llu,%llu\n", phase.c_str(), way.c_str(), fClients,
                    Number(posted), Number(delivered), static_cast<long long>(DeliveriesDue() - fTally->Delivered()),
                    Number(fTally->Wrong() - fWrongBefore + fTally->Ended()), Number(Elapsed(phase)), Number(processor),
                    ResidentKilobytesOf(fContender->Relay()), Number(Quantile(delays, 0.5)),
                    Number(Quantile(delays, 0.99)));
        std::fflush(stdout);
    }

    static unsigned long long Number(std::uint64_t number) { return number; }

    TContender* fContender;
    TTally* fTally;
    unsigned fClients;
    std::uint64_t fNumber = 0;
    // As it was when the phase began.
    std::uint64_t fFirst = 0;
    std::uint64_t fBefore = 0;
    std::uint64_t fWrongBefore = 0;
    std::uint64_t fProcessorBefore = 0;
    std::uint64_t fBegin = 0;
    std::uint64_t fWaiting = 0;    // processor time
    std::uint64_t fUnderway = 0;   // of records that were posted one by one, together
};

static std::unique_ptr<TContender> MakeContender(const std::string& name)
{
    if (name == "direct")
        return MakeDirectContender();
    if (name == "daemon")
        return MakeDaemonContender();
    if (name == "acpid")
        return MakeAcpidContender();
    if (name == "dbus")
        return MakeDBusContender();
    if (name == "zeromq")
        return MakeZeroMQContender();
    GiveUp("no contender is called " + name + "; there are direct, daemon, acpid, dbus and zeromq");
}

int main(int count, char** words)
{
    if (count != 3)
        GiveUp("say relay CONTENDER CLIENTS");
    const std::unique_ptr<TContender> contender = MakeContender(words[1]);
    const auto clients = static_cast<unsigned>(atoi(words[2]));
    TTally* const tally = TTally::Create();
    // Before anything has threads.
    TSubscribers subscribers(contender.get(), tally, clients);
    contender->Start();
    subscribers.Connect();
    TMeasurement measurement(contender.get(), tally, clients);
    measurement.WaitForListeners();
    std::printf("ready\n");
    std::fflush(stdout);

    char phase[16];
    char way[16];
    char line[128];
    unsigned long long amount = 0;
    unsigned long long microseconds = 0;
    while (std::fgets(line, sizeof line, stdin) != nullptr) {
        if (std::sscanf(line, "%15s %15s %llu %llu", phase, way, &amount, &microseconds) < 3 || !contender->Use(way))
            GiveUp(std::string("no such phase: ") + line);
        measurement.Do(phase, way, amount, microseconds);
    }
    return 0;
}
