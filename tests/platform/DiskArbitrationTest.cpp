#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <DiskArbitration/DiskArbitration.h>

#include <functional>
#include <thread>

using TSeen = std::vector<std::string>;

class DiskArbitration : public TMachineTest
{
protected:
    // Replaces the registry by the media, each "IDENTIFIER CLASS NAME"; the name may be missing.
    void SetMedia(const std::vector<std::string>& media)
    {
        std::string children;
        for (const std::string& medium : media) {
            char identifier[16] = "";
            char className[64] = "";
            char name[64] = "";
            sscanf(medium.c_str(), "%15s %63s %63s", identifier, className, name);
            children += Entry(className, identifier, name, "");
        }
        ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", Entry("IORegistryEntry", "1", "", children)));
    }

    static std::string Entry(const std::string& className, const std::string& identifier, const std::string& name,
                             const std::string& children)
    {
        return "<dict><key>IOObjectClass</key><string>" + className + "</string><key>IORegistryEntryID</key><integer>" +
               identifier + "</integer>" + (name.empty() ? "" : "<key>BSD Name</key><string>" + name + "</string>") +
               "<key>IORegistryEntryChildren</key><array>" + children + "</array></dict>";
    }

    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.WriteText("registry/classes.plist",
                                        "<dict><key>IOCDMedia</key><string>IOMedia</string></dict>"));
        SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1"});
    }

    static std::string NameOf(DADiskRef disk)
    {
        const char* const name = DADiskGetBSDName(disk);
        return name != nullptr ? name : "no name";
    }

    static void Appeared(DADiskRef disk, void* context)
    {
        static_cast<DiskArbitration*>(context)->See("+" + NameOf(disk));
    }

    static void Disappeared(DADiskRef disk, void* context)
    {
        static_cast<DiskArbitration*>(context)->See("-" + NameOf(disk));
    }

    void See(const std::string& what)
    {
        fSeen.push_back(what);
        if (fThen)
            fThen();
    }

    // Registers both callbacks and schedules the session on this thread.
    void Follow(DASessionRef session)
    {
        DARegisterDiskAppearedCallback(session, nullptr, Appeared, this);
        DARegisterDiskDisappearedCallback(session, nullptr, Disappeared, this);
        DASessionScheduleWithRunLoop(session, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    // Runs the run loop until so many things were seen in all.
    const TSeen& RunUntilSeen(size_t count)
    {
        fThen = [this, count] {
            if (fSeen.size() >= count)
                CFRunLoopStop(CFRunLoopGetCurrent());
        };
        if (fSeen.size() < count)
            CFRunLoopRun();
        return fSeen;
    }

    TSeen fSeen;
    std::function<void()> fThen;
};

TEST_F(DiskArbitration, EveryDiskThatIsThereAppearsOnceInOrder)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1"}), RunUntilSeen(2));
}

TEST_F(DiskArbitration, NothingIsToldBeforeTheRunLoopRuns)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1", "4 IOMedia disk1"});
    EXPECT_EQ(TSeen{}, fSeen);
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "+disk1"}), RunUntilSeen(3));
}

TEST_F(DiskArbitration, MediaOfADerivedClassAreDisksAndOtherEntriesAreNot)
{
    SetMedia({"2 IOCDMedia disk5", "3 IOService disk6", "4 IOMedia disk7"});
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    EXPECT_EQ((TSeen{"+disk5", "+disk7"}), RunUntilSeen(2));
}

TEST_F(DiskArbitration, AMediumWithoutBSDNameIsADiskWithoutName)
{
    SetMedia({"2 IOMedia"});
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    EXPECT_EQ((TSeen{"+no name"}), RunUntilSeen(1));
}

TEST_F(DiskArbitration, DisksThatComeAndGoAreToldOnce)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);

    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1", "4 IOMedia disk1"});
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "+disk1"}), RunUntilSeen(3));
    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1"});
    EXPECT_EQ("-disk1", RunUntilSeen(4).back());
    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1", "5 IOMedia disk1"});
    EXPECT_EQ("+disk1", RunUntilSeen(5).back());
}

TEST_F(DiskArbitration, AChangeWhileTheRunLoopWaitsIsToldAtOnce)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);

    std::thread changer([&] { SetMedia({"2 IOMedia disk0"}); });
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "-disk0s1"}), RunUntilSeen(3));
    changer.join();
}

TEST_F(DiskArbitration, ADiskThatWasSwappedIsOneGoneAndOneNew)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);

    SetMedia({"2 IOMedia disk0", "9 IOMedia disk0s1"});
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "-disk0s1", "+disk0s1"}), RunUntilSeen(4));
}

TEST_F(DiskArbitration, WhatGoesIsToldBeforeWhatComesAndTheLastFirst)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);
    fSeen.clear();

    SetMedia({"8 IOMedia disk1", "9 IOMedia disk1s1"});
    EXPECT_EQ((TSeen{"-disk0s1", "-disk0", "+disk1", "+disk1s1"}), RunUntilSeen(4));
}

TEST_F(DiskArbitration, OtherChangesOfTheRegistryTellNothing)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);

    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1", "7 IOService whatever"});
    ASSERT_EQ("", machine.WriteText("registry/next-id", "100\n"));
    SetMedia({"2 IOMedia disk0", "3 IOMedia disk0s1", "8 IOMedia disk8"});
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "+disk8"}), RunUntilSeen(3));
}

TEST_F(DiskArbitration, TheMachinesOwnMediaComeAndGo)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);
    fSeen.clear();

    ASSERT_EQ("", machine.AddMedium("disk9", "", 1024, true));
    EXPECT_EQ((TSeen{"+disk9"}), RunUntilSeen(1));
    ASSERT_EQ("", machine.RemoveMedium("disk9"));
    EXPECT_EQ((TSeen{"+disk9", "-disk9"}), RunUntilSeen(2));
}

TEST_F(DiskArbitration, EachSessionIsToldOfEveryDisk)
{
    const TScoped<DASessionRef> one(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DASessionRef> other(DASessionCreate(kCFAllocatorDefault));
    Follow(one.Get());
    Follow(other.Get());
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "+disk0", "+disk0s1"}), RunUntilSeen(4));
}

TEST_F(DiskArbitration, ACallbackThatIsRegisteredLaterIsToldOfEveryDiskToo)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    RunUntilSeen(2);
    DARegisterDiskAppearedCallback(session.Get(), nullptr, Appeared, this);
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1", "+disk0", "+disk0s1"}), RunUntilSeen(4));
}

TEST_F(DiskArbitration, AnUnscheduledSessionTellsNothingAndLetsTheRunLoopReturn)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    Follow(session.Get());
    fThen = [&] { DASessionUnscheduleFromRunLoop(session.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode); };
    CFRunLoopRun();
    EXPECT_EQ((TSeen{"+disk0"}), fSeen);
}

TEST_F(DiskArbitration, ASessionMayBeReleasedInsideACallback)
{
    DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    Follow(session);
    fThen = [&] {
        if (session != nullptr)
            CFRelease(session);
        session = nullptr;
    };
    CFRunLoopRun();
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1"}), fSeen) << "what was found already is told to the end";
}

TEST_F(DiskArbitration, ADiskIsTheCallbacksUntilItReturnsUnlessItIsRetained)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    DADiskRef kept = nullptr;
    DARegisterDiskAppearedCallback(
        session.Get(), nullptr,
        [](DADiskRef disk, void* context) {
            auto* const place = static_cast<DADiskRef*>(context);
            if (*place == nullptr)
                *place = static_cast<DADiskRef>(const_cast<void*>(CFRetain(disk)));
            CFRunLoopStop(CFRunLoopGetCurrent());
        },
        &kept);
    DASessionScheduleWithRunLoop(session.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    CFRunLoopRun();

    EXPECT_STREQ("disk0", DADiskGetBSDName(kept));
    EXPECT_EQ(1, CFGetRetainCount(kept));
    EXPECT_EQ(DADiskGetTypeID(), CFGetTypeID(kept));
    CFRelease(kept);
}

TEST_F(DiskArbitration, DisksAreTheSameWhenTheirMediaAre)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    std::vector<DADiskRef> kept;
    const auto keep = [](DADiskRef disk, void* context) {
        CFRetain(disk);
        auto* const all = static_cast<std::vector<DADiskRef>*>(context);
        all->push_back(disk);
        if (all->size() == 4)
            CFRunLoopStop(CFRunLoopGetCurrent());
    };
    DARegisterDiskAppearedCallback(session.Get(), nullptr, keep, &kept);
    DARegisterDiskAppearedCallback(session.Get(), nullptr, keep, &kept);
    DASessionScheduleWithRunLoop(session.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    CFRunLoopRun();

    ASSERT_EQ(4u, kept.size());
    EXPECT_NE(kept[0], kept[1]);
    EXPECT_TRUE(CFEqual(kept[0], kept[1])) << "disk0, for each of the two callbacks";
    EXPECT_FALSE(CFEqual(kept[0], kept[2]));
    for (DADiskRef disk : kept)
        CFRelease(disk);
}

TEST_F(DiskArbitration, SomeDisksCannotBeAskedFor)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    const TScoped<CFMutableDictionaryRef> match(MakeTable());
    EXPECT_DEATH(DARegisterDiskAppearedCallback(session.Get(), match.Get(), Appeared, this), "only all disks");
}

TEST_F(DiskArbitration, ATornDownThreadLeavesNothingBehind)
{
    const TScoped<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    std::thread([&] {
        Follow(session.Get());
        RunUntilSeen(2);
    }).join();
    EXPECT_EQ((TSeen{"+disk0", "+disk0s1"}), fSeen);
}
