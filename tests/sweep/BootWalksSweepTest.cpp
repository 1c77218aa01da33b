// Every call that the daemon makes to go over all boot helper partitions, and about boot events, failing once. What is done
// to each partition is swept in BootSweepTest.cpp; here its tools do nothing.

#include "daemon/BootEvents.h"
#include "daemon/BootHelperPartitions.h"
#include "tests/support/VersionFiles.h"
#include "tests/sweep/BootSweepTest.h"

#include <cstring>

class SweptBootWalk : public SweptBoot
{
protected:
    void SetUp() override
    {
        SweptBoot::SetUp();
        for (const char* const tool : {"newfs_hfs", "vsdbutil", "kextcache", "bless"})
            ASSERT_EQ("", machine.SetToolBehaviour(tool, "exit 0\n"));
    }

    void UnmountBoth()
    {
        for (const char* const helper : {kHelper, kSecondHelper}) {
            if (!machine.MountPath(helper).empty()) {
                ASSERT_EQ("", machine.UnmountVolume(helper));
            }
        }
    }

    static void Handle(SInt32 type)
    {
        TDriverEventRecord record = {};
        record.type = type;
        strcpy(record.bsdName, kVolume);
        HandleBootDriverEvent(nullptr, &record);
    }
};

// What a walk gives that ends before the first partition, before the second, or not.
struct TWalkResults
{
    std::string none;
    std::string one;
    std::string both;
};

static void Give(TOperation* operation, const char* function, const std::string& result,
                 std::initializer_list<unsigned> calls)
{
    for (const unsigned call : calls)
        operation->GivesOnFailureOf(function, result, kByCaller, call);
}

// The search for a volume's members: what all walks begin with, and what they do for each.
//
// strings  how many calls of CFStringGetCString come before
static void GiveForMembers(TOperation* operation, const TWalkResults& results, unsigned strings = 0)
{
    for (const char* const function : {"FSPathMakeRef", "FSGetVolumeInfo", "FSCompareFSRefs", "PBHGetVolParmsSync",
                                       "IOBSDNameMatching", "IOServiceGetMatchingService"})
        operation->GivesOnFailureOf(function, results.none);
    Give(operation, "IORegistryEntryCreateCFProperty", results.none, {1, 2});
    Give(operation, "IORegistryEntryCreateCFProperty", results.one, {3});
    Give(operation, "IORegistryEntryFromPath", results.none, {1});
    Give(operation, "IORegistryEntryFromPath", results.one, {2});
    Give(operation, "CFStringGetCString", results.none, {strings + 1, strings + 2});
}

// What is done to have owners honoured on both partitions.
//
// stillMounted       what a walk gives whose first partition cannot be unmounted
// strings, searches  how many calls of CFStringGetCString and IORegistryEntrySearchCFProperty come before
static void GiveForOwnership(TOperation* operation, const TWalkResults& results, const std::string& stillMounted,
                             unsigned strings = 0, unsigned searches = 0)
{
    GiveForMembers(operation, results, strings);
    Give(operation, "CFStringGetCString", results.one, {strings + 3, strings + 4});
    // Without its map, a member leads to no partition.
    Give(operation, "IORegistryEntrySearchCFProperty", results.none, {searches + 1});
    Give(operation, "IORegistryEntrySearchCFProperty", results.one, {searches + 2});
    // Each is mounted, its path is found, and it is unmounted.
    for (const char* const function : {"DASessionCreate", "DADiskCreateFromBSDName"}) {
        Give(operation, function, results.none, {1, 2});
        Give(operation, function, stillMounted, {3});
        Give(operation, function, results.one, {4, 5});
        Give(operation, function, results.both, {6});
    }
    Give(operation, "DADiskCopyIOMedia", results.none, {1});
    Give(operation, "DADiskCopyIOMedia", stillMounted, {2});
    Give(operation, "DADiskCopyIOMedia", results.one, {3});
    Give(operation, "DADiskCopyIOMedia", results.both, {4});
    Give(operation, "DADiskUnmount", stillMounted, {1});
    Give(operation, "DADiskUnmount", results.both, {2});
    for (const char* const function :
         {"DADiskMountWithArguments", "DADiskCopyDescription", "CFURLGetFileSystemRepresentation"}) {
        Give(operation, function, results.none, {1});
        Give(operation, function, results.one, {2});
    }
    operation->DespiteFailureOf({"IOObjectRelease", "setuid", "waitpid"});
}

TEST_F(SweptBootWalk, OwnersAreHonouredUpToThePartitionThatCannotBeReached)
{
    const TWalkResults results = {"0 vsdbutil:", "0 vsdbutil: /Volumes/Boot OSX",
                                  "1 vsdbutil: /Volumes/Boot OSX /Volumes/Boot OSX"};
    const std::string stillMounted = "1 vsdbutil: /Volumes/Boot OSX /Volumes/Boot OSX 1";
    TOperation walk("EnableOwnershipOnBootHelperPartitions",
                    [] { return Text(EnableOwnershipOnBootHelperPartitions("/")); });
    walk.Showing([this] { return NewRunsOf("vsdbutil"); }).After([this] { UnmountBoth(); }).Gives(results.both);
    GiveForOwnership(&walk, results, stillMounted);
    // A partition whose tool cannot be run counts as seen to.
    walk.GivesOnFailureOf("fork", "1 vsdbutil: /Volumes/Boot OSX")
        .GivesOnFailureOf("execv", "1 vsdbutil: /Volumes/Boot OSX")
        .RunAgainAtTheEnd()
        .Sweep();
}

TEST_F(SweptBootWalk, AtTheStartNothingReportsAFailure)
{
    const TWalkResults results = {"started vsdbutil:", "started vsdbutil: /Volumes/Boot OSX",
                                  "started vsdbutil: /Volumes/Boot OSX /Volumes/Boot OSX"};
    const std::string stillMounted = "started vsdbutil: /Volumes/Boot OSX /Volumes/Boot OSX 1";
    TOperation start("CheckBootHelperPartitionsAtStartup", [] {
        CheckBootHelperPartitionsAtStartup();
        return "started";
    });
    start.Showing([this] { return NewRunsOf("vsdbutil"); })
        .After([this] { UnmountBoth(); })
        .Gives(results.both)
        // Unless it is a RAID volume with 10.5 or later that the Mac started from.
        .GivesOnFailure(results.none)
        .DespiteFailureOf({"close"});
    Give(&start, "CFStringGetCString", results.none, {1});
    Give(&start, "IORegistryEntrySearchCFProperty", results.none, {1});
    GiveForOwnership(&start, results, stillMounted, 1, 1);
    start.GivesOnFailureOf("fork", results.one).GivesOnFailureOf("execv", results.one).RunAgainAtTheEnd().Sweep();
}

TEST_F(SweptBootWalk, PartitionsAreRebuiltUpToTheOneThatCannotBeFound)
{
    // An old system, whose partitions are only erased, and whose cache is left alone.
    InstallSystem("/", "10.4.11");
    const TWalkResults results = {"0 newfs_hfs:", "0 newfs_hfs: /dev/rdisk0s3",
                                  "1 newfs_hfs: /dev/rdisk0s3 /dev/rdisk1s3"};
    TOperation walk("UpdateBootHelperPartitions", [] { return Text(UpdateBootHelperPartitions("/")); });
    walk.Showing([this] { return NewRunsOf("newfs_hfs"); })
        .After([this] { UnmountBoth(); })
        .Gives(results.both)
        // Whatever becomes of a partition, the next one has its turn.
        .GivesOnFailure(results.both);
    GiveForMembers(&walk, results);
    // The version of the source is read between them.
    Give(&walk, "CFStringGetCString", results.one, {4, 5});
    Give(&walk, "fork", "1 newfs_hfs: /dev/rdisk1s3", {1});
    Give(&walk, "fork", "1 newfs_hfs: /dev/rdisk0s3", {3});
    walk.GivesOnFailureOf("execv", "1 newfs_hfs: /dev/rdisk1s3", kByChild, 1)
        .GivesOnFailureOf("execv", "1 newfs_hfs: /dev/rdisk0s3", kByChild, 3)
        // Without its map, a member leads to no partition: it is not itself erased.
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", results.none, kByCaller, 1)
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", results.one, kByCaller, 2)
        .RunAgainAtTheEnd()
        .Sweep();
}

TEST_F(SweptBootWalk, AnEventThatAsksForBootFilesChangesNothingWhereAnythingIsNotKnown)
{
    // One partition, which cannot be mounted, so that its rebuild ends soon.
    ASSERT_EQ("", machine.SetRefusals(kHelper, "mount busy\n"));
    plist::TValue member = plist::TValue::Dictionary();
    member.Set("IOBootDevicePath", plist::TValue::String(machine.EntryPath("disk0s4")));
    plist::TValue members = plist::TValue::Array();
    members.items = {member};
    ASSERT_EQ("", machine.SetProperty(kVolume, "IOBootDevice", members));

    TOperation event("HandleBootDriverEvent, update boot files", [] {
        Handle(kDriverEventUpdateBootFiles);
        return "handled";
    });
    event.Showing([this] { return NewRunsOf("newfs_hfs"); })
        .Gives("handled newfs_hfs: /dev/rdisk0s3")
        // The mount and the cache come behind the erasing.
        .GivesOnFailure("handled newfs_hfs: /dev/rdisk0s3");
    const std::string none = "handled newfs_hfs:";
    for (const char* const function :
         {"CFDataCreate", "CFPropertyListCreateFromXMLData", "DADiskCopyDescription", "DADiskCreateFromBSDName",
          "DASessionCreate", "CFURLGetFileSystemRepresentation", "open", "operator new[] nothrow", "stat", "fork"})
        Give(&event, function, none, {1});
    Give(&event, "read", none, {1});
    Give(&event, "CFStringGetCString", none, {1});
    GiveForMembers(&event, {none, none, none}, 1);
    event.GivesOnFailureOf("execv", none, kByChild, 1)
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", none)
        .RunAgainAtTheEnd()
        .Sweep();
}

TEST_F(SweptBootWalk, AnEventThatSelectsAVolumeSetsNothingWhereAnythingIsNotKnown)
{
    TOperation event("HandleBootDriverEvent, select boot volume", [] {
        Handle(kDriverEventSelectBootVolume);
        return "handled";
    });
    // The volume itself is blessed where the running system's version is not known.
    const std::string blessed = "handled bless: /System/Library/CoreServices";
    event.Showing([this] { return NewRunsOf("bless"); })
        .Gives("handled bless: /dev/disk0s3")
        .GivesOnFailure("handled bless:")
        .GivesOnFailureOf("CFStringGetCString", blessed, kByCaller, 1)
        .DespiteFailureOf({"IOObjectRelease", "close", "waitpid"});
    for (const char* const function :
         {"CFDataCreate", "CFPropertyListCreateFromXMLData", "open", "operator new[] nothrow", "read", "stat"})
        event.GivesOnFailureOf(function, blessed);
    event.Sweep();
}

TEST_F(SweptBootWalk, BeforeTenFiveTheVolumeItselfIsBlessedIfItsPathIsFound)
{
    InstallSystem("/", "10.4.11");
    TOperation("SelectBootVolume before 10.5",
               [] {
                   SelectBootVolume(nullptr, kVolume);
                   return "selected";
               })
        .Showing([this] { return NewRunsOf("bless"); })
        .Gives("selected bless: /System/Library/CoreServices")
        // That the version is not known makes no difference.
        .GivesOnFailure("selected bless: /System/Library/CoreServices")
        .GivesOnFailureOf("DASessionCreate", "selected bless:")
        .GivesOnFailureOf("DADiskCreateFromBSDName", "selected bless:")
        .GivesOnFailureOf("DADiskCopyDescription", "selected bless:")
        .GivesOnFailureOf("CFURLGetFileSystemRepresentation", "selected bless:")
        .GivesOnFailureOf("fork", "selected bless:")
        .GivesOnFailureOf("execv", "selected bless:")
        .Sweep();
}
