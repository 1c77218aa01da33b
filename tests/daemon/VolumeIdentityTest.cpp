// How hfs.util is run to read and renew a volume's identity, and how a RAID volume is recognised.

#include "daemon/VolumeRegistry.h"
#include "services/ScopedIOObject.h"
#include "tests/daemon/HfsUtilRuns.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

class VolumeIdentity : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever blocks for ever fails at once, and not when the whole run is given up.
        alarm(120);
    }

    void LetTool(const std::string& behaviour) { ASSERT_EQ("", machine.SetToolBehaviour("hfs.util", behaviour)); }

    // What is read as the identity; "none" when nothing is. Nothing is written then.
    static std::string Read()
    {
        char bytes[kVolumeIDSize + 1];
        memset(bytes, 77, sizeof bytes);
        const bool read = TVolumeRegistry::ReadVolumeID("disk2s3", reinterpret_cast<UInt8*>(bytes));
        EXPECT_EQ(77, bytes[kVolumeIDSize]);
        if (read)
            return std::string(bytes, kVolumeIDSize);
        EXPECT_EQ(std::string(sizeof bytes, 77), std::string(bytes, sizeof bytes));
        return "none";
    }

    std::string ReadFrom(const std::string& behaviour)
    {
        LetTool(behaviour);
        return Read();
    }

    bool ResetWith(const std::string& behaviour)
    {
        LetTool(behaviour);
        return TVolumeRegistry::ResetVolumeID("disk2s3");
    }

    static std::string Padded(std::string text)
    {
        text.resize(kVolumeIDSize);
        return text;
    }
};

TEST_F(VolumeIdentity, HfsUtilIsRunOnceWithItsWholePathAsItsName)
{
    ReadFrom("print A\nexit 253\n");
    ResetWith("exit 253\n");

    const std::vector<lab::TToolRun> runs = machine.ToolRuns();
    ASSERT_EQ(2u, runs.size());
    EXPECT_EQ(kHfsUtil, runs[0].path);
    EXPECT_EQ((std::vector<std::string>{kHfsUtil, "-k", "disk2s3"}), runs[0].arguments);
    EXPECT_EQ(kHfsUtil, runs[1].path);
    EXPECT_EQ((std::vector<std::string>{kHfsUtil, "-s", "disk2s3"}), runs[1].arguments);
}

TEST_F(VolumeIdentity, HfsUtilRunsAsRoot)
{
    const TCallWatch users("setuid", [](const TCallWatch::TArguments& arguments) {
        std::ofstream("/tmp/users", std::ios::app) << arguments[0] << ' ';
    });
    ReadFrom("print A\nexit 253\n");
    ResetWith("exit 253\n");

    std::string line;
    std::ifstream file("/tmp/users");
    std::getline(file, line);
    EXPECT_EQ("0 0 ", line);
}

TEST_F(VolumeIdentity, OnlyAnExitWith253IsSuccess)
{
    EXPECT_EQ(Padded("A"), ReadFrom("print A\nexit 253\n"));
    EXPECT_TRUE(ResetWith("exit 253\n"));
    for (const char* const end : {"exit 0\n", "exit 1\n", "exit 3\n", "exit 250\n", "exit 252\n", "exit 254\n",
                                  "exit 255\n", "signal 9\n", "signal 13\n"}) {
        SCOPED_TRACE(end);
        EXPECT_EQ("none", ReadFrom(std::string("print A\n") + end));
        EXPECT_FALSE(ResetWith(end));
    }
}

TEST_F(VolumeIdentity, AToolThatPrintsNothingHasReadNothing)
{
    EXPECT_EQ("none", ReadFrom("exit 253\n"));
}

TEST_F(VolumeIdentity, WhatARenewalPrintsDoesNotMatter)
{
    EXPECT_TRUE(ResetWith("print A\nexit 253\n"));
    EXPECT_TRUE(ResetWith("print \\x00\nexit 253\n"));
}

TEST_F(VolumeIdentity, AFirstByteOf0IsNoIdentity)
{
    EXPECT_EQ("none", ReadFrom("print \\x00BC\nexit 253\n"));
    EXPECT_EQ(Padded(std::string("A\0C", 3)), ReadFrom("print A\\x00C\nexit 253\n"));
}

TEST_F(VolumeIdentity, ShorterOutputHasZerosBehindIt)
{
    EXPECT_EQ(Padded("4E1C2A9B70D35F86"), ReadFrom("print 4E1C2A9B70D35F86\nexit 253\n"));
}

TEST_F(VolumeIdentity, NothingIsParsed)
{
    const std::string odd = " \xff\n\t-x ";
    EXPECT_EQ(Padded(odd), ReadFrom("print  \\xff\\x0a\\x09-x \nexit 253\n"));
}

TEST_F(VolumeIdentity, LongerOutputIsCutAt64Bytes)
{
    const std::string whole = std::string(63, 'a') + "bc";
    EXPECT_EQ(whole.substr(0, 64), ReadFrom("print " + whole + "\nexit 253\n"));
}

TEST_F(VolumeIdentity, AToolThatPrints100000BytesEndsAndIsRead)
{
    EXPECT_EQ(std::string(64, 'x'), ReadFrom("fill 100000\nexit 253\n"));
    EXPECT_TRUE(ResetWith("fill 100000\nexit 253\n"));
}

TEST_F(VolumeIdentity, TheFirstReadTakes64BytesAndEachOther512)
{
    LetTool("print ABC\nexit 253\n");
    std::vector<long> sizes;
    const TCallWatch reads("read",
                           [&sizes](const TCallWatch::TArguments& arguments) { sizes.push_back(arguments[2]); });
    // Had the first read to be filled, the second would ask for 61 bytes.
    EXPECT_EQ(Padded("ABC"), Read());
    EXPECT_EQ((std::vector<long>{64, 512}), sizes);

    LetTool("exit 253\n");
    sizes.clear();
    EXPECT_TRUE(TVolumeRegistry::ResetVolumeID("disk2s3"));
    EXPECT_EQ((std::vector<long>{512}), sizes);
}

TEST_F(VolumeIdentity, AToolThatIsMissingHasFailed)
{
    ASSERT_EQ("", machine.SetToolMissing("hfs.util", true));
    const pid_t caller = getpid();

    EXPECT_EQ("none", Read());
    EXPECT_FALSE(TVolumeRegistry::ResetVolumeID("disk2s3"));
    ASSERT_EQ(caller, getpid());
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(VolumeIdentity, TheChildOfAMissingToolExitsWith0)
{
    ASSERT_EQ("", machine.SetToolMissing("hfs.util", true));
    const TFault fault("waitpid", {-1, EINTR});
    EXPECT_EQ("none", Read());

    int status = -1;
    ASSERT_GT(waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST_F(VolumeIdentity, WithoutAChildNothingIsRead)
{
    LetTool("print A\nexit 253\n");
    const TFault fault("fork", {-1, EAGAIN}, 1, 2);

    EXPECT_EQ("none", Read());
    EXPECT_FALSE(TVolumeRegistry::ResetVolumeID("disk2s3"));
    EXPECT_TRUE(machine.ToolRuns().empty());
}

TEST_F(VolumeIdentity, WithoutAPipeNothingIsReadButARenewalSucceeds)
{
    LetTool("exit 253\n");
    const TFault fault("pipe", {-1, EMFILE}, 1, 2);

    EXPECT_EQ("none", Read());
    EXPECT_TRUE(TVolumeRegistry::ResetVolumeID("disk2s3"));
    EXPECT_EQ((std::vector<std::string>{"-k disk2s3", "-s disk2s3"}), AskedOfHfsUtil(machine));
}

TEST_F(VolumeIdentity, AWaitThatFailsIsNoSuccess)
{
    LetTool("print A\nexit 253\n");
    {
        const TFault fault("waitpid", {-1, EINTR}, 1, 2);
        EXPECT_EQ("none", Read());
        EXPECT_FALSE(TVolumeRegistry::ResetVolumeID("disk2s3"));
    }
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

// Both by the tool that does its work.
TEST_F(VolumeIdentity, ARenewedVolumeHasAnotherIdentity)
{
    const std::string before = Read();
    EXPECT_NE("none", before);
    EXPECT_EQ(before, Read());
    EXPECT_TRUE(TVolumeRegistry::ResetVolumeID("disk2s3"));

    const std::string after = Read();
    EXPECT_NE("none", after);
    EXPECT_NE(before, after);
}

// A medium below a device below another, all without the property.
class VolumeIDProperty : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddEntry("IOResources", "IOService", "Upper"));
        ASSERT_EQ("", machine.AddEntry("Upper", "IOService", "Middle"));
        ASSERT_EQ("", machine.AddEntry("Middle", "IOMedia", "Medium"));
        ASSERT_EQ("", machine.AddEntry("Medium", "IOMedia", "Below"));
        ASSERT_EQ("", machine.AddEntry("Middle", "IOMedia", "Beside"));
    }

    void Set(const std::string& entry, const plist::TValue& value)
    {
        ASSERT_EQ("", machine.SetProperty(entry, "Halvorix Volume ID", value));
    }

    bool MediumHasIt() const
    {
        const TScopedIOObject medium(
            IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath("Medium").c_str()));
        EXPECT_TRUE(static_cast<bool>(medium));
        return TVolumeRegistry::HasVolumeIDProperty(medium.Get());
    }
};

TEST_F(VolumeIDProperty, ADiskWithoutItHereOrAboveIsNoRAIDVolume)
{
    EXPECT_FALSE(MediumHasIt());
}

TEST_F(VolumeIDProperty, ItCountsOnTheMediumItself)
{
    Set("Medium", plist::TValue::String("1"));
    EXPECT_TRUE(MediumHasIt());
}

TEST_F(VolumeIDProperty, ItCountsOnAnyAncestor)
{
    Set("Middle", plist::TValue::String("1"));
    EXPECT_TRUE(MediumHasIt());
    ASSERT_EQ("", machine.RemoveProperty("Middle", "Halvorix Volume ID"));
    EXPECT_FALSE(MediumHasIt());
    Set("Upper", plist::TValue::String("1"));
    EXPECT_TRUE(MediumHasIt());
}

TEST_F(VolumeIDProperty, ItDoesNotCountBelowOrBesideTheMedium)
{
    Set("Below", plist::TValue::String("1"));
    Set("Beside", plist::TValue::String("1"));
    EXPECT_FALSE(MediumHasIt());
}

TEST_F(VolumeIDProperty, ItsValueDoesNotMatter)
{
    for (const plist::TValue& value :
         {plist::TValue::String(""), plist::TValue::Integer(0), plist::TValue::Boolean(false), plist::TValue::Data(""),
          plist::TValue::Array(), plist::TValue::Dictionary()}) {
        Set("Medium", value);
        EXPECT_TRUE(MediumHasIt());
        ASSERT_EQ("", machine.RemoveProperty("Medium", "Halvorix Volume ID"));
        ASSERT_FALSE(MediumHasIt());
    }
}

TEST_F(VolumeIDProperty, NoObjectHasIt)
{
    EXPECT_FALSE(TVolumeRegistry::HasVolumeIDProperty(IO_OBJECT_NULL));
}
