// The daemon at its limit of descriptors: it tries to accept without a pause, and goes on when there is one again.

#include "tests/daemon/HostileClients.h"

#include <algorithm>
#include <csignal>
#include <sys/resource.h>

// Whether a thread of the process works without ever waiting: it uses processor time, and waits for nothing meanwhile.
static bool AThreadSpins(pid_t process)
{
    static constexpr long kTicks = 30;
    std::map<std::string, TThreadUse> since = ThreadUseOf(process);
    return WaitUntil([&] {
        for (const auto& [thread, use] : ThreadUseOf(process)) {
            if (use.waits != since[thread].waits)
                since[thread] = use;
            if (use.ticks - since[thread].ticks >= kTicks)
                return true;
        }
        return false;
    });
}

// Whether all its threads come to wait: nobody is seen at work in many looks.
static bool AllThreadsWait(pid_t process)
{
    int looks = 0;
    return WaitUntil([&] {
        const std::map<std::string, TThreadUse> threads = ThreadUseOf(process);
        const bool allWait =
            std::all_of(threads.begin(), threads.end(), [](const auto& one) { return one.second.state == 'S'; });
        looks = allWait ? looks + 1 : 0;
        return looks == 20;
    });
}

class HostileClientsAtTheLimit : public THostileClientsTest
{
protected:
    // What the daemon may have open beyond what it has now.
    void Allow(rlim_t more)
    {
        struct rlimit limit;
        ASSERT_EQ(0, prlimit(Process(), RLIMIT_NOFILE, nullptr, &limit));
        limit.rlim_cur = static_cast<rlim_t>(DescriptorsOf(Process())) + more;
        ASSERT_EQ(0, prlimit(Process(), RLIMIT_NOFILE, &limit, nullptr));
    }
};

TEST_F(HostileClientsAtTheLimit, ItSpinsAndLosesNothingAndRecovers)
{
    static constexpr std::size_t kRoom = 16;
    static constexpr std::size_t kTooMany = 3;
    EXPECT_TRUE(AllThreadsWait(Process()));
    Allow(kRoom);
    std::vector<std::unique_ptr<TListener>> crowd;
    for (std::size_t client = 0; client < kRoom + kTooMany; ++client)
        crowd.push_back(std::make_unique<TListener>());
    EXPECT_TRUE(AThreadSpins(Process()));
    EXPECT_LE(ClientsTakenIn(), kRoom);
    // Asking the driver takes a descriptor here, so this may wait.
    Post(20);

    Allow(kRoom);
    EXPECT_TRUE(TakesIn(kRoom + kTooMany));
    EXPECT_TRUE(WitnessHasAll());
    EXPECT_TRUE(AllThreadsWait(Process()));
    const std::string last = Post(1);
    for (const auto& client : crowd) {
        EXPECT_TRUE(WaitUntil([&] { return client->Receive().size() >= 128; }));
        EXPECT_TRUE(WaitUntil([&] { return client->Receive().substr(client->Receive().size() - 128) == last; }));
    }
}

// The same daemon, to whom accept says without end that there is no descriptor, and everything else goes well.
class HostileClientsBeyondTheLimit : public THostileClientsTest
{
protected:
    std::vector<std::string> Command() const override { return FaultyDaemonCommand(); }
    // The first was to see whether it listens, and the second is the witness.
    std::vector<std::string> Environment() const override { return {"HALVORIX_FAULTS=accept 3 4000000000 -1 24"}; }
};

TEST_F(HostileClientsBeyondTheLimit, WhoIsConnectedGetsEveryRecordWhileItSpins)
{
    EXPECT_TRUE(AThreadSpins(Process()));
    Relay(200);
    TListener caller;
    Relay(1);

    EXPECT_EQ("", caller.Receive());
    EXPECT_EQ(0u, ClientsTakenIn());
}
