// The soak's own eyes: whatever goes wrong with a client's records must be seen.

#include "tests/soak/NumberedEvents.h"

#include <gtest/gtest.h>

static constexpr std::uint64_t kSeed = 7;

static std::string Records(const std::vector<std::uint64_t>& numbers)
{
    std::string records;
    for (const std::uint64_t number : numbers)
        records += NumberedRecord(kSeed, number);
    return records;
}

static std::string FaultIn(const std::string& stream)
{
    TStreamCheck check(kSeed);
    check.Take(stream);
    return check.Fault();
}

TEST(NumberedEvents, NoTwoAreEqualAndEachComesAgainByItsNumber)
{
    EXPECT_EQ(NumberedRecord(kSeed, 5), NumberedRecord(kSeed, 5));
    EXPECT_NE(NumberedRecord(kSeed, 5), NumberedRecord(kSeed, 6));
    EXPECT_NE(NumberedRecord(kSeed, 5), NumberedRecord(kSeed + 1, 5));
    EXPECT_EQ(128u, NumberedRecord(kSeed, 5).size());
}

TEST(NumberedEvents, EachIsForClients)
{
    for (std::uint64_t number = 1; number < 100; ++number)
        EXPECT_GT(NumberedEvent(kSeed, number).type, 2) << number;
}

TEST(StreamCheck, AWholeStreamIsWithoutFaultHoweverItIsCut)
{
    const std::string stream = Records({41, 42, 43, 44});
    for (const std::size_t piece : {1u, 100u, 128u, 200u, 512u}) {
        TStreamCheck check(kSeed);
        for (std::size_t at = 0; at < stream.size(); at += piece)
            check.Take(stream.substr(at, piece));
        EXPECT_EQ("", check.Fault()) << piece;
        EXPECT_EQ(4u, check.Records()) << piece;
        EXPECT_EQ(45u, check.Next()) << piece;
    }
}

TEST(StreamCheck, ALostEventIsSeen)
{
    EXPECT_EQ("record 9 was to come, but record 10 came", FaultIn(Records({7, 8, 10, 11})));
}

TEST(StreamCheck, AnEventThatCameTwiceIsSeen)
{
    EXPECT_EQ("record 9 was to come, but record 8 came", FaultIn(Records({7, 8, 8, 9})));
}

TEST(StreamCheck, EventsInAnotherOrderAreSeen)
{
    EXPECT_EQ("record 8 was to come, but record 9 came", FaultIn(Records({7, 9, 8})));
}

TEST(StreamCheck, EachChangedByteIsSeen)
{
    for (std::size_t at = 0; at < 128; ++at) {
        std::string stream = Records({7, 8});
        stream[128 + at] = static_cast<char>(stream[128 + at] ^ 1);
        EXPECT_NE("", FaultIn(stream)) << at;
    }
    std::string stream = Records({7, 8});
    stream[128 + 100] = static_cast<char>(stream[128 + 100] ^ 1);
    EXPECT_EQ("record 8 came with another byte 100", FaultIn(stream));
}

TEST(StreamCheck, ARecordThatIsNoneOfTheseIsSeenEvenAsTheFirst)
{
    EXPECT_NE("", FaultIn(lab::TMachine::RecordBytes(lab::TEvent(), 0)));
}

TEST(StreamCheck, AnUnfinishedRecordDoesNotCount)
{
    TStreamCheck check(kSeed);
    check.Take(Records({7}).substr(0, 127));
    EXPECT_FALSE(check.HasBegun());
    check.Take(Records({7}).substr(127));
    EXPECT_EQ(8u, check.Next());
}
