#include "services/MergedFiles.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

static const char kFirst[] = "/tmp/first";
static const char kSecond[] = "/tmp/second";
static const char kOutput[] = "/tmp/output";

static void WriteFile(const char* path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

static std::string ReadFile(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

static bool Exists(const char* path)
{
    return access(path, F_OK) == 0;
}

static mode_t ModeOf(const char* path)
{
    struct stat info = {};
    EXPECT_EQ(0, stat(path, &info));
    return info.st_mode & 07777;
}

// The two inputs are "one" and "two" unless a test says otherwise.
class MergedFiles : public TMachineTest
{
protected:
    void SetUp() override
    {
        WriteFile(kFirst, "one");
        WriteFile(kSecond, "two");
        TMachineTest::SetUp();
    }
};

TEST_F(MergedFiles, TheFirstFileThenTheTextThenTheSecondFile)
{
    EXPECT_EQ(1u, MergeFiles(kFirst, "-and-", kSecond, kOutput, 0));
    EXPECT_EQ("one-and-two", ReadFile(kOutput));
}

TEST_F(MergedFiles, EachOfTheThreeMayBeLeftOut)
{
    EXPECT_EQ(1u, MergeFiles(nullptr, "-", kSecond, kOutput, 0));
    EXPECT_EQ("-two", ReadFile(kOutput));
    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, kSecond, kOutput, 0));
    EXPECT_EQ("onetwo", ReadFile(kOutput));
    EXPECT_EQ(1u, MergeFiles(kFirst, "-", nullptr, kOutput, 0));
    EXPECT_EQ("one-", ReadFile(kOutput));
    EXPECT_EQ(1u, MergeFiles(nullptr, nullptr, nullptr, kOutput, 0));
    EXPECT_EQ("", ReadFile(kOutput));
    EXPECT_TRUE(Exists(kOutput));
}

TEST_F(MergedFiles, BytesOfZeroInFilesAreCopied)
{
    WriteFile(kFirst, std::string("a\0b", 3));

    EXPECT_EQ(1u, MergeFiles(kFirst, "c", nullptr, kOutput, 0));
    EXPECT_EQ(std::string("a\0bc", 4), ReadFile(kOutput));
}

TEST_F(MergedFiles, AllTogetherMayBe4096BytesAndNotOneMore)
{
    WriteFile(kFirst, std::string(2048, 'a'));
    WriteFile(kSecond, std::string(2048, 'b'));

    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, kSecond, kOutput, 0));
    EXPECT_EQ(std::string(2048, 'a') + std::string(2048, 'b'), ReadFile(kOutput));
    EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    EXPECT_EQ(1u, MergeFiles(nullptr, std::string(4096, 'c').c_str(), nullptr, kOutput, 0));
    EXPECT_EQ(0u, MergeFiles(nullptr, std::string(4097, 'c').c_str(), nullptr, kOutput, 0));
}

// Sizes whose sum is small again in as many bits as a size has.
TEST_F(MergedFiles, HugeFilesAreTooLongHoweverTheirSizesAddUp)
{
    const TStatEdit edit([](const char*, struct stat* info) {
        info->st_size = sizeof info->st_size == 8 ? static_cast<off_t>(0x7FFFFFFFFFFFFFFF) : 0x7FFFFFFF;
    });
    const TCallWatch opened("open");

    EXPECT_EQ(0u, MergeFiles(kFirst, "12", kSecond, kOutput, 0));
    EXPECT_EQ(0u, opened.Calls());
}

TEST_F(MergedFiles, WhatIsTooLongLeavesTheOutputAsItIs)
{
    WriteFile(kOutput, "before");
    WriteFile(kFirst, std::string(4097, 'a'));

    EXPECT_EQ(0u, MergeFiles(kFirst, nullptr, nullptr, kOutput, 0));
    EXPECT_EQ("before", ReadFile(kOutput));
}

TEST_F(MergedFiles, AFileThatIsMissingOrUnreadableLeavesTheOutputAsItIs)
{
    WriteFile(kOutput, "before");

    EXPECT_EQ(0u, MergeFiles("/tmp/nothing", "-", kSecond, kOutput, 0));
    EXPECT_EQ(0u, MergeFiles(kFirst, "-", "/tmp/nothing", kOutput, 0));
    {
        const TFault fault("open", {-1, EACCES});
        EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    }
    {
        const TFault fault("open", {-1, EACCES}, 2);
        EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    }
    for (const unsigned call : {1u, 2u}) {
        const TFault fault("read", {-1, EIO}, call);
        EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
        EXPECT_EQ(1u, fault.Reached());
    }
    EXPECT_EQ("before", ReadFile(kOutput));
}

TEST_F(MergedFiles, AFileThatBecameShorterIsNotMerged)
{
    const TStatEdit edit([](const char*, struct stat* info) { ++info->st_size; });

    EXPECT_EQ(0u, MergeFiles(kFirst, nullptr, nullptr, kOutput, 0));
    EXPECT_FALSE(Exists(kOutput));
}

TEST_F(MergedFiles, WithoutMemoryNothingIsWritten)
{
    const TFault fault("operator new[] nothrow", {0, 0});

    EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_FALSE(Exists(kOutput));
}

TEST_F(MergedFiles, TheOutputIsEmptiedFirst)
{
    WriteFile(kOutput, "something longer than both");

    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, kSecond, kOutput, 0));
    EXPECT_EQ("onetwo", ReadFile(kOutput));
}

TEST_F(MergedFiles, TheOutputMayBeOneOfTheFiles)
{
    EXPECT_EQ(1u, MergeFiles(kFirst, "-", kSecond, kFirst, 0));
    EXPECT_EQ("one-two", ReadFile(kFirst));
}

TEST_F(MergedFiles, AModeOfZeroMeans0644)
{
    umask(0);

    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, nullptr, kOutput, 0));
    EXPECT_EQ(0644u, ModeOf(kOutput));
    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, nullptr, "/tmp/private", 0600));
    EXPECT_EQ(0600u, ModeOf("/tmp/private"));
}

TEST_F(MergedFiles, TheUmaskTakesFromTheMode)
{
    umask(027);

    EXPECT_EQ(1u, MergeFiles(kFirst, nullptr, nullptr, kOutput, 0));
    EXPECT_EQ(0640u, ModeOf(kOutput));
}

TEST_F(MergedFiles, AnOutputThatCannotBeOpenedIsAFailure)
{
    EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, "/tmp/nothing/output", 0));
}

TEST_F(MergedFiles, OneWriteThatFallsShortIsAFailure)
{
    const TShortWrites shortWrites(4);

    EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    EXPECT_EQ("one-", ReadFile(kOutput));
}

TEST_F(MergedFiles, AWriteThatFailsIsAFailure)
{
    const TFault fault("write", {-1, ENOSPC});

    EXPECT_EQ(0u, MergeFiles(kFirst, "-", kSecond, kOutput, 0));
    EXPECT_EQ(1u, fault.Reached());
}
