// The real daemon for as long as one likes, with everything at once: clients that come and go, some of them slow, floods of
// events, boot events, disks that come and go, tools that fail, a driver that is reloaded. Nothing may be lost, and nothing
// may grow.
//
// tests/soak/run lets it last. It is told by its environment: HALVORIX_SOAK_SECONDS, HALVORIX_SOAK_SEED,
// HALVORIX_SOAK_CHECKER, of valgrind's tools the one that runs the daemon (races/run).

#include "tests/soak/NumberedEvents.h"
#include "tests/soak/SoakClients.h"
#include "tests/soak/SoakDisks.h"
#include "tests/soak/SoakTools.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/RunningDaemonTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <unistd.h>

// What the daemon takes and holds while nothing happens.
struct TFigures
{
    THeld held;
    int threads = 0;
    long kilobytes = 0;   // resident
};

static TFigures FiguresOf(const lab::TMachine& machine, pid_t daemon)
{
    TFigures figures;
    figures.held = LeastHeldBy(machine, daemon);
    figures.threads = ThreadsOf(daemon);
    figures.kilobytes = ResidentKilobytesOf(daemon);
    return figures;
}

static std::string InWords(const TFigures& figures)
{
    return InWords(figures.held) + ", " + std::to_string(figures.threads) + " threads, " +
           std::to_string(figures.kilobytes) + " KB";
}

// What an allocator takes now and then, however long it lasts; a sanitizer and an emulator keep books of their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__powerpc__)
static constexpr long kKilobytesThatMayCome = 16384;
#else
static constexpr long kKilobytesThatMayCome = 2048;
#endif

static unsigned long NumberFromEnvironment(const char* name, unsigned long otherwise)
{
    const char* const text = getenv(name);
    return text != nullptr && *text != 0 ? strtoul(text, nullptr, 10) : otherwise;
}

// The start-up volume's boot helper partitions.
static constexpr const char* kHelpers[] = {"disk0s3", "disk1s3"};

static constexpr unsigned kChancesABatch = 150;

static constexpr const char* kChecker = "HALVORIX_SOAK_CHECKER";

class Soak : public TRunningDaemonTest
{
protected:
    using TClock = std::chrono::steady_clock;

    void SetUp() override
    {
        mayPrint = true;   // so do the tools that are made to fail
        ASSERT_NO_FATAL_FAILURE(TRunningDaemonTest::SetUp());
        ASSERT_TRUE(WaitUntil([this] { return HelpersAreUnmounted(); }));
        clients = std::make_unique<TSoakClients>(seed, random);
    }

    void TearDown() override
    {
        clients.reset();
        TRunningDaemonTest::TearDown();
    }

    // The daemon, or a checker that runs it and writes its reports where they stand when the machine is gone.
    std::vector<std::string> Command() const override
    {
        if (!IsChecked())
            return DaemonCommand();
        return {"/host/usr/bin/valgrind.bin",
                "valgrind",
                std::string("--tool=") + getenv(kChecker),
                "--default-suppressions=no",
                "--log-file=/machine/reports",
                "/usr/local/sbin/halvorixd"};
    }

    std::vector<std::string> Environment() const override
    {
        if (IsChecked())
            return {"VALGRIND_LIB=/host/usr/libexec/valgrind"};
        return {"ASAN_OPTIONS=quarantine_size_mb=0:leak_check_at_exit=0"};
    }

    static bool IsChecked() { return getenv(kChecker) != nullptr; }

    bool HelpersAreUnmounted() const
    {
        return machine.MountPath(kHelpers[0]).empty() && machine.MountPath(kHelpers[1]).empty();
    }

    bool OneIn(unsigned times) { return random() % times == 0; }

    // Posts events, most of them for clients, and lets things happen while they are fetched. Returns when everybody has them.
    void PostAndWait(bool bootEvents);
    std::vector<lab::TEvent> MakeBatch(bool bootEvents);

    // Everybody reads, and now and then something comes about that has nothing to do with it.
    void LetSomethingHappen();

    // The driver goes and comes back, everything that it had having been fetched.
    void ReloadDriver();

    // Everything once, and then quiet.
    void Round();

    // What the daemon takes and holds now that nobody but the witness is connected.
    TFigures QuietFigures();
    // How much more memory the daemon takes in the second half than in the first: of each the least, since an allocator takes
    // some now and then and gives it back.
    long KilobytesThatCame() const;
    void ExpectNothingGrew(const TFigures& before, const TFigures& after);

    // However the tools failed, the next event that asks for it has them rebuilt.
    void ExpectHelpersAreRebuilt();

    double Seconds() const { return std::chrono::duration<double>(TClock::now() - start).count(); }
    void Tell(const TFigures& before, const TFigures& after) const;

    std::mt19937 random{static_cast<std::mt19937::result_type>(NumberFromEnvironment("HALVORIX_SOAK_SEED", 4711))};
    // How long it is to last; 0: as short as it can be.
    const double seconds = static_cast<double>(NumberFromEnvironment("HALVORIX_SOAK_SECONDS", 0));
    const std::uint64_t seed = NumberFromEnvironment("HALVORIX_SOAK_SEED", 4711);
    std::unique_ptr<TSoakClients> clients;
    TSoakDisks disks{machine, random};
    TSoakTools tools{machine, random};
    std::uint64_t posted = 0;   // the number of the last event for clients
    unsigned chances = 0;       // how often something may still happen in this batch
    unsigned bootEvents = 0;
    unsigned reloads = 0;
    unsigned rounds = 0;
    double warmUpSeconds = 0;
    std::vector<long> kilobytes;   // after each round
    const TClock::time_point start = TClock::now();
};

std::vector<lab::TEvent> Soak::MakeBatch(bool withBootEvents)
{
    std::vector<lab::TEvent> batch;
    const auto size = 20 + random() % (seconds == 0 ? 100 : 600);
    for (std::size_t i = 0; i < size; ++i) {
        if (OneIn(50)) {
            batch.emplace_back();
            batch.back().type = -static_cast<std::int32_t>(1 + random() % 3);   // for nobody
            batch.back().flagGiven = true;
        }
        batch.push_back(NumberedEvent(seed, ++posted));
    }
    for (const std::int32_t type : {1, 2}) {
        if (!withBootEvents)
            break;
        lab::TEvent event;
        event.type = type;
        event.name = "disk2s3";
        event.flagGiven = true;
        batch.insert(batch.begin() + static_cast<std::ptrdiff_t>(random() % batch.size()), event);
        ++bootEvents;
    }
    return batch;
}

void Soak::LetSomethingHappen()
{
    clients->Read();
    tools.EndHanging();
    // As much for a slow machine as for a fast one.
    if (chances == 0)
        return;
    --chances;
    if (OneIn(20))
        disks.ChangeOne();
    if (OneIn(40))
        tools.LetOneFail();
    if (OneIn(40))
        clients->Come(posted);
    if (OneIn(60))
        clients->LeaveOne();
}

void Soak::PostAndWait(bool withBootEvents)
{
    const std::uint64_t before = posted;
    chances = kChancesABatch;
    ASSERT_EQ("", machine.PostEvents(MakeBatch(withBootEvents)));
    EXPECT_TRUE(WaitUntil(
        [this] {
            LetSomethingHappen();
            return HasFailure() || (machine.WaitingEvents() == 0 && clients->HaveAll(posted));
        },
        240))
        << "events of which the last is " << posted << " do not all arrive";
    // Whoever was connected before the batch was posted is taken in, at the latest, while it is fetched.
    clients->Judge(before);
}

void Soak::ReloadDriver()
{
    ASSERT_EQ(0u, machine.WaitingEvents());
    ASSERT_EQ("", machine.UnloadDriver());
    clients->Read();
    ASSERT_EQ("", machine.LoadDriver());
    ++reloads;
}

void Soak::Round()
{
    ASSERT_EQ("", machine.WriteText("driver/calls", ""));
    for (unsigned client = 0; client < 3; ++client)
        clients->Come(posted);
    ASSERT_NO_FATAL_FAILURE(PostAndWait(false));
    ASSERT_NO_FATAL_FAILURE(PostAndWait(true));

    // What tools that failed have left in the registry goes with the driver.
    tools.LetAllWork();
    ASSERT_NO_FATAL_FAILURE(ReloadDriver());
    ASSERT_NO_FATAL_FAILURE(disks.Settle());
    disks.ChangeAll();
    ASSERT_NO_FATAL_FAILURE(disks.Settle());
    ASSERT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
    ASSERT_NO_FATAL_FAILURE(disks.CompareRegistry());

    clients->LeaveAll();
    disks.DetachAll();
    ASSERT_NO_FATAL_FAILURE(disks.Settle());
    ++rounds;
}

TFigures Soak::QuietFigures()
{
    // The daemon finds out who has left when it writes.
    const std::uint64_t last = ++posted;
    EXPECT_EQ("", machine.PostEvents({NumberedEvent(seed, last)}));
    EXPECT_TRUE(WaitUntil([this, last] {
        clients->Read();
        return clients->HaveAll(last);
    }));
    return FiguresOf(machine, daemon->Process());
}

long Soak::KilobytesThatCame() const
{
    const auto middle = kilobytes.begin() + static_cast<std::ptrdiff_t>(kilobytes.size() / 2);
    return *std::min_element(middle, kilobytes.end()) - *std::min_element(kilobytes.begin(), middle);
}

void Soak::ExpectNothingGrew(const TFigures& before, const TFigures& after)
{
    EXPECT_EQ(InWords(before.held), InWords(after.held));
    EXPECT_EQ(before.threads, after.threads);
    if (!IsChecked()) {   // a checker keeps notes
        EXPECT_LE(KilobytesThatCame(), kKilobytesThatMayCome);
    }
}

void Soak::ExpectHelpersAreRebuilt()
{
    const std::string filledLast = "/com.apple.boot.S/System/Library/Extensions.mkext";
    for (const char* const helper : kHelpers)
        unlink((machine.VolumeFiles(helper) + filledLast).c_str());
    lab::TEvent event;
    event.type = 1;
    event.name = "disk2s3";
    ASSERT_EQ("", machine.PostEvents({event}));
    for (const char* const helper : kHelpers) {
        EXPECT_TRUE(
            WaitUntil([&] { return access((machine.VolumeFiles(helper) + filledLast).c_str(), F_OK) == 0; }, 120))
            << helper;
    }
    EXPECT_TRUE(WaitUntil([this] { return HelpersAreUnmounted() && ChildrenOf(daemon->Process()) == 0; }, 120));
}

void Soak::Tell(const TFigures& before, const TFigures& after) const
{
    printf("soak: seed %llu, %.0f seconds after the warm-up, %u rounds\n", static_cast<unsigned long long>(seed),
           Seconds() - warmUpSeconds, rounds);
    printf("soak: %llu events for clients, received %llu times by %llu clients, %s\n",
           static_cast<unsigned long long>(posted), static_cast<unsigned long long>(clients->RecordsReceived()),
           static_cast<unsigned long long>(clients->Came() + 1), HasFailure() ? "WITH FAULTS" : "none lost");
    printf("soak: %u boot events, %u disks came or went, %u reloads of the driver, %u tools made to fail\n", bootEvents,
           disks.Changes(), reloads, tools.Failures());
    printf("soak: before: %s\nsoak: after:  %s\n", InWords(before).c_str(), InWords(after).c_str());
    printf("soak: KB from tenth to tenth:");
    for (std::size_t tenth = 0; tenth <= 10; ++tenth)
        printf(" %ld", kilobytes[(kilobytes.size() - 1) * tenth / 10]);
    printf("; from the least of the first half to that of the second: %+ld\n", KilobytesThatCame());
}

TEST_F(Soak, AFewSecondsLoseNothing)
{
    // What is made at the first need is made by now.
    do
        ASSERT_NO_FATAL_FAILURE(Round());
    while (Seconds() < seconds / 10);
    const TFigures before = QuietFigures();
    warmUpSeconds = Seconds();
    kilobytes = {before.kilobytes};

    do {
        ASSERT_NO_FATAL_FAILURE(Round());
        kilobytes.push_back(ResidentKilobytesOf(daemon->Process()));
    } while (Seconds() < seconds && !HasFailure());
    const TFigures after = QuietFigures();
    kilobytes.push_back(after.kilobytes);

    ExpectNothingGrew(before, after);
    ASSERT_NO_FATAL_FAILURE(ExpectHelpersAreRebuilt());
    Tell(before, after);
}
