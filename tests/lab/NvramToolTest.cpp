#include "tests/lab/ToolWork.h"

using namespace lab;
using plist::TValue;

class NvramTool : public TToolWork
{
protected:
    std::string Nvram(const std::vector<std::string>& words) { return Run("/usr/sbin/nvram", words); }

    void Set(const std::string& name, TValue value)
    {
        ASSERT_EQ("", machine.SetDeviceTreeProperty("/options", name, value));
    }
};

TEST_F(NvramTool, AVariableIsSetAsItStandsBackslashesAndAll)
{
    EXPECT_EQ("exited 0", Nvram({"boot-device=/pci@f4000000/ata-6@D/@0:3,\\\\:tbxi"}));
    EXPECT_EQ("", output + errors);
    EXPECT_EQ("/pci@f4000000/ata-6@D/@0:3,\\\\:tbxi", machine.FirmwareVariable("boot-device"));
    EXPECT_EQ("exited 0", Nvram({"boot-device"}));
    EXPECT_EQ("boot-device\t/pci@f4000000/ata-6@D/@0:3,\\\\:tbxi\n", output);
}

TEST_F(NvramTool, OnlyTheFirstEqualsSignDivides)
{
    EXPECT_EQ("exited 0", Nvram({"boot-args=-v debug=0x144"}));
    EXPECT_EQ("-v debug=0x144", machine.FirmwareVariable("boot-args"));
    EXPECT_EQ("exited 0", Nvram({"boot-args="}));
    EXPECT_EQ("exited 0", Nvram({"boot-args"}));
    EXPECT_EQ("boot-args\t\n", output);
}

TEST_F(NvramTool, EachKindOfVariableIsPrintedInItsWay)
{
    Set("truth", TValue::Boolean(true));
    Set("small", TValue::Integer(999));
    Set("large", TValue::Integer(1000));
    Set("unset", TValue::Integer(0xffffffff));
    Set("bytes", TValue::Data(std::string("\x0b%A\0\xff", 5)));
    const std::string printed[][2] = {
        {"truth", "true"}, {"small", "999"}, {"large", "0x3e8"}, {"unset", "-1"}, {"bytes", "%0b%A%00%ff"}};
    for (const auto& variable : printed) {
        EXPECT_EQ("exited 0", Nvram({variable[0]}));
        EXPECT_EQ(variable[0] + "\t" + variable[1] + "\n", output);
    }
}

TEST_F(NvramTool, AVariableKeepsItsKindWhenItIsSet)
{
    Set("bytes", TValue::Data("old"));
    EXPECT_EQ("exited 0", Nvram({"auto-boot?=false", "real-base=0x1000", "bytes=%0bA"}));
    EXPECT_EQ("exited 0", Nvram({"auto-boot?", "real-base", "bytes"}));
    EXPECT_EQ("auto-boot?\tfalse\nreal-base\t0x1000\nbytes\t%0bA\n", output);

    EXPECT_EQ("exited 1", Nvram({"auto-boot?=perhaps"}));
    EXPECT_EQ("nvram: Error setting variable - 'auto-boot?': (iokit/common) invalid argument\n", errors);
    EXPECT_EQ("exited 1", Nvram({"real-base=many"}));
    EXPECT_EQ("false", machine.FirmwareVariable("auto-boot?"));
}

TEST_F(NvramTool, AllVariablesArePrintedAndNothingElse)
{
    EXPECT_EQ("exited 0", Nvram({"-p"}));
    EXPECT_NE(std::string::npos, output.find("boot-command\tmac-boot\n")) << output;
    EXPECT_NE(std::string::npos, output.find("real-base\t-1\n")) << output;
    EXPECT_EQ(std::string::npos, output.find("IORegistry")) << output;
    EXPECT_EQ("exited 1", Nvram({"IORegistryEntryName"}));
    EXPECT_EQ("exited 1", Nvram({"IORegistryEntryID=7"}));
}

TEST_F(NvramTool, AVariableIsDeleted)
{
    EXPECT_EQ("exited 0", Nvram({"fresh=1"}));
    EXPECT_EQ("exited 0", Nvram({"-d", "fresh"}));
    EXPECT_EQ("exited 1", Nvram({"fresh"}));
    EXPECT_EQ("nvram: Error getting variable - 'fresh': (iokit/common) data was not found\n", errors);
    EXPECT_EQ("exited 0", Nvram({"-d", "fresh"}));
}

TEST_F(NvramTool, VariablesAreSetFromAFile)
{
    ASSERT_EQ("", ReplaceFile("/tmp/variables", "# comment\nboot-args \t-s -v\n\nfresh\n"));
    EXPECT_EQ("exited 0", Nvram({"-f", "/tmp/variables"})) << errors;
    EXPECT_EQ("-s -v", machine.FirmwareVariable("boot-args"));
    EXPECT_EQ("exited 0", Nvram({"fresh"}));
    EXPECT_EQ("fresh\t\n", output);
    EXPECT_EQ("exited 1", Nvram({"-f", "/tmp/none"}));
}

TEST_F(NvramTool, WrongCallsFail)
{
    const std::vector<std::vector<std::string>> calls{{}, {"-x"}, {"-d"}, {"none", "boot-args=changed"}};
    for (const std::vector<std::string>& words : calls) {
        EXPECT_EQ("exited 1", Nvram(words));
        EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
    }
    EXPECT_EQ("", machine.FirmwareVariable("boot-args"));
}
