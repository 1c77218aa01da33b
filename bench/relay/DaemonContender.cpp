// The running daemon: records are posted to the driver's queue, from which it fetches them about once a second.

#include "bench/relay/Contender.h"

#include "bench/Daemon.h"
#include "bench/Sockets.h"
#include "lab/Machine.h"

static constexpr std::int32_t kTypeForClients = 5;
static constexpr const char* kQueueCapacity = "1000000\n";

// Where an event's body stands in a record.
static constexpr std::size_t kBodyOffset = 16;
static constexpr std::size_t kBodySize = 96;

class TDaemonContender : public TContender
{
public:
    void Start() override
    {
        fMachine.WriteText("driver/capacity", kQueueCapacity);
        StartDaemon(&fDaemon);
    }

    int Connect() override { return ConnectWhenItListens(kDaemonSocket); }
    void Post(const TRecord& record) override { PostAll({record}); }

    void PostAll(const std::vector<TRecord>& records) override
    {
        std::vector<lab::TEvent> events;
        for (const TRecord& record : records) {
            events.emplace_back();
            events.back().type = kTypeForClients;
            events.back().payload.assign(record.bytes + kBodyOffset, kBodySize);
        }
        const std::string failure = fMachine.PostEvents(events);
        if (!failure.empty())
            GiveUp(failure);
    }

    bool LooksNowAndThen() const override { return true; }
    pid_t Relay() const override { return fDaemon.Process(); }

private:
    lab::TMachine fMachine;
    TChild fDaemon;
};

std::unique_ptr<TContender> MakeDaemonContender()
{
    return std::make_unique<TDaemonContender>();
}
