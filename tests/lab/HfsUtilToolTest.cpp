#include "tests/lab/ToolWork.h"

using namespace lab;
using plist::TValue;

static const char* const kHfsUtil = "/System/Library/Filesystems/hfs.fs/hfs.util";

class HfsUtilTool : public TToolWork
{
protected:
    std::string Util(const std::vector<std::string>& words) { return Run(kHfsUtil, words); }
};

TEST_F(HfsUtilTool, FromLeopardOnTheIdentifierIsPrintedAsAUUIDMadeFromIt)
{
    AddVolume("disk9s2", "Tapes");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Identifier", TValue::String("0123456789ABCDEF")));

    EXPECT_EQ("exited 253", Util({"-k", "disk9s2"}));
    EXPECT_EQ("DE53349F-21AD-3C08-9044-AE10CD9587D3", output);
    EXPECT_EQ("", errors);
}

TEST_F(HfsUtilTool, TheUUIDsOfTheVolumesThatShipAreMadeFromTheirIdentifiers)
{
    for (const char* const disk : {"disk0s3", "disk2s3", "disk3s3"}) {
        EXPECT_EQ("exited 253", Util({"-k", disk}));
        EXPECT_EQ(Text(disk, "UUID"), output);
    }
}

TEST_F(HfsUtilTool, BeforeLeopardTheIdentifiersDigitsArePrinted)
{
    AddVolume("disk9s2", "Tapes");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Identifier", TValue::String("0123456789ABCDEF")));
    for (const char* const version : {"10.3.9", "10.4.11"}) {
        SetSystem(version);
        EXPECT_EQ("exited 253", Util({"-k", "disk9s2"}));
        EXPECT_EQ("0123456789ABCDEF", output) << version;
    }
}

TEST_F(HfsUtilTool, AVolumeThatHasNoIdentifierYetHasOneOfZeros)
{
    AddVolume("disk9s2", "Tapes");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Identifier", TValue::String("0000000000000000")));
    EXPECT_EQ("exited 253", Util({"-k", "disk9s2"}));
    EXPECT_EQ("00000000-0000-0000-0000-000000000000", output);
}

TEST_F(HfsUtilTool, ANewIdentifierIsThatOfOneVolumeAloneAndItsUUIDFollows)
{
    AddVolume("disk9s2", "Tapes");
    AddVolume("disk9s3", "Copy of Tapes");
    const std::string shared = Text("disk9s2", "Identifier");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s3", "Identifier", TValue::String(shared)));
    ASSERT_EQ("exited 253", Util({"-k", "disk9s2"}));
    const std::string first = output;
    ASSERT_EQ("exited 253", Util({"-k", "disk9s3"}));
    ASSERT_EQ(first, output);

    EXPECT_EQ("exited 253", Util({"-s", "disk9s3"}));
    EXPECT_EQ("", output);

    EXPECT_EQ(shared, Text("disk9s2", "Identifier"));
    const std::string fresh = Text("disk9s3", "Identifier");
    EXPECT_NE(shared, fresh);
    EXPECT_EQ(16u, fresh.size());
    EXPECT_EQ(std::string::npos, fresh.find_first_not_of("0123456789ABCDEF"));
    EXPECT_EQ("Copy of Tapes", Text("disk9s3", "Name"));
    ASSERT_EQ("exited 253", Util({"-k", "disk9s3"}));
    EXPECT_NE(first, output);
    EXPECT_EQ(Text("disk9s3", "UUID"), output);
}

TEST_F(HfsUtilTool, AMountedVolumeIsReadAndChangedAsWell)
{
    AddMountedVolume("disk9s2", "Tapes");
    const std::string before = Text("disk9s2", "Identifier");
    EXPECT_EQ("exited 253", Util({"-k", "disk9s2"}));
    EXPECT_EQ("exited 253", Util({"-s", "disk9s2"}));
    EXPECT_NE(before, Text("disk9s2", "Identifier"));
}

TEST_F(HfsUtilTool, AProbePrintsTheVolumesName)
{
    AddVolume("disk9s2", "Two Words");
    EXPECT_EQ("exited 255", Util({"-p", "disk9s2", "fixed", "writable"}));
    EXPECT_EQ("Two Words", output);
}

TEST_F(HfsUtilTool, WhatIsNoHFSVolumeIsNotRecognized)
{
    AddVolume("disk9s2", "Camera", "msdos");
    ASSERT_EQ("", machine.AddMedium("disk9s3", "", 1 << 20, false));
    for (const std::string disk : {"disk9s2", "disk9s3"}) {
        EXPECT_EQ("exited 254", Util({"-k", disk}));
        EXPECT_EQ("exited 254", Util({"-s", disk}));
        EXPECT_EQ("exited 254", Util({"-p", disk, "removable", "writable"}));
        EXPECT_EQ("", output);
        EXPECT_EQ("", errors);
    }
}

TEST_F(HfsUtilTool, ADiskThatIsNotThereAndOneThatCannotBeWrittenFail)
{
    EXPECT_EQ("exited 252", Util({"-k", "disk77s2"}));
    EXPECT_EQ("", errors);

    AddVolume("disk9s2", "Pressed");
    ASSERT_EQ("", machine.SetVolumeProperty("disk9s2", "Read Only", TValue::Boolean(true)));
    const std::string before = Text("disk9s2", "Identifier");
    EXPECT_EQ("exited 252", Util({"-s", "disk9s2"}));
    EXPECT_EQ("hfs.util: disk9s2 cannot be written\n", errors);
    EXPECT_EQ(before, Text("disk9s2", "Identifier"));
    EXPECT_EQ("exited 253", Util({"-k", "disk9s2"}));
}

TEST_F(HfsUtilTool, AWrongCallIsInvalid)
{
    const std::vector<std::vector<std::string>> calls{
        {}, {"-k"}, {"-x", "disk3s3"}, {"-k", "disk3s3", "fixed"}, {"-p", "disk3s3"}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 250", Util(words));
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
}
