// IOKit's functions: services are matched in the registry, and calls go to the driver that a connection belongs to.

#include "platform/DriverClient.h"
#include "platform/KernelNames.h"
#include "platform/Objects.h"
#include "platform/Registry.h"
#include "platform/Strings.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

using namespace platform;

constexpr mach_port_t kMasterPort = 0x50b;
const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
mach_port_t mach_task_self_ = 0x103;

static CFStringRef ProviderClassKey()
{
    return CFSTR("IOProviderClass");
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

CFMutableDictionaryRef IOServiceMatching(const char* name)
{
    if (name == nullptr)
        return nullptr;
    const TReference value(CFStringCreateWithCString(kCFAllocatorDefault, name, kCFStringEncodingUTF8));
    if (!value)
        return nullptr;
    CFMutableDictionaryRef matching = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(matching, ProviderClassKey(), value.Get());
    return matching;
}

// The entries that the dictionary matches, the last one first.
static std::vector<std::uint64_t> MatchingEntries(CFDictionaryRef matching)
{
    std::vector<std::uint64_t> found;
    const CFTypeRef className = CFDictionaryGetValue(matching, ProviderClassKey());
    if (className == nullptr || CFGetTypeID(className) != CFStringGetTypeID())
        return found;
    const std::string wanted = UTF8Of(static_cast<CFStringRef>(className));
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    for (auto entry = registry->Entries().rbegin(); entry != registry->Entries().rend(); ++entry) {
        if (registry->ConformsTo(*entry, wanted))
            found.push_back(entry->identifier);
    }
    return found;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing)
{
    *existing = IO_OBJECT_NULL;
    if (matching == nullptr)
        return kIOReturnBadArgument;
    const TReference consumed(matching);
    if (masterPort != kMasterPort && masterPort != kIOMasterPortDefault)
        return MACH_SEND_INVALID_DEST;
    TKernelObject iterator;
    iterator.kind = TKernelObject::Kind::kIterator;
    iterator.remaining = MatchingEntries(matching);
    if (!iterator.remaining.empty())
        *existing = NameObject(std::move(iterator));
    return KERN_SUCCESS;
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
