// Which locks the daemon's threads hold at once, watched in the daemon while it does everything that it does.

#include "tests/support/RunningDaemonTest.h"

class Locks : public TRunningDaemonTest
{
protected:
    Locks() { mayPrint = true; }   // which locks are used

    std::vector<std::string> Command() const override { return FaultyDaemonCommand(); }
    std::vector<std::string> Environment() const override { return {"HALVORIX_TELL_LOCKS=1"}; }

    // Posts events of these types about the RAID volume and waits until the clients that listen have the last of them.
    void Handle(const std::vector<std::int32_t>& types, TListener& listener)
    {
        std::vector<lab::TEvent> events;
        std::size_t bytes = listener.Receive().size();
        for (const std::int32_t type : types) {
            events.emplace_back();
            events.back().type = type;
            events.back().name = "disk2s3";
            bytes += type > 2 ? 128 : 0;
        }
        ASSERT_EQ("", machine.PostEvents(events));
        ASSERT_TRUE(listener.WaitForBytes(bytes));
    }
};

TEST_F(Locks, NoThreadEverHoldsTwo)
{
    TListener staying;
    {
        const TListener leaving;
        ASSERT_NO_FATAL_FAILURE(Handle({3}, staying));
    }
    ASSERT_NO_FATAL_FAILURE(Handle({1, 3, 2, 4}, staying));
    ASSERT_EQ("", machine.UnloadDriver());
    ASSERT_EQ("", machine.LoadDriver());
    ASSERT_NO_FATAL_FAILURE(Handle({3, 4}, staying));

    EXPECT_EQ("another lock is used\n"
              "a thread holds 1 at once\n"
              "the driver connection's lock is used\n"
              "the list of clients' lock is used\n",
              daemon->Errors());
}
