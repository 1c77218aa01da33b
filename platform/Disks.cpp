#include "platform/Disks.h"

#include "platform/KernelNames.h"
#include "platform/Objects.h"

#include <cstring>

using namespace platform;

struct __DADisk : TObject
{
    __DADisk(const TType& type, DASessionRef session, const TMedium& medium)
        : TObject(type, 1), fSession(CFRetain(session)), fMedium(medium)
    {
    }

    const TReference fSession;
    const TMedium fMedium;
};

static bool DisksAreEqual(const TObject* one, const TObject* other)
{
    const TMedium& first = static_cast<const __DADisk*>(one)->fMedium;
    const TMedium& second = static_cast<const __DADisk*>(other)->fMedium;
    return first.identifier == second.identifier && first.bsdName == second.bsdName;
}

static CFHashCode HashOfDisk(const TObject* disk)
{
    return static_cast<CFHashCode>(static_cast<const __DADisk*>(disk)->fMedium.identifier);
}

static const TType kDiskType = {"DADisk", 256, Destroy<__DADisk>, DisksAreEqual, HashOfDisk};

namespace platform {

static TMedium MediumAt(const TEntry& entry)
{
    const plist::TValue* const name = entry.properties.Find("BSD Name");
    const bool isNamed = name != nullptr && name->kind == plist::Kind::kString;
    return {entry.identifier, isNamed, isNamed ? name->text : std::string()};
}

static bool IsMedium(const TRegistry& registry, const TEntry& entry)
{
    return registry.ConformsTo(entry, "IOMedia");
}

std::vector<TMedium> PresentMedia()
{
    std::vector<TMedium> media;
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    for (const TEntry& entry : registry->Entries()) {
        if (IsMedium(*registry, entry))
            media.push_back(MediumAt(entry));
    }
    return media;
}

const TEntry* EntryOf(const TRegistry& registry, const TMedium& medium)
{
    for (const TEntry& entry : registry.Entries()) {
        if (!IsMedium(registry, entry))
            continue;
        const TMedium present = MediumAt(entry);
        if (medium.isNamed ? present.isNamed && present.bsdName == medium.bsdName
                           : present.identifier == medium.identifier)
            return &entry;
    }
    return nullptr;
}

DADiskRef MakeDisk(DASessionRef session, const TMedium& medium)
{
    return Make<__DADisk>(kDiskType, session, medium);
}

const TMedium& MediumOf(DADiskRef disk)
{
    return As<__DADisk>(disk, kDiskType)->fMedium;
}

DASessionRef SessionOf(DADiskRef disk)
{
    return static_cast<DASessionRef>(const_cast<void*>(As<__DADisk>(disk, kDiskType)->fSession.Get()));
}

}   // namespace platform

CFTypeID DADiskGetTypeID(void)
{
    return kDiskType.identifier;
}

DADiskRef DADiskCreateFromBSDName(CFAllocatorRef, DASessionRef session, const char* name)
{
    static const char kDevices[] = "/dev/";
    if (session == nullptr || name == nullptr)
        return nullptr;
    if (strncmp(name, kDevices, strlen(kDevices)) == 0)
        name += strlen(kDevices);
    TMedium medium = {0, true, name};
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = EntryOf(*registry, medium);
    if (entry != nullptr)
        medium.identifier = entry->identifier;
    return MakeDisk(session, medium);
}

DADiskRef DADiskCreateFromIOMedia(CFAllocatorRef, DASessionRef session, io_service_t media)
{
    std::uint64_t identifier = 0;
    if (session == nullptr || !FindName(media, TKernelObject::Kind::kEntry, &identifier))
        return nullptr;
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = EntryOf(*registry, {identifier, false, ""});
    return entry != nullptr && MediumAt(*entry).isNamed ? MakeDisk(session, MediumAt(*entry)) : nullptr;
}

const char* DADiskGetBSDName(DADiskRef disk)
{
    const TMedium& medium = MediumOf(disk);
    return medium.isNamed ? medium.bsdName.c_str() : nullptr;
}

io_service_t DADiskCopyIOMedia(DADiskRef disk)
{
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    const TEntry* const entry = EntryOf(*registry, MediumOf(disk));
    return entry != nullptr ? NameEntry(entry->identifier) : IO_OBJECT_NULL;
}
