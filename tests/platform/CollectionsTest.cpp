#include "platform/Counts.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <atomic>
#include <mutex>
#include <thread>

class CFCollections : public TMachineTest
{
protected:
    static std::string Texts(CFArrayRef array)
    {
        std::string all;
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
            char text[16] = "";
            CFStringGetCString(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, i)), text, sizeof text,
                               kCFStringEncodingUTF8);
            all += text;
        }
        return all;
    }
};

TEST_F(CFCollections, AnArrayOfObjectsOwnsThem)
{
    const std::uint64_t before = platform::CurrentCounts().objects;
    CFMutableArrayRef array = MakeObjects();
    CFStringRef text = MakeText("a");
    CFArrayAppendValue(array, text);
    CFRelease(text);
    EXPECT_EQ(1, CFGetRetainCount(text));

    CFRelease(array);
    EXPECT_EQ(before, platform::CurrentCounts().objects);
}

TEST_F(CFCollections, AnArrayOfPointersTouchesNothing)
{
    int numbers[2] = {};
    const TScoped<CFMutableArrayRef> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
    CFArrayAppendValue(array.Get(), &numbers[0]);
    CFArrayAppendValue(array.Get(), nullptr);
    CFArrayAppendValue(array.Get(), &numbers[1]);
    EXPECT_EQ(3, CFArrayGetCount(array.Get()));
    EXPECT_EQ(nullptr, CFArrayGetValueAtIndex(array.Get(), 1));
    EXPECT_EQ(&numbers[1], CFArrayGetValueAtIndex(array.Get(), 2));
}

TEST_F(CFCollections, RemovingAValueReleasesItAndMovesThoseBehindUp)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    const TScoped<CFStringRef> second(MakeText("b"));
    for (CFStringRef text : {CFSTR("a"), second.Get(), CFSTR("c")})
        CFArrayAppendValue(array.Get(), text);

    CFArrayRemoveValueAtIndex(array.Get(), 1);

    EXPECT_EQ("ac", Texts(array.Get()));
    EXPECT_EQ(1, CFGetRetainCount(second.Get()));
}

TEST_F(CFCollections, ValuesAreInsertedReplacedAndExchanged)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    CFArrayInsertValueAtIndex(array.Get(), 0, CFSTR("c"));
    CFArrayInsertValueAtIndex(array.Get(), 0, CFSTR("a"));
    CFArrayInsertValueAtIndex(array.Get(), 1, CFSTR("b"));
    EXPECT_EQ("abc", Texts(array.Get()));
    CFArraySetValueAtIndex(array.Get(), 1, CFSTR("x"));
    CFArraySetValueAtIndex(array.Get(), 3, CFSTR("d"));
    EXPECT_EQ("axcd", Texts(array.Get()));
    CFArrayExchangeValuesAtIndices(array.Get(), 0, 3);
    EXPECT_EQ("dxca", Texts(array.Get()));
    CFArrayRemoveAllValues(array.Get());
    EXPECT_EQ(0, CFArrayGetCount(array.Get()));
}

TEST_F(CFCollections, ValuesAreFoundByEqualityWithinTheRange)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    for (CFStringRef text : {CFSTR("a"), CFSTR("b"), CFSTR("a"), CFSTR("a")})
        CFArrayAppendValue(array.Get(), text);
    const TScoped<CFStringRef> equal(MakeText("a"));

    EXPECT_EQ(0, CFArrayGetFirstIndexOfValue(array.Get(), CFRange{0, 4}, equal.Get()));
    EXPECT_EQ(2, CFArrayGetFirstIndexOfValue(array.Get(), CFRange{1, 3}, equal.Get()));
    EXPECT_EQ(2, CFArrayGetLastIndexOfValue(array.Get(), CFRange{0, 3}, equal.Get()));
    EXPECT_EQ(3, CFArrayGetCountOfValue(array.Get(), CFRange{0, 4}, equal.Get()));
    EXPECT_FALSE(CFArrayContainsValue(array.Get(), CFRange{1, 1}, equal.Get()));
    EXPECT_EQ(-1, CFArrayGetLastIndexOfValue(array.Get(), CFRange{0, 4}, CFSTR("z")));
}

TEST_F(CFCollections, AnIndexBeyondTheArrayEndsTheProcess)
{
    const TScoped<CFMutableArrayRef> array(MakeObjects());
    CFArrayAppendValue(array.Get(), CFSTR("a"));
    EXPECT_DEATH(CFArrayGetValueAtIndex(array.Get(), 1), "index 1 is not below 1");
    EXPECT_DEATH(CFArrayGetValueAtIndex(array.Get(), -1), "index -1");
    EXPECT_DEATH(CFArrayRemoveValueAtIndex(array.Get(), 1), "index 1 is not below 1");
}

TEST_F(CFCollections, AnArrayMayBeCountedWhileAnotherThreadChangesIt)
{
    const TScoped<CFMutableArrayRef> array(CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr));
    std::atomic<bool> done{false};

    std::thread changer([&] {
        for (int i = 0; i < 1000; ++i) {
            CFArrayAppendValue(array.Get(), &done);
            if (i % 3 == 0)
                CFArrayRemoveValueAtIndex(array.Get(), 0);
        }
        done = true;
    });
    while (!done) {
        EXPECT_GE(CFArrayGetCount(array.Get()), 0);
        EXPECT_LE(CFArrayGetCount(array.Get()), 1000);
    }
    changer.join();

    EXPECT_EQ(666, CFArrayGetCount(array.Get()));
}

TEST_F(CFCollections, ADictionaryFindsByEqualityAndOwnsKeyAndValue)
{
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    const TScoped<CFStringRef> key(MakeText("key"));
    const TScoped<CFStringRef> value(MakeText("value"));
    CFDictionarySetValue(table.Get(), key.Get(), value.Get());

    EXPECT_EQ(value.Get(), CFDictionaryGetValue(table.Get(), CFSTR("key")));
    EXPECT_EQ(nullptr, CFDictionaryGetValue(table.Get(), CFSTR("other")));
    EXPECT_EQ(2, CFGetRetainCount(key.Get()));
    EXPECT_EQ(2, CFGetRetainCount(value.Get()));
}

TEST_F(CFCollections, SettingAKeyAgainReplacesItsValueAndKeepsTheKey)
{
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    const TScoped<CFStringRef> first(MakeText("key"));
    const TScoped<CFStringRef> second(MakeText("key"));
    const TScoped<CFStringRef> old(MakeText("old"));
    CFDictionarySetValue(table.Get(), first.Get(), old.Get());

    CFDictionarySetValue(table.Get(), second.Get(), CFSTR("new"));

    EXPECT_EQ(1, CFDictionaryGetCount(table.Get()));
    EXPECT_EQ(1, CFGetRetainCount(old.Get()));
    EXPECT_EQ(2, CFGetRetainCount(first.Get()));
    EXPECT_EQ(1, CFGetRetainCount(second.Get()));
}

TEST_F(CFCollections, SettingTheSameValueAgainDoesNotDestroyIt)
{
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    CFStringRef value = MakeText("value");
    CFDictionarySetValue(table.Get(), CFSTR("key"), value);
    CFRelease(value);

    CFDictionarySetValue(table.Get(), CFSTR("key"), value);

    EXPECT_EQ(1, CFGetRetainCount(value));
}

TEST_F(CFCollections, AddingLeavesAPresentKeyAloneAndReplacingAMissingOne)
{
    const TScoped<CFMutableDictionaryRef> table(MakeTable());
    CFDictionaryAddValue(table.Get(), CFSTR("a"), CFSTR("1"));
    CFDictionaryAddValue(table.Get(), CFSTR("a"), CFSTR("2"));
    CFDictionaryReplaceValue(table.Get(), CFSTR("b"), CFSTR("3"));

    EXPECT_TRUE(CFEqual(CFSTR("1"), CFDictionaryGetValue(table.Get(), CFSTR("a"))));
    EXPECT_FALSE(CFDictionaryContainsKey(table.Get(), CFSTR("b")));
    CFDictionaryReplaceValue(table.Get(), CFSTR("a"), CFSTR("4"));
    EXPECT_TRUE(CFDictionaryContainsValue(table.Get(), CFSTR("4")));
    CFDictionaryRemoveValue(table.Get(), CFSTR("b"));
    EXPECT_EQ(1, CFDictionaryGetCountOfKey(table.Get(), CFSTR("a")));
    CFDictionaryRemoveValue(table.Get(), CFSTR("a"));
    EXPECT_EQ(0, CFDictionaryGetCount(table.Get()));
}

TEST_F(CFCollections, ANullValueIsTellableFromNoValue)
{
    const TScoped<CFMutableDictionaryRef> table(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, nullptr, nullptr));
    CFDictionarySetValue(table.Get(), &table, nullptr);

    const void* value = &table;
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(table.Get(), &table, &value));
    EXPECT_EQ(nullptr, value);
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(table.Get(), &value, nullptr));
}

TEST_F(CFCollections, DictionariesAreEqualInWhateverOrder)
{
    const TScoped<CFMutableDictionaryRef> one(MakeTable());
    const TScoped<CFMutableDictionaryRef> other(MakeTable());
    CFDictionarySetValue(one.Get(), CFSTR("a"), CFSTR("1"));
    CFDictionarySetValue(one.Get(), CFSTR("b"), CFSTR("2"));
    CFDictionarySetValue(other.Get(), CFSTR("b"), CFSTR("2"));
    CFDictionarySetValue(other.Get(), CFSTR("a"), CFSTR("1"));
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));

    CFDictionarySetValue(other.Get(), CFSTR("a"), CFSTR("2"));
    EXPECT_FALSE(CFEqual(one.Get(), other.Get()));
}

TEST_F(CFCollections, DataHoldsBytesOfAnyValue)
{
    const TScoped<CFDataRef> data(MakeBytes(std::string("a\0b", 3)));
    EXPECT_EQ(3, CFDataGetLength(data.Get()));
    EXPECT_EQ('b', CFDataGetBytePtr(data.Get())[2]);
    const TScoped<CFDataRef> none(CFDataCreate(kCFAllocatorDefault, nullptr, 0));
    EXPECT_EQ(0, CFDataGetLength(none.Get()));
}

TEST_F(CFCollections, AnArrayOfGivenValuesOwnsThemAndCannotBeChanged)
{
    const TScoped<CFStringRef> text(MakeText("a"));
    const void* values[] = {text.Get(), kCFBooleanTrue};
    const TScoped<CFArrayRef> array(CFArrayCreate(kCFAllocatorDefault, values, 2, &kCFTypeArrayCallBacks));
    EXPECT_EQ(2, CFArrayGetCount(array.Get()));
    EXPECT_EQ(text.Get(), CFArrayGetValueAtIndex(array.Get(), 0));
    EXPECT_EQ(2, CFGetRetainCount(text.Get()));
    EXPECT_DEATH(CFArrayRemoveAllValues(const_cast<CFMutableArrayRef>(array.Get())), "not mutable");
}

TEST_F(CFCollections, OfEqualKeysADictionaryTakesTheFirst)
{
    const TScoped<CFStringRef> same(MakeText("k"));
    const void* keys[] = {CFSTR("k"), same.Get(), CFSTR("l")};
    const void* values[] = {CFSTR("first"), CFSTR("second"), CFSTR("third")};
    const TScoped<CFDictionaryRef> table(CFDictionaryCreate(
        kCFAllocatorDefault, keys, values, 3, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(2, CFDictionaryGetCount(table.Get()));
    EXPECT_EQ(CFSTR("first"), CFDictionaryGetValue(table.Get(), CFSTR("k")));
    EXPECT_DEATH(CFDictionaryRemoveAllValues(const_cast<CFMutableDictionaryRef>(table.Get())), "not mutable");
}

TEST_F(CFCollections, ACopyOfADictionaryChangesAloneAndSharesTheValues)
{
    const TScoped<CFStringRef> value(MakeText("v"));
    const void* keys[] = {CFSTR("k")};
    const void* values[] = {value.Get()};
    const TScoped<CFDictionaryRef> table(CFDictionaryCreate(
        kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const TScoped<CFMutableDictionaryRef> copy(CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, table.Get()));
    EXPECT_TRUE(CFEqual(table.Get(), copy.Get()));
    EXPECT_EQ(value.Get(), CFDictionaryGetValue(copy.Get(), CFSTR("k")));
    EXPECT_EQ(3, CFGetRetainCount(value.Get()));

    CFDictionaryRemoveValue(copy.Get(), CFSTR("k"));
    EXPECT_EQ(1, CFDictionaryGetCount(table.Get()));
    EXPECT_EQ(0, CFDictionaryGetCount(copy.Get()));
}
