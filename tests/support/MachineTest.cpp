#include "tests/support/MachineTest.h"

#include "platform/Counts.h"
#include "tests/support/RunningDaemon.h"

#include <chrono>
#include <thread>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>

// Leaks are looked for after each test instead: at exit a child that returned into its caller would look as well.
extern "C" const char* __asan_default_options()   // NOLINT(bugprone-reserved-identifier): the sanitizer's name
{
    return "detect_leaks=1:leak_check_at_exit=0";
}

static bool MemoryIsLeaked()
{
    return __lsan_do_recoverable_leak_check() != 0;
}
#else
static bool MemoryIsLeaked()
{
    return false;
}
#endif

THeld HeldByThisProcess()
{
    const platform::TCounts counts = platform::CurrentCounts();
    THeld held;
    held.descriptors = DescriptorsOf(getpid());
    held.children = ChildrenOf(getpid());
    held.objects = counts.objects;
    held.references = counts.references;
    held.overReleases = counts.overReleases;
    return held;
}

bool WaitUntil(const std::function<bool()>& condition, double seconds)
{
    using TClock = std::chrono::steady_clock;
    const auto deadline = TClock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (TClock::now() >= deadline)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void TMachineTest::SetUp()
{
    fBefore = HeldByThisProcess();
}

void TMachineTest::TearDown()
{
    const THeld after = HeldByThisProcess();
    EXPECT_EQ(fBefore.descriptors + fExpectedLeft.descriptors, after.descriptors) << "open descriptors";
    EXPECT_EQ(fBefore.children + fExpectedLeft.children, after.children) << "children, zombies included";
    EXPECT_EQ(fBefore.objects + fExpectedLeft.objects, after.objects) << "live Core Foundation objects";
    EXPECT_EQ(fBefore.references + fExpectedLeft.references, after.references) << "live IOKit references";
    EXPECT_EQ(fBefore.overReleases + fExpectedLeft.overReleases, after.overReleases) << "releases of what was not held";
    EXPECT_FALSE(MemoryIsLeaked());
}

pid_t TMachineTest::StartProcess(const std::string& name)
{
    lab::TStart start;
    start.name = name;
    pid_t process = 0;
    EXPECT_EQ("", machine.Start(start, &process));
    return process;
}
