#include "clients/OutputBuffer.h"

#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string Notice(std::uint64_t count)
{
    return "[" + std::to_string(count) + " dropped]";
}

// A pipe that a test fills and reads.
class OutputBuffer : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ(0, pipe(fPipe));
        fcntl(fPipe[0], F_SETFL, O_NONBLOCK);
    }

    void TearDown() override
    {
        CloseReader();
        close(fPipe[1]);
        TMachineTest::TearDown();
    }

    void CloseReader()
    {
        if (fPipe[0] >= 0)
            close(fPipe[0]);
        fPipe[0] = -1;
    }

    // Everything that stands in the pipe.
    std::string ReadAll()
    {
        std::string all;
        char bytes[4096];
        for (ssize_t got = 0; (got = read(fPipe[0], bytes, sizeof bytes)) > 0;)
            all.append(bytes, static_cast<std::size_t>(got));
        return all;
    }

    // Makes the pipe take nothing more. Returns how many bytes that took.
    std::size_t FillPipe()
    {
        std::size_t filled = 0;
        const std::string block(512, 'f');
        for (; WaitUntilWritable(fPipe[1], 0); filled += block.size())
            EXPECT_EQ(512, write(fPipe[1], block.data(), block.size()));
        return filled;
    }

    int fPipe[2] = {-1, -1};
};

TEST_F(OutputBuffer, WritesMessagesInOrder)
{
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("one ");
    buffer.Put("two ");
    buffer.Put("three");

    EXPECT_EQ(3u, buffer.Waiting());
    EXPECT_EQ(0, buffer.Write());
    EXPECT_TRUE(buffer.IsEmpty());
    EXPECT_EQ(0u, buffer.Waiting());
    EXPECT_EQ("one two three", ReadAll());
}

TEST_F(OutputBuffer, AMessageLongerThanOneWriteArrivesWhole)
{
    std::string message;
    for (int i = 0; i < 700; ++i)
        message += std::to_string(i);

    TOutputBuffer buffer(fPipe[1], 10000, Notice);
    buffer.Put(message);
    EXPECT_EQ(0, buffer.Write());
    EXPECT_EQ(message, ReadAll());
}

TEST_F(OutputBuffer, NeverBlocksOnAFullPipe)
{
    const std::size_t filled = FillPipe();
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("later");

    alarm(20);   // a write that waits would wait for ever
    EXPECT_EQ(0, buffer.Write());
    alarm(0);
    EXPECT_EQ(1u, buffer.Waiting());
    EXPECT_EQ(filled, ReadAll().size());
    EXPECT_EQ(0, buffer.Write());
    EXPECT_EQ("later", ReadAll());
}

TEST_F(OutputBuffer, NeverBlocksWhenThePipeHasLittleRoom)
{
    const std::size_t filled = FillPipe();
    std::string some(4096, ' ');
    ASSERT_EQ(4096, read(fPipe[0], some.data(), some.size()));
    TOutputBuffer buffer(fPipe[1], 100000, Notice);
    buffer.Put(std::string(65536, 'm'));

    alarm(20);   // a write that waits would wait for ever
    EXPECT_EQ(0, buffer.Write());
    alarm(0);
    EXPECT_EQ(1u, buffer.Waiting());
    EXPECT_EQ(filled, ReadAll().size());
}

TEST_F(OutputBuffer, LeavesTheDescriptorBlocking)
{
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("a");
    EXPECT_EQ(0, buffer.Write());

    EXPECT_EQ(0, fcntl(fPipe[1], F_GETFL) & O_NONBLOCK);
}

TEST_F(OutputBuffer, AWriteThatFindsNoRoomOrIsInterruptedIsTriedAgain)
{
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("later");

    // Somebody else who has the output made it non-blocking, or a signal came.
    for (const int error : {EAGAIN, EINTR}) {
        const TFault fault("write", {-1, error});
        EXPECT_EQ(0, buffer.Write());
        EXPECT_EQ(1u, fault.Reached());
        EXPECT_EQ(1u, buffer.Waiting());
    }
    EXPECT_EQ(0, buffer.Write());
    EXPECT_EQ("later", ReadAll());
}

TEST_F(OutputBuffer, AShortWriteGoesOnWhereItStopped)
{
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("abcdefgh");
    {
        const TShortWrites threeBytes(3);
        EXPECT_EQ(0, buffer.Write());
    }
    EXPECT_EQ("abcdefgh", ReadAll());
}

TEST_F(OutputBuffer, ExactlyTheCapacityFits)
{
    TOutputBuffer buffer(fPipe[1], 10, Notice);
    buffer.Put("12345");
    buffer.Put("67890");
    EXPECT_EQ(0u, buffer.Dropped());

    buffer.Put("x");
    EXPECT_EQ(1u, buffer.Dropped());
    EXPECT_EQ(2u, buffer.Waiting());
}

TEST_F(OutputBuffer, AfterADropNothingIsKeptUntilHalfIsFreeThenTheNoticeComesFirst)
{
    FillPipe();
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put(std::string(501, 'a'));
    buffer.Put(std::string(500, 'b'));   // no room
    buffer.Put("c");                     // room, but more than half is taken
    EXPECT_EQ(2u, buffer.Dropped());

    ReadAll();
    EXPECT_EQ(0, buffer.Write());
    buffer.Put("d");
    EXPECT_EQ(0, buffer.Write());
    EXPECT_EQ(std::string(501, 'a') + "[2 dropped]d", ReadAll());
    EXPECT_EQ(2u, buffer.Dropped());
}

TEST_F(OutputBuffer, NoticesCountEachMessageOnce)
{
    TOutputBuffer buffer(fPipe[1], 10, Notice);
    buffer.Put("1234567890");
    buffer.Put("x");
    EXPECT_EQ(0, buffer.Write());
    buffer.Put("y");
    EXPECT_EQ(0, buffer.Write());
    buffer.Put("1234567890");
    buffer.Put("z");
    buffer.PutLastNotice();
    EXPECT_EQ(1u, buffer.Waiting());
    EXPECT_EQ(0, buffer.Write());

    EXPECT_EQ("1234567890[1 dropped]y1234567890[1 dropped]", ReadAll());
    EXPECT_EQ(2u, buffer.Dropped());
}

TEST_F(OutputBuffer, ThereIsNoLastNoticeWhenNothingWasDropped)
{
    TOutputBuffer buffer(fPipe[1], 10, Notice);
    buffer.PutLastNotice();

    EXPECT_TRUE(buffer.IsEmpty());
}

TEST_F(OutputBuffer, AnEmptyNoticeLeavesNoTrace)
{
    TOutputBuffer buffer(fPipe[1], 4, [](std::uint64_t) { return std::string(); });
    buffer.Put("1234");
    buffer.Put("5");
    EXPECT_EQ(0, buffer.Write());
    buffer.Put("6");
    EXPECT_EQ(0, buffer.Write());

    EXPECT_EQ("12346", ReadAll());
    EXPECT_TRUE(buffer.IsEmpty());
}

TEST_F(OutputBuffer, AMessageOfWhichAPartIsWrittenStillWaits)
{
    // A socket takes what finds room, so a message is cut.
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    TOutputBuffer buffer(ends[0], 8 * 1024 * 1024, Notice);
    buffer.Put(std::string(4 * 1024 * 1024, 'm'));
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(0, buffer.Write());

    EXPECT_EQ(1u, buffer.Waiting());
    close(ends[0]);
    close(ends[1]);
}

TEST_F(OutputBuffer, AnOutputThatNobodyReadsIsAClosedPipe)
{
    signal(SIGPIPE, SIG_IGN);
    CloseReader();
    TOutputBuffer buffer(fPipe[1], 1000, Notice);
    buffer.Put("a");

    EXPECT_EQ(EPIPE, buffer.Write());
}

TEST_F(OutputBuffer, AFullDiskIsTold)
{
    const int full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    TOutputBuffer buffer(full, 1000, Notice);
    buffer.Put("a");

    EXPECT_EQ(ENOSPC, buffer.Write());
    EXPECT_EQ(1u, buffer.Waiting());
    close(full);
}

}   // namespace
