#include "lab/Machine.h"

#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>

using namespace lab;

class Machine : public TMachineTest
{
};

static TEvent EventOf(std::int32_t type, const std::string& name)
{
    TEvent event;
    event.type = type;
    event.name = name;
    return event;
}

TEST_F(Machine, AnEventIsALineOf266BytesInFixedColumns)
{
    TEvent event = EventOf(3, "disk2s3");
    event.head = "\x01\x02";
    event.payload = "\xff";
    ASSERT_EQ("", machine.PostEvents({event}));

    const std::string line = machine.ReadText("driver/queue");
    ASSERT_EQ(266u, line.size());
    EXPECT_EQ("+0000000003 auto       ", line.substr(0, 23));
    EXPECT_EQ("6469736b327333" + std::string(18, '0') + " ", line.substr(23, 33));
    EXPECT_EQ("0102" + std::string(12, '0') + " ", line.substr(56, 17));
    EXPECT_EQ("ff" + std::string(190, '0') + "\n", line.substr(73));
}

TEST_F(Machine, TheWidestNumbersKeepTheLinesLength)
{
    TEvent event = EventOf(INT32_MIN, "");
    event.flagGiven = true;
    event.flag = UINT32_MAX;
    ASSERT_EQ("", machine.PostEvents({event}));

    const std::string line = machine.ReadText("driver/queue");
    EXPECT_EQ(266u, line.size());
    EXPECT_EQ("-2147483648 4294967295 ", line.substr(0, 23));
}

TEST_F(Machine, WhatWasPostedIsReadBack)
{
    TEvent event = EventOf(-1, "disk0");
    event.flagGiven = true;
    event.head = std::string("\0\x80", 2);
    event.payload = std::string(96, '\xa5');
    ASSERT_EQ("", machine.PostEvents({event}));

    const std::vector<TEvent> queue = machine.Queue();
    ASSERT_EQ(1u, queue.size());
    EXPECT_EQ(-1, queue[0].type);
    EXPECT_TRUE(queue[0].flagGiven);
    EXPECT_EQ(0u, queue[0].flag);
    EXPECT_EQ(std::string("disk0") + std::string(11, '\0'), queue[0].name);
    EXPECT_EQ(std::string("\0\x80\0\0\0\0\0\0", 8), queue[0].head);
    EXPECT_EQ(event.payload, queue[0].payload);
}

TEST_F(Machine, APartialLastLineDoesNotCountAndIsCutOffByTheNextWriter)
{
    ASSERT_EQ("", machine.PostEvents({EventOf(3, "disk0")}));
    const std::string whole = machine.ReadText("driver/queue");
    ASSERT_EQ("", AppendToFile("/machine/driver/queue", whole.substr(0, 265)));
    EXPECT_EQ(1u, machine.WaitingEvents());
    EXPECT_EQ(1u, machine.Queue().size());

    ASSERT_EQ("", machine.PostEvents({EventOf(4, "disk0")}));

    EXPECT_EQ(2u, machine.WaitingEvents());
    EXPECT_EQ(4, machine.Queue()[1].type);
}

TEST_F(Machine, FetchedEventsNoLongerWait)
{
    ASSERT_EQ("", machine.PostEvents({EventOf(3, "a"), EventOf(4, "b"), EventOf(5, "c")}));
    ASSERT_EQ("", machine.WriteText("driver/queue-head", "2\n"));

    EXPECT_EQ(1u, machine.WaitingEvents());
    ASSERT_EQ(1u, machine.Queue().size());
    EXPECT_EQ(5, machine.Queue()[0].type);
}

TEST_F(Machine, AFullQueueTakesWhatFitsAndCountsTheRestAsDropped)
{
    ASSERT_EQ("", machine.WriteText("driver/capacity", "3\n"));
    ASSERT_EQ("", machine.PostEvents({EventOf(3, "a"), EventOf(4, "b")}));

    EXPECT_EQ("the driver's queue is full: it holds 3 records, so 2 of 3 were dropped",
              machine.PostEvents({EventOf(5, "c"), EventOf(6, "d"), EventOf(7, "e")}));

    EXPECT_EQ(3u, machine.WaitingEvents());
    EXPECT_EQ(5, machine.Queue()[2].type);
    EXPECT_EQ(2u, machine.DroppedEvents());
    EXPECT_NE("", machine.PostEvents({EventOf(8, "f")}));
    EXPECT_EQ(3u, machine.DroppedEvents());
}

TEST_F(Machine, FetchedEventsMakeRoomInTheQueue)
{
    ASSERT_EQ("", machine.WriteText("driver/capacity", "1\n"));
    ASSERT_EQ("", machine.PostEvents({EventOf(3, "a")}));
    ASSERT_EQ("", machine.WriteText("driver/queue-head", "1\n"));

    EXPECT_EQ("", machine.PostEvents({EventOf(4, "b")}));
    EXPECT_EQ(1u, machine.WaitingEvents());
}

TEST_F(Machine, TextsThatAreTooLongArePostedByNobody)
{
    TEvent longHead;
    longHead.head = std::string(9, 'x');
    TEvent longPayload;
    longPayload.payload = std::string(97, 'x');
    EXPECT_EQ("an event's name has at most 16 bytes; this one has 17, so nothing was posted",
              machine.PostEvents({EventOf(3, "fits"), EventOf(3, std::string(17, 'x'))}));
    EXPECT_EQ("an event's head has at most 8 bytes; this one has 9, so nothing was posted",
              machine.PostEvents({longHead}));
    EXPECT_EQ("an event's payload has at most 96 bytes; this one has 97, so nothing was posted",
              machine.PostEvents({longPayload}));
    EXPECT_EQ(0u, machine.WaitingEvents());
    EXPECT_EQ(0u, machine.DroppedEvents());

    EXPECT_EQ("", machine.PostEvents({EventOf(3, std::string(16, 'x'))}));
}

TEST_F(Machine, ADriverThatIsNotLoadedHasNoQueue)
{
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ("the driver is not loaded, so it has no queue; load it first", machine.PostEvents({EventOf(3, "a")}));
}

TEST_F(Machine, ARecordHasItsNumbersInThisHostsOrderAndTheRestAsGiven)
{
    TEvent event = EventOf(-2, "disk2s3");
    event.head = "HEAD";
    event.payload = "PAYLOAD";

    const std::string bytes = TMachine::RecordBytes(event, 0x01020304);

    const std::uint32_t flag = 0x01020304;
    const std::int32_t type = -2;
    ASSERT_EQ(128u, bytes.size());
    EXPECT_EQ(0, std::memcmp(&bytes[0], &flag, 4));
    EXPECT_EQ(std::string("HEAD\0\0\0\0", 8), bytes.substr(4, 8));
    EXPECT_EQ(0, std::memcmp(&bytes[12], &type, 4));
    EXPECT_EQ("PAYLOAD" + std::string(89, '\0'), bytes.substr(16, 96));
    EXPECT_EQ("disk2s3" + std::string(9, '\0'), bytes.substr(112));
}

TEST_F(Machine, UnloadingTheDriverLosesItsQueueAndKeepsWhatItWasAsked)
{
    ASSERT_EQ("", machine.PostEvents({EventOf(3, "a")}));
    ASSERT_EQ("", machine.WriteText("driver/queue-head", "1\n"));
    ASSERT_EQ("", machine.WriteText("driver/calls", "1.000000 7 open\n"));

    ASSERT_EQ("", machine.UnloadDriver());

    EXPECT_FALSE(machine.DriverIsLoaded());
    EXPECT_EQ("", machine.ReadText("driver/queue"));
    EXPECT_EQ("", machine.ReadText("driver/queue-head"));
    EXPECT_EQ(1u, machine.DriverCalls().size());
    EXPECT_EQ("the driver is not loaded; load it first", machine.UnloadDriver());
}

static long long DriverIdentifier()
{
    TRegistry registry("/machine");
    const TFoundEntry driver = registry.FindClass("com_halvorix_driver_Halvorix");
    return driver.entry ? NumberOf(*driver.entry, "IORegistryEntryID") : 0;
}

TEST_F(Machine, ADriverThatReturnsIsANewEntry)
{
    EXPECT_EQ("the driver is loaded already; unload it first", machine.LoadDriver());
    const long long first = DriverIdentifier();
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ(0, DriverIdentifier());

    ASSERT_EQ("", machine.LoadDriver());

    EXPECT_TRUE(machine.DriverIsLoaded());
    EXPECT_GT(DriverIdentifier(), first);
}

static long long MediumIdentifier(const std::string& bsdName)
{
    TRegistry registry("/machine");
    const TFoundEntry medium = registry.FindMedium(bsdName);
    return medium.entry ? NumberOf(*medium.entry, "IORegistryEntryID") : 0;
}

TEST_F(Machine, TheDriversVolumesLeaveWithItAndReturnAsNewEntries)
{
    const long long first = MediumIdentifier("disk2s3");
    ASSERT_NE(0, first);
    ASSERT_EQ("", machine.UnloadDriver());
    EXPECT_EQ(0, MediumIdentifier("disk2s3"));

    ASSERT_EQ("", machine.LoadDriver());

    EXPECT_GT(MediumIdentifier("disk2s3"), first);
    EXPECT_NE(0, MediumIdentifier("disk0"));
}

TEST_F(Machine, ADriverThatWasNeverThereIsLoadedWithoutVolumes)
{
    ASSERT_EQ("", machine.UnloadDriver());
    machine.Remove("driver/unloaded.plist");

    ASSERT_EQ("", machine.LoadDriver());

    EXPECT_TRUE(machine.DriverIsLoaded());
    EXPECT_EQ(0, MediumIdentifier("disk2"));
}

TEST_F(Machine, CallsOfTheDriverAreReadLineByLine)
{
    ASSERT_EQ("",
              machine.WriteText("driver/calls",
                                "12.500000 7 open\n12.500001 7 method 18 -28800\n12.6 8 open-refused 5\n12.7 8 clo"));

    const std::vector<TDriverCall> calls = machine.DriverCalls();

    ASSERT_EQ(3u, calls.size());
    EXPECT_EQ(7, calls[0].process);
    EXPECT_DOUBLE_EQ(12.5, calls[0].seconds);
    EXPECT_EQ("open", calls[0].what);
    EXPECT_EQ("method 18 -28800", calls[1].what);
    EXPECT_EQ("open-refused 5", calls[2].what);
}

TEST_F(Machine, AMediumIsAddedAndRemovedWithWhatIsBelowIt)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 1000000, true));
    ASSERT_EQ("", machine.AddMedium("disk9s2", "disk9", 5000000000, false));

    TRegistry registry("/machine");
    const TFoundEntry whole = registry.FindMedium("disk9");
    const TFoundEntry part = registry.FindMedium("disk9s2");
    ASSERT_NE(nullptr, whole.entry);
    ASSERT_NE(nullptr, part.entry);
    EXPECT_EQ(whole.entry, part.parent);
    EXPECT_EQ("IOMedia", TextOf(*part.entry, "IOObjectClass"));
    EXPECT_TRUE(TruthOf(*whole.entry, "Whole"));
    EXPECT_FALSE(TruthOf(*whole.entry, "Leaf"));
    EXPECT_FALSE(TruthOf(*part.entry, "Whole"));
    EXPECT_TRUE(TruthOf(*part.entry, "Leaf"));
    EXPECT_EQ(5000000000, NumberOf(*part.entry, "Size"));
    EXPECT_EQ(2, NumberOf(*part.entry, "Partition ID"));
    EXPECT_EQ(9, NumberOf(*part.entry, "BSD Unit"));

    ASSERT_EQ("", machine.RemoveMedium("disk9"));
    EXPECT_EQ(0, MediumIdentifier("disk9"));
    EXPECT_EQ(0, MediumIdentifier("disk9s2"));
}

TEST_F(Machine, AnIdentifierIsNeverUsedTwice)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 1, true));
    const long long first = MediumIdentifier("disk9");
    ASSERT_EQ("", machine.RemoveMedium("disk9"));
    ASSERT_EQ("", machine.AddMedium("disk9", "", 1, true));
    EXPECT_GT(MediumIdentifier("disk9"), first);
}

TEST_F(Machine, DisksThatCannotBeAddedOrRemovedAreNamed)
{
    EXPECT_EQ("a disk has the name disk0 already", machine.AddMedium("disk0", "", 1, true));
    EXPECT_EQ("a disk needs a name, such as disk9 or disk9s2", machine.AddMedium("", "", 1, true));
    const std::string unknown = machine.RemoveMedium("disk77");
    EXPECT_EQ(0u, unknown.find("no disk has the name disk77; the machine has disk0, disk0s1, ")) << unknown;
    EXPECT_NE(std::string::npos, unknown.find(" and disk2s3")) << unknown;
    EXPECT_EQ(unknown, machine.AddMedium("disk9", "disk77", 1, false));
    EXPECT_NE("", machine.RemoveMedium(""));
}

TEST_F(Machine, ARegistryThatCannotBeReadIsSaidAndLeftAlone)
{
    ASSERT_EQ("", machine.WriteText("registry/ioreg.plist", "<plist>\n<dict>"));
    const std::string error = machine.AddMedium("disk9", "", 1, true);
    EXPECT_EQ(0u, error.find("/machine/registry/ioreg.plist is no property list: ")) << error;
    EXPECT_EQ("<plist>\n<dict>", machine.ReadText("registry/ioreg.plist"));
}

TEST_F(Machine, ARegistryWithoutANextIdentifierIsNotChanged)
{
    machine.Remove("registry/next-id");
    EXPECT_EQ("/machine/registry/next-id holds no number above 0, so no entry can be added",
              machine.AddMedium("disk9", "", 1, true));
}

TEST_F(Machine, ACommandForANativeProgramIsTheProgramItself)
{
    EXPECT_EQ((std::vector<std::string>{"/lab/bin/labctl", "/lab/bin/labctl", "a", "b c"}),
              CommandFor("/lab/bin/labctl", {"a", "b c"}));
}

TEST_F(Machine, ACommandForAPowerPCProgramIsTheEmulatorThatHasItsName)
{
    // The first 20 bytes decide: 32 bits, most significant byte first, processor 20.
    const std::string powerPC("\x7f"
                              "ELF\x01\x02\x01\0\0\0\0\0\0\0\0\0\0\x02\0\x14",
                              20);
    ASSERT_EQ("", ReplaceFile("/tmp/halvorixd", powerPC));
    EXPECT_EQ((std::vector<std::string>{"/lab/emulator/halvorixd", "halvorixd", "-0", "/tmp/halvorixd",
                                        "/tmp/halvorixd", "a"}),
              CommandFor("/tmp/halvorixd", {"a"}));

    std::string littleEndian = powerPC;
    littleEndian[5] = 1;
    ASSERT_EQ("", ReplaceFile("/tmp/halvorixd", littleEndian));
    EXPECT_EQ("/tmp/halvorixd", CommandFor("/tmp/halvorixd", {})[0]);
}
