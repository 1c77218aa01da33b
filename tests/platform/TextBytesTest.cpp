// Text made of bytes and characters, and back.

#include "platform/Composition.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstring>

class CFTextBytes : public TMachineTest
{
protected:
    static CFStringRef Make(const std::string& bytes, CFStringEncoding encoding, bool isExternal = false)
    {
        return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                       static_cast<CFIndex>(bytes.size()), encoding, isExternal);
    }

    static std::string Units(const char16_t* units, size_t count)
    {
        return std::string(reinterpret_cast<const char*>(units), 2 * count);
    }

    struct TConverted
    {
        CFIndex units = -1;
        CFIndex used = -1;
        std::string bytes;
    };

    // Converts a text of UTF-8 into a buffer of so many bytes.
    static TConverted Convert(const std::string& utf8, CFStringEncoding encoding, UInt8 lossByte, CFIndex size)
    {
        const TScoped<CFStringRef> text(MakeText(utf8));
        TConverted result;
        std::string buffer(32, 'x');
        result.units = CFStringGetBytes(text.Get(), CFRange{0, CFStringGetLength(text.Get())}, encoding, lossByte,
                                        false, reinterpret_cast<UInt8*>(&buffer[0]), size, &result.used);
        result.bytes = buffer.substr(0, static_cast<size_t>(result.used));
        EXPECT_EQ(std::string(buffer.size() - result.bytes.size(), 'x'), buffer.substr(result.bytes.size()))
            << "nothing is written behind";
        return result;
    }
};

TEST_F(CFTextBytes, BytesMayHoldNULs)
{
    const TScoped<CFStringRef> text(Make(std::string("a\0b", 3), kCFStringEncodingASCII));
    EXPECT_EQ(3, CFStringGetLength(text.Get()));
    EXPECT_EQ(0, CFStringGetCharacterAtIndex(text.Get(), 1));
    EXPECT_EQ('b', CFStringGetCharacterAtIndex(text.Get(), 2));
}

TEST_F(CFTextBytes, AMarkIsDroppedOnlyFromWhatCameFromOutside)
{
    const TScoped<CFStringRef> outside(Make("\xEF\xBB\xBF-", kCFStringEncodingUTF8, true));
    const TScoped<CFStringRef> inside(Make("\xEF\xBB\xBF-", kCFStringEncodingUTF8, false));
    EXPECT_EQ(1, CFStringGetLength(outside.Get()));
    EXPECT_EQ(2, CFStringGetLength(inside.Get()));
}

TEST_F(CFTextBytes, UnitsOfUTF16StandInTheHostsOrderOrAsTheirMarkSays)
{
    const char16_t plain[] = u"a\u65E5";
    const char16_t swapped[] = {0xFFFE, 0xE565};
    const TScoped<CFStringRef> native(Make(Units(plain, 2), kCFStringEncodingUnicode));
    const TScoped<CFStringRef> foreign(Make(Units(swapped, 2), kCFStringEncodingUnicode, true));
    EXPECT_EQ(0x65E5, CFStringGetCharacterAtIndex(native.Get(), 1));
    EXPECT_EQ(0x65E5, CFStringGetCharacterAtIndex(foreign.Get(), 0));
    EXPECT_EQ(nullptr, Make("odd", kCFStringEncodingUnicode));
}

TEST_F(CFTextBytes, CharactersAreCopied)
{
    UniChar units[] = {'a', 0xE9};
    const TScoped<CFStringRef> text(CFStringCreateWithCharacters(kCFAllocatorDefault, units, 2));
    units[0] = 'b';
    const TScoped<CFStringRef> expected(MakeText("a\xC3\xA9"));
    EXPECT_TRUE(CFEqual(expected.Get(), text.Get()));
}

TEST_F(CFTextBytes, ACopyOfWhatCannotChangeIsTheSameObject)
{
    const TScoped<CFStringRef> text(MakeText("a"));
    const TScoped<CFStringRef> copy(CFStringCreateCopy(kCFAllocatorDefault, text.Get()));
    EXPECT_EQ(text.Get(), copy.Get());
    EXPECT_EQ(2, CFGetRetainCount(text.Get()));
}

TEST_F(CFTextBytes, ACopyOfWhatCanChangeDoesNotChangeWithIt)
{
    const TScoped<CFDataRef> xml(MakeBytes("<string>a</string>"));
    const TScoped<CFPropertyListRef> list(CFPropertyListCreateFromXMLData(
        kCFAllocatorDefault, xml.Get(), kCFPropertyListMutableContainersAndLeaves, nullptr));
    const auto text = static_cast<CFMutableStringRef>(const_cast<void*>(list.Get()));
    const TScoped<CFStringRef> copy(CFStringCreateCopy(kCFAllocatorDefault, text));
    CFStringAppend(text, CFSTR("b"));
    EXPECT_TRUE(CFEqual(CFSTR("a"), copy.Get()));
    EXPECT_DEATH(CFStringAppend(const_cast<CFMutableStringRef>(copy.Get()), CFSTR("b")), "not mutable");
}

TEST_F(CFTextBytes, TheSystemsEncodingIsMacRoman)
{
    EXPECT_EQ(CFStringEncoding{kCFStringEncodingMacRoman}, CFStringGetSystemEncoding());
}

TEST_F(CFTextBytes, AStringNeverLendsItsBytes)
{
    EXPECT_EQ(nullptr, CFStringGetCStringPtr(CFSTR("plain"), kCFStringEncodingASCII));
}

TEST_F(CFTextBytes, ACharacterBeyondTheTextEndsTheProcess)
{
    EXPECT_DEATH(CFStringGetCharacterAtIndex(CFSTR("abc"), 3), "beyond a string of 3");
    EXPECT_DEATH(CFStringGetCharacterAtIndex(CFSTR("abc"), -1), "beyond a string of 3");
}

TEST_F(CFTextBytes, APathIsUTF8WithItsAccentsApart)
{
    const TScoped<CFStringRef> text(MakeText("Z\xC3\xBCrich"));
    char path[16];
    EXPECT_TRUE(CFStringGetFileSystemRepresentation(text.Get(), path, sizeof path));
    EXPECT_STREQ("Zu\xCC\x88rich", path);
    const TScoped<CFStringRef> back(CFStringCreateWithFileSystemRepresentation(kCFAllocatorDefault, path));
    EXPECT_EQ(7, CFStringGetLength(back.Get())) << "they stay apart";
    EXPECT_EQ(nullptr, CFStringCreateWithFileSystemRepresentation(kCFAllocatorDefault, "\xFF"));
}

TEST_F(CFTextBytes, APathThatDoesNotFitIsNotWritten)
{
    const TScoped<CFStringRef> text(MakeText("\xC3\xBC"));
    char path[8] = "xxxxxxx";
    EXPECT_FALSE(CFStringGetFileSystemRepresentation(text.Get(), path, 3)) << "three bytes and a NUL";
    EXPECT_STREQ("xxxxxxx", path);
    EXPECT_TRUE(CFStringGetFileSystemRepresentation(text.Get(), path, 4));
}

TEST_F(CFTextBytes, LettersComeApartAsFarAsTheyGo)
{
    EXPECT_EQ(u"a\u030A", platform::Decomposed(u"\u00E5"));
    EXPECT_EQ(u"u\u0308\u0304", platform::Decomposed(u"\u01D6")) << "two accents";
    EXPECT_EQ(u"\u0438\u0306", platform::Decomposed(u"\u0439")) << "Cyrillic";
    EXPECT_EQ(u"\u304B\u3099", platform::Decomposed(u"\u304C")) << "kana";
    EXPECT_EQ(u"\u00DF\u00F8\u65E5a", platform::Decomposed(u"\u00DF\u00F8\u65E5a")) << "what has no parts";
    EXPECT_EQ(u'\u00E5', platform::Composed(u'a', u'\u030A'));
    EXPECT_EQ(0, platform::Composed(u'b', u'\u030A'));
}

TEST_F(CFTextBytes, BytesEndBeforeTheCharacterThatDoesNotFit)
{
    const TConverted result = Convert("aZ\xC3\xBC!", kCFStringEncodingUTF8, 0, 3);
    EXPECT_EQ(2, result.units);
    EXPECT_EQ("aZ", result.bytes);
    EXPECT_EQ("aZ\xC3\xBC", Convert("aZ\xC3\xBC!", kCFStringEncodingUTF8, 0, 4).bytes);
}

TEST_F(CFTextBytes, BytesEndWhereTheEncodingLacksACharacterUnlessAnotherStandsForIt)
{
    const TConverted ended = Convert("a\xE6\x97\xA5z", kCFStringEncodingISOLatin1, 0, 32);
    EXPECT_EQ(1, ended.units);
    EXPECT_EQ("a", ended.bytes);
    const TConverted replaced = Convert("a\xE6\x97\xA5z", kCFStringEncodingISOLatin1, '?', 32);
    EXPECT_EQ(3, replaced.units);
    EXPECT_EQ("a?z", replaced.bytes);
}

TEST_F(CFTextBytes, WithoutABufferBytesAreCounted)
{
    const TScoped<CFStringRef> text(MakeText("Z\xC3\xBCrich"));
    CFIndex used = -1;
    EXPECT_EQ(3, CFStringGetBytes(text.Get(), CFRange{1, 3}, kCFStringEncodingUTF8, 0, false, nullptr, 0, &used));
    EXPECT_EQ(4, used);
    EXPECT_EQ(6, CFStringGetBytes(text.Get(), CFRange{0, 6}, kCFStringEncodingUTF8, 0, false, nullptr, 0, nullptr));
}
