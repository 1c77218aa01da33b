#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstdlib>
#include <cstring>

class CFBytes : public TMachineTest
{
};

TEST_F(CFBytes, DataCopiesItsBytes)
{
    UInt8 bytes[] = {1, 2, 3};
    const TScoped<CFDataRef> data(CFDataCreate(kCFAllocatorDefault, bytes, 3));
    bytes[0] = 77;
    EXPECT_EQ(1, CFDataGetBytePtr(data.Get())[0]);
}

TEST_F(CFBytes, DataThatDoesNotCopyUsesTheBytesWhereTheyAre)
{
    UInt8 bytes[] = {1, 2, 3};
    const TScoped<CFDataRef> data(CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, bytes, 3, kCFAllocatorNull));
    EXPECT_EQ(bytes, CFDataGetBytePtr(data.Get()));
    EXPECT_EQ(3, CFDataGetLength(data.Get()));
    bytes[0] = 77;
    const TScoped<CFDataRef> copy(CFDataCreate(kCFAllocatorDefault, bytes, 3));
    EXPECT_TRUE(CFEqual(copy.Get(), data.Get()));
    EXPECT_EQ(CFHash(copy.Get()), CFHash(data.Get()));
}

TEST_F(CFBytes, DataFreesForeignBytesUnlessItsDeallocatorIsNull)
{
    // That malloc's are freed, and the others not twice, is for the address sanitizer to see.
    for (const CFAllocatorRef deallocator : {kCFAllocatorDefault, kCFAllocatorMalloc}) {
        auto* const freed = static_cast<UInt8*>(malloc(16));
        memset(freed, 5, 16);
        const TScoped<CFDataRef> data(CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, freed, 16, deallocator));
        EXPECT_EQ(5, CFDataGetBytePtr(data.Get())[15]);
    }
    UInt8 kept[] = {1};
    CFRelease(CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, kept, 1, kCFAllocatorNull));
    EXPECT_EQ(1, kept[0]);
}

TEST_F(CFBytes, NoBytesAreDataToo)
{
    const TScoped<CFDataRef> copied(CFDataCreate(kCFAllocatorDefault, nullptr, 0));
    const TScoped<CFDataRef> foreign(CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, nullptr, 0, kCFAllocatorNull));
    EXPECT_EQ(0, CFDataGetLength(copied.Get()));
    EXPECT_EQ(0, CFDataGetLength(foreign.Get()));
    EXPECT_TRUE(CFEqual(copied.Get(), foreign.Get()));
}

TEST_F(CFBytes, APartOfTheBytesIsCopiedOut)
{
    const TScoped<CFDataRef> data(MakeBytes("abcdef"));
    UInt8 part[4] = "xxx";
    CFDataGetBytes(data.Get(), CFRange{2, 2}, part);
    EXPECT_STREQ("cdx", reinterpret_cast<const char*>(part));
    CFDataGetBytes(data.Get(), CFRange{6, 0}, nullptr);
}

TEST_F(CFBytes, ARangeBeyondTheBytesEndsTheProcess)
{
    const TScoped<CFDataRef> data(MakeBytes("abcdef"));
    UInt8 part[8];
    EXPECT_DEATH(CFDataGetBytes(data.Get(), CFRange{5, 2}, part), "beyond data of 6 bytes");
    EXPECT_DEATH(CFDataGetBytes(data.Get(), CFRange{-1, 2}, part), "beyond data of 6 bytes");
}
