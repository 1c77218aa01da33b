#include "lab/Files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace lab;

static const std::string kFolder = "/private/var/tmp/files";

class MachineFiles : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ("", MakeFolder(kFolder)); }
};

static ino_t InodeOf(const std::string& path)
{
    struct stat status
    {
    };
    stat(path.c_str(), &status);
    return status.st_ino;
}

TEST_F(MachineFiles, AFileIsReplacedByANewOneAndNotWrittenInto)
{
    ASSERT_EQ("", ReplaceFile(kFolder + "/a", "old"));
    const int reader = open((kFolder + "/a").c_str(), O_RDONLY);
    const ino_t before = InodeOf(kFolder + "/a");

    EXPECT_EQ("", ReplaceFile(kFolder + "/a", "new and longer"));

    char seen[16] = {};
    EXPECT_EQ(3, read(reader, seen, sizeof seen));
    EXPECT_STREQ("old", seen);
    EXPECT_NE(before, InodeOf(kFolder + "/a"));
    EXPECT_EQ("new and longer", ReadLine(kFolder + "/a"));
    close(reader);
}

TEST_F(MachineFiles, AReplacementThatFailsLeavesTheOldFileAndNothingBeside)
{
    ASSERT_EQ("", MakeFolder(kFolder + "/a/inside"));

    EXPECT_EQ("cannot write " + kFolder + "/a: Is a directory", ReplaceFile(kFolder + "/a", "text"));

    EXPECT_EQ(std::vector<std::string>{"a"}, NamesInFolder(kFolder));
    // Files that begin with a dot are not listed, so look for the half-written one by its name.
    EXPECT_NE(0, access((kFolder + "/.a." + std::to_string(getpid())).c_str(), F_OK));
}

TEST_F(MachineFiles, SeveralWritersAppendWholeLines)
{
    const std::string line(300, 'x');
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                AppendToFile(kFolder + "/log", line + "\n");
        });
    }
    for (std::thread& writer : writers)
        writer.join();

    std::string text;
    ASSERT_TRUE(ReadFile(kFolder + "/log", &text));
    EXPECT_EQ(std::vector<std::string>(200, line), SplitLines(text));
}

TEST_F(MachineFiles, AFileThatIsMissingReadsAsEmptyAndSaysSo)
{
    std::string text = "before";
    EXPECT_FALSE(ReadFile(kFolder + "/none", &text));
    EXPECT_EQ("", text);
    EXPECT_EQ("", ReadLine(kFolder + "/none"));
}

TEST_F(MachineFiles, FoldersAreMadeWithThoseAboveThem)
{
    EXPECT_EQ("", MakeFolder(kFolder + "/one/two/three"));
    EXPECT_EQ("", MakeFolder(kFolder + "/one/two/three"));
    EXPECT_EQ("", ReplaceFile(kFolder + "/one/two/three/file", "x"));
    EXPECT_EQ("cannot make the folder " + kFolder + "/one/two/three/file/four: Not a directory",
              MakeFolder(kFolder + "/one/two/three/file/four"));
}

TEST_F(MachineFiles, TheLockKeepsEverybodyElseOut)
{
    const std::string file = kFolder + "/lock";
    const auto isFree = [&] {
        const int descriptor = open(file.c_str(), O_RDWR | O_CREAT, 0666);
        const bool taken = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        close(descriptor);
        return taken;
    };
    {
        const TFileLock lock(file);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST(MachineText, EverythingButPrintableASCIIIsEscaped)
{
    EXPECT_EQ("a b~", Escape("a b~"));
    EXPECT_EQ("\\x5c\\x09\\x0a\\x00\\x7f\\xc3\\xa9", Escape(std::string("\\\t\n\0\x7f\xc3\xa9", 7)));
}

TEST(MachineText, EscapedTextComesBackWhole)
{
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_EQ(all, Unescape(Escape(all)));
    EXPECT_EQ("\\x41", Unescape(Escape("\\x41")));
}

TEST(MachineText, ABackslashThatEscapesNothingStandsForItself)
{
    EXPECT_EQ("\\n \\x4 \\xg1 \\", Unescape("\\n \\x4 \\xg1 \\"));
    EXPECT_EQ("A", Unescape("\\x41"));
}

TEST(MachineText, LinesAreSplitWhetherTheLastOneEndsOrNot)
{
    EXPECT_EQ((std::vector<std::string>{"a", "", "b"}), SplitLines("a\n\nb\n"));
    EXPECT_EQ((std::vector<std::string>{"a", "", "b"}), SplitLines("a\n\nb"));
    EXPECT_TRUE(SplitLines("").empty());
}
