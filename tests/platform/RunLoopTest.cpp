#include "platform/RunLoop.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// Tells when its descriptor can be read, or when it was made due.
class TTestSource final : public platform::TRunLoopSource
{
public:
    explicit TTestSource(std::function<void()> tell) : fTell(std::move(tell)), fDescriptor(eventfd(0, EFD_NONBLOCK)) {}
    ~TTestSource() { close(fDescriptor); }

    int Descriptor() const override { return fDescriptor; }
    bool IsDue() const override { return fDue; }

    void Tell() override
    {
        eventfd_t ignored = 0;
        eventfd_read(fDescriptor, &ignored);
        fDue = false;
        ++fTold;
        fTell();
    }

    void RunLoopIsGone() override { fGone = true; }

    void MakeReadable() const { eventfd_write(fDescriptor, 1); }

    bool fDue = false;
    std::atomic<int> fTold{0};
    std::atomic<bool> fGone{false};

private:
    std::function<void()> fTell;
    const int fDescriptor;
};

class RunLoop : public TMachineTest
{
protected:
    static void StopCurrent() { CFRunLoopStop(CFRunLoopGetCurrent()); }
};

TEST_F(RunLoop, AThreadHasOneAndNoOtherThreadHasIt)
{
    CFRunLoopRef other = nullptr;
    std::thread([&] { other = CFRunLoopGetCurrent(); }).join();
    EXPECT_EQ(CFRunLoopGetCurrent(), CFRunLoopGetCurrent());
    EXPECT_NE(CFRunLoopGetCurrent(), other);
}

TEST_F(RunLoop, ReturnsWhenNothingIsScheduled)
{
    CFRunLoopRun();
}

TEST_F(RunLoop, ASourceInAnotherModeDoesNotKeepItRunning)
{
    TTestSource source([] { FAIL() << "told in a mode that does not run"; });
    source.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), CFSTR("another mode"), &source);
    CFRunLoopRun();
    platform::RemoveSource(CFRunLoopGetCurrent(), &source);
}

TEST_F(RunLoop, TellsWhatIsDueAndWhatCanBeRead)
{
    TTestSource due([] {});
    TTestSource readable(StopCurrent);
    due.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &due);
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &readable);
    std::thread writer([&] { readable.MakeReadable(); });

    CFRunLoopRun();

    writer.join();
    EXPECT_EQ(1, due.fTold);
    EXPECT_EQ(1, readable.fTold);
    platform::RemoveSource(CFRunLoopGetCurrent(), &due);
    platform::RemoveSource(CFRunLoopGetCurrent(), &readable);
}

TEST_F(RunLoop, RunsOnTheCallingThreadOnly)
{
    std::thread::id told;
    TTestSource source([&] {
        told = std::this_thread::get_id();
        StopCurrent();
    });
    std::thread runner([&] {
        platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
        CFRunLoopRun();
        platform::RemoveSource(CFRunLoopGetCurrent(), &source);
    });
    const std::thread::id runnerIs = runner.get_id();
    source.MakeReadable();
    runner.join();
    EXPECT_EQ(runnerIs, told);
}

TEST_F(RunLoop, IsStoppedFromAnotherThreadWhileItWaits)
{
    std::atomic<CFRunLoopRef> loop{nullptr};
    std::atomic<bool> returned{false};
    std::thread runner([&] {
        TTestSource source([] {});
        source.fDue = true;
        platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
        loop = CFRunLoopGetCurrent();
        CFRunLoopRun();
        platform::RemoveSource(CFRunLoopGetCurrent(), &source);
        returned = true;
        EXPECT_TRUE(WaitUntil([&] { return loop == nullptr; }));
    });
    ASSERT_TRUE(WaitUntil([&] { return loop != nullptr; }));
    // Stopping it before it runs would have no effect, so until it has returned it is stopped again.
    EXPECT_TRUE(WaitUntil([&] {
        CFRunLoopStop(loop);
        return returned.load();
    }));
    loop = nullptr;
    runner.join();
}

TEST_F(RunLoop, AStopBeforeTheRunIsWithoutEffect)
{
    TTestSource source(StopCurrent);
    source.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
    StopCurrent();
    CFRunLoopRun();
    EXPECT_EQ(1, source.fTold);
    platform::RemoveSource(CFRunLoopGetCurrent(), &source);
}

TEST_F(RunLoop, AStopEndsTheInnermostRunOnly)
{
    std::vector<std::string> order;
    TTestSource last([&] {
        order.push_back("the outer goes on");
        StopCurrent();
    });
    TTestSource inner([&] {
        order.push_back("inner");
        StopCurrent();
    });
    TTestSource outer([&] {
        inner.fDue = true;
        CFRunLoopRun();
        order.push_back("back in the outer");
        last.fDue = true;
    });
    outer.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &outer);
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &inner);
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &last);

    CFRunLoopRun();

    EXPECT_EQ((std::vector<std::string>{"inner", "back in the outer", "the outer goes on"}), order);
    platform::RemoveSource(CFRunLoopGetCurrent(), &last);
    platform::RemoveSource(CFRunLoopGetCurrent(), &outer);
    platform::RemoveSource(CFRunLoopGetCurrent(), &inner);
}

TEST_F(RunLoop, ReturnsWhenItsLastSourceIsTakenAway)
{
    TTestSource* self = nullptr;
    TTestSource source([&] { platform::RemoveSource(CFRunLoopGetCurrent(), self); });
    self = &source;
    source.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
    CFRunLoopRun();
    EXPECT_EQ(1, source.fTold);
}

TEST_F(RunLoop, ReturnsWhenAnotherThreadTakesItsLastSourceAway)
{
    TTestSource source([] {});
    std::atomic<CFRunLoopRef> loop{nullptr};
    std::thread runner([&] {
        source.fDue = true;
        platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
        loop = CFRunLoopGetCurrent();
        CFRunLoopRun();
        EXPECT_TRUE(WaitUntil([&] { return loop == nullptr; }));
    });
    ASSERT_TRUE(WaitUntil([&] { return source.fTold == 1; }));
    platform::RemoveSource(loop, &source);
    loop = nullptr;
    runner.join();
}

TEST_F(RunLoop, ASourceThatWasTakenAwayIsNotToldAnyMore)
{
    TTestSource second([] {});
    TTestSource first([&] {
        platform::RemoveSource(CFRunLoopGetCurrent(), &second);
        StopCurrent();
    });
    first.fDue = second.fDue = true;
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &first);
    platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &second);
    CFRunLoopRun();
    EXPECT_EQ(0, second.fTold);
    platform::RemoveSource(CFRunLoopGetCurrent(), &first);
}

TEST_F(RunLoop, SourcesAreToldWhenTheThreadEnds)
{
    TTestSource source([] {});
    std::thread([&] { platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source); }).join();
    EXPECT_TRUE(source.fGone);
}

TEST_F(RunLoop, ASignalDoesNotEndIt)
{
    struct sigaction ignore = {};
    ignore.sa_handler = [](int) {};
    sigaction(SIGUSR1, &ignore, nullptr);
    TTestSource source(StopCurrent);
    std::atomic<bool> running{false};
    std::thread runner([&] {
        platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
        running = true;
        CFRunLoopRun();
        platform::RemoveSource(CFRunLoopGetCurrent(), &source);
    });
    ASSERT_TRUE(WaitUntil([&] { return running.load(); }));
    for (int i = 0; i < 10; ++i)
        pthread_kill(runner.native_handle(), SIGUSR1);
    EXPECT_EQ(0, source.fTold);
    source.MakeReadable();
    runner.join();
    EXPECT_EQ(1, source.fTold);
}

// The daemon's termination handler calls exit on the main thread, whatever the others do.
static std::atomic<int> gRounds{0};

// Runs after the destructors of whatever was made later, and goes on only when the threads have gone on.
static void LetThreadsGoOn()
{
    const int before = gRounds;
    if (!WaitUntil([&] { return gRounds > before + 50; }, 20))
        _exit(3);
}

static void UseEverything()
{
    for (;; ++gRounds) {
        const TScopedName driver(FirstServiceOfClass("com_halvorix_driver_Halvorix"));
        const TScoped<CFStringRef> text(MakeText("text"));
        if (driver.Get() == IO_OBJECT_NULL || CFStringGetLength(CFSTR("a constant")) != 10)
            return;
        CFRunLoopStop(CFRunLoopGetCurrent());
    }
}

static void ExitWhileThreadsUseEverything()
{
    atexit(LetThreadsGoOn);
    TTestSource source([] {});
    std::thread waiter([&] {
        platform::AddSource(CFRunLoopGetCurrent(), kCFRunLoopDefaultMode, &source);
        CFRunLoopRun();
    });
    std::thread worker(UseEverything);
    WaitUntil([] { return gRounds > 20; });
    exit(0);
}

TEST_F(RunLoop, AProcessMayExitWhileThreadsUseEverything)
{
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
        ExitWhileThreadsUseEverything();
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
}
