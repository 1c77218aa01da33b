#include "daemon/SystemVersionProbe.h"
#include "tests/support/MachineTest.h"
#include "tests/support/VersionFiles.h"

class SystemVersionProbe : public TMachineTest
{
};

TEST_F(SystemVersionProbe, ASystemIsNotNewerThanItself)
{
    InstallSystem("/tmp/volume", "10.4");

    EXPECT_TRUE(SystemIsNewerThan(0x10407FFF, "/tmp/volume"));
    EXPECT_FALSE(SystemIsNewerThan(0x10408000, "/tmp/volume"));
}

TEST_F(SystemVersionProbe, TheBoundariesLieRightBelow10_4And10_5)
{
    static const struct
    {
        const char* version;
        bool is10_4;
        bool is10_5;
    } kCases[] = {
        {"10.3", false, false},  {"10.3.9", false, false},   // the last before 10.4
        {"10.4d1", true, false},                             // a development stage of 10.4 is 10.4
        {"10.4", true, false},   {"10.4.11", true, false},   // of which 9 is kept
        {"10.5d1", true, true},  {"10.5", true, true},     {"10.5.8", true, true},
    };
    for (const auto& one : kCases) {
        InstallSystem("/tmp/volume", one.version);
        EXPECT_EQ(one.is10_4, SystemIsNewerThan(kHighestBefore10_4, "/tmp/volume")) << one.version;
        EXPECT_EQ(one.is10_5, SystemIsNewerThan(kHighestBefore10_5, "/tmp/volume")) << one.version;
    }
}

TEST_F(SystemVersionProbe, VersionsCompareWithoutASign)
{
    InstallSystem("/tmp/volume", "80.0");

    EXPECT_TRUE(SystemIsNewerThan(kHighestBefore10_4, "/tmp/volume"));
}

TEST_F(SystemVersionProbe, ASystemThatIsNotKnownIsNotNewerThanAny)
{
    EXPECT_FALSE(SystemIsNewerThan(0, "/tmp/volume"));
    WriteVersionFile("/tmp/volume", "SystemVersion.plist", "nothing");
    EXPECT_FALSE(SystemIsNewerThan(0, "/tmp/volume"));
}
