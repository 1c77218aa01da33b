// IOKit's functions about services: they are looked up in the registry, and calls go to the driver that a connection
// belongs to.

#include "platform/DriverClient.h"
#include "platform/KernelNames.h"
#include "platform/Matching.h"
#include "platform/Objects.h"
#include "platform/Registry.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

using namespace platform;

constexpr mach_port_t kMasterPort = 0x50b;
const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
mach_port_t mach_task_self_ = 0x103;

bool platform::IsMasterPort(mach_port_t port)
{
    return port == kMasterPort || port == kIOMasterPortDefault;
}

kern_return_t IOMasterPort(mach_port_t, mach_port_t* masterPort)
{
    *masterPort = kMasterPort;
    return KERN_SUCCESS;
}

kern_return_t IOObjectRetain(io_object_t object)
{
    return RetainName(object) ? KERN_SUCCESS : KERN_INVALID_NAME;
}

kern_return_t IOObjectRelease(io_object_t object)
{
    TKernelObject last;
    if (!ReleaseName(object, &last))
        return KERN_INVALID_NAME;
    // A connection that nobody has a name for any more is closed by the kernel.
    if (last.kind == TKernelObject::Kind::kConnection && IsDriverLoaded(last.identifier))
        CloseDriver();
    return KERN_SUCCESS;
}

io_object_t IOIteratorNext(io_iterator_t iterator)
{
    std::uint64_t identifier = 0;
    return TakeNext(iterator, &identifier) ? NameEntry(identifier) : IO_OBJECT_NULL;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing)
{
    *existing = IO_OBJECT_NULL;
    if (matching == nullptr)
        return kIOReturnBadArgument;
    const TReference consumed(matching);
    if (!IsMasterPort(masterPort))
        return MACH_SEND_INVALID_DEST;
    TKernelObject iterator;
    iterator.kind = TKernelObject::Kind::kIterator;
    iterator.remaining = MatchingEntries(matching);
    if (!iterator.remaining.empty())
        *existing = NameObject(std::move(iterator));
    return KERN_SUCCESS;
}

io_service_t IOServiceGetMatchingService(mach_port_t masterPort, CFDictionaryRef matching)
{
    io_iterator_t found = IO_OBJECT_NULL;
    IOServiceGetMatchingServices(masterPort, matching, &found);
    if (found == IO_OBJECT_NULL)
        return IO_OBJECT_NULL;
    const io_service_t first = IOIteratorNext(found);
    IOObjectRelease(found);
    return first;
}

kern_return_t IOServiceOpen(io_service_t service, task_port_t, std::uint32_t type, io_connect_t* connect)
{
    *connect = IO_OBJECT_NULL;
    std::uint64_t identifier = 0;
    if (!FindName(service, TKernelObject::Kind::kEntry, &identifier))
        return MACH_SEND_INVALID_DEST;
    if (TRegistry::Current()->Find(identifier) == nullptr)
        return kIOReturnNoDevice;
    if (!IsDriverLoaded(identifier))
        return kIOReturnUnsupported;

    bool opened = false;
    const kern_return_t status = OpenDriver(type, &opened);
    if (opened) {
        TKernelObject connection;
        connection.kind = TKernelObject::Kind::kConnection;
        connection.identifier = identifier;
        *connect = NameObject(std::move(connection));
    }
    return status;
}

// Whether the name is that of a connection whose driver is loaded still.
static bool IsAlive(io_connect_t connect)
{
    std::uint64_t identifier = 0;
    return FindName(connect, TKernelObject::Kind::kConnection, &identifier) && IsDriverLoaded(identifier);
}

kern_return_t IOServiceClose(io_connect_t connect)
{
    std::uint64_t driver = 0;
    const bool alive = EndConnection(connect, &driver) && IsDriverLoaded(driver);
    if (alive)
        CloseDriver();
    ReleaseName(connect, nullptr);
    return alive ? KERN_SUCCESS : MACH_SEND_INVALID_DEST;
}

kern_return_t IOConnectMethodStructureIStructureO(io_connect_t connect, std::uint32_t index,
                                                  IOItemCount structureInputSize, IOByteCount* structureOutputSize,
                                                  void* inputStructure, void* outputStructure)
{
    if (!IsAlive(connect))
        return MACH_SEND_INVALID_DEST;
    return CallDriver(index, inputStructure, structureInputSize, outputStructure, structureOutputSize);
}
