#include "tests/platform/DiskRequestsTest.h"

#include <thread>
#include <unistd.h>

// When the answer to a request is told, and to whom.
class DiskAnswers : public TDiskRequestsTest
{
};

TEST_F(DiskAnswers, AnAnswerIsToldWhenTheRunLoopRunsAndNoSooner)
{
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\n"));
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ(TWords{}, fAnswers);
    EXPECT_EQ(1u, RunUntilAnswered(1).size());
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, ARequestIsCarriedOutBeforeTheSessionIsScheduled)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_TRUE(WaitUntil([&] { return !machine.MountPath("disk8s2").empty(); }));
    Schedule(session.Get());
    EXPECT_EQ((TWords{"disk8s2: done"}), RunUntilAnswered(1));
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, EachAnswerIsToldOnceInTheOrderOfTheRequests)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\nunmount not-ready\nrename not-permitted\n"));
    DADiskUnmount(disk.Get(), 0, Answered, this);
    DADiskRename(disk.Get(), CFSTR("x"), 0, Answered, this);
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ((TWords{"disk8s2: " + NameOf(kDAReturnNotReady), "disk8s2: " + NameOf(kDAReturnNotPermitted),
                      "disk8s2: " + NameOf(kDAReturnBusy)}),
              RunUntilAnswered(3));
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, NothingIsToldAfterTheRunLoopWasStopped)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\n"));
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ(1u, RunUntilAnswered(1).size());
    EXPECT_EQ(2u, RunUntilAnswered(2).size());
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, WithoutACallbackTheWorkIsDoneAndNobodyTold)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, nullptr, nullptr);
    EXPECT_TRUE(WaitUntil([&] { return !machine.MountPath("disk8s2").empty(); }));
    DADiskUnmount(disk.Get(), 0, Answered, this);
    EXPECT_EQ((TWords{"disk8s2: done"}), RunUntilAnswered(1));
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, ACallbackMayAskAgain)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    fThen = [&] {
        if (fAnswers.size() == 1)
            DADiskUnmount(disk.Get(), 0, Answered, this);
    };
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ((TWords{"disk8s2: done", "disk8s2: done"}), RunUntilAnswered(2));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, ACallbackMayRunTheRunLoopForARequestInAnotherSession)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    fThen = [&] {
        if (fAnswers.size() == 1)
            Unmount();
    };
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ((TWords{"disk8s2: done", "disk8s2: done"}), RunUntilAnswered(1));
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, ADiskThatAppearsMayBeMountedAtOnce)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    DARegisterDiskAppearedCallback(session.Get(), nullptr, MountData, this);
    Schedule(session.Get());
    CFRunLoopRun();
    Unschedule(session.Get());
    EXPECT_EQ("/Volumes/Data", machine.MountPath("disk8s2"));
}

TEST_F(DiskAnswers, ASessionMayBeUnscheduledWhileAnAnswerIsWaitedFor)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 200\n"));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    Unschedule(session.Get());
    CFRunLoopRun();
    EXPECT_EQ(TWords{}, fAnswers) << "a run loop without sources returns";

    Schedule(session.Get());
    EXPECT_EQ(1u, RunUntilAnswered(1).size());
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, ASessionMayGoWhileAnAnswerIsWaitedFor)
{
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    DADiskRef disk = DADiskCreateFromBSDName(kCFAllocatorDefault, session, "disk8s2");
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "delay 60000\n"));
    Schedule(session);
    DADiskMount(disk, nullptr, 0, Answered, this);
    CFRelease(session);
    CFRelease(disk);
    CFRunLoopRun();
    EXPECT_EQ(TWords{}, fAnswers);
}

TEST_F(DiskAnswers, ASessionMayGoInsideItsCallback)
{
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    DADiskRef disk = DADiskCreateFromBSDName(kCFAllocatorDefault, session, "disk8s2");
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\n"));
    Schedule(session);
    fThen = [&] {
        CFRelease(disk);
        CFRelease(session);
    };
    DADiskMount(disk, nullptr, 0, Answered, this);
    EXPECT_EQ(1u, RunUntilAnswered(1).size());
}

TEST_F(DiskAnswers, AThreadMayEndWhileAnAnswerIsWaitedFor)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 100\n"));
    std::thread([&] {
        Schedule(session.Get());
        DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    }).join();
    EXPECT_EQ(TWords{}, fAnswers);

    Schedule(session.Get());
    EXPECT_EQ(1u, RunUntilAnswered(1).size());
    Unschedule(session.Get());
}

TEST_F(DiskAnswers, DescriptorsAreHeldWhileASessionIsScheduledAlone)
{
    const int before = HeldByThisProcess().descriptors;
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 100\n"));
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ(before, HeldByThisProcess().descriptors);
    Schedule(session.Get());
    EXPECT_LT(before, HeldByThisProcess().descriptors);
    Unschedule(session.Get());
    EXPECT_EQ(before, HeldByThisProcess().descriptors);
}

TEST_F(DiskAnswers, NoRequestAndNoReplyIsLeftInTheFolder)
{
    EXPECT_EQ("disk8s2: done", Mount());
    EXPECT_EQ("disk8s2: done", Unmount());
    EXPECT_EQ(0, rename("/machine/requests", "/machine/requests-before"));
    EXPECT_EQ(0, rmdir("/machine/requests-before")) << "not empty";
    EXPECT_EQ(0, rmdir("/machine/replies")) << "not empty";
}

TEST_F(DiskAnswers, AMachineThatCannotBeAskedDissents)
{
    ASSERT_EQ(0, rename("/machine/requests", "/machine/requests-gone"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnError), Mount());
    ASSERT_EQ(0, rename("/machine/requests-gone", "/machine/requests"));
    // Init holds the lock of the file that was there.
    ASSERT_EQ("", machine.WriteText("init.lock", ""));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnError), Mount()) << "it does not run";
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}
