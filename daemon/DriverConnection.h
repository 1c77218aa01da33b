// How the daemon and the RAID driver's user client talk: the driver's class and the methods that the daemon calls. The
// connection itself is part of THXDaemonTool (DaemonTool.h).

#ifndef HALVORIX_DAEMON_DRIVERCONNECTION_H
#define HALVORIX_DAEMON_DRIVERCONNECTION_H

#include <CoreServices/CoreServices.h>

// The class that the driver registers in the I/O Registry.
#define kDriverClassName "com_halvorix_driver_Halvorix"

// The type of user client that the driver gives to the daemon.
constexpr UInt32 kDriverUserClientType = 0;

// Selectors of the user client's methods. All take one structure and return one, in the machine's byte order.
enum : UInt32
{
    kDriverBeginSession = 0,         // no input, no output; once after the connection is opened
    kDriverEndSession = 1,           // no input, no output; once before the connection is closed
    kDriverSetTimeZoneOffset = 18,   // input: SInt32, seconds that local time is ahead of UTC; no output
    kDriverFetchEvent = 21           // input: UInt32, 1 when a client listens, else 0; output: a TDriverEventRecord
};

#endif
