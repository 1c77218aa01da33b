#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <thread>
#include <unistd.h>

using TWords = std::vector<std::string>;

// A machine with a volume "Data" on disk8s2 that is not mounted.
class DiskRequests : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddMedium("disk8", "", 1000000, true));
        ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 512000, false));
        ASSERT_EQ("", machine.AddVolume("disk8s2", "Data"));
    }

    void Schedule(DASessionRef session) const
    {
        DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    void Unschedule(DASessionRef session) const
    {
        DASessionUnscheduleFromRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    static std::string NameOf(DAReturn status)
    {
        return "dissent " + std::to_string(static_cast<UInt32>(status) - 0xF8DA0000u);
    }

    // Notes the answer, does what the test wants next, and stops the run loop when that is all.
    static void Answered(DADiskRef disk, DADissenterRef dissenter, void* context)
    {
        auto* const test = static_cast<DiskRequests*>(context);
        const char* const name = DADiskGetBSDName(disk);
        const std::string what = dissenter == nullptr ? "done" : NameOf(DADissenterGetStatus(dissenter));
        test->fAnswers.push_back((name != nullptr ? name : "no name") + std::string(": ") + what);
        if (test->fThen)
            test->fThen();
        if (test->fAnswers.size() >= test->fWanted)
            CFRunLoopStop(CFRunLoopGetCurrent());
    }

    // Runs the run loop until so many answers came in all.
    const TWords& RunUntilAnswered(size_t count)
    {
        fWanted = count;
        if (fAnswers.size() < count)
            CFRunLoopRun();
        return fAnswers;
    }

    using TAsk = std::function<void(DADiskRef)>;

    // Asks about the disk of that name in a session of its own, and returns the answer.
    std::string AnswerTo(const char* name, const TAsk& ask)
    {
        const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
        const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), name));
        Schedule(session.Get());
        ask(disk.Get());
        const TWords& answers = RunUntilAnswered(fAnswers.size() + 1);
        Unschedule(session.Get());
        return answers.back();
    }

    std::string Mount(const char* name = "disk8s2")
    {
        return AnswerTo(name, [this](DADiskRef disk) { DADiskMount(disk, nullptr, 0, Answered, this); });
    }

    std::string Unmount(DADiskUnmountOptions options = kDADiskUnmountOptionDefault, const char* name = "disk8s2")
    {
        return AnswerTo(name, [&](DADiskRef disk) { DADiskUnmount(disk, options, Answered, this); });
    }

    std::string Rename(const std::string& text, const char* name = "disk8s2")
    {
        const TScoped<CFStringRef> owned(MakeText(text));
        return AnswerTo(
            name, [&](DADiskRef disk) { DADiskRename(disk, owned.Get(), kDADiskRenameOptionDefault, Answered, this); });
    }

    std::string MountWith(const std::vector<CFStringRef>& arguments)
    {
        std::vector<CFStringRef> list = arguments;
        list.push_back(nullptr);
        return AnswerTo("disk8s2", [&](DADiskRef disk) {
            DADiskMountWithArguments(disk, nullptr, 0, Answered, this, list.data());
        });
    }

    TWords Options() const
    {
        for (const lab::TMount& mount : machine.Mounts()) {
            if (mount.bsdName == "disk8s2")
                return mount.options;
        }
        return {"not mounted"};
    }

    // Mounts disk8s2 as soon as it appears, on a run loop inside the callback.
    static void MountData(DADiskRef disk, void* context)
    {
        if (DADiskGetBSDName(disk) != std::string("disk8s2"))
            return;
        EXPECT_EQ("disk8s2: done", static_cast<DiskRequests*>(context)->Mount());
        CFRunLoopStop(CFRunLoopGetCurrent());
    }

    TWords fAnswers;
    size_t fWanted = 1;
    std::function<void()> fThen;
};

TEST_F(DiskRequests, AVolumeIsMountedAtItsStandardPlace)
{
    EXPECT_EQ("disk8s2: done", Mount());
    EXPECT_EQ("/Volumes/Data", machine.MountPath("disk8s2"));
    EXPECT_EQ(TWords{}, Options());
}

TEST_F(DiskRequests, ArgumentsBecomeOptionsOfTheMount)
{
    EXPECT_EQ("disk8s2: done", MountWith({CFSTR("perm"), CFSTR("nobrowse")}));
    EXPECT_EQ((TWords{"perm", "nobrowse"}), Options());
}

TEST_F(DiskRequests, OneArgumentMayHoldSeveralOptions)
{
    EXPECT_EQ("disk8s2: done", MountWith({CFSTR("perm,rdonly"), CFSTR(""), CFSTR("nobrowse,")}));
    EXPECT_EQ((TWords{"perm", "rdonly", "nobrowse"}), Options());
}

TEST_F(DiskRequests, AnArgumentWithALineFeedIsRefusedAndNothingIsMounted)
{
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBadArgument), MountWith({CFSTR("perm\nforce")}));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, WhatIsMountedAlreadyIsBusy)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Mount());
}

TEST_F(DiskRequests, ADiskWithoutFileSystemCannotBeMounted)
{
    EXPECT_EQ("disk8: " + NameOf(kDAReturnUnsupported), Mount("disk8"));
}

TEST_F(DiskRequests, ADiskThatIsNotThereIsNotFound)
{
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Mount("disk77"));
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Unmount(0, "disk77"));
    EXPECT_EQ("disk77: " + NameOf(kDAReturnNotFound), Rename("New", "disk77"));
}

TEST_F(DiskRequests, ADiskThatWasSwappedIsAskedForByItsName)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    ASSERT_EQ("", machine.RemoveMedium("disk8s2"));
    ASSERT_EQ("", machine.AddMedium("disk8s2", "disk8", 99, false));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_EQ("disk8s2: done", RunUntilAnswered(1).back());
    Unschedule(session.Get());
}

TEST_F(DiskRequests, APathAndOptionsThatAreNotKnownAreRefused)
{
    const TScoped<CFURLRef> path(
        CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>("/tmp"), 4, true));
    const std::string refused = "disk8s2: " + NameOf(kDAReturnUnsupported);
    EXPECT_EQ(refused, AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskMount(disk, path.Get(), 0, Answered, this); }));
    EXPECT_EQ(refused, AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskMount(disk, nullptr, 1, Answered, this); }));
    EXPECT_EQ(refused, Unmount(1));
    EXPECT_EQ(refused,
              AnswerTo("disk8s2", [&](DADiskRef disk) { DADiskRename(disk, CFSTR("New"), 1, Answered, this); }));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, AMountedVolumeIsUnmounted)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: done", Unmount());
    EXPECT_EQ("", machine.MountPath("disk8s2"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotMounted), Unmount());
}

TEST_F(DiskRequests, AVolumeWithOpenFilesIsUnmountedByForceAlone)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    std::ofstream file("/Volumes/Data/open");
    ASSERT_TRUE(file.is_open());
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Unmount());
    EXPECT_NE("", machine.MountPath("disk8s2"));
    EXPECT_EQ("disk8s2: done", Unmount(kDADiskUnmountOptionForce));
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, AMountedVolumeIsRenamed)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    EXPECT_EQ("disk8s2: done", Rename("Other"));
    EXPECT_EQ("/Volumes/Other", machine.MountPath("disk8s2"));
    EXPECT_EQ("Other", machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, ANameMayHoldAnyCharacter)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    const std::string name = "Tr\xC3\xA4ume\\x41 & \"more\"";
    EXPECT_EQ("disk8s2: done", Rename(name));
    EXPECT_EQ(name, machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, WhatIsNotMountedCannotBeRenamed)
{
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotMounted), Rename("Other"));
    EXPECT_EQ("Data", machine.Volume("disk8s2").Find("Name")->text);
}

TEST_F(DiskRequests, AMachineMayRefuseWithEveryStatus)
{
    const TWords reasons = {"error",          "busy",      "bad-argument", "exclusive-access",
                            "no-resources",   "not-found", "not-mounted",  "not-permitted",
                            "not-privileged", "not-ready", "not-writable", "unsupported"};
    for (size_t i = 0; i < reasons.size(); ++i) {
        ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount " + reasons[i] + "\n"));
        EXPECT_EQ("disk8s2: dissent " + std::to_string(i + 1), Mount()) << reasons[i];
    }
    EXPECT_EQ("", machine.MountPath("disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", ""));
    EXPECT_EQ("disk8s2: done", Mount());
}

TEST_F(DiskRequests, ARefusalIsOfOneKindOfRequest)
{
    ASSERT_EQ("", machine.MountVolume("disk8s2"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "rename not-permitted\n"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotPermitted), Rename("Other"));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "unmount not-ready\n"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnNotReady), Unmount());
    EXPECT_EQ("disk8s2: done", Rename("Other"));
    EXPECT_EQ("/Volumes/Other", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, ADelayPutsOffTheAnswerAndNotTheWork)
{
    using TClock = std::chrono::steady_clock;
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "delay 700\n"));
    const TClock::time_point start = TClock::now();
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    Schedule(session.Get());
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_TRUE(WaitUntil([&] { return !machine.MountPath("disk8s2").empty(); }));
    EXPECT_EQ("disk8s2: done", RunUntilAnswered(1).back());
    EXPECT_LE(std::chrono::milliseconds(700), TClock::now() - start);
    Unschedule(session.Get());
}

TEST_F(DiskRequests, ARefusalMayComeLate)
{
    using TClock = std::chrono::steady_clock;
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 300\n"));
    const TClock::time_point start = TClock::now();
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnBusy), Mount());
    EXPECT_LE(std::chrono::milliseconds(300), TClock::now() - start);
}

TEST_F(DiskRequests, AShortDelayIsOverBeforeALongOne)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 1000, true));
    ASSERT_EQ("", machine.SetRefusals("disk8s2", "mount busy\ndelay 1500\n"));
    ASSERT_EQ("", machine.SetRefusals("disk9", "mount busy\ndelay 100\n"));
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> slow(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    const TScoped<DADiskRef> quick(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk9"));
    Schedule(session.Get());
    DADiskMount(slow.Get(), nullptr, 0, Answered, this);
    DADiskMount(quick.Get(), nullptr, 0, Answered, this);
    const std::string busy = NameOf(kDAReturnBusy);
    EXPECT_EQ((TWords{"disk9: " + busy, "disk8s2: " + busy}), RunUntilAnswered(2));
    Unschedule(session.Get());
}

TEST_F(DiskRequests, AnAnswerIsToldWhenTheRunLoopRunsAndNoSooner)
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

TEST_F(DiskRequests, ARequestIsCarriedOutBeforeTheSessionIsScheduled)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk8s2"));
    DADiskMount(disk.Get(), nullptr, 0, Answered, this);
    EXPECT_TRUE(WaitUntil([&] { return !machine.MountPath("disk8s2").empty(); }));
    Schedule(session.Get());
    EXPECT_EQ((TWords{"disk8s2: done"}), RunUntilAnswered(1));
    Unschedule(session.Get());
}

TEST_F(DiskRequests, EachAnswerIsToldOnceInTheOrderOfTheRequests)
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

TEST_F(DiskRequests, NothingIsToldAfterTheRunLoopWasStopped)
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

TEST_F(DiskRequests, WithoutACallbackTheWorkIsDoneAndNobodyTold)
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

TEST_F(DiskRequests, ACallbackMayAskAgain)
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

TEST_F(DiskRequests, ACallbackMayRunTheRunLoopForARequestInAnotherSession)
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

TEST_F(DiskRequests, ADiskThatAppearsMayBeMountedAtOnce)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    DARegisterDiskAppearedCallback(session.Get(), nullptr, MountData, this);
    Schedule(session.Get());
    CFRunLoopRun();
    Unschedule(session.Get());
    EXPECT_EQ("/Volumes/Data", machine.MountPath("disk8s2"));
}

TEST_F(DiskRequests, ASessionMayBeUnscheduledWhileAnAnswerIsWaitedFor)
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

TEST_F(DiskRequests, ASessionMayGoWhileAnAnswerIsWaitedFor)
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

TEST_F(DiskRequests, ASessionMayGoInsideItsCallback)
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

TEST_F(DiskRequests, AThreadMayEndWhileAnAnswerIsWaitedFor)
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

TEST_F(DiskRequests, DescriptorsAreHeldWhileASessionIsScheduledAlone)
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

TEST_F(DiskRequests, NoRequestAndNoReplyIsLeftInTheFolder)
{
    EXPECT_EQ("disk8s2: done", Mount());
    EXPECT_EQ("disk8s2: done", Unmount());
    EXPECT_EQ(0, rename("/machine/requests", "/machine/requests-before"));
    EXPECT_EQ(0, rmdir("/machine/requests-before")) << "not empty";
    EXPECT_EQ(0, rmdir("/machine/replies")) << "not empty";
}

TEST_F(DiskRequests, AMachineThatCannotBeAskedDissents)
{
    ASSERT_EQ(0, rename("/machine/requests", "/machine/requests-gone"));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnError), Mount());
    ASSERT_EQ(0, rename("/machine/requests-gone", "/machine/requests"));
    // Init holds the lock of the file that was there.
    ASSERT_EQ("", machine.WriteText("init.lock", ""));
    EXPECT_EQ("disk8s2: " + NameOf(kDAReturnError), Mount()) << "it does not run";
    EXPECT_EQ("", machine.MountPath("disk8s2"));
}
