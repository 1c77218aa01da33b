#include "services/VolumeOperations.h"

#include "tests/services/VolumeTest.h"

#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

class VolumeOperations : public TVolumeTest
{
};

TEST_F(VolumeOperations, ABrowsableVolumeIsMountedWithoutArguments)
{
    const TRequests requests;
    EXPECT_EQ(1u, MountVolume(kUnmounted, 1));

    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath(kUnmounted));
    EXPECT_EQ(std::vector<std::string>{}, MountOptions(kUnmounted));
    EXPECT_EQ(1u, requests.All());
}

TEST_F(VolumeOperations, AVolumeThatIsNotToBeBrowsedIsMountedWithPermAndNobrowse)
{
    const TRequests requests;
    EXPECT_EQ(1u, MountVolume(kUnmounted, 0));

    EXPECT_EQ("/Volumes/Boot OSX", machine.MountPath(kUnmounted));
    EXPECT_EQ((std::vector<std::string>{"perm", "nobrowse"}), MountOptions(kUnmounted));
    EXPECT_EQ(1u, requests.All());
}

TEST_F(VolumeOperations, AnythingButZeroIsBrowsable)
{
    EXPECT_EQ(1u, MountVolume(kUnmounted, 2));
    EXPECT_EQ(std::vector<std::string>{}, MountOptions(kUnmounted));
}

TEST_F(VolumeOperations, MountsAreAskedForAtTheDefaultPlaceWithDefaultOptions)
{
    TCallWatch::TArguments plain;
    TCallWatch::TArguments hidden;
    const TCallWatch plainWatch("DADiskMount", [&](const TCallWatch::TArguments& arguments) { plain = arguments; });
    const TCallWatch hiddenWatch("DADiskMountWithArguments",
                                 [&](const TCallWatch::TArguments& arguments) { hidden = arguments; });
    MountVolume(kUnmounted, 1);
    MountVolume(kUnmounted, 0);

    for (const TCallWatch::TArguments& arguments : {plain, hidden}) {
        ASSERT_LE(5u, arguments.size());
        EXPECT_EQ(0, arguments[1]);
        EXPECT_EQ(0, arguments[2]);
        EXPECT_EQ(reinterpret_cast<long>(DiskRequestDone), arguments[3]);
    }
}

TEST_F(VolumeOperations, AVolumeIsUnmounted)
{
    EXPECT_EQ(1u, UnmountVolume(kMounted, 0));
    EXPECT_FALSE(IsMounted(kMounted));
}

TEST_F(VolumeOperations, OnlyByForceAVolumeWhoseFilesAreOpenIsUnmounted)
{
    const int file = open("/Volumes/Backup", O_RDONLY | O_CLOEXEC);
    ASSERT_NE(-1, file);
    EXPECT_EQ(0u, UnmountVolume(kMounted, 0));
    EXPECT_TRUE(IsMounted(kMounted));

    EXPECT_EQ(1u, UnmountVolume(kMounted, 1));
    EXPECT_FALSE(IsMounted(kMounted));
    close(file);
}

TEST_F(VolumeOperations, ForceIsTheOption0x80000)
{
    std::vector<long> options;
    const TCallWatch watch("DADiskUnmount", [&](const TCallWatch::TArguments& arguments) {
        options.push_back(arguments[1]);
        EXPECT_EQ(reinterpret_cast<long>(DiskRequestDone), arguments[2]);
    });
    UnmountVolume(kMounted, 0);
    UnmountVolume(kMounted, 1);
    UnmountVolume(kMounted, 2);

    EXPECT_EQ((std::vector<long>{0, 0x80000, 0x80000}), options);
}

TEST_F(VolumeOperations, WhatDoesNotConcernARequestIsNotLookedAt)
{
    EXPECT_EQ(1u, MountOrUnmountVolume(kUnmounted, 1, 0, 1));
    EXPECT_EQ((std::vector<std::string>{"perm", "nobrowse"}), MountOptions(kUnmounted));

    long options = -1;
    const TCallWatch watch("DADiskUnmount", [&](const TCallWatch::TArguments& arguments) { options = arguments[1]; });
    EXPECT_EQ(1u, MountOrUnmountVolume(kUnmounted, 0, 1, 0));
    EXPECT_EQ(0, options);
    EXPECT_FALSE(IsMounted(kUnmounted));
}

TEST_F(VolumeOperations, MountingWhatIsMountedIsSuccessThoughItIsRefused)
{
    EXPECT_EQ(1u, MountVolume(kMounted, 0));
    ASSERT_EQ("", machine.SetRefusals(kMounted, "mount not-permitted\n"));
    EXPECT_EQ(1u, MountVolume(kMounted, 0));
    EXPECT_EQ(1u, MountVolume(kMounted, 1));
}

TEST_F(VolumeOperations, MountingThatIsRefusedIsAFailure)
{
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "mount not-permitted\n"));

    EXPECT_EQ(0u, MountVolume(kUnmounted, 0));
    EXPECT_EQ(0u, MountVolume(kUnmounted, 1));
    EXPECT_FALSE(IsMounted(kUnmounted));
}

TEST_F(VolumeOperations, UnmountingWhatIsNotMountedIsSuccessThoughItIsRefused)
{
    EXPECT_EQ(1u, UnmountVolume(kUnmounted, 0));
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "unmount busy\n"));
    EXPECT_EQ(1u, UnmountVolume(kUnmounted, 1));
}

TEST_F(VolumeOperations, UnmountingThatIsRefusedIsAFailure)
{
    ASSERT_EQ("", machine.SetRefusals(kMounted, "unmount busy\n"));

    EXPECT_EQ(0u, UnmountVolume(kMounted, 0));
    EXPECT_TRUE(IsMounted(kMounted));
}

TEST_F(VolumeOperations, ADiskThatDoesNotExistIsNotMountedAndSoUnmounted)
{
    const TRequests requests;

    EXPECT_EQ(0u, MountVolume(kMissing, 0));
    EXPECT_EQ(1u, UnmountVolume(kMissing, 0));
    EXPECT_EQ(0u, requests.All());
}

TEST_F(VolumeOperations, WhicheverStepFailsTheVolumeIsLookedAtAndNothingIsAsked)
{
    const TRequests requests;
    const TCallWatch scheduled("DASessionScheduleWithRunLoop");
    for (const char* const step : kEarlySteps) {
        SCOPED_TRACE(step);
        for (const char* const disk : {kMounted, kUnmounted}) {
            const bool mounted = disk == kMounted;
            {
                const TFault fault(step, {0, 0});
                EXPECT_EQ(mounted, MountVolume(disk, 0));
                EXPECT_EQ(1u, fault.Reached());
            }
            const TFault fault(step, {0, 0});
            EXPECT_EQ(!mounted, UnmountVolume(disk, 0));
            EXPECT_EQ(1u, fault.Reached());
        }
    }
    EXPECT_EQ(0u, requests.All());
    EXPECT_EQ(0u, scheduled.Calls());
}

TEST_F(VolumeOperations, WhatCannotBeLookedAtEitherCountsAsNotMounted)
{
    const TFault fault("DASessionCreate", {0, 0}, 1, 100);

    EXPECT_EQ(0u, MountVolume(kMounted, 0));
    EXPECT_EQ(1u, UnmountVolume(kMounted, 0));
    EXPECT_EQ(4u, fault.Reached());
}

// Whoever else stops the run loop leaves a request without an answer.
TEST_F(VolumeOperations, ARunLoopThatEndsWithoutAnAnswerIsNoSuccessOfItsOwn)
{
    const TFault noRequest("DADiskUnmount", {0, 0});
    const TFault fault("CFRunLoopRun", {0, 0});

    EXPECT_EQ(0u, UnmountVolume(kMounted, 0));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(IsMounted(kMounted));
}

TEST_F(VolumeOperations, TheSessionIsScheduledInTheDefaultModeAndNoLonger)
{
    std::vector<std::string> order;
    const long runLoop = reinterpret_cast<long>(CFRunLoopGetCurrent());
    const long mode = reinterpret_cast<long>(kCFRunLoopDefaultMode);
    const auto note = [&](const char* what) {
        return [&, what](const TCallWatch::TArguments& arguments) {
            EXPECT_EQ(runLoop, arguments[1]);
            EXPECT_EQ(mode, arguments[2]);
            order.emplace_back(what);
        };
    };
    const TCallWatch on("DASessionScheduleWithRunLoop", note("on"));
    const TCallWatch off("DASessionUnscheduleFromRunLoop", note("off"));
    const TCallWatch run("CFRunLoopRun", [&](const TCallWatch::TArguments&) { order.emplace_back("run"); });
    MountVolume(kUnmounted, 0);
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "unmount busy\n"));
    UnmountVolume(kUnmounted, 0);

    EXPECT_EQ((std::vector<std::string>{"on", "run", "off", "on", "run", "off"}), order);
}

TEST_F(VolumeOperations, AnAnswerThatTakesItsTimeIsWaitedFor)
{
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "delay 300\n"));
    EXPECT_EQ(1u, MountVolume(kUnmounted, 0));
    EXPECT_TRUE(IsMounted(kUnmounted));

    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "delay 300\nunmount busy\n"));
    EXPECT_EQ(0u, UnmountVolume(kUnmounted, 0));
}

static void CountDisk(DADiskRef, void* context)
{
    ++*static_cast<int*>(context);
}

TEST_F(VolumeOperations, WhatElseIsScheduledOnTheRunLoopIsServedMeanwhile)
{
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "delay 300\n"));
    int disks = 0;
    const DASessionRef other = DASessionCreate(kCFAllocatorDefault);
    DARegisterDiskAppearedCallback(other, nullptr, CountDisk, &disks);
    DASessionScheduleWithRunLoop(other, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    EXPECT_EQ(1u, MountVolume(kUnmounted, 0));
    DASessionUnscheduleFromRunLoop(other, CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    CFRelease(other);

    EXPECT_LT(0, disks);
}

TEST_F(VolumeOperations, ThreadsDoNotDisturbEachOther)
{
    ASSERT_EQ("", machine.SetRefusals(kUnmounted, "delay 100\n"));
    UInt32 mounted = 77;
    std::thread other([&] { mounted = MountVolume(kUnmounted, 0); });
    const UInt32 unmounted = UnmountVolume(kMounted, 0);
    other.join();

    EXPECT_EQ(1u, mounted);
    EXPECT_EQ(1u, unmounted);
    EXPECT_TRUE(IsMounted(kUnmounted));
    EXPECT_FALSE(IsMounted(kMounted));
}

TEST_F(VolumeOperations, TheAnswerIsOneNumberOf32Bits)
{
    const DADissenterRef dissenter = DADissenterCreate(kCFAllocatorDefault, kDAReturnBusy, nullptr);
    UInt32 status[3] = {77, 77, 77};
    DiskRequestDone(nullptr, nullptr, &status[1]);
    EXPECT_EQ(1u, status[1]);
    DiskRequestDone(nullptr, dissenter, &status[1]);
    EXPECT_EQ(0u, status[1]);
    CFRelease(dissenter);

    EXPECT_EQ(77u, status[0]);
    EXPECT_EQ(77u, status[2]);
}
