// The public header, as each language sees it: the same offsets everywhere.

#include "clients/halvorixevent.h"

#include "tests/clients/HeaderInC.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

void ExpectDocumentedLayout(const THeaderLayout& layout)
{
    EXPECT_EQ(128u, layout.size);
    EXPECT_EQ(0u, layout.queueEmpty);
    EXPECT_EQ(4u, layout.head);
    EXPECT_EQ(8u, layout.headSize);
    EXPECT_EQ(12u, layout.type);
    EXPECT_EQ(16u, layout.body);
    EXPECT_EQ(96u, layout.bodySize);
    EXPECT_EQ(112u, layout.name);
    EXPECT_EQ(16u, layout.nameSize);
    EXPECT_STREQ("/tmp/com.halvorix.halvorixd/driverevents", layout.socket);
}

TEST(PublicHeader, HasTheDocumentedLayoutInCAndCPlusPlus)
{
    ExpectDocumentedLayout(LayoutInC89());
    ExpectDocumentedLayout(LayoutInC99());
    ExpectDocumentedLayout(LayoutInC11());
    ExpectDocumentedLayout(LayoutInCPlusPlus98());
    ExpectDocumentedLayout(LayoutInCPlusPlus17());
}

TEST(PublicHeader, TheTypeIsSignedAndTheFlagIsNot)
{
    HalvorixEvent event;
    memset(&event, 0xFF, sizeof event);

    EXPECT_EQ(std::int64_t(-1), event.type);
    EXPECT_EQ(0xFFFFFFFFu, event.queueEmpty);
    EXPECT_EQ(255, event.name[15]);
}

TEST(PublicHeader, SentTypesBeginAtThree)
{
    EXPECT_EQ(2, kHalvorixEventLastUnsentType);
}

}   // namespace
