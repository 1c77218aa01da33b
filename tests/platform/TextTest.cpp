#include "platform/Text.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstring>

class CFText : public TMachineTest
{
};

TEST_F(CFText, LengthIsInUnitsOfUTF16)
{
    const TScoped<CFStringRef> text(MakeText("a\xC3\xA9\xF0\x9F\x98\x80"));
    EXPECT_EQ(4, CFStringGetLength(text.Get()));

    UniChar units[4] = {};
    CFStringGetCharacters(text.Get(), CFRange{0, 4}, units);
    const UniChar expected[] = {'a', 0xE9, 0xD83D, 0xDE00};
    EXPECT_EQ(0, memcmp(expected, units, sizeof units));
}

TEST_F(CFText, ARangeBeyondTheTextEndsTheProcess)
{
    UniChar units[4] = {};
    EXPECT_DEATH(CFStringGetCharacters(CFSTR("abc"), CFRange{1, 3}, units), "beyond a string of 3");
}

TEST_F(CFText, TextFitsWithItsNULOrNotAtAll)
{
    char buffer[8] = "xxxxxxx";
    EXPECT_FALSE(CFStringGetCString(CFSTR("disk2"), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(CFSTR("disk2"), buffer, 6, kCFStringEncodingUTF8));
    EXPECT_STREQ("disk2", buffer);
    EXPECT_EQ('x', buffer[6]);
    EXPECT_FALSE(CFStringGetCString(CFSTR(""), buffer, 0, kCFStringEncodingUTF8));
}

TEST_F(CFText, ACharacterThatTheEncodingLacksFails)
{
    const TScoped<CFStringRef> text(MakeText("\xE6\x97\xA5"));
    char buffer[8];
    EXPECT_FALSE(CFStringGetCString(text.Get(), buffer, sizeof buffer, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(text.Get(), buffer, sizeof buffer, kCFStringEncodingISOLatin1));
    EXPECT_FALSE(CFStringGetCString(text.Get(), buffer, sizeof buffer, kCFStringEncodingMacRoman));
    EXPECT_TRUE(CFStringGetCString(text.Get(), buffer, sizeof buffer, kCFStringEncodingUTF8));
}

TEST_F(CFText, UTF8ThatIsNoneIsRefused)
{
    static const struct
    {
        const char* bytes;
        const char* why;
    } kCases[] = {
        {"\x80", "a byte that goes on, alone"},  {"\xC3", "cut short"},
        {"\xC3(", "not gone on with"},           {"\xC0\x80", "longer than need be"},
        {"\xE0\x80\xAF", "longer than need be"}, {"\xF0\x80\x80\x80", "longer than need be"},
        {"\xED\xA0\x80", "half of a pair"},      {"\xF4\x90\x80\x80", "beyond U+10FFFF"},
        {"\xF8\x88\x80\x80\x80", "five bytes"},  {"\xFF", "never a byte of UTF-8"},
    };
    for (const auto& one : kCases)
        EXPECT_EQ(nullptr, MakeText(one.bytes)) << one.why;
}

TEST_F(CFText, TheEndsOfEachLengthOfUTF8AreTaken)
{
    for (const char* bytes : {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
                              "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        const TScoped<CFStringRef> text(MakeText(bytes));
        ASSERT_NE(nullptr, text.Get()) << bytes;
        char back[8];
        EXPECT_TRUE(CFStringGetCString(text.Get(), back, sizeof back, kCFStringEncodingUTF8));
        EXPECT_STREQ(bytes, back);
    }
}

TEST_F(CFText, AMarkAtTheBeginningOfUTF8IsDropped)
{
    const TScoped<CFStringRef> text(MakeText("\xEF\xBB\xBF"
                                             "a"));
    EXPECT_TRUE(CFEqual(CFSTR("a"), text.Get()));
}

TEST_F(CFText, MacRomanHasItsOwnUpperHalf)
{
    const TScoped<CFStringRef> text(
        CFStringCreateWithCString(kCFAllocatorDefault, "\x8A\xDB\xF0", kCFStringEncodingMacRoman));
    char bytes[16];
    EXPECT_TRUE(CFStringGetCString(text.Get(), bytes, sizeof bytes, kCFStringEncodingUTF8));
    EXPECT_STREQ("\xC3\xA4\xE2\x82\xAC\xEF\xA3\xBF", bytes) << "a with diaeresis, the euro, the apple";
    EXPECT_TRUE(CFStringGetCString(text.Get(), bytes, sizeof bytes, kCFStringEncodingMacRoman));
    EXPECT_STREQ("\x8A\xDB\xF0", bytes);
}

TEST_F(CFText, EveryByteOfMacRomanComesBack)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    std::u16string text;
    ASSERT_TRUE(platform::Decode(all, kCFStringEncodingMacRoman, &text));
    std::string back;
    ASSERT_TRUE(platform::Encode(text, kCFStringEncodingMacRoman, &back));
    EXPECT_EQ(all, back);
}

TEST_F(CFText, ALetterAndItsMarkBecomeOneByteOfMacRoman)
{
    const TScoped<CFStringRef> text(MakeText("e\xCC\x81"));
    char bytes[4];
    EXPECT_TRUE(CFStringGetCString(text.Get(), bytes, sizeof bytes, kCFStringEncodingMacRoman));
    EXPECT_STREQ("\x8E", bytes);
    EXPECT_FALSE(CFStringGetCString(text.Get(), bytes, sizeof bytes, kCFStringEncodingASCII));
}

TEST_F(CFText, AnUnknownEncodingIsRefused)
{
    EXPECT_EQ(nullptr, CFStringCreateWithCString(kCFAllocatorDefault, "a", 0x0A01));
    char bytes[4];
    EXPECT_FALSE(CFStringGetCString(CFSTR("a"), bytes, sizeof bytes, 0x0A01));
}

TEST_F(CFText, OnlyAMutableTextCanBeAppendedTo)
{
    const TScoped<CFStringRef> text(MakeText("a"));
    EXPECT_DEATH(CFStringAppend(const_cast<CFMutableStringRef>(text.Get()), CFSTR("b")), "not mutable");
}
