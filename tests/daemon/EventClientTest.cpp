#include "daemon/EventClient.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

class EventClient : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        int ends[2];
        ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        client.SetSocket(ends[0]);
        otherEnd = ends[1];
        auto* const bytes = reinterpret_cast<unsigned char*>(&record);
        for (unsigned index = 0; index < sizeof record; ++index)
            bytes[index] = static_cast<unsigned char>(index);
        recordBytes.assign(reinterpret_cast<const char*>(&record), sizeof record);
    }

    void TearDown() override
    {
        client.CloseSocket();
        close(otherEnd);
        TMachineTest::TearDown();
    }

    std::string Received()
    {
        char bytes[4096];
        const ssize_t got = recv(otherEnd, bytes, sizeof bytes, MSG_DONTWAIT);
        return std::string(bytes, got > 0 ? static_cast<std::size_t>(got) : 0);
    }

    TEventClient client;
    int otherEnd = -1;
    TDriverEventRecord record;
    std::string recordBytes;
};

TEST_F(EventClient, ARecordArrivesWhole)
{
    EXPECT_TRUE(client.SendEvent(&record));
    EXPECT_EQ(recordBytes, Received());
}

TEST_F(EventClient, AfterAShortWriteTheRestIsWrittenFromTheFirstByteAgain)
{
    const TShortWrites shortWrites(100, 1);

    EXPECT_TRUE(client.SendEvent(&record));
    EXPECT_EQ(recordBytes.substr(0, 100) + recordBytes.substr(0, 28), Received());
}

TEST_F(EventClient, ManyShortWritesAddUpTo128Bytes)
{
    const TShortWrites shortWrites(50);

    EXPECT_TRUE(client.SendEvent(&record));
    EXPECT_EQ(recordBytes.substr(0, 50) + recordBytes.substr(0, 50) + recordBytes.substr(0, 28), Received());
}

TEST_F(EventClient, AWriteThatTakesNothingIsTriedAgain)
{
    const TFault fault("write", {0, 0}, 1, 3);

    EXPECT_TRUE(client.SendEvent(&record));
    EXPECT_EQ(3u, fault.Reached());
    EXPECT_EQ(recordBytes, Received());
}

TEST_F(EventClient, AFailedWriteFailsAtOnce)
{
    const TFault fault("write", {-1, EIO}, 1, 2);

    EXPECT_FALSE(client.SendEvent(&record));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(EventClient, AWriteThatClaimsMoreThanItWasGivenFails)
{
    const TFault fault("write", {129, 0});

    EXPECT_FALSE(client.SendEvent(&record));
}

TEST_F(EventClient, AfterAShortWriteAClaimOfMoreThanTheRestFails)
{
    const TShortWrites shortWrites(100, 1);
    const TFault fault("write", {29, 0}, 2);

    EXPECT_FALSE(client.SendEvent(&record));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(EventClient, SetSocketReturns0)
{
    TEventClient other;
    EXPECT_EQ(0, other.SetSocket(dup(otherEnd)));
}

TEST_F(EventClient, ASocketIsClosedOnce)
{
    const TCallWatch watch("close");
    {
        TEventClient other;
        other.SetSocket(dup(otherEnd));
        other.CloseSocket();
        other.CloseSocket();
    }
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(EventClient, TheDestructorClosesTheSocket)
{
    const TCallWatch watch("close");
    {
        TEventClient other;
        other.SetSocket(dup(otherEnd));
    }
    EXPECT_EQ(1u, watch.Calls());
}

TEST_F(EventClient, WithoutASocketNothingIsClosed)
{
    const TCallWatch watch("close");
    {
        TEventClient other;
        other.CloseSocket();
    }
    EXPECT_EQ(0u, watch.Calls());
}
