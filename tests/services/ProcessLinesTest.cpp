#include "services/Processes.h"
#include "tests/services/ProcessListText.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

// What a search found and left.
struct TFound
{
    int32_t process;
    uint32_t remainder;
    std::string tail;   // the first `remainder` bytes of the buffer
};

static TFound Search(const std::string& text, const char* name)
{
    // On the heap, so that a byte too far is seen by the sanitizer.
    std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
    TFound found{0, 0xDEADBEEF, ""};
    found.process = SearchBufferFor_PID(buffer.data(), &found.remainder, name);
    if (found.remainder < buffer.size())
        found.tail.assign(buffer.data(), found.remainder);
    return found;
}

// Process IDs of four digits: no process of a machine that has just been started has one, the caller above all.
class ProcessLines : public TMachineTest
{
};

TEST_F(ProcessLines, TheFirstLineWithTheCommandIsFound)
{
    const TFound found = Search(kHeader + Line(5011, "init") + Line(5022, "Finder") + Line(5033, "Finder"), "Finder");
    EXPECT_EQ(5022, found.process);
    EXPECT_EQ(0u, found.remainder);
}

TEST_F(ProcessLines, WhenAProcessIsFoundNoTailIsKept)
{
    EXPECT_EQ(0u, Search(Line(5022, "Finder") + "unfinished", "Finder").remainder);
}

TEST_F(ProcessLines, WithoutAMatchTheUnfinishedLineMovesToTheFront)
{
    const TFound found = Search(Line(5011, "init") + " 5022  ??  Ss   0:01 Fin", "Finder");
    EXPECT_EQ(0, found.process);
    EXPECT_EQ(24u, found.remainder);
    EXPECT_EQ(" 5022  ??  Ss   0:01 Fin", found.tail);
}

TEST_F(ProcessLines, ATailThatOverlapsItsNewPlaceArrivesWhole)
{
    const std::string tail = "0123456789abcdefghijklmnopqrstuvwxyz";
    const TFound found = Search("x\n" + tail, "Finder");
    EXPECT_EQ(tail, found.tail);
}

TEST_F(ProcessLines, TheTailIsMovedWithoutItsNUL)
{
    char buffer[] = "12345\nabc";
    uint32_t remainder = 0;
    SearchBufferFor_PID(buffer, &remainder, "Finder");

    EXPECT_EQ(3u, remainder);
    EXPECT_EQ(0, memcmp("abc45", buffer, 5));
}

TEST_F(ProcessLines, AfterTheLastLineNothingRemains)
{
    EXPECT_EQ(0u, Search(Line(5011, "init"), "Finder").remainder);
    EXPECT_EQ(0u, Search("\n", "Finder").remainder);
    EXPECT_EQ(0u, Search("", "Finder").remainder);
}

TEST_F(ProcessLines, AnUnfinishedLineIsNotSearched)
{
    const std::string line = Line(5022, "Finder");
    const TFound found = Search(line.substr(0, line.size() - 1), "Finder");
    EXPECT_EQ(0, found.process);
    EXPECT_EQ(line.size() - 1, found.remainder);
}

TEST_F(ProcessLines, ALineOf255BytesIsReadAndOneOf256IsNot)
{
    EXPECT_EQ(5022, Search(LineOfLength(255, 5022, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(LineOfLength(256, 5022, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(LineOfLength(5000, 5022, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, BehindALineThatIsTooLongTheNextIsRead)
{
    const TFound found = Search(LineOfLength(256, 5022, "Finder") + Line(5033, "Finder"), "Finder");
    EXPECT_EQ(5033, found.process);
}

TEST_F(ProcessLines, AWordMayFillTheLine)
{
    const std::string longName(255 - strlen("5001 a b c "), 'N');
    EXPECT_EQ(5001, Search("5001 a b c " + longName + "\n", longName.c_str()).process);
    EXPECT_EQ(0, Search("5001 a b c " + longName + "N\n", (longName + "N").c_str()).process);
}

TEST_F(ProcessLines, TheCallersOwnLineIsPassedOver)
{
    EXPECT_EQ(0, Search(Line(getpid(), "Finder"), "Finder").process);
    EXPECT_EQ(getpid() + 1, Search(Line(getpid(), "Finder") + Line(getpid() + 1, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, AProcessIDOfZeroIsPassedOver)
{
    EXPECT_EQ(5033, Search(Line(0, "Finder") + Line(5033, "Finder"), "Finder").process);
    EXPECT_EQ(0, Search(Line(0, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, ANegativeProcessIDIsAnAnswer)
{
    EXPECT_EQ(-7, Search(Line(-7, "Finder"), "Finder").process);
}

TEST_F(ProcessLines, NamesAreComparedWholeAndByCase)
{
    const std::string text = Line(5001, "Finder2") + Line(5002, "finder") + Line(5003, "Finde") + Line(5004, "FINDER");
    EXPECT_EQ(0, Search(text, "Finder").process);
    EXPECT_EQ(5002, Search(text, "finder").process);
}

TEST_F(ProcessLines, OnlyTheFifthWordIsTheCommand)
{
    EXPECT_EQ(0, Search("5001 Finder Finder Finder other\n", "Finder").process);
    EXPECT_EQ(0, Search("5001 a b c d Finder\n", "Finder").process);
}

TEST_F(ProcessLines, ACommandWithABlankEndsAtIt)
{
    EXPECT_EQ(0, Search(Line(5022, "Disk Utility"), "Disk Utility").process);
    EXPECT_EQ(5022, Search(Line(5022, "Disk Utility"), "Disk").process);
}

TEST_F(ProcessLines, AnEmptyNameIsNeverFound)
{
    EXPECT_EQ(0, Search("5001 a b c\n5001 a b c \n" + Line(5022, ""), "").process);
}

TEST_F(ProcessLines, LinesThatDoNotParseArePassedOver)
{
    EXPECT_EQ(0, Search(kHeader, "COMMAND").process);
    const std::string text = "\n \n5001\n5001 a\n5001 a b\n5001 a b Finder\nx 5001 a b c Finder\n";
    EXPECT_EQ(5033, Search(text + Line(5033, "Finder"), "Finder").process);
}

// Each of these reads as scanf reads it; what that is stands beside the line.
TEST_F(ProcessLines, NumbersAndBlanksReadAsScanfReadsThem)
{
    const struct
    {
        const char* line;
        int32_t process;
    } kLines[] = {
        {"+5012 a b c Finder\n", 5012},   // a sign belongs to the number
        {"-5012 a b c Finder\n", -5012},
        {"005012 a b c Finder\n", 5012},   // decimal, whatever it begins with
        {"0x5012 a b c Finder\n", 0},      // the number is 0 and the rest a word: one too many
        {"0x5012 b c Finder\n", 0},        // the number is 0
        {"5012a b c Finder\n", 5012},      // the number ends where its digits do
        {"5012.5 b c Finder\n", 5012},
        {"- 5012 a b c Finder\n", 0},   // a sign alone is no number
        {"--5012 a b c Finder\n", 0},
        {"\t\v\f\r 5012\ta\vb\fc\rFinder\n", 5012},   // every kind of blank parts words
        {"5012 a b c Finder\r\n", 5012},              // and so does the end of a DOS line
        {"5012 a b c Finder \t \n", 5012},
        {"5012 a b c Finder\xA0\n", 0},   // a byte above 127 is no blank
        {"5012 a b c \x01"
         "Finder\n",
         0},   // nor is a control character
    };
    for (const auto& each : kLines)
        EXPECT_EQ(each.process, Search(each.line, "Finder").process) << each.line;
}

// The rule, written down again: lines below 256 bytes, read by scanf.
static TFound SearchByScanf(const std::string& text, const std::string& name)
{
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = text.substr(start, end - start);
        int process = 0;
        char words[4][256];
        if (line.size() < 256 &&
            sscanf(line.c_str(), "%d %255s %255s %255s %255s", &process, words[0], words[1], words[2], words[3]) == 5 &&
            process != getpid() && process != 0 && words[3] == name)
            return {process, 0, ""};
    }
    return {0, static_cast<uint32_t>(text.size() - start), text.substr(start)};
}

TEST_F(ProcessLines, GeneratedTextsAreReadAsScanfReadsThem)
{
    const std::string kPieces[] = {"Finder",
                                   "Finde",
                                   "finder",
                                   "F",
                                   "a",
                                   "??",
                                   "Ss",
                                   "0:01.25",
                                   "x.y",
                                   "0",
                                   "1",
                                   "22",
                                   "333",
                                   "-4",
                                   "+5",
                                   "0x6",
                                   "007",
                                   "2147483647",
                                   "2147483648",
                                   "-2147483648",
                                   "-2147483649",
                                   "4294967295",
                                   "4294967296",
                                   "4294967297",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "99999999999999999999999",
                                   "-99999999999999999999999",
                                   "-",
                                   "+",
                                   "+-1",
                                   "\x80",
                                   "\xFF",
                                   "\x01",
                                   std::to_string(getpid()),
                                   std::string(100, 'w'),
                                   std::string(250, ' '),
                                   "\t",
                                   "\r",
                                   "\v",
                                   "\f"};
    std::mt19937 random(4711);
    const auto pick = [&](std::size_t limit) { return static_cast<unsigned>(random() % limit); };

    unsigned matches = 0;
    for (unsigned round = 0; round < 20000; ++round) {
        std::string text;
        for (unsigned line = pick(4); line != 0; --line) {
            // Half of them in the shape of a line, so that many match.
            const bool shaped = pick(2) == 0;
            for (unsigned piece = shaped ? 4 : pick(8); piece != 0; --piece)
                text += kPieces[pick(sizeof kPieces / sizeof *kPieces)] + (pick(8) != 0 ? " " : "");
            text += shaped ? "Finder\n" : "\n";
        }
        if (pick(2) == 0)
            text += kPieces[pick(sizeof kPieces / sizeof *kPieces)];
        const TFound expected = SearchByScanf(text, "Finder");
        const TFound found = Search(text, "Finder");
        ASSERT_EQ(expected.process, found.process) << text;
        ASSERT_EQ(expected.remainder, found.remainder) << text;
        ASSERT_EQ(expected.tail, found.tail) << text;
        matches += found.process != 0;
    }
    // A generator that never matched would try nothing.
    EXPECT_GT(matches, 2000u);
}
