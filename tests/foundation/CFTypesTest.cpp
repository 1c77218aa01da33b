#include "foundation/CFTypes.h"
#include "foundation/ScopedCFType.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <algorithm>
#include <cstring>
#include <string>

class CFTypes : public TMachineTest
{
protected:
    static CFStringRef MakeString(const std::string& text)
    {
        return CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8);
    }

    static CFDataRef MakeData(const std::string& bytes)
    {
        return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                            static_cast<CFIndex>(bytes.size()));
    }

    // Makes a property list of a copy of the text that is gone afterwards.
    static CFPropertyListRef Parse(const std::string& xml)
    {
        std::string copy = xml;
        const CFPropertyListRef list =
            CreatePropertyListFromBytes(reinterpret_cast<const UInt8*>(copy.data()), static_cast<CFIndex>(copy.size()));
        std::fill(copy.begin(), copy.end(), '#');
        return list;
    }

    static bool StringEquals(const std::string& string, const char* text)
    {
        return CompareCFTypeRefToString(TScopedCFType(MakeString(string)).Get(), text, false);
    }
    static bool StringContains(const std::string& string, const char* text)
    {
        return CompareCFTypeRefToString(TScopedCFType(MakeString(string)).Get(), text, true);
    }
    static bool DataEquals(const std::string& bytes, const char* text)
    {
        return CompareCFTypeRefToString(TScopedCFType(MakeData(bytes)).Get(), text, false);
    }
    static bool DataContains(const std::string& bytes, const char* text)
    {
        return CompareCFTypeRefToString(TScopedCFType(MakeData(bytes)).Get(), text, true);
    }
};

TEST_F(CFTypes, AReferenceOfTheTypeIsHandedOutUnretained)
{
    const TScopedCFType string(MakeString("disk2"));
    CFTypeRef result = nullptr;

    EXPECT_TRUE(CastCFType(string.Get(), CFStringGetTypeID(), &result));
    EXPECT_EQ(string.Get(), result);
    EXPECT_EQ(1, CFGetRetainCount(string.Get()));
}

TEST_F(CFTypes, AReferenceOfAnotherTypeBecomesNull)
{
    CFTypeRef result = CFSTR("before");

    EXPECT_FALSE(CastCFType(CFSTR("disk2"), CFNumberGetTypeID(), &result));
    EXPECT_EQ(nullptr, result);
}

TEST_F(CFTypes, ANullReferenceIsOfNoType)
{
    CFTypeRef result = CFSTR("before");

    EXPECT_FALSE(CastCFType(nullptr, CFStringGetTypeID(), &result));
    EXPECT_EQ(nullptr, result);
}

TEST_F(CFTypes, CFTypeAsHasTheTypeOrIsNull)
{
    const CFStringRef string = CFTypeAs<CFStringRef>(CFSTR("disk2"), CFStringGetTypeID());

    EXPECT_EQ(CFSTR("disk2"), string);
    EXPECT_EQ(nullptr, CFTypeAs<CFDataRef>(CFSTR("disk2"), CFDataGetTypeID()));
    EXPECT_EQ(nullptr, CFTypeAs<CFDataRef>(nullptr, CFDataGetTypeID()));
}

TEST_F(CFTypes, APropertyListIsMadeFromXMLThatIsGoneAfterwards)
{
    const TScopedCFType list(Parse("<plist version=\"1.0\"><dict><key>Name</key><string>Macintosh HD</string>"
                                   "<key>Bytes</key><data>AQI=</data></dict></plist>"));

    const auto dictionary = CFTypeAs<CFDictionaryRef>(list.Get(), CFDictionaryGetTypeID());
    ASSERT_NE(nullptr, dictionary);
    EXPECT_TRUE(CompareCFTypeRefToString(CFDictionaryGetValue(dictionary, CFSTR("Name")), "Macintosh HD", false));
    EXPECT_TRUE(CompareCFTypeRefToString(CFDictionaryGetValue(dictionary, CFSTR("Bytes")), "\1\2", false));
    EXPECT_EQ(1, CFGetRetainCount(list.Get()));
}

TEST_F(CFTypes, BytesThatAreNoPropertyListGiveNull)
{
    EXPECT_EQ(nullptr, Parse(""));
    EXPECT_EQ(nullptr, Parse("<plist><dict><key>Name</key></dict></plist>"));
    EXPECT_EQ(nullptr, Parse("<html/>"));
}

TEST_F(CFTypes, NoMoreBytesAreReadThanSaid)
{
    const char xml[] = "<plist><string>A</string></plist><";

    const TScopedCFType list(
        CreatePropertyListFromBytes(reinterpret_cast<const UInt8*>(xml), static_cast<CFIndex>(strlen(xml) - 1)));
    EXPECT_TRUE(CompareCFTypeRefToString(list.Get(), "A", false));
}

// What is parsed is handed out whether it is thought valid or not.
TEST_F(CFTypes, AnInvalidPropertyListIsHandedOutAllTheSame)
{
    const TFault fault("CFPropertyListIsValid", {0});

    const TScopedCFType list(Parse("<plist><string>A</string></plist>"));
    EXPECT_TRUE(list);
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(CFTypes, WithoutMemoryForTheBytesThereIsNoPropertyList)
{
    const TFault fault("CFDataCreateWithBytesNoCopy", {0});

    EXPECT_EQ(nullptr, Parse("<plist><string>A</string></plist>"));
}

TEST_F(CFTypes, StringsAreEqualByEveryCharacter)
{
    EXPECT_TRUE(StringEquals("USB", "USB"));
    EXPECT_FALSE(StringEquals("USB", "usb"));
    EXPECT_FALSE(StringEquals("USB", "US"));
    EXPECT_FALSE(StringEquals("USB", "USBx"));
    EXPECT_TRUE(StringEquals("", ""));
    EXPECT_FALSE(StringEquals("", "x"));
}

TEST_F(CFTypes, ATextOccursAtTheStartInTheMiddleAndAtTheEnd)
{
    EXPECT_TRUE(StringContains("Serial ATA", "Serial"));
    EXPECT_TRUE(StringContains("Serial ATA", "al A"));
    EXPECT_TRUE(StringContains("Serial ATA", "ATA"));
    EXPECT_TRUE(StringContains("ATA", "ATA"));
    EXPECT_FALSE(StringContains("Serial ATA", "ata"));
    EXPECT_FALSE(StringContains("Serial ATA", "SATA"));
}

TEST_F(CFTypes, ALongerTextOccursNowhereAndAnEmptyOneEverywhere)
{
    EXPECT_FALSE(StringContains("ATA", "ATAPI"));
    EXPECT_TRUE(StringContains("ATA", ""));
    EXPECT_TRUE(StringContains("", ""));
    EXPECT_TRUE(DataContains("", ""));
}

// "aab" stands behind a first "a" that leads nowhere.
TEST_F(CFTypes, ATextIsFoundBehindItsOwnBeginning)
{
    EXPECT_TRUE(StringContains("aaab", "aab"));
}

TEST_F(CFTypes, ANullReferenceOrOneOfAnotherTypeEqualsNothing)
{
    const SInt32 value = 0;
    const TScopedCFType number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value));

    for (const bool substring : {false, true}) {
        EXPECT_FALSE(CompareCFTypeRefToString(nullptr, "", substring));
        EXPECT_FALSE(CompareCFTypeRefToString(number.Get(), "", substring));
        EXPECT_FALSE(CompareCFTypeRefToString(kCFBooleanTrue, "", substring));
    }
}

TEST_F(CFTypes, ACFStringThatIsNotASCIIEqualsNothing)
{
    EXPECT_FALSE(StringEquals("\xC3\xA9", "\xC3\xA9"));
    EXPECT_FALSE(StringContains("iPod \xC3\xA9", "iPod"));
}

TEST_F(CFTypes, ACFStringOf255CharactersIsComparedAndALongerOneIsNot)
{
    const std::string text(255, 'x');

    EXPECT_TRUE(StringEquals(text, text.c_str()));
    EXPECT_FALSE(StringEquals(text + "x", (text + "x").c_str()));
    EXPECT_FALSE(StringContains(text + "x", "x"));
}

TEST_F(CFTypes, DataIsTextUpToItsFirstNUL)
{
    EXPECT_TRUE(DataEquals(std::string("disk2\0s3", 8), "disk2"));
    EXPECT_FALSE(DataContains(std::string("disk2\0s3", 8), "s3"));
    EXPECT_FALSE(DataEquals(std::string("\0disk2", 6), "disk2"));
    EXPECT_TRUE(DataEquals(std::string("\0disk2", 6), ""));
}

TEST_F(CFTypes, DataWithoutANULIsTextToItsEnd)
{
    EXPECT_TRUE(DataEquals("disk2", "disk2"));
    EXPECT_FALSE(DataEquals("disk2", "disk2s3"));
    EXPECT_TRUE(DataContains("disk2", "sk2"));
    EXPECT_FALSE(DataContains("disk2", "2s"));
    EXPECT_TRUE(DataEquals("", ""));
}

TEST_F(CFTypes, DataMayBeLongAndOfAnyBytes)
{
    const std::string text = std::string(1000, 'x') + "\xE9";

    EXPECT_TRUE(DataEquals(text, text.c_str()));
    EXPECT_TRUE(DataContains(text, "x\xE9"));
}

TEST_F(CFTypes, AStringIsExtractedWhenItIsASCIIAndFits)
{
    char text[6] = "";

    EXPECT_TRUE(ExtractASCII(CFSTR("disk2"), text, sizeof text));
    EXPECT_STREQ("disk2", text);
    EXPECT_FALSE(ExtractASCII(CFSTR("disk10"), text, sizeof text));
    EXPECT_FALSE(ExtractASCII(TScopedCFType(MakeString("\xC3\xA9")).Get(), text, sizeof text));
    EXPECT_FALSE(ExtractASCII(TScopedCFType(MakeData("disk")).Get(), text, sizeof text));
    EXPECT_FALSE(ExtractASCII(nullptr, text, sizeof text));
}

TEST_F(CFTypes, ANumberIsExtractedExactlyOrNot)
{
    const SInt64 large = 0x123456789ALL;
    const TScopedCFType number(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &large));
    SInt64 value = 77;
    SInt32 shortValue = 77;

    EXPECT_TRUE(ExtractSInt64(number.Get(), &value));
    EXPECT_EQ(large, value);
    EXPECT_FALSE(ExtractSInt32(number.Get(), &shortValue));
}

TEST_F(CFTypes, WhatIsNoNumberLeavesTheValueAlone)
{
    SInt64 value = 77;
    SInt32 shortValue = 77;

    EXPECT_FALSE(ExtractSInt64(CFSTR("5"), &value));
    EXPECT_FALSE(ExtractSInt64(nullptr, &value));
    EXPECT_FALSE(ExtractSInt32(kCFBooleanTrue, &shortValue));
    EXPECT_EQ(77, value);
    EXPECT_EQ(77, shortValue);
}

TEST_F(CFTypes, AHolderGivesItsReferenceBackUnlessItIsReleasedToTheCaller)
{
    const CFStringRef string = MakeString("disk2");
    {
        const TScopedCFType held(CFRetain(string));
        EXPECT_TRUE(held);
        EXPECT_EQ(2, CFGetRetainCount(string));
    }
    EXPECT_EQ(1, CFGetRetainCount(string));

    TScopedCFType taken(string);
    EXPECT_EQ(string, taken.Release());
    EXPECT_FALSE(taken);
    EXPECT_EQ(nullptr, taken.Get());
    EXPECT_EQ(1, CFGetRetainCount(string));
    CFRelease(string);
}
