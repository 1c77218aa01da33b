#include "daemon/DriverConnection.h"

#include "daemon/DaemonTool.h"
#include "foundation/ScopedLock.h"
#include "services/ScopedIOObject.h"

#include <ctime>

// The first service of the driver's class, a reference for the caller; 0 when there is none. Further ones are ignored.
static io_service_t CopyDriverService()
{
    mach_port_t masterPort = MACH_PORT_NULL;
    if (IOMasterPort(MACH_PORT_NULL, &masterPort) != KERN_SUCCESS)
        return 0;
    CFMutableDictionaryRef matching = IOServiceMatching(kDriverClassName);
    if (matching == nullptr)
        return 0;
    io_iterator_t matches = 0;
    // Consumes the dictionary, whatever the result.
    if (IOServiceGetMatchingServices(masterPort, matching, &matches) != KERN_SUCCESS || matches == 0)
        return 0;
    const TScopedIOObject iterator(matches);
    return IOIteratorNext(iterator.Get());
}

// A user client of the driver; 0 when there is no driver or it refuses.
static io_connect_t OpenUserClient()
{
    const TScopedIOObject service(CopyDriverService());
    io_connect_t connection = 0;
    if (!service || IOServiceOpen(service.Get(), mach_task_self(), kDriverUserClientType, &connection) != KERN_SUCCESS)
        return 0;
    return connection;
}

void THXDaemonTool::OpenDriverConnection()
{
    const TScopedLock lock(&fConnectionLock);
    ++fUseCount;   // also when the open fails: the caller closes all the same
    if (fConnection != 0)
        return;
    fConnection = OpenUserClient();
    if (fConnection != 0)
        CallDriverMethod(kDriverBeginSession, nullptr, 0, nullptr, nullptr);
}

void THXDaemonTool::CloseDriverConnection()
{
    const TScopedLock lock(&fConnectionLock);
    --fUseCount;
    if (fUseCount != 0 || fConnection == 0)
        return;
    CallDriverMethod(kDriverEndSession, nullptr, 0, nullptr, nullptr);
    IOServiceClose(fConnection);
    fConnection = 0;
}

kern_return_t THXDaemonTool::CallDriverMethod(UInt32 selector, const void* input, UInt32 inputSize, void* output,
                                              IOByteCount* outputSize)
{
    if (fConnection == 0)
        return KERN_FAILURE;
    IOByteCount noOutput = 0;
    // Apple's prototype takes the input as a pointer to non-const and only reads it.
    return IOConnectMethodStructureIStructureO(fConnection, selector, inputSize,
                                               outputSize != nullptr ? outputSize : &noOutput, const_cast<void*>(input),
                                               output);
}

void THXDaemonTool::SendTimeZoneOffsetToDriver()
{
    const time_t now = time(nullptr);
    const SInt32 offset = static_cast<SInt32>(localtime(&now)->tm_gmtoff);

    OpenDriverConnection();
    if (fConnection != 0)
        CallDriverMethod(kDriverSetTimeZoneOffset, &offset, sizeof offset, nullptr, nullptr);
    CloseDriverConnection();
}
