// Every call that the daemon makes about disks that come and go, failing once.

#include "daemon/VolumeRegistry.h"
#include "foundation/ScopedCFType.h"
#include "services/ScopedIOObject.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/sweep/Operation.h"

#include <ApplicationServices/ApplicationServices.h>
#include <cstring>

static const char kRAIDVolume[] = "disk2s3";

// What a run of hfs.util does without.
static const std::vector<std::string> kNotNeededOfHfsUtil = {"close", "fcntl", "setuid"};

class SweptDisks : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.SetToolBehaviour("hfs.util", "print ABCDEF\nexit 253\n"));
        tool.fRegistry.reset(new TVolumeRegistry);
        tool.fRegistry->SetEnabled(true);
    }

    TVolumeRegistry& Registry() { return *tool.fRegistry; }

    // An identity whose first byte is this one.
    static const UInt8* Identity(char first)
    {
        static UInt8 identity[kVolumeIDSize];
        memset(identity, 0, sizeof identity);
        identity[0] = static_cast<UInt8>(first);
        return identity;
    }

    // The records, as "disk2s3=A".
    std::string Records(std::initializer_list<const char*> names)
    {
        std::string text;
        for (const char* const name : names) {
            UInt8 identity[kVolumeIDSize];
            if (Registry().CopyVolumeIDForBSDName(name, identity))
                text += std::string(name) + "=" + static_cast<char>(identity[0]) + " ";
        }
        return text;
    }

    TOpenedDaemonTool tool;
};

TEST_F(SweptDisks, ARAIDVolumeThatCannotBeRecognisedIsNone)
{
    const TScopedIOObject medium(IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(kRAIDVolume).c_str()));
    TOperation("TVolumeRegistry::HasVolumeIDProperty",
               [&] { return Text(TVolumeRegistry::HasVolumeIDProperty(medium.Get())); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptDisks, AnIdentityThatCannotBeReadIsNotWritten)
{
    TOperation("TVolumeRegistry::ReadVolumeID",
               [] {
                   UInt8 identity[kVolumeIDSize] = {'-'};
                   const bool result = TVolumeRegistry::ReadVolumeID(kRAIDVolume, identity);
                   return Text(result) + " " + static_cast<char>(identity[0]);
               })
        .Gives("1 A")
        .GivesOnFailure("0 -")
        .GivesOnFailureOf("read", "1 A", kByCaller, 2)   // what is behind the identity is of no interest
        .DespiteFailureOf(kNotNeededOfHfsUtil)
        .Sweep();
}

TEST_F(SweptDisks, AnIdentityThatCannotBeRenewedIsReported)
{
    TOperation("TVolumeRegistry::ResetVolumeID", [] { return Text(TVolumeRegistry::ResetVolumeID(kRAIDVolume)); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf(kNotNeededOfHfsUtil)
        .DespiteFailureOf({"dup2", "pipe", "read"})   // what it prints is of no interest
        .Sweep();
}

TEST_F(SweptDisks, ADiskThatAppearsIsNotRecordedWhateverFails)
{
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    const TScopedCFType disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), kRAIDVolume));
    const auto removeRecord = [this] { Registry().RemoveRecordForBSDName(kRAIDVolume); };
    TOperation("THXDaemonTool::DiskAppeared",
               [&] {
                   tool.DiskAppeared(disk.Get());
                   return Records({kRAIDVolume}) + "recorded";
               })
        .After(removeRecord)
        .Gives("disk2s3=A recorded, left 1 block")
        .GivesOnFailure("recorded")
        .GivesOnFailureOf("read", "disk2s3=A recorded, left 1 block", kByCaller, 2)
        .DespiteFailureOf(kNotNeededOfHfsUtil)
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptDisks, ADiskThatDisappearsStaysRecordedWithoutMemoryForTheRest)
{
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    const TScopedCFType disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), kRAIDVolume));
    TOperation("THXDaemonTool::DiskDisappeared",
               [&] {
                   tool.DiskDisappeared(disk.Get());
                   return Records({kRAIDVolume, "disk9"}) + "recorded";
               })
        .After([this] {
            Registry().SetVolumeIDForBSDName(kRAIDVolume, Identity('A'));
            Registry().SetVolumeIDForBSDName("disk9", Identity('B'));
        })
        .Gives("disk9=B recorded, left 1 block")
        .GivesOnFailure("disk2s3=A disk9=B recorded")
        .Sweep();
}

TEST_F(SweptDisks, ANewcomerWithAnothersIdentityIsNotRecordedWhateverFails)
{
    const TScopedIOObject medium(IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(kRAIDVolume).c_str()));
    TOperation("TVolumeRegistry::VolumeAppeared, twice the same identity",
               [&] {
                   Registry().VolumeAppeared(kRAIDVolume, medium.Get());
                   return Records({"disk9", kRAIDVolume}) + "recorded";
               })
        .After([this] {
            Registry().RemoveRecordForBSDName(kRAIDVolume);
            UInt8 identity[kVolumeIDSize] = {};
            memcpy(identity, "ABCDEF", 6);
            Registry().SetVolumeIDForBSDName("disk9", identity);
        })
        .Gives("disk9=A disk2s3=A recorded, left 1 block")   // this tool gives the same again
        .GivesOnFailure("disk9=A recorded")
        // Of three runs, each of which is read twice, the first and the third read the identity.
        .GivesOnFailureOf("read", "disk9=A recorded", kByCaller, 1)
        .GivesOnFailureOf("read", "disk9=A recorded", kByCaller, 5)
        .DespiteFailureOf({"read"})
        .GivesOnFailureOf("pipe", "disk9=A disk2s3=A recorded, left 1 block", kByCaller, 2)
        .GivesOnFailureOf("dup2", "disk9=A disk2s3=A recorded, left 1 block", kByChild, 2)
        .DespiteFailureOf(kNotNeededOfHfsUtil)
        .Sweep();
}

TEST_F(SweptDisks, ARecordWithoutMemoryIsNotAdded)
{
    TOperation("TVolumeRegistry::SetVolumeIDForBSDName",
               [this] {
                   Registry().SetVolumeIDForBSDName(kRAIDVolume, Identity('A'));
                   return Records({kRAIDVolume}) + "recorded";
               })
        .After([this] { Registry().RemoveRecordForBSDName(kRAIDVolume); })
        .Gives("disk2s3=A recorded, left 1 block")
        .GivesOnFailure("recorded")
        .Sweep();
}

TEST_F(SweptDisks, ADiskIsNotClaimedWhateverFails)
{
    const pid_t application = StartProcess("Halvorix");
    ASSERT_EQ("", machine.SetToolBehaviour("ps", "print  " + std::to_string(application) +
                                                     "  ??  S  0:00.01 Halvorix\\x0a\n"));
    ASSERT_EQ("", machine.WriteText("front-process", std::to_string(application) + "\n"));
    const TScopedCFType session(DASessionCreate(kCFAllocatorDefault));
    const TScopedCFType disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session.Get(), "disk3"));
    // The kind of disk is told by its classes and two properties, none of which says anything of this one. Each call that
    // comes as far keeps the medium.
    fExpectedLeft = TOperation("THXDaemonTool::ClaimDiskForFrontApplication",
                               [&] {
                                   tool.ClaimDiskForFrontApplication(disk.Get());
                                   return "claim:";
                               })
                        .Showing([this] { return machine.ReadText("claims/disk3").empty() ? "none" : "made"; })
                        .After([this] { machine.Remove("claims/disk3"); })
                        .Gives("claim: made, left 1 reference")
                        .GivesOnFailure("claim: made, left 1 reference")
                        .GivesOnFailureOf("DADiskCopyIOMedia", "claim: none")
                        .GivesOnFailureOf("GetFrontProcess", "claim: none")
                        .GivesOnFailureOf("GetProcessPID", "claim: none")
                        .GivesOnFailureOf("dup2", "claim: none")
                        .GivesOnFailureOf("execv", "claim: none")
                        .GivesOnFailureOf("fork", "claim: none")
                        .GivesOnFailureOf("operator new[] nothrow", "claim: none")
                        .GivesOnFailureOf("pipe", "claim: none")
                        .GivesOnFailureOf("read", "claim: none")
                        .Sweep();
}
