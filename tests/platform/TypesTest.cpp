#include <CoreServices/CoreServices.h>
#include <IOKit/IOKitLib.h>
#include <sys/sysctl.h>

#include <cstring>
#include <gtest/gtest.h>
#include <type_traits>

TEST(PlatformTypes, IntegersHaveTheWidthsThatTheirNamesSay)
{
    EXPECT_EQ(1u, sizeof(UInt8));
    EXPECT_EQ(2u, sizeof(UInt16));
    EXPECT_EQ(4u, sizeof(UInt32));
    EXPECT_EQ(8u, sizeof(UInt64));
    EXPECT_EQ(4u, sizeof(SInt32));
    EXPECT_EQ(8u, sizeof(SInt64));
    EXPECT_EQ(1u, sizeof(Boolean));
    EXPECT_EQ(4u, sizeof(io_connect_t));
    EXPECT_EQ(4u, sizeof(IOByteCount));
}

TEST(PlatformTypes, A32BitNumberIsLongOnA32BitHostOnly)
{
    EXPECT_EQ(sizeof(void*) == 4, (std::is_same_v<UInt32, unsigned long>));
}

TEST(PlatformTypes, AVersionReadsAsOneNumberWithTheMajorRevisionFirst)
{
    NumVersion version = {};
    version.majorRev = 0x10;
    version.minorAndBugRev = 0x58;
    version.stage = 0x80;
    version.nonRelRev = 0x01;

    std::uint32_t number = 0;
    memcpy(&number, &version, sizeof number);
    EXPECT_EQ(0x10588001u, number);
}

TEST(PlatformTypes, ReturnCodesAreIOKits)
{
    EXPECT_EQ(0xe00002c2u, static_cast<unsigned>(kIOReturnBadArgument));
    EXPECT_EQ(0xe00002c7u, static_cast<unsigned>(kIOReturnUnsupported));
    EXPECT_EQ(5, KERN_FAILURE);
}

TEST(PlatformTypes, AMethodOfAUserClientTakesWhatApplesFunctionTakes)
{
    EXPECT_TRUE(
        (std::is_same_v<decltype(&IOConnectMethodStructureIStructureO),
                        kern_return_t (*)(io_connect_t, std::uint32_t, IOItemCount, IOByteCount*, void*, void*)>));
}
