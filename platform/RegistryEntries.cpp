// IOKit's functions about entries of the I/O Registry: their classes, names, paths, neighbours and properties.

#include "platform/KernelNames.h"
#include "platform/Matching.h"
#include "platform/Objects.h"
#include "platform/PropertyLists.h"
#include "platform/Registry.h"
#include "platform/Strings.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <cstring>

using namespace platform;

// The entry that a name stands for, in the registry as it is now.
class TNamedEntry
{
public:
    explicit TNamedEntry(io_registry_entry_t name) : fRegistry(TRegistry::Current())
    {
        std::uint64_t identifier = 0;
        fIsHeld = FindName(name, TKernelObject::Kind::kEntry, &identifier);
        fEntry = fIsHeld ? fRegistry->Find(identifier) : nullptr;
    }

    // The failure to be returned when there is no entry: the name is not that of one, or the entry went away.
    kern_return_t Failure() const { return fIsHeld ? kIOReturnNoDevice : MACH_SEND_INVALID_DEST; }

    const TRegistry& Registry() const { return *fRegistry; }
    const TEntry& Entry() const { return *fEntry; }
    const TEntry* operator->() const { return fEntry; }
    explicit operator bool() const { return fEntry != nullptr; }

    // The entry as it stands in the plane, or null when it does not.
    const TEntry* In(const TPlane* plane) const
    {
        return plane != nullptr && fEntry != nullptr ? plane->Find(fEntry->identifier) : nullptr;
    }

private:
    const std::shared_ptr<const TRegistry> fRegistry;
    bool fIsHeld = false;
    const TEntry* fEntry = nullptr;
};

// Copies the text with its end into a buffer of so many bytes. False, and nothing is written, when it does not fit.
static bool CopyText(const std::string& text, char* buffer, std::size_t size)
{
    if (text.size() >= size)
        return false;
    memcpy(buffer, text.c_str(), text.size() + 1);
    return true;
}

// Classes and names

boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className)
{
    const TNamedEntry entry(object);
    return entry && entry.Registry().ConformsTo(entry.Entry(), className);
}

kern_return_t IOObjectGetClass(io_object_t object, io_name_t className)
{
    const TNamedEntry entry(object);
    if (!entry)
        return entry.Failure();
    return CopyText(entry->className, className, sizeof(io_name_t)) ? KERN_SUCCESS : kIOReturnBadArgument;
}

kern_return_t IORegistryEntryGetName(io_registry_entry_t name, io_name_t text)
{
    const TNamedEntry entry(name);
    if (!entry)
        return entry.Failure();
    return CopyText(entry->name, text, sizeof(io_name_t)) ? KERN_SUCCESS : kIOReturnBadArgument;
}

// Paths

io_registry_entry_t IORegistryEntryFromPath(mach_port_t masterPort, const io_string_t path)
{
    if (path == nullptr || !IsMasterPort(masterPort) || strlen(path) >= sizeof(io_string_t))
        return IO_OBJECT_NULL;
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = registry->FindPath(path);
    return entry != nullptr ? NameEntry(entry->identifier) : IO_OBJECT_NULL;
}

kern_return_t IORegistryEntryGetPath(io_registry_entry_t name, const io_name_t plane, io_string_t path)
{
    const TNamedEntry entry(name);
    if (!entry)
        return entry.Failure();
    const TPlane* const inPlane = entry.Registry().Plane(plane);
    const TEntry* const found = entry.In(inPlane);
    std::string text;
    if (found == nullptr || !inPlane->GetPath(*found, &text))
        return kIOReturnBadArgument;
    return CopyText(inPlane->Name() + ":" + text, path, sizeof(io_string_t)) ? KERN_SUCCESS : kIOReturnBadArgument;
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t name, const io_name_t plane,
                                            io_registry_entry_t* parent)
{
    *parent = IO_OBJECT_NULL;
    const TNamedEntry entry(name);
    if (!entry)
        return entry.Failure();
    const TPlane* const inPlane = entry.Registry().Plane(plane);
    if (inPlane == nullptr)
        return kIOReturnBadArgument;
    const TEntry* const found = entry.In(inPlane);
    const TEntry* const above = found != nullptr ? inPlane->ParentOf(*found) : nullptr;
    if (above == nullptr)
        return kIOReturnNoDevice;
    *parent = NameEntry(above->identifier);
    return KERN_SUCCESS;
}

// Properties

// The property as a fresh object, or null.
static CFTypeRef MakeProperty(const TRegistry& registry, std::uint64_t identifier, CFStringRef key)
{
    const plist::TValue* const value = registry.PropertiesOf(identifier).Find(UTF8Of(key));
    return value != nullptr ? MakePropertyList(*value) : nullptr;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t name, CFStringRef key, CFAllocatorRef, IOOptionBits)
{
    const TNamedEntry entry(name);
    return entry ? MakeProperty(entry.Registry(), entry->identifier, key) : nullptr;
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t name, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef, IOOptionBits)
{
    *properties = nullptr;
    const TNamedEntry entry(name);
    if (!entry)
        return entry.Failure();
    *properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                            &kCFTypeDictionaryValueCallBacks);
    for (const auto& property : entry.Registry().PropertiesOf(entry->identifier).entries) {
        const TReference key(MakePropertyList(plist::TValue::String(property.first)));
        const TReference value(MakePropertyList(property.second));
        CFDictionarySetValue(*properties, key.Get(), value.Get());
    }
    return KERN_SUCCESS;
}

CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t name, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits options)
{
    const TNamedEntry entry(name);
    if (!entry)
        return nullptr;
    const TRegistry& registry = entry.Registry();
    CFTypeRef found = MakeProperty(registry, entry->identifier, key);
    const TPlane* const inPlane = registry.Plane(plane);
    const TEntry* const start = entry.In(inPlane);
    if (start == nullptr || (options & kIORegistryIterateRecursively) == 0)
        return found;

    if ((options & kIORegistryIterateParents) != 0) {
        for (const TEntry* step = inPlane->ParentOf(*start); step != nullptr && found == nullptr;
             step = inPlane->ParentOf(*step))
            found = MakeProperty(registry, step->identifier, key);
        return found;
    }
    for (const TEntry& below : inPlane->Entries()) {
        if (found == nullptr && inPlane->IsBelow(below, *start))
            found = MakeProperty(registry, below.identifier, key);
    }
    return found;
}
