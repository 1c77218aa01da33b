// The checks that every test relies on, checked: each seeded fault must be seen.

#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <CoreFoundation/CoreFoundation.h>
#include <DiskArbitration/DiskArbitration.h>
#include <IOKit/IOKitLib.h>

#include <cerrno>
#include <csignal>
#include <gtest/gtest-spi.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(Checks, AnOpenDescriptorIsSeen)
{
    const THeld before = HeldByThisProcess();
    const int descriptor = dup(1);
    const THeld after = HeldByThisProcess();
    close(descriptor);

    EXPECT_EQ(before.descriptors + 1, after.descriptors);
}

TEST(Checks, AZombieIsSeen)
{
    const THeld before = HeldByThisProcess();
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    const THeld after = HeldByThisProcess();
    waitpid(child, nullptr, 0);

    EXPECT_EQ(before.children + 1, after.children);
}

TEST(Checks, ALostCoreFoundationObjectIsSeen)
{
    const THeld before = HeldByThisProcess();
    CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr);
    const THeld after = HeldByThisProcess();
    CFRelease(array);

    EXPECT_EQ(before.objects + 1, after.objects);
    EXPECT_EQ(before.objects, HeldByThisProcess().objects);
}

TEST(Checks, ALostIOKitReferenceIsSeen)
{
    const THeld before = HeldByThisProcess();
    io_iterator_t matches = 0;
    ASSERT_EQ(KERN_SUCCESS,
              IOServiceGetMatchingServices(0, IOServiceMatching("com_halvorix_driver_Halvorix"), &matches));
    const THeld after = HeldByThisProcess();
    IOObjectRelease(matches);

    EXPECT_LT(before.references, after.references);
    EXPECT_EQ(before.references, HeldByThisProcess().references);
}

TEST(Checks, AReleaseOfWhatIsNotHeldIsSeen)
{
    const THeld before = HeldByThisProcess();
    EXPECT_NE(KERN_SUCCESS, IOObjectRelease(12345));

    EXPECT_EQ(before.overReleases + 1, HeldByThisProcess().overReleases);
}

TEST(Faults, OnlyTheChosenCallsFail)
{
    struct stat info;
    const TFault fault("stat", {-1, EIO}, 2, 2);

    EXPECT_EQ(0, stat("/", &info));
    EXPECT_EQ(-1, stat("/", &info));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ(-1, stat("/", &info));
    EXPECT_EQ(0, stat("/", &info));
    EXPECT_EQ(2u, fault.Reached());
}

TEST(Faults, AFaultEndsWithItsScope)
{
    {
        const TFault fault("geteuid", {77, 0}, 1, 100);
        EXPECT_EQ(77u, geteuid());
    }
    EXPECT_EQ(0u, geteuid());
}

TEST(Faults, AWriteCanBeMadeShort)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    {
        const TShortWrites shortWrites(3, 1);
        EXPECT_EQ(3, write(ends[1], "abcdef", 6));
        EXPECT_EQ(6, write(ends[1], "abcdef", 6));
    }
    close(ends[0]);
    close(ends[1]);
}

TEST(Faults, AnAllocationThatMayFailFails)
{
    const TFault fault("operator new nothrow", {0, 0});

    const int* const none = new (std::nothrow) int;
    EXPECT_EQ(nullptr, none);
    delete none;
}

TEST(Faults, AWatchSeesTheFirstArgument)
{
    long seen = 0;
    const TCallWatch watch("kill", [&seen](const TCallWatch::TArguments& arguments) { seen = arguments[0]; });
    kill(getpid(), 0);

    EXPECT_EQ(getpid(), seen);
    EXPECT_EQ(1u, watch.Calls());
}

// Notes what geteuid answers in the callback of each disk that is there.
static void AskForUser(DADiskRef, void* context)
{
    static_cast<std::vector<uid_t>*>(context)->push_back(geteuid());
    CFRunLoopStop(CFRunLoopGetCurrent());
}

TEST(Faults, WhatACallbackOfTheRunLoopCallsFailsToo)
{
    std::vector<uid_t> users;
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    DARegisterDiskAppearedCallback(session, nullptr, AskForUser, &users);
    DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    {
        const TFault fault("geteuid", {77, 0}, 2);
        CFRunLoopRun();
        EXPECT_EQ(1u, fault.Reached());
    }
    ASSERT_LE(2u, users.size());
    EXPECT_EQ(0u, users[0]);
    EXPECT_EQ(77u, users[1]);
    CFRelease(session);
}

TEST(Faults, WhatTheRunLoopItselfCallsDoesNotCount)
{
    std::vector<uid_t> users;
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    DARegisterDiskAppearedCallback(session, nullptr, AskForUser, &users);
    DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    {
        const TCallWatch reads("read");
        const TCallWatch releases("CFRelease");
        CFRunLoopRun();
        EXPECT_EQ(0u, reads.Calls()) << "the registry's changes are read";
        EXPECT_EQ(0u, releases.Calls()) << "each disk is released";
    }
    EXPECT_LE(2u, users.size());
    CFRelease(session);
}
