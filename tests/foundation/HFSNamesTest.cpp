#include "foundation/HFSNames.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

static_assert(sizeof(HFSUniStr255) == 512, "a length of 16 bits and 255 units");

class HFSNames : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        memset(&fName, 0xA5, sizeof fName);
    }

    std::vector<UniChar> Units() const { return {fName.unicode, fName.unicode + std::min<int>(fName.length, 255)}; }

    // Whether everything behind the name's units is zero.
    bool RestIsZero() const
    {
        return std::all_of(fName.unicode + fName.length, fName.unicode + 255, [](UniChar unit) { return unit == 0; });
    }

    HFSUniStr255 fName;
};

TEST_F(HFSNames, ANameIsItsLengthAndItsUnits)
{
    EXPECT_TRUE(ConvertCStringToHFSUniStr("Mac", &fName));

    EXPECT_EQ((std::vector<UniChar>{'M', 'a', 'c'}), Units());
    EXPECT_TRUE(RestIsZero());
}

TEST_F(HFSNames, TheTextIsMacRomanAndNotDecomposed)
{
    EXPECT_TRUE(ConvertCStringToHFSUniStr("\x8E\xA5\xDB", &fName));

    EXPECT_EQ((std::vector<UniChar>{0x00E9, 0x2022, 0x20AC}), Units());
}

TEST_F(HFSNames, AnEmptyTextIsANameOfNoUnits)
{
    EXPECT_TRUE(ConvertCStringToHFSUniStr("", &fName));

    EXPECT_EQ(0, fName.length);
    EXPECT_TRUE(RestIsZero());
}

TEST_F(HFSNames, ATextOf255CharactersFits)
{
    EXPECT_TRUE(ConvertCStringToHFSUniStr((std::string(254, 'x') + "z").c_str(), &fName));

    EXPECT_EQ(255, fName.length);
    EXPECT_EQ('z', fName.unicode[254]);
}

TEST_F(HFSNames, ALongerTextIsCutTo255Units)
{
    struct
    {
        HFSUniStr255 name;
        UInt8 behind[128];
    } memory;
    memset(&memory, 0xA5, sizeof memory);

    EXPECT_TRUE(ConvertCStringToHFSUniStr((std::string(254, 'x') + "yz" + std::string(44, 'z')).c_str(), &memory.name));
    EXPECT_EQ(255, memory.name.length);
    EXPECT_EQ('y', memory.name.unicode[254]);
    for (const UInt8 byte : memory.behind)
        EXPECT_EQ(0xA5, byte);
}

TEST_F(HFSNames, WithoutAStringTheNameIsAllZeros)
{
    const TFault fault("CFStringCreateWithCString", {0});

    EXPECT_FALSE(ConvertCStringToHFSUniStr("Mac", &fName));
    EXPECT_EQ(0, fName.length);
    EXPECT_TRUE(RestIsZero());
}
