#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

class CFPropertyLists : public TMachineTest
{
protected:
    static CFPropertyListRef Read(const std::string& xml, CFOptionFlags mutability = kCFPropertyListImmutable)
    {
        const TScoped<CFDataRef> data(MakeBytes(xml));
        return CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(), mutability, nullptr);
    }

    static std::string Write(CFPropertyListRef list)
    {
        const TScoped<CFDataRef> xml(CFPropertyListCreateXMLData(kCFAllocatorDefault, list));
        if (xml.Get() == nullptr)
            return "";
        return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(xml.Get())),
                           static_cast<size_t>(CFDataGetLength(xml.Get())));
    }
};

static const char kList[] = "<dict><key>a</key><array><string>x</string><integer>5</integer></array>"
                            "<key>b</key><data>AAE=</data></dict>";

TEST_F(CFPropertyLists, XMLBecomesObjects)
{
    const TScoped<CFPropertyListRef> list(Read(kList));
    ASSERT_EQ(CFDictionaryGetTypeID(), CFGetTypeID(list.Get()));
    const auto table = static_cast<CFDictionaryRef>(list.Get());
    const auto array = static_cast<CFArrayRef>(CFDictionaryGetValue(table, CFSTR("a")));
    EXPECT_EQ(2, CFArrayGetCount(array));
    EXPECT_TRUE(CFEqual(CFSTR("x"), CFArrayGetValueAtIndex(array, 0)));
    EXPECT_EQ(2, CFDataGetLength(static_cast<CFDataRef>(CFDictionaryGetValue(table, CFSTR("b")))));
}

TEST_F(CFPropertyLists, TheListAndAllInItIsReleasedWithIt)
{
    CFRelease(Read(kList));
}

TEST_F(CFPropertyLists, WhatIsReadIsMutableAsFarAsItWasAskedFor)
{
    const TScoped<CFPropertyListRef> fixed(Read("<array><string>x</string></array>"));
    const TScoped<CFPropertyListRef> containers(
        Read("<array><string>x</string></array>", kCFPropertyListMutableContainers));
    const TScoped<CFPropertyListRef> leaves(
        Read("<array><string>x</string></array>", kCFPropertyListMutableContainersAndLeaves));
    const auto array = [](const TScoped<CFPropertyListRef>& list) {
        return const_cast<CFMutableArrayRef>(static_cast<CFArrayRef>(list.Get()));
    };
    const auto text = [&](const TScoped<CFPropertyListRef>& list) {
        return static_cast<CFMutableStringRef>(const_cast<void*>(CFArrayGetValueAtIndex(array(list), 0)));
    };

    EXPECT_DEATH(CFArrayAppendValue(array(fixed), CFSTR("y")), "not mutable");
    CFArrayAppendValue(array(containers), CFSTR("y"));
    EXPECT_DEATH(CFStringAppend(text(containers), CFSTR("y")), "not mutable");
    CFStringAppend(text(leaves), CFSTR("y"));
    EXPECT_TRUE(CFEqual(CFSTR("xy"), text(leaves)));
}

TEST_F(CFPropertyLists, AnErrorIsATextThatTheCallerReleases)
{
    const TScoped<CFDataRef> data(MakeBytes("<plist>\n<integer>x</integer></plist>"));
    CFStringRef error = nullptr;
    EXPECT_EQ(nullptr, CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(), 0, &error));
    ASSERT_NE(nullptr, error);
    EXPECT_TRUE(CFEqual(CFSTR("line 2: \"x\" is no integer of 64 bits"), error));
    CFRelease(error);
}

TEST_F(CFPropertyLists, SuccessClearsTheError)
{
    const TScoped<CFDataRef> data(MakeBytes("<true/>"));
    CFStringRef error = CFSTR("old");
    EXPECT_EQ(kCFBooleanTrue, CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.Get(), 0, &error));
    EXPECT_EQ(nullptr, error);
}

TEST_F(CFPropertyLists, KeysAreWrittenInOrder)
{
    const TScoped<CFPropertyListRef> list(
        Read("<dict><key>b</key><true/><key>B</key><true/><key>a</key><true/><key>\xC3\xA9</key><true/></dict>"));
    const std::string xml = Write(list.Get());
    EXPECT_LT(xml.find("<key>B<"), xml.find("<key>a<"));
    EXPECT_LT(xml.find("<key>a<"), xml.find("<key>b<"));
    EXPECT_LT(xml.find("<key>b<"), xml.find("<key>\xC3\xA9<"));
}

TEST_F(CFPropertyLists, WhatIsNoPropertyListIsNotWritten)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    CFArrayAppendValue(array.Get(), CFRunLoopGetCurrent());
    EXPECT_EQ("", Write(array.Get()));

    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    CFDictionarySetValue(table.Get(), kCFBooleanTrue, CFSTR("a key must be text"));
    EXPECT_EQ("", Write(table.Get()));
}

TEST_F(CFPropertyLists, AnArrayThatHoldsItselfIsNotWritten)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    CFArrayAppendValue(array.Get(), array.Get());
    EXPECT_EQ("", Write(array.Get()));
    CFArrayRemoveAllValues(array.Get());
}

TEST_F(CFPropertyLists, ANumberOfSixtyFourBitsComesBack)
{
    const TScoped<CFPropertyListRef> list(Read("<integer>18446744073709551615</integer>"));
    SInt64 value = 0;
    EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(list.Get()), kCFNumberSInt64Type, &value));
    EXPECT_EQ(-1, value);
    EXPECT_NE(std::string::npos, Write(list.Get()).find("<integer>18446744073709551615</integer>"));
}

class CFPropertyListValidity : public CFPropertyLists
{
protected:
    static bool IsValid(const std::string& xml, CFPropertyListFormat format)
    {
        const TScoped<CFPropertyListRef> list(Read(xml));
        return CFPropertyListIsValid(list.Get(), format);
    }
};

TEST_F(CFPropertyListValidity, XMLTakesWhatItIsReadFrom)
{
    for (const char* list : {kList, "<real>1.5</real>", "<date>2008-10-15T12:34:56Z</date>", "<true/>", "<dict/>"})
        EXPECT_TRUE(IsValid(list, kCFPropertyListXMLFormat_v1_0)) << list;
}

TEST_F(CFPropertyListValidity, OpenStepsFormatTakesNoNumbersDatesAndTruthValues)
{
    EXPECT_TRUE(IsValid("<dict><key>a</key><array><string>x</string><data>AA==</data></array></dict>",
                        kCFPropertyListOpenStepFormat));
    for (const char* leaf : {"<integer>1</integer>", "<real>1</real>", "<date>2008-10-15T12:34:56Z</date>", "<false/>"})
        EXPECT_FALSE(IsValid("<array>" + std::string(leaf) + "</array>", kCFPropertyListOpenStepFormat)) << leaf;
}

TEST_F(CFPropertyListValidity, WhatHasNoPlaceInAListIsFoundHoweverDeep)
{
    const TScoped<CFUUIDRef> uuid(CFUUIDCreate(kCFAllocatorDefault));
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    CFDictionarySetValue(table.Get(), CFSTR("inner"), array.Get());
    EXPECT_TRUE(CFPropertyListIsValid(table.Get(), kCFPropertyListXMLFormat_v1_0));
    CFArrayAppendValue(array.Get(), uuid.Get());
    EXPECT_FALSE(CFPropertyListIsValid(table.Get(), kCFPropertyListXMLFormat_v1_0));
    CFArrayRemoveAllValues(array.Get());
    CFDictionarySetValue(table.Get(), uuid.Get(), CFSTR("a key must be text"));
    EXPECT_FALSE(CFPropertyListIsValid(table.Get(), kCFPropertyListXMLFormat_v1_0));
}

TEST_F(CFPropertyListValidity, WhatHoldsItselfManyTimesIsSoonFound)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    for (int i = 0; i < 3; ++i)
        CFArrayAppendValue(array.Get(), array.Get());
    EXPECT_FALSE(CFPropertyListIsValid(array.Get(), kCFPropertyListXMLFormat_v1_0));
    CFArrayRemoveAllValues(array.Get());
}

TEST_F(CFPropertyListValidity, AValueThatStandsTwiceDoesNotHoldItself)
{
    const TScoped<CFMutableArrayRef> inner(MakeObjects());
    const TScoped<CFMutableArrayRef> outer(MakeObjects());
    CFArrayAppendValue(outer.Get(), inner.Get());
    CFArrayAppendValue(outer.Get(), inner.Get());
    EXPECT_TRUE(CFPropertyListIsValid(outer.Get(), kCFPropertyListXMLFormat_v1_0));
}

TEST_F(CFPropertyListValidity, AnotherFormatEndsTheProcess)
{
    EXPECT_DEATH(CFPropertyListIsValid(kCFBooleanTrue, kCFPropertyListBinaryFormat_v1_0), "not for format 200");
}
