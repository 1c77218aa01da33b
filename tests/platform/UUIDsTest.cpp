#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <thread>

static const char kUUID[] = "0A1B2C3D-0011-2233-4455-66778899AABB";

class CFUUIDs : public TMachineTest
{
protected:
    static CFUUIDRef Make(const std::string& text)
    {
        const TScoped<CFStringRef> string(MakeText(text));
        return CFUUIDCreateFromString(kCFAllocatorDefault, string.Get());
    }

    static std::string TextOf(CFUUIDRef uuid)
    {
        const TScoped<CFStringRef> string(CFUUIDCreateString(kCFAllocatorDefault, uuid));
        char text[64];
        return CFStringGetCString(string.Get(), text, sizeof text, kCFStringEncodingASCII) ? text : "none";
    }

    static std::string Reread(const std::string& text)
    {
        const TScoped<CFUUIDRef> uuid(Make(text));
        return uuid.Get() != nullptr ? TextOf(uuid.Get()) : "null";
    }
};

TEST_F(CFUUIDs, TextComesBackInCapitals)
{
    EXPECT_EQ(kUUID, Reread(kUUID));
    EXPECT_EQ(kUUID, Reread("0a1b2c3d-0011-2233-4455-66778899aabb"));
}

TEST_F(CFUUIDs, BytesStandInTheOrderOfTheText)
{
    const TScoped<CFUUIDRef> uuid(Make(kUUID));
    const CFUUIDBytes bytes = CFUUIDGetUUIDBytes(uuid.Get());
    const UInt8 expected[16] = {0x0A, 0x1B, 0x2C, 0x3D, 0x00, 0x11, 0x22, 0x33,
                                0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB};
    EXPECT_EQ(0, memcmp(expected, &bytes, sizeof expected));

    const TScoped<CFUUIDRef> fromBytes(CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, bytes));
    EXPECT_EQ(kUUID, TextOf(fromBytes.Get()));
    const TScoped<CFUUIDRef> one(CFUUIDCreateWithBytes(kCFAllocatorDefault, 0x0A, 0x1B, 0x2C, 0x3D, 0x00, 0x11, 0x22,
                                                       0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB));
    EXPECT_EQ(kUUID, TextOf(one.Get()));
}

TEST_F(CFUUIDs, EqualOnesAreOneObject)
{
    const TScoped<CFUUIDRef> one(Make(kUUID));
    const TScoped<CFUUIDRef> same(Make("{0a1b2c3d-0011-2233-4455-66778899aabb}"));
    const TScoped<CFUUIDRef> other(Make("0A1B2C3D-0011-2233-4455-66778899AABC"));
    EXPECT_EQ(one.Get(), same.Get());
    EXPECT_EQ(2, CFGetRetainCount(one.Get()));
    EXPECT_FALSE(CFEqual(one.Get(), other.Get()));
}

TEST_F(CFUUIDs, WithItsLastReferenceItIsGone)
{
    const CFUUIDRef first = Make(kUUID);
    CFRelease(first);
    const TScoped<CFUUIDRef> second(Make(kUUID));
    EXPECT_EQ(1, CFGetRetainCount(second.Get()));
    EXPECT_NE(first, second.Get()) << "the memory of the dead is kept a while";
}

TEST_F(CFUUIDs, ThreadsMayMakeAndReleaseTheSameOne)
{
    const auto work = [] {
        for (int i = 0; i < 2000; ++i)
            CFRelease(Make(kUUID));
    };
    std::thread other(work);
    work();
    other.join();
}

TEST_F(CFUUIDs, TextThatIsNoneIsReadNonetheless)
{
    static const struct
    {
        const char* text;
        const char* read;
        const char* why;
    } kCases[] = {
        {"AB", "AB000000-0000-0000-0000-000000000000", "what is missing is 0"},
        {"A", "00000000-0000-0000-0000-000000000000", "one digit is no byte"},
        {"zzz", "00000000-0000-0000-0000-000000000000", "no digit at all"},
        {"{0A1B2C3D-0011-2233-4455-66778899AABB}", kUUID, "passed over up to the first digit"},
        {"0A1B2C3D:0011_2233x4455/66778899AABB", kUUID, "any character parts the groups"},
        {"0A1B2C3D00112233445566778899AABB", "0A1B2C3D-0112-3344-5667-8899AABB0000", "even a digit"},
        {"0xC63D2161-AB7F", "00C63D21-00AB-0000-0000-000000000000", "a byte without two digits is 0"},
        {"0A1B2C3D-0011-2233-4455-66778899AABBCC", kUUID, "what follows is ignored"},
    };
    for (const auto& one : kCases)
        EXPECT_EQ(one.read, Reread(one.text)) << one.why;
}

TEST_F(CFUUIDs, OnlyAnEmptyTextGivesNone)
{
    EXPECT_EQ("null", Reread(""));
    EXPECT_NE("null", Reread(" "));
}

TEST_F(CFUUIDs, ANewOneIsRandom)
{
    const TScoped<CFUUIDRef> one(CFUUIDCreate(kCFAllocatorDefault));
    const TScoped<CFUUIDRef> other(CFUUIDCreate(kCFAllocatorDefault));
    EXPECT_NE(TextOf(one.Get()), TextOf(other.Get()));
    EXPECT_EQ('4', TextOf(one.Get())[14]) << "version";
    EXPECT_NE(std::string::npos, std::string("89AB").find(TextOf(one.Get())[19])) << "variant";
}
