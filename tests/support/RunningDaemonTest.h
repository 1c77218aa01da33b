// A test beside the real daemon, which is at work already.

#ifndef HALVORIX_TESTS_SUPPORT_RUNNINGDAEMONTEST_H
#define HALVORIX_TESTS_SUPPORT_RUNNINGDAEMONTEST_H

#include "tests/support/MachineTest.h"
#include "tests/support/RunningDaemon.h"

#include <memory>
#include <string>
#include <vector>

class TRunningDaemonTest : public TMachineTest
{
protected:
    // Whoever wants another daemon says how it is started, and what its environment holds beside the machine's own.
    virtual std::vector<std::string> Command() const { return DaemonCommand(); }
    virtual std::vector<std::string> Environment() const { return {}; }

    // Somebody has logged in, the daemon takes clients in, and it has looked at all disks.
    void SetUp() override;

    // Ends the daemon, unless the test took it away.
    void TearDown() override;

    std::unique_ptr<TRunningProgram> daemon;
    bool mayPrint = false;   // otherwise it must have printed nothing in the end
};

#endif
