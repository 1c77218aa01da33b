#include "foundation/NumVersions.h"

#include "foundation/CStrings.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>

// The longest is "99.15.15 b255".
static const UInt32 kVersionTextSize = 16;

UInt32 ReturnNumberOfNumVersion(NumVersion version)
{
    return static_cast<UInt32>(version.majorRev) << 24 | static_cast<UInt32>(version.minorAndBugRev) << 16 |
           static_cast<UInt32>(version.stage) << 8 | version.nonRelRev;
}

NumVersion ReturnNumVersionOfNumber(UInt32 number)
{
    NumVersion version;
    version.majorRev = static_cast<UInt8>(number >> 24);
    version.minorAndBugRev = static_cast<UInt8>(number >> 16);
    version.stage = static_cast<UInt8>(number >> 8);
    version.nonRelRev = static_cast<UInt8>(number);
    return version;
}

// The letter of a stage that is not final, or 0.
static char LetterOfStage(UInt8 stage)
{
    switch (stage) {
    case kStageDevelopment:
        return 'd';
    case kStageAlpha:
        return 'a';
    case kStageBeta:
        return 'b';
    default:
        return 0;
    }
}

// The stage with this letter; final when it is no stage's letter.
static UInt8 StageOfLetter(char letter)
{
    for (const UInt8 stage : {kStageDevelopment, kStageAlpha, kStageBeta}) {
        if (letter == LetterOfStage(stage))
            return stage;
    }
    return kStageFinal;
}

// Writes a version; nothing when it has no text.
static void FormatNumVersion(char (&text)[kVersionTextSize], NumVersion version, bool blankBeforeStage)
{
    const unsigned tens = version.majorRev >> 4;
    const unsigned units = version.majorRev & 0x0F;
    const unsigned bug = version.minorAndBugRev & 0x0F;
    const char letter = LetterOfStage(version.stage);
    if (tens > 9 || units > 9 || (letter == 0 && version.stage != kStageFinal))
        return;

    char bugText[4] = "";
    if (bug != 0)
        snprintf(bugText, sizeof bugText, ".%u", bug);
    char stageText[6] = "";
    if (letter != 0)
        snprintf(stageText, sizeof stageText, "%s%c%u", blankBeforeStage ? " " : "", letter,
                 unsigned{version.nonRelRev});
    snprintf(text, sizeof text, "%u.%u%s%s", 10 * tens + units, unsigned{version.minorAndBugRev} >> 4, bugText,
             stageText);
}

void ConvertNumVersionToString(NumVersion version, char* text, UInt32 capacity, bool blankBeforeStage)
{
    memset(text, 0, capacity);
    char work[kVersionTextSize] = "";
    FormatNumVersion(work, version, blankBeforeStage);
    StoreCString(text, work, capacity);
}

static bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

static unsigned ValueOfDigit(char digit)
{
    return static_cast<unsigned>(digit - '0');
}

// These read a part of a version and move the text behind it. They return false when it is none.

static bool ReadMajor(const char** text, UInt8* major)
{
    if (!IsDigit(**text))
        return false;
    unsigned value = 0;
    for (int digit = 0; digit < 2 && IsDigit(**text); ++digit, ++*text)
        value = value << 4 | ValueOfDigit(**text);
    *major = static_cast<UInt8>(value);
    return true;
}

// A minor or bug revision.
static bool ReadRevision(const char** text, unsigned* revision)
{
    const char* const digits = *text;
    if (!IsDigit(digits[0]))
        return false;
    *revision = ValueOfDigit(digits[0]);
    ++*text;
    if (!IsDigit(digits[1]))
        return true;
    if (digits[0] != '1' || digits[1] > '5')
        return false;
    *revision = 10 + ValueOfDigit(digits[1]);
    ++*text;
    return true;
}

static bool ReadRelease(const char** text, NumVersion* version)
{
    if (!ReadMajor(text, &version->majorRev))
        return false;
    if (**text != '.')
        return false;
    ++*text;
    unsigned minor = 0;
    if (!ReadRevision(text, &minor))
        return false;
    unsigned bug = 0;
    if (**text == '.') {
        ++*text;
        if (!ReadRevision(text, &bug))
            return false;
    }
    version->minorAndBugRev = static_cast<UInt8>(minor << 4 | bug);
    return true;
}

static bool ReadStage(const char* text, NumVersion* version)
{
    version->stage = kStageFinal;
    version->nonRelRev = 0;
    if (*text == ' ')
        ++text;
    if (*text == 0)
        return true;

    version->stage = StageOfLetter(*text);
    if (version->stage != kStageFinal)
        ++text;
    if (!IsDigit(*text))
        return false;
    // Behind a final version a digit means nothing, but it may stand there.
    if (version->stage == kStageFinal)
        return true;

    unsigned nonRelease = 0;
    for (int digit = 0; digit < 3 && IsDigit(*text); ++digit, ++text)
        nonRelease = 10 * nonRelease + ValueOfDigit(*text);
    version->nonRelRev = static_cast<UInt8>(nonRelease);
    return nonRelease <= 255;
}

bool ConvertStringToNumVersion(const char* text, NumVersion* version)
{
    NumVersion read = {};
    if (!ReadRelease(&text, &read) || !ReadStage(text, &read))
        return false;
    *version = read;
    return true;
}
