#include "platform/Counts.h"
#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <limits>
#include <thread>
#include <vector>

class CFObjects : public TMachineTest
{
};

TEST_F(CFObjects, AnObjectLivesUntilItsLastReferenceIsReleased)
{
    const std::uint64_t before = platform::CurrentCounts().objects;
    CFStringRef text = MakeText("Halvorix");
    CFRetain(text);
    EXPECT_EQ(2, CFGetRetainCount(text));

    CFRelease(text);
    EXPECT_EQ(1, CFGetRetainCount(text));
    EXPECT_EQ(before + 1, platform::CurrentCounts().objects);

    CFRelease(text);
    EXPECT_EQ(before, platform::CurrentCounts().objects);
}

TEST_F(CFObjects, RetainReturnsTheObject)
{
    const TScoped<CFStringRef> text(MakeText("Halvorix"));
    EXPECT_EQ(text.Get(), CFRetain(text.Get()));
    CFRelease(text.Get());
}

TEST_F(CFObjects, ReleasingADeadObjectIsCountedAndHarmsNobody)
{
    CFStringRef dead = MakeText("dead");
    CFRelease(dead);
    const TScoped<CFStringRef> living(MakeText("living"));

    CFRelease(dead);

    EXPECT_EQ(1u, platform::CurrentCounts().overReleases);
    EXPECT_EQ(1, CFGetRetainCount(living.Get()));
    fExpectedLeft.overReleases = 1;
}

TEST_F(CFObjects, UsingADeadObjectEndsTheProcess)
{
    CFStringRef dead = MakeText("dead");
    CFRelease(dead);
    EXPECT_DEATH(CFStringGetLength(dead), "an object that was released");
}

TEST_F(CFObjects, UsingNoObjectEndsTheProcess)
{
    EXPECT_DEATH(CFRelease(nullptr), "no object");
    EXPECT_DEATH(CFRetain(nullptr), "no object");
}

TEST_F(CFObjects, UsingAnObjectOfAnotherTypeEndsTheProcess)
{
    EXPECT_DEATH(CFArrayGetCount(reinterpret_cast<CFArrayRef>(kCFBooleanTrue)), "CFArray was called with a CFBoolean");
}

TEST_F(CFObjects, ConstantsAreNotCountedAndOutliveAnyRelease)
{
    const std::uint64_t before = platform::CurrentCounts().objects;

    CFStringRef text = CFSTR("a constant that no other test has");
    CFRelease(text);
    CFRelease(text);
    CFRelease(kCFBooleanTrue);

    EXPECT_EQ(before, platform::CurrentCounts().objects);
    EXPECT_EQ(33, CFStringGetLength(text));
    EXPECT_EQ(std::numeric_limits<CFIndex>::max(), CFGetRetainCount(text));
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
}

TEST_F(CFObjects, TheSameConstantIsTheSameObject)
{
    EXPECT_EQ(CFSTR("BSD Name"), CFSTR("BSD Name"));
    EXPECT_NE(CFSTR("BSD Name"), CFSTR("BSD Major"));
}

TEST_F(CFObjects, TypesDiffer)
{
    const std::vector<CFTypeID> types{CFStringGetTypeID(),     CFDataGetTypeID(),   CFNumberGetTypeID(),
                                      CFBooleanGetTypeID(),    CFDateGetTypeID(),   CFArrayGetTypeID(),
                                      CFDictionaryGetTypeID(), CFRunLoopGetTypeID()};
    for (size_t i = 0; i < types.size(); ++i) {
        for (size_t j = 0; j < i; ++j)
            EXPECT_NE(types[i], types[j]);
    }
}

TEST_F(CFObjects, ObjectsOfDifferentTypesAreNeverEqual)
{
    const TScoped<CFDataRef> data(MakeBytes("5"));
    const TScoped<CFStringRef> text(MakeText("5"));
    EXPECT_FALSE(CFEqual(data.Get(), text.Get()));
    EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
}

TEST_F(CFObjects, EqualObjectsHaveEqualHashes)
{
    const TScoped<CFDataRef> one(MakeBytes("bytes"));
    const TScoped<CFDataRef> other(MakeBytes("bytes"));
    const TScoped<CFDataRef> third(MakeBytes("bytez"));
    EXPECT_TRUE(CFEqual(one.Get(), other.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(other.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), third.Get()));
}

TEST_F(CFObjects, ReferencesAreCountedRightlyByManyThreads)
{
    const TScoped<CFStringRef> text(MakeText("shared"));

    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 1000; ++j)
                CFRelease(CFRetain(text.Get()));
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(1, CFGetRetainCount(text.Get()));
}
