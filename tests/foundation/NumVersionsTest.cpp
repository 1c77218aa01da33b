#include "foundation/NumVersions.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <regex>
#include <string>

static std::string VersionString(UInt32 number, bool blankBeforeStage = false)
{
    char text[32];
    memset(text, '#', sizeof text);
    ConvertNumVersionToString(ReturnNumVersionOfNumber(number), text, sizeof text, blankBeforeStage);
    return text;
}

// The version's number; 0, which is no version's, when the text is refused.
static UInt32 VersionOf(const std::string& text)
{
    NumVersion version = {};
    return ConvertStringToNumVersion(text.c_str(), &version) ? ReturnNumberOfNumVersion(version) : 0;
}

class NumVersions : public TMachineTest
{
protected:
    // Whether a version's text, with and without the blank, is read as that version. The first that is not fails the test.
    static bool ComesBack(UInt32 number)
    {
        // A final version's text does not tell its non-release revision.
        const UInt32 expected = (number >> 8 & 0xFF) == kStageFinal ? number & 0xFFFFFF00 : number;
        for (const bool blank : {false, true}) {
            const std::string text = VersionString(number, blank);
            if (text.empty() || VersionOf(text) != expected) {
                ADD_FAILURE() << std::hex << number << " is \"" << text << "\", which is read as " << VersionOf(text);
                return false;
            }
        }
        return true;
    }
};

TEST_F(NumVersions, CompareAsNumbersWithTheMajorRevisionFirst)
{
    NumVersion version = {};
    version.majorRev = 0x10;
    version.minorAndBugRev = 0x4B;
    version.stage = 0x80;
    version.nonRelRev = 0x07;

    EXPECT_EQ(0x104B8007u, ReturnNumberOfNumVersion(version));
}

TEST_F(NumVersions, AreMadeOfNumbers)
{
    const NumVersion version = ReturnNumVersionOfNumber(0x104B6007);

    EXPECT_EQ(0x10, version.majorRev);
    EXPECT_EQ(0x4B, version.minorAndBugRev);
    EXPECT_EQ(0x60, version.stage);
    EXPECT_EQ(0x07, version.nonRelRev);
}

TEST_F(NumVersions, AreWrittenByTheRules)
{
    static const struct
    {
        UInt32 number;
        const char* text;
    } kCases[] = {
        {0x10408000, "10.4"},     {0x10418000, "10.4.1"},
        {0x104B8000, "10.4.11"},  {0x10A08000, "10.10"},   // a minor revision of two digits
        {0x10FF8000, "10.15.15"}, {0x09908000, "9.9"},     // no zero before the major revision
        {0x00008000, "0.0"},      {0x99908000, "99.9"},
        {0x10408007, "10.4"},   // final: the non-release revision is left out
        {0x0100600A, "1.0b10"},   {0x01004000, "1.0a0"},
        {0x010020FF, "1.0d255"},  {0x0120602A, "1.2b42"},
    };
    for (const auto& version : kCases)
        EXPECT_EQ(version.text, VersionString(version.number)) << std::hex << version.number;
}

TEST_F(NumVersions, HaveABlankBeforeTheStageWhenAsked)
{
    EXPECT_EQ("1.0 b10", VersionString(0x0100600A, true));
    EXPECT_EQ("99.15.15 b255", VersionString(0x99FF60FF, true));
    EXPECT_EQ("10.4", VersionString(0x10408000, true));
}

TEST_F(NumVersions, WithAMajorRevisionThatIsNotDecimalHaveNoText)
{
    for (const UInt32 number : {0xA0008000u, 0x0A008000u, 0xFF008000u, 0x9A008000u, 0xA9008000u})
        EXPECT_EQ("", VersionString(number)) << std::hex << number;
}

TEST_F(NumVersions, OfAnUnknownStageHaveNoText)
{
    for (UInt32 stage = 0; stage < 256; ++stage) {
        const bool known = stage == 0x20 || stage == 0x40 || stage == 0x60 || stage == 0x80;
        EXPECT_EQ(known, !VersionString(0x10400000 | stage << 8).empty()) << stage;
    }
}

TEST_F(NumVersions, AreCutWhereTheTextDoesNotFitAndEndWithANUL)
{
    char text[8];
    memset(text, '#', sizeof text);
    ConvertNumVersionToString(ReturnNumVersionOfNumber(0x104B8000), text, 5, false);

    EXPECT_EQ(std::string("10.4\0###", 8), std::string(text, 8));
}

TEST_F(NumVersions, AreWrittenIntoAClearedBuffer)
{
    char text[12];
    memset(text, '#', sizeof text);
    ConvertNumVersionToString(ReturnNumVersionOfNumber(0x10408000), text, 8, false);
    EXPECT_EQ(std::string("10.4\0\0\0\0####", 12), std::string(text, 12));

    memset(text, '#', sizeof text);
    ConvertNumVersionToString(ReturnNumVersionOfNumber(0xA0008000), text, 8, false);
    EXPECT_EQ(std::string(8, '\0') + "####", std::string(text, 12));
}

TEST_F(NumVersions, HaveNoTextInABufferOfNoneOrOneByte)
{
    for (const UInt32 capacity : {0u, 1u}) {
        char text[4] = {'#', '#', '#', '#'};
        ConvertNumVersionToString(ReturnNumVersionOfNumber(0x10408000), text, capacity, false);
        EXPECT_EQ(std::string(capacity, '\0') + std::string(4 - capacity, '#'), std::string(text, 4));
    }
}

TEST_F(NumVersions, AreReadByTheRules)
{
    static const struct
    {
        const char* text;
        UInt32 number;   // 0: refused
    } kCases[] = {
        {"10.4", 0x10408000},
        {"10.4.0", 0x10408000},
        {"10.4.11", 0x104B8000},
        {"10.5", 0x10508000},
        {"9.2.2", 0x09228000},
        {"09.2", 0x09208000},
        {"0.0", 0x00008000},
        {"10.15.15", 0x10FF8000},
        {"1.0b10", 0x0100600A},
        {"1.0a0", 0x01004000},
        {"1.0d255", 0x010020FF},
        {"1.0b007", 0x01006007},
        {"1.2.3d4", 0x01232004},
        {"10.4 b2", 0x10406002},   // one blank may stand before the stage
        {"10.4 ", 0x10408000},     // or before the end
        {"10.4  b2", 0},
        {"10.4  ", 0},
        {"", 0},
        {"10", 0},
        {"10.", 0},
        {".4", 0},
        {"x10.4", 0},
        {" 10.4", 0},
        {"-1.0", 0},
        {"100.4", 0},   // three digits
        {"10 4", 0},
        {"10.16", 0},   // of two digits only 10 to 15
        {"10.20", 0},
        {"10.04", 0},
        {"10.x", 0},
        {"10.4.", 0},
        {"10.4.x", 0},
        {"10.4.b2", 0},
        {"10.4.16", 0},
        {"10.4.01", 0},
        {"10.4.1.1", 0},
        {"10.4x", 0},
        {"10.4B2", 0},
        {"10.4f1", 0},
        {"10.4b", 0},   // a stage needs a number
        {"10.4b ", 0},
        {"10.4b 2", 0},
        {"10.4b256", 0},
        {"10.4b999", 0},
    };
    for (const auto& version : kCases)
        EXPECT_EQ(version.number, VersionOf(version.text)) << '"' << version.text << '"';
}

TEST_F(NumVersions, BehindAFinalVersionADigitIsReadAsNothing)
{
    EXPECT_EQ(0x10408000u, VersionOf("10.4 7"));
    EXPECT_EQ(0x10408000u, VersionOf("10.4 7 and more"));
    EXPECT_EQ(0x10C08000u, VersionOf("10.123"));
    EXPECT_EQ(0x104B8000u, VersionOf("10.4.117"));
}

TEST_F(NumVersions, BehindThreeDigitsOfANonReleaseRevisionNothingIsRead)
{
    EXPECT_EQ(0x0100607Bu, VersionOf("1.0b1234"));
    EXPECT_EQ(0x0100607Bu, VersionOf("1.0b123x"));
    EXPECT_EQ(0x01006001u, VersionOf("1.0b1 x"));
}

TEST_F(NumVersions, ARefusedTextLeavesTheVersionAlone)
{
    for (const char* const text : {"", "10", "10.16", "10.4b", "10.4b256", "10.4.16"}) {
        NumVersion version = ReturnNumVersionOfNumber(0x12345678);
        EXPECT_FALSE(ConvertStringToNumVersion(text, &version));
        EXPECT_EQ(0x12345678u, ReturnNumberOfNumVersion(version)) << text;
    }
}

// Every major, minor and bug revision in every stage, each with another non-release revision.
TEST_F(NumVersions, EveryVersionThatPrintsIsReadBack)
{
    UInt32 nonRelease = 0;
    for (UInt32 major = 0; major < 100; ++major) {
        const UInt32 decimal = (major / 10) << 4 | major % 10;
        for (UInt32 minorAndBug = 0; minorAndBug < 256; ++minorAndBug) {
            for (const UInt32 stage : {0x20u, 0x40u, 0x60u, 0x80u}) {
                nonRelease = (nonRelease + 1) & 0xFF;
                if (!ComesBack(decimal << 24 | minorAndBug << 16 | stage << 8 | nonRelease))
                    return;
            }
        }
    }
}

// Of one major revision, everything.
TEST_F(NumVersions, EveryNonReleaseRevisionIsReadBack)
{
    for (UInt32 minorAndBug = 0; minorAndBug < 256; ++minorAndBug) {
        for (const UInt32 stage : {0x20u, 0x40u, 0x60u}) {
            for (UInt32 nonRelease = 0; nonRelease < 256; ++nonRelease) {
                if (!ComesBack(0x10000000 | minorAndBug << 16 | stage << 8 | nonRelease))
                    return;
            }
        }
    }
}

// All texts of up to five of these characters behind "1.", judged by a pattern that says the rules at once.
TEST_F(NumVersions, ExactlyTheTextsOfThePatternAreRead)
{
    const std::string characters = "0156.b x";
    const std::string revision = "(1[0-5]|[0-9](?![0-9]))";
    const std::string above255 = "(25[6-9]|2[6-9][0-9]|[3-9][0-9][0-9])";
    const std::regex pattern("[0-9]{1,2}\\." + revision + "(\\." + revision + ")? ?(|[abd](?!" + above255 +
                             ")[0-9].*|[0-9].*)");
    std::vector<std::string> texts = {"1."};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string text = texts[i];
        ASSERT_EQ(std::regex_match(text, pattern), VersionOf(text) != 0) << '"' << text << '"';
        if (text.size() == 7)
            continue;
        for (const char character : characters)
            texts.push_back(text + character);
    }
}
