#include "services/BootDevice.h"
#include "tests/support/BothSides.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// What bless prints when it is asked for the boot volume.
static std::string ListWith(const std::string& key, const std::string& value)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<plist version=\"1.0\">\n<dict>\n<key>" +
           key + "</key>\n" + value + "\n</dict>\n</plist>\n";
}

static std::string BootVolume(const std::string& device)
{
    return ListWith("Boot Volume", "<string>" + device + "</string>");
}

class BootVolumeQuestion : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever blocks for ever fails at once, and not when the whole run is given up.
        alarm(60);
    }

    void LetBlessPrint(const std::string& text, const std::string& then = "")
    {
        ASSERT_EQ("", machine.WriteText("bless-output", text));
        ASSERT_EQ("", machine.SetToolBehaviour("bless", "print-file /machine/bless-output\n" + then));
    }

    // The name that bless tells, "-" when there is none. All of the buffer behind it is cleared in either case.
    static std::string Name()
    {
        std::vector<char> name(64, '=');
        const UInt32 found = GetBootVolumeBSD_Name(name.data(), 64);
        const auto end = std::find(name.begin(), name.end(), 0);
        EXPECT_TRUE(std::all_of(end, name.end(), [](char byte) { return byte == 0; }));
        if (found == 0) {
            EXPECT_STREQ("", name.data());
            return "-";
        }
        EXPECT_EQ(1u, found);
        return name.data();
    }

    // The name that is told when bless prints this text.
    std::string NameIn(const std::string& text)
    {
        LetBlessPrint(text);
        return Name();
    }
};

TEST_F(BootVolumeQuestion, BlessIsRunOnceWithTheseArguments)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    GetBootVolumeBSD_Name(nullptr, 0);

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(1u, runs.size());
    EXPECT_EQ("/usr/sbin/bless", runs[0].path);
    EXPECT_EQ((std::vector<std::string>{"bless", "-info", "-getBoot", "-plist"}), runs[0].arguments);
}

TEST_F(BootVolumeQuestion, TheNameIsTheDeviceWithoutItsFolder)
{
    EXPECT_EQ("disk2s3", NameIn(BootVolume("/dev/disk2s3")));
}

TEST_F(BootVolumeQuestion, TheFirstFiveCharactersAreTakenForTheFolderUntested)
{
    EXPECT_EQ("fgh", NameIn(BootVolume("abcdefgh")));
    EXPECT_EQ("2s3", NameIn(BootVolume("rdisk2s3")));
}

TEST_F(BootVolumeQuestion, ADeviceThatIsNoLongerThanItsFolderHasAnEmptyName)
{
    EXPECT_EQ("", NameIn(BootVolume("/dev/")));
    EXPECT_EQ("", NameIn(BootVolume("abc")));
    EXPECT_EQ("", NameIn(BootVolume("")));
}

TEST_F(BootVolumeQuestion, WithoutABufferItIsOnlyToldWhetherThereIsABootVolume)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    EXPECT_EQ(1u, GetBootVolumeBSD_Name(nullptr, 64));
    LetBlessPrint(ListWith("Boot Device", "<string>/dev/disk2s3</string>"));
    EXPECT_EQ(0u, GetBootVolumeBSD_Name(nullptr, 64));
}

TEST_F(BootVolumeQuestion, TheNameIsCutToItsRoom)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    std::string name = "=========";

    EXPECT_EQ(1u, GetBootVolumeBSD_Name(&name[0], 6));
    EXPECT_EQ(std::string("disk2\0===", 9), name);
    EXPECT_EQ(1u, GetBootVolumeBSD_Name(&name[0], 1));
    EXPECT_EQ(std::string("\0isk2\0===", 9), name);
}

TEST_F(BootVolumeQuestion, WithoutRoomNothingIsWritten)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    char name[4] = "===";

    EXPECT_EQ(1u, GetBootVolumeBSD_Name(name, 0));
    EXPECT_STREQ("===", name);
}

TEST_F(BootVolumeQuestion, ADeviceIsTakenUpTo31Bytes)
{
    EXPECT_EQ(std::string(26, 'x'), NameIn(BootVolume("/dev/" + std::string(26, 'x'))));
    EXPECT_EQ("-", NameIn(BootVolume("/dev/" + std::string(27, 'x'))));
}

TEST_F(BootVolumeQuestion, ABootVolumeThatIsNoASCIIStringIsNone)
{
    EXPECT_EQ("-", NameIn(BootVolume("/dev/disk\xC3\xA9")));
    EXPECT_EQ("-", NameIn(ListWith("Boot Volume", "<integer>5</integer>")));
    EXPECT_EQ("-", NameIn(ListWith("Boot Volume", "<data>L2Rldi9kaXNrMnMz</data>")));
}

TEST_F(BootVolumeQuestion, WithoutTheKeyThereIsNoBootVolume)
{
    EXPECT_EQ("-", NameIn(ListWith("Boot volume", "<string>/dev/disk2s3</string>")));
}

TEST_F(BootVolumeQuestion, APropertyListThatIsNoDictionaryNamesNoBootVolume)
{
    EXPECT_EQ("-", NameIn("<plist version=\"1.0\"><array><string>Boot Volume</string></array></plist>"));
    EXPECT_EQ("-", NameIn("<plist version=\"1.0\"><string>/dev/disk2s3</string></plist>"));
}

TEST_F(BootVolumeQuestion, OutputThatIsNoPropertyListNamesNoBootVolume)
{
    EXPECT_EQ("-", NameIn(""));
    EXPECT_EQ("-", NameIn("finderinfo[0]: 24 => Blessed System Folder is /System/Library/CoreServices\n"));
}

TEST_F(BootVolumeQuestion, BlessThatDoesNotExitWith0TellsNothing)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"), "exit 0\n");
    EXPECT_EQ("disk2s3", Name());
    LetBlessPrint(BootVolume("/dev/disk2s3"), "exit 1\n");
    EXPECT_EQ("-", Name());
    LetBlessPrint(BootVolume("/dev/disk2s3"), "signal 15\n");
    EXPECT_EQ("-", Name());
}

TEST_F(BootVolumeQuestion, BlessThatCannotBeWaitedForTellsNothing)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    {
        const TFault fault("waitpid", {-1, EINTR});
        EXPECT_EQ("-", Name());
    }
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

// A list with blanks behind it.
static std::string ListOfLength(std::size_t length)
{
    const std::string list = BootVolume("/dev/disk2s3");
    return list + std::string(length - list.size(), ' ');
}

// What is printed in one piece of up to 4096 bytes stands in the pipe as a whole.
TEST_F(BootVolumeQuestion, TheFirst2048BytesAreAllThatIsLookedAt)
{
    const std::string front = "<plist version=\"1.0\"><dict><key>Boot Volume</key><string>/dev/disk2s3</string>";
    const std::string back = "</dict></plist>";

    EXPECT_EQ("disk2s3", NameIn(front + std::string(2048 - front.size() - back.size(), ' ') + back));
    EXPECT_EQ("-", NameIn(front + std::string(2049 - front.size() - back.size(), ' ') + back));
}

TEST_F(BootVolumeQuestion, WhatFollowsTheFirstPieceIsDroppedToItsEnd)
{
    LetBlessPrint(ListOfLength(2048), "fill 3000000\n");

    EXPECT_EQ("disk2s3", Name());
}

TEST_F(BootVolumeQuestion, TheFirstReadAsksFor2048Bytes)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    std::vector<long> asked;
    const TCallWatch watch("read", [&](const TCallWatch::TArguments& arguments) { asked.push_back(arguments[2]); });
    Name();

    ASSERT_GE(asked.size(), 2u) << "one read, and one at least that finds the end";
    EXPECT_EQ(2048, asked[0]);
}

TEST_F(BootVolumeQuestion, AReadThatFailsTellsNothing)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    const TFault fault("read", {-1, EIO});

    EXPECT_EQ("-", Name());
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(BootVolumeQuestion, WithoutAForkNothingIsToldAndNothingIsWaitedFor)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    const TFault fault("fork", {-1, EAGAIN});
    const TCallWatch watch("waitpid");

    EXPECT_EQ("-", Name());
    EXPECT_EQ(0u, watch.Calls());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

// bless is run all the same, and prints to where the caller prints.
TEST_F(BootVolumeQuestion, WithoutAPipeNothingIsToldAndBlessIsWaitedFor)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));
    const TFault fault("pipe", {-1, EMFILE});
    const TCallWatch watch("waitpid");

    EXPECT_EQ("-", Name());
    EXPECT_EQ(1u, watch.Calls());
    EXPECT_EQ(1u, machine.ToolRuns().size());
}

TEST_F(BootVolumeQuestion, WhenBlessCannotBeExecutedTheChildReturnsIntoTheCallersCodeToo)
{
    ASSERT_EQ("", machine.SetToolMissing("bless", true));

    const TReturns returns = ReturnsOf([] { return static_cast<long>(GetBootVolumeBSD_Name(nullptr, 0)); });
    EXPECT_EQ((std::vector<long>{0}), returns.inCaller);
    EXPECT_EQ((std::vector<long>{0}), returns.inChild);
}

TEST_F(BootVolumeQuestion, WhenBlessIsExecutedOnlyTheCallerReturns)
{
    LetBlessPrint(BootVolume("/dev/disk2s3"));

    const TReturns returns = ReturnsOf([] { return static_cast<long>(GetBootVolumeBSD_Name(nullptr, 0)); });
    EXPECT_EQ((std::vector<long>{1}), returns.inCaller);
    EXPECT_TRUE(returns.inChild.empty());
}
