// The real daemon with its start-up behind it, driver events for it, and the moment when it has acted on them.

#ifndef HALVORIX_TESTS_DAEMON_RUNNINGBOOTDAEMON_H
#define HALVORIX_TESTS_DAEMON_RUNNINGBOOTDAEMON_H

#include "tests/daemon/BootHelperTest.h"
#include "tests/support/RunningDaemon.h"

#include <csignal>
#include <memory>

class TRunningBootDaemonTest : public TBootHelperTest
{
protected:
    void TearDown() override
    {
        if (daemon != nullptr) {
            EXPECT_TRUE(daemon->IsRunning()) << daemon->Errors();
            EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(daemon->Process()) == 0; }));
            listener->Leave();
            EndDaemon(daemon.get());
        }
        TBootHelperTest::TearDown();
    }

    // Starts it and waits until it listens to the driver, and until it has seen to owners if it does that. The check at the
    // start and an event would get into each other's way.
    void StartDaemon(std::size_t runsOfVsdbutil)
    {
        StartLoginSession(machine);
        daemon = std::make_unique<TRunningProgram>(DaemonCommand(), NoLeakCheckAtExit());
        ASSERT_TRUE(WaitForEventSocket());
        listener = std::make_unique<TListener>();
        ASSERT_TRUE(WaitUntil([&] { return RunsOf(machine, "vsdbutil").size() >= runsOfVsdbutil; }));
        ASSERT_TRUE(WaitUntil([this] { return HelpersAreUnmounted(); }));
    }

    // Posts these events, each about this volume, and waits until all are acted on: events are taken one after the other,
    // and one for clients stands behind them.
    void Handle(const std::vector<std::int32_t>& types, const std::string& bsdName)
    {
        std::vector<lab::TEvent> events;
        for (const std::int32_t type : types) {
            lab::TEvent event;
            event.type = type;
            event.name = bsdName;
            events.push_back(event);
        }
        lab::TEvent last;
        last.type = 3;
        events.push_back(last);
        const std::size_t before = listener->Receive().size();
        ASSERT_EQ("", machine.PostEvents(events));
        ASSERT_TRUE(WaitUntil([&] { return listener->Receive().size() >= before + 128; }, 100)) << daemon->Errors();
        EXPECT_EQ(lab::TMachine::RecordBytes(last, 1), listener->Receive().substr(before));
    }

    bool HelpersAreUnmounted() const
    {
        return machine.MountPath(kFirstHelper).empty() && machine.MountPath(kSecondHelper).empty();
    }

    std::unique_ptr<TRunningProgram> daemon;
    std::unique_ptr<TListener> listener;
};

#endif
