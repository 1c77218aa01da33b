#include "tests/daemon/HfsUtilRuns.h"
#include "tests/daemon/OpenedDaemonTool.h"
#include "tests/platform/Scoped.h"
#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <ApplicationServices/ApplicationServices.h>

#include <unistd.h>

class DiskMonitor : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        alarm(120);
        tool = std::make_unique<TOpenedDaemonTool>();
        tool->fRegistry.reset(new TVolumeRegistry);
        tool->fRegistry->SetEnabled(true);
        session = std::make_unique<TScoped<DASessionRef>>(DASessionCreate(kCFAllocatorDefault));
    }

    void TearDown() override
    {
        session.reset();
        tool.reset();
        TMachineTest::TearDown();
    }

    // Hands a disk to one of the tool's callbacks.
    void Tell(void (*callback)(DADiskRef, void*), const char* bsdName)
    {
        const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, session->Get(), bsdName));
        callback(disk.Get(), tool.get());
    }

    void Appear(const char* bsdName) { Tell(THXDaemonTool::DiskAppearedCallback, bsdName); }
    void Disappear(const char* bsdName) { Tell(THXDaemonTool::DiskDisappearedCallback, bsdName); }

    std::unique_ptr<TOpenedDaemonTool> tool;
    std::unique_ptr<TScoped<DASessionRef>> session;
};

TEST_F(DiskMonitor, ADiskThatAppearsIsOfferedToTheRegistryWithItsMedium)
{
    Appear("disk2s3");
    Appear("disk0s3");

    EXPECT_TRUE(tool->fRegistry->ContainsBSDName("disk2s3"));
    EXPECT_EQ(1u, tool->fRegistry->Count());
    EXPECT_EQ((std::vector<std::string>{"-k disk2s3"}), AskedOfHfsUtil(machine));
}

TEST_F(DiskMonitor, ADiskThatDisappearsIsRemoved)
{
    Appear("disk2s3");
    Disappear("disk0s3");
    EXPECT_TRUE(tool->fRegistry->ContainsBSDName("disk2s3"));
    Disappear("disk2s3");

    EXPECT_EQ(0u, tool->fRegistry->Count());
}

TEST_F(DiskMonitor, ADiskWhoseMediumIsGoneIsPassedOverOnComingAndRemovedOnGoing)
{
    Appear("disk2s3");
    ASSERT_EQ("", machine.RemoveMedium("disk2s3"));
    Appear("disk2s3");
    EXPECT_EQ(1u, AskedOfHfsUtil(machine).size());
    Disappear("disk2s3");

    EXPECT_EQ(0u, tool->fRegistry->Count());
}

TEST_F(DiskMonitor, AMediumThatIsNotGivenIsPassedOver)
{
    const TFault fault("DADiskCopyIOMedia", {0, 0});
    Appear("disk2s3");

    EXPECT_EQ(1u, fault.Reached());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// Disks as Disk Arbitration itself tells of them, which alone knows disks without a BSD name.
class DiskMonitorSession : public DiskMonitor
{
protected:
    // Runs until disks without a name have come or gone so often in all.
    void RunUntilNameless(unsigned disks)
    {
        fWanted = disks;
        CFRunLoopRun();
    }

    void Follow()
    {
        DARegisterDiskAppearedCallback(session->Get(), nullptr, Appeared, this);
        DARegisterDiskDisappearedCallback(session->Get(), nullptr, Disappeared, this);
        DASessionScheduleWithRunLoop(session->Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    }

    static void Appeared(DADiskRef disk, void* context)
    {
        auto* const test = static_cast<DiskMonitorSession*>(context);
        THXDaemonTool::DiskAppearedCallback(disk, test->tool.get());
        test->Count(disk);
    }

    static void Disappeared(DADiskRef disk, void* context)
    {
        auto* const test = static_cast<DiskMonitorSession*>(context);
        THXDaemonTool::DiskDisappearedCallback(disk, test->tool.get());
        test->Count(disk);
    }

    void Count(DADiskRef disk)
    {
        if (DADiskGetBSDName(disk) == nullptr && ++fNameless == fWanted)
            CFRunLoopStop(CFRunLoopGetCurrent());
    }

    unsigned fNameless = 0;
    unsigned fWanted = 0;
};

TEST_F(DiskMonitorSession, ADiskWithoutABSDNameIsNeitherAddedNorRemoved)
{
    const std::string without = machine.ReadText("registry/ioreg.plist");
    ASSERT_EQ("", machine.AddEntry("Halvorix RAID Volume Media", "IOMedia", "Nameless"));
    Follow();
    RunUntilNameless(1);
    EXPECT_TRUE(tool->fRegistry->ContainsBSDName("disk2s3"));
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", without));
    RunUntilNameless(2);

    EXPECT_EQ((std::vector<std::string>{"-k disk2", "-k disk2s1", "-k disk2s3"}), AskedOfHfsUtil(machine));
    EXPECT_EQ(1u, tool->fRegistry->Count());
    DASessionUnscheduleFromRunLoop(session->Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
}

// Claiming. disk3 is an ordinary disk; the application is called Halvorix.
class DiskClaim : public DiskMonitor
{
protected:
    void PutInFront(pid_t process)
    {
        ASSERT_EQ("", machine.WriteText("front-process", std::to_string(process) + "\n"));
    }

    // How many claims the handler asked for.
    unsigned ClaimsOf(const char* bsdName)
    {
        const TCallWatch claims("DADiskClaim");
        Tell(THXDaemonTool::DiskClaimCandidateCallback, bsdName);
        return claims.Calls();
    }

    // Makes the medium one of the kind that has this in its device's properties.
    void Describe(const std::string& dictionary, const std::string& key, const std::string& text)
    {
        plist::TValue table = plist::TValue::Dictionary();
        table.Set(key, plist::TValue::String(text));
        ASSERT_EQ("", machine.SetProperty("disk3", dictionary, table));
    }
};

TEST_F(DiskClaim, AnOrdinaryDiskIsClaimedForTheApplicationInFront)
{
    PutInFront(StartProcess("Halvorix"));
    TCallWatch::TArguments asked;
    const TCallWatch claims("DADiskClaim", [&](const TCallWatch::TArguments& arguments) { asked = arguments; });
    Tell(THXDaemonTool::DiskClaimCandidateCallback, "disk3");

    ASSERT_EQ(1u, claims.Calls());
    const auto context = reinterpret_cast<long>(static_cast<THXDaemonTool*>(tool.get()));
    EXPECT_EQ(0, asked[1]);
    EXPECT_EQ(reinterpret_cast<long>(&THXDaemonTool::ClaimReleaseCallback), asked[2]);
    EXPECT_EQ(context, asked[3]);
    EXPECT_EQ(reinterpret_cast<long>(&THXDaemonTool::ClaimDoneCallback), asked[4]);
    EXPECT_EQ(context, asked[5]);
    EXPECT_EQ(std::to_string(getpid()) + "\n", machine.ReadText("claims/disk3"));
    fExpectedLeft.references = 1;   // the medium
}

TEST_F(DiskClaim, AClaimedDiskIsGivenToWhoeverAsks)
{
    PutInFront(StartProcess("Halvorix"));
    EXPECT_EQ(1u, ClaimsOf("disk3"));
    EXPECT_EQ(nullptr, THXDaemonTool::ClaimReleaseCallback(nullptr, nullptr));

    const TScoped<DASessionRef> other(DASessionCreate(kCFAllocatorDefault));
    const TScoped<DADiskRef> disk(DADiskCreateFromBSDName(kCFAllocatorDefault, other.Get(), "disk3"));
    DASessionScheduleWithRunLoop(other.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    DAReturn status = 77;
    DADiskClaim(
        disk.Get(), kDADiskClaimOptionDefault, nullptr, nullptr,
        [](DADiskRef, DADissenterRef dissenter, void* context) {
            *static_cast<DAReturn*>(context) = dissenter != nullptr ? DADissenterGetStatus(dissenter) : 0;
            CFRunLoopStop(CFRunLoopGetCurrent());
        },
        &status);
    CFRunLoopRun();
    DASessionUnscheduleFromRunLoop(other.Get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);

    EXPECT_EQ(0, status);
    fExpectedLeft.references = 1;
}

TEST_F(DiskClaim, AnOutcomeOfAClaimIsNotLookedAt)
{
    PutInFront(StartProcess("Halvorix"));
    ASSERT_EQ("", machine.SetRefusals("disk3", "claim not-privileged\n"));
    EXPECT_EQ(1u, ClaimsOf("disk3"));
    EXPECT_EQ(1u, ClaimsOf("disk3"));
    THXDaemonTool::ClaimDoneCallback(nullptr, nullptr, nullptr);

    EXPECT_TRUE(tool->fRegistry->Count() == 0 && AskedOfHfsUtil(machine).empty());
    fExpectedLeft.references = 2;   // one medium, twice
}

TEST_F(DiskClaim, WithoutTheApplicationNoDiskIsClaimed)
{
    PutInFront(StartProcess("Finder"));
    const TCallWatch fronts("GetFrontProcess");
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    EXPECT_EQ(0u, fronts.Calls());
}

TEST_F(DiskClaim, TheApplicationMustHaveItsExactName)
{
    PutInFront(StartProcess("halvorix"));
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    PutInFront(StartProcess("Halvorix2"));
    EXPECT_EQ(0u, ClaimsOf("disk3"));
}

TEST_F(DiskClaim, WithTheApplicationBehindAnotherNoDiskIsClaimed)
{
    StartProcess("Halvorix");
    PutInFront(StartProcess("Finder"));
    EXPECT_EQ(0u, ClaimsOf("disk3"));
}

TEST_F(DiskClaim, WithoutAFrontProcessNoDiskIsClaimed)
{
    const pid_t application = StartProcess("Halvorix");
    PutInFront(0);
    EXPECT_EQ(0u, ClaimsOf("disk3"));

    // Even when what the failed call leaves behind is the application.
    PutInFront(application);
    ProcessSerialNumber number = {};
    ASSERT_EQ(noErr, GetFrontProcess(&number));
    const TFault fault("GetFrontProcess", {procNotFound});
    const TCallWatch watch("GetFrontProcess", [&number](const TCallWatch::TArguments& arguments) {
        *reinterpret_cast<ProcessSerialNumber*>(arguments[0]) = number;
    });
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DiskClaim, WithoutTheFrontProcesssIDNoDiskIsClaimed)
{
    const pid_t application = StartProcess("Halvorix");
    PutInFront(application);
    const TFault fault("GetProcessPID", {procNotFound});
    const TCallWatch watch("GetProcessPID", [application](const TCallWatch::TArguments& arguments) {
        *reinterpret_cast<pid_t*>(arguments[1]) = application;
    });
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(DiskClaim, ADiskWithoutAMediumIsNotClaimed)
{
    PutInFront(StartProcess("Halvorix"));
    EXPECT_EQ(0u, ClaimsOf("disk99"));
}

TEST_F(DiskClaim, AnIPodIsNotClaimedAndItsMediumKept)
{
    PutInFront(StartProcess("Halvorix"));
    Describe("Device Characteristics", "Product Name", "iPod");
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    fExpectedLeft.references = 1;
}

TEST_F(DiskClaim, ADiskImageIsNotClaimedAndItsMediumKept)
{
    PutInFront(StartProcess("Halvorix"));
    Describe("Protocol Characteristics", "Physical Interconnect", "Virtual Interface");
    EXPECT_EQ(0u, ClaimsOf("disk3"));
    fExpectedLeft.references = 1;
}

TEST_F(DiskClaim, CDsAndDVDsAreNotClaimedAndTheirMediaKept)
{
    PutInFront(StartProcess("Halvorix"));
    for (const char* const className : {"IOCDMedia", "IODVDMedia"}) {
        plist::TValue properties = plist::TValue::Dictionary();
        properties.Set("BSD Name", plist::TValue::String(std::string("disk") + className));
        ASSERT_EQ("", machine.AddEntry("IOResources", className, className, properties));
        EXPECT_EQ(0u, ClaimsOf((std::string("disk") + className).c_str()));
    }
    fExpectedLeft.references = 2;
}

TEST_F(DiskClaim, AChildThatCannotExecutePsEndsThere)
{
    ASSERT_EQ("", machine.SetToolMissing("ps", true));
    const TReturns returns = ReturnsOf([this] {
        Tell(THXDaemonTool::DiskClaimCandidateCallback, "disk3");
        return 1;
    });

    EXPECT_EQ(1u, returns.inCaller.size());
    EXPECT_TRUE(returns.inChild.empty());
}
