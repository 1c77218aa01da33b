// The daemon's tool object with its members laid open, for tests.

#ifndef HALVORIX_TESTS_DAEMON_OPENEDDAEMONTOOL_H
#define HALVORIX_TESTS_DAEMON_OPENEDDAEMONTOOL_H

#include "daemon/DaemonTool.h"
#include "lab/Machine.h"

#include <string>
#include <vector>

class TOpenedDaemonTool : public THXDaemonTool
{
public:
    using THXDaemonTool::fConnection;
    using THXDaemonTool::fConnectionLock;
    using THXDaemonTool::fPoller;
    using THXDaemonTool::fRegistry;
    using THXDaemonTool::fServer;
    using THXDaemonTool::fSession;
    using THXDaemonTool::fUseCount;
};

// What the driver was asked so far, without the times.
inline std::vector<std::string> AskedOfDriver(const lab::TMachine& machine)
{
    std::vector<std::string> asked;
    for (const lab::TDriverCall& call : machine.DriverCalls())
        asked.push_back(call.what);
    return asked;
}

#endif
