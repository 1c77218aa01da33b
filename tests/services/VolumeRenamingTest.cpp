#include "services/VolumeOperations.h"
#include "tests/services/VolumeTest.h"

#include <IOKit/IOKitLib.h>
#include <vector>

// What is left behind by renaming, by contract: the session, and a release of the medium that was not held.
class VolumeRenaming : public TVolumeTest
{
protected:
    UInt32 Rename(const char* bsdName, const char* newName)
    {
        fExpectedLeft.objects += 1;
        fExpectedLeft.overReleases += 1;
        return RenameVolume(bsdName, newName);
    }

private:
    // Sessions that were left behind, where a search for lost memory finds them.
    static std::vector<long>& KnownSessions()
    {
        static auto* const sessions = new std::vector<long>;
        return *sessions;
    }

    const TCallWatch fDisks{"DADiskCreateFromBSDName",
                            [](const TCallWatch::TArguments& arguments) { KnownSessions().push_back(arguments[1]); }};
};

TEST_F(VolumeRenaming, AMountedVolumeGetsTheName)
{
    EXPECT_EQ(1u, Rename(kMounted, "Archive"));

    EXPECT_EQ("Archive", NameOf(kMounted));
    EXPECT_EQ("/Volumes/Archive", machine.MountPath(kMounted));
}

TEST_F(VolumeRenaming, TheNameIsTakenAsUTF8)
{
    EXPECT_EQ(1u, Rename(kMounted, "\xE2\x82\xAC uro"));   // the euro sign, which has no parts

    EXPECT_EQ("\xE2\x82\xAC uro", NameOf(kMounted));
}

TEST_F(VolumeRenaming, ARefusalIsAFailureWhateverTheNameIs)
{
    ASSERT_EQ("", machine.SetRefusals(kMounted, "rename not-permitted\n"));

    EXPECT_EQ(0u, Rename(kMounted, "Archive"));
    EXPECT_EQ(0u, Rename(kMounted, "Backup"));
    EXPECT_EQ("Backup", NameOf(kMounted));
}

TEST_F(VolumeRenaming, AVolumeThatIsNotMountedIsNotRenamed)
{
    EXPECT_EQ(0u, Rename(kUnmounted, "Archive"));
    EXPECT_EQ("Boot OSX", NameOf(kUnmounted));
}

TEST_F(VolumeRenaming, TheRequestIsMadeWithDefaultOptions)
{
    TCallWatch::TArguments asked;
    const TCallWatch watch("DADiskRename", [&](const TCallWatch::TArguments& arguments) { asked = arguments; });
    Rename(kMounted, "Archive");

    ASSERT_EQ(5u, asked.size());
    EXPECT_EQ(0, asked[2]);
    EXPECT_EQ(reinterpret_cast<long>(DiskRequestDone), asked[3]);
}

TEST_F(VolumeRenaming, TheMediumIsReleasedTwiceAndTheSessionNever)
{
    std::vector<long> released;
    long session = 0;
    bool sessionReleased = false;
    {
        const TCallWatch scheduling("DASessionScheduleWithRunLoop",
                                    [&](const TCallWatch::TArguments& arguments) { session = arguments[0]; });
        const TCallWatch objects("CFRelease", [&](const TCallWatch::TArguments& arguments) {
            sessionReleased = sessionReleased || arguments[0] == session;
        });
        const TCallWatch references("IOObjectRelease",
                                    [&](const TCallWatch::TArguments& arguments) { released.push_back(arguments[0]); });
        Rename(kMounted, "Archive");
    }

    ASSERT_EQ(2u, released.size());
    EXPECT_EQ(released[0], released[1]);
    EXPECT_NE(0, session);
    EXPECT_FALSE(sessionReleased);
}

TEST_F(VolumeRenaming, TheSecondReleaseTakesTheReferenceOfWhoeverHoldsOne)
{
    const DASessionRef session = DASessionCreate(kCFAllocatorDefault);
    const DADiskRef disk = DADiskCreateFromBSDName(kCFAllocatorDefault, session, kMounted);
    const io_service_t held = DADiskCopyIOMedia(disk);
    ASSERT_NE(0u, held);
    Rename(kMounted, "Archive");

    // It is this release now that gives back what is not held.
    EXPECT_NE(KERN_SUCCESS, IOObjectRelease(held));
    CFRelease(disk);
    CFRelease(session);
}

// Unlike a mount's, its result is success until an answer says otherwise.
TEST_F(VolumeRenaming, ARunLoopThatEndsWithoutAnAnswerIsSuccess)
{
    const TFault noRequest("DADiskRename", {0, 0});
    const TFault fault("CFRunLoopRun", {0, 0});

    EXPECT_EQ(1u, Rename(kMounted, "Archive"));
    EXPECT_EQ("Backup", NameOf(kMounted));
}

TEST_F(VolumeRenaming, TheSessionIsScheduledNoLongerThanForTheRequest)
{
    const TCallWatch on("DASessionScheduleWithRunLoop");
    const TCallWatch off("DASessionUnscheduleFromRunLoop");
    Rename(kMounted, "Archive");

    EXPECT_EQ(1u, on.Calls());
    EXPECT_EQ(1u, off.Calls());
}

TEST_F(VolumeRenaming, WithoutANameNoSessionIsMade)
{
    const TCallWatch sessions("DASessionCreate");
    const TFault fault("CFStringCreateWithFileSystemRepresentation", {0, 0});

    EXPECT_EQ(0u, RenameVolume(kMounted, "Archive"));
    EXPECT_EQ(0u, sessions.Calls());
}

TEST_F(VolumeRenaming, WithoutADiskNothingIsAskedAndNoMediumReleased)
{
    const TRequests requests;
    for (const char* const step : kEarlySteps) {
        SCOPED_TRACE(step);
        fExpectedLeft.objects += step != kEarlySteps[0];   // the session, when there was one
        const TFault fault(step, {0, 0});
        EXPECT_EQ(0u, RenameVolume(kMounted, "Archive"));
        EXPECT_EQ(1u, fault.Reached());
    }
    fExpectedLeft.objects += 1;
    EXPECT_EQ(0u, RenameVolume(kMissing, "Archive"));
    EXPECT_EQ(0u, requests.All());
}
