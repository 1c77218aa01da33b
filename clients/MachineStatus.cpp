#include "clients/MachineStatus.h"

#include "clients/halvorixevent.h"   // HALVORIX_EVENT_SOCKET
#include "foundation/CFTypes.h"      // CFTypeAs, ExtractASCII
#include "foundation/NumVersions.h"
#include "foundation/PosixDifferences.h"
#include "foundation/ScopedCFType.h"
#include "services/BootDevice.h"   // GetBootPath, GetIOKitObjectWithOpenFirmwarePath
#include "services/BootMembers.h"
#include "services/IORegistry.h"
#include "services/NearestProperties.h"
#include "services/Processes.h"   // NumberOfProcessesWithName
#include "services/PropertyListFiles.h"
#include "services/ScopedDescriptor.h"
#include "services/ScopedIOObject.h"
#include "services/SystemVersion.h"
#include "services/VolumePaths.h"
#include "services/VolumeUUIDs.h"

#include <DiskArbitration/DiskArbitration.h>
#include <cerrno>
#include <cstring>
#include <strings.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

// Room for a BSD name, and for a path, as the library has it.
static const UInt32 kNameSize = 32;
static const UInt32 kPathSize = 1024;

// Where a boot helper partition names the kernel's root device.
static const char kBootPreferences[] = "com.apple.boot.S/Library/Preferences/SystemConfiguration/com.apple.Boot.plist";

// What a start from a boot helper partition needs, beside the system's version, which has one of two names.
static const char* const kHelperFiles[] = {"System/Library/CoreServices/boot.efi", "com.apple.boot.S/mach_kernel",
                                           kBootPreferences, "com.apple.boot.S/System/Library/Extensions.mkext"};

// The text of an object in UTF-8; empty when it is no string or does not fit, which no name of a volume does.
static std::string TextOf(CFTypeRef reference)
{
    const auto string = CFTypeAs<CFStringRef>(reference, CFStringGetTypeID());
    char text[kPathSize];
    if (string == nullptr || !CFStringGetCString(string, text, sizeof text, kCFStringEncodingUTF8))
        return "";
    return text;
}

static std::string BSDNameOf(io_registry_entry_t media)
{
    char name[kNameSize];
    GetBSDNameAndSizes(media, nullptr, name, sizeof name, nullptr, nullptr);
    return name;
}

static std::string MountPathOf(const std::string& bsdName)
{
    char path[kPathSize];
    return GetVolumePathnameWithBSDName(bsdName.c_str(), path, sizeof path) ? path : "";
}

static std::string IdentityOf(const std::string& bsdName)
{
    const TScopedCFType uuid(CreateVolumeCFUUID_WithBSD_Name(bsdName.c_str()));
    if (!uuid)
        return "";
    const TScopedCFType text(CFUUIDCreateString(kCFAllocatorDefault, uuid.Get()));
    return TextOf(text.Get());
}

// The version of the system on a mounted volume as text; empty when there is none.
static std::string VersionTextOf(NumVersion version)
{
    char text[16];
    ConvertNumVersionToString(version, text, sizeof text, false);
    return ReturnNumberOfNumVersion(version) == 0 ? "" : text;
}

// What Disk Arbitration knows of disks.
class TDisks
{
public:
    TDisks() : fSession(DASessionCreate(kCFAllocatorDefault)) {}

    // Tells the name of the volume on a disk. Returns false when there is no file system on it: none of a known kind.
    bool GetVolumeName(const std::string& bsdName, std::string* name) const
    {
        const TScopedCFType disk(
            fSession ? DADiskCreateFromBSDName(kCFAllocatorDefault, fSession.Get(), bsdName.c_str()) : nullptr);
        const TScopedCFType description(disk ? DADiskCopyDescription(disk.Get()) : nullptr);
        if (!description || CFDictionaryGetValue(description.Get(), kDADiskDescriptionVolumeKindKey) == nullptr)
            return false;
        *name = TextOf(CFDictionaryGetValue(description.Get(), kDADiskDescriptionVolumeNameKey));
        return true;
    }

private:
    const TScopedCFType<DASessionRef> fSession;
};

static std::string ReadRootUUID(const std::string& mountPath)
{
    const TScopedCFType plist(CreateCFDictionaryWithContentsOfFile((mountPath + "/" + kBootPreferences).c_str()));
    const auto preferences = CFTypeAs<CFDictionaryRef>(plist.Get(), CFDictionaryGetTypeID());
    return TextOf(GetDictionaryValue(preferences, CFSTR("Root UUID")));
}

static void LookAtHelperFiles(THelperStatus* helper)
{
    struct stat info;
    for (const char* const file : kHelperFiles) {
        if (stat((helper->mountPath + "/" + file).c_str(), &info) != 0)
            helper->missingFiles.push_back(file);
    }
    NumVersion version;
    helper->version = VersionTextOf(*ReturnSystemVersionOnVolume(&version, helper->mountPath.c_str()));
    helper->rootUUID = ReadRootUUID(helper->mountPath);
}

static void LookAtHelper(const TDisks& disks, THelperStatus* helper)
{
    const TScopedIOObject media(GetIOKitObjectWithBSDName(helper->bsdName.c_str()));
    helper->exists = static_cast<bool>(media);
    if (!helper->exists)
        return;
    const TScopedCFType type(
        IORegistryEntryCreateCFProperty(media.Get(), CFSTR("Content Hint"), kCFAllocatorDefault, 0));
    helper->type = TextOf(type.Get());
    helper->isBootPartition = IsDiskAppleBootPartition(helper->bsdName.c_str()) != 0;
    helper->hasFileSystem = disks.GetVolumeName(helper->bsdName, &helper->name);
    helper->mountPath = MountPathOf(helper->bsdName);
    if (!helper->mountPath.empty())
        LookAtHelperFiles(helper);
}

static std::vector<TMemberStatus> LookAtMembers(const TDisks& disks, CFArrayRef list)
{
    std::vector<TMemberStatus> members;
    for (CFIndex i = 0; i < CFArrayGetCount(list); ++i) {
        const CFTypeRef element = CFArrayGetValueAtIndex(list, i);
        TMemberStatus member;
        const TScopedIOObject entry(GetBootMemberEntry(element));
        if (entry)
            member.bsdName = BSDNameOf(entry.Get());
        char helper[kBootHelperNameSize];
        if (FindBootHelperPartition(element, helper)) {
            member.helper.bsdName = helper;
            LookAtHelper(disks, &member.helper);
        }
        members.push_back(member);
    }
    return members;
}

// Looks at a medium if it is a RAID volume: belongs to one, and holds a file system or has boot members.
//
// returns  whether it is
static bool LookAtVolume(const TDisks& disks, io_object_t media, TVolumeStatus* volume)
{
    const TScopedCFType mark(CreateNearestProperty(media, CFSTR("Halvorix Volume ID")));
    volume->bsdName = BSDNameOf(media);
    if (!mark || volume->bsdName.empty())
        return false;
    const TScopedCFType members(CreateBootMemberList(media));
    if (!disks.GetVolumeName(volume->bsdName, &volume->name) && !members)
        return false;
    volume->mountPath = MountPathOf(volume->bsdName);
    volume->identity = IdentityOf(volume->bsdName);
    NumVersion version = ReturnNumVersionOfNumber(0);
    if (!volume->mountPath.empty())
        ReturnSystemVersionOnVolume(&version, volume->mountPath.c_str());
    volume->version = VersionTextOf(version);
    volume->versionNumber = ReturnNumberOfNumVersion(version);
    if (members)
        volume->members = LookAtMembers(disks, members.Get());
    return true;
}

static std::vector<TVolumeStatus> LookAtVolumes()
{
    const TDisks disks;
    std::vector<TVolumeStatus> volumes;
    io_iterator_t found = 0;
    IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOMedia"), &found);
    const TScopedIOObject iterator(found);
    while (iterator) {
        const TScopedIOObject media(IOIteratorNext(iterator.Get()));
        if (!media)
            break;
        TVolumeStatus volume = {};
        if (LookAtVolume(disks, media.Get(), &volume))
            volumes.push_back(volume);
    }
    return volumes;
}

// The disk that the firmware's path leads to. Behind the disk it names the file that is started, and after a blank there
// may be further paths: "/pci@f4000000/ata-6@D/@0:3,\\:tbxi".
static std::string DiskAtBootPath(const std::string& bootPath)
{
    const std::string first = bootPath.substr(0, bootPath.find(' '));
    // From the right, since names of nodes hold commas.
    const std::string path = first.substr(0, first.rfind(",\\"));
    if (path.empty())
        return "";
    const TScopedIOObject media(GetIOKitObjectWithOpenFirmwarePath(path.c_str()));
    return media ? BSDNameOf(media.Get()) : "";
}

// Asks for the daemon's socket with one of another type, and so is refused: with EPROTOTYPE where a process holds a stream
// socket, and otherwise where none does. A connection would stay with the daemon until its next event, and a status that is
// asked for again and again would take all of its descriptors.
//
// returns  0 when a process holds it, or an errno value
static int ErrorAtEventSocket()
{
    const TScopedDescriptor asking(socket(AF_UNIX, SOCK_DGRAM, 0));
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    SetAddressLength(&address, 0);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, HALVORIX_EVENT_SOCKET);
    if (connect(asking.Get(), reinterpret_cast<const struct sockaddr*>(&address), sizeof address) == 0)
        return EPROTOTYPE;
    return errno == EPROTOTYPE ? 0 : errno;
}

TMachineStatus LookAtMachine()
{
    TMachineStatus machine;
    machine.volumes = LookAtVolumes();

    char name[kNameSize];
    ExtractBSDNameFromVolumeName("/", name, sizeof name);
    machine.startUpDisk = name;
    char path[kPathSize];
    if (GetBootPath(path, sizeof path))
        machine.bootPath = path;
    machine.bootDisk = DiskAtBootPath(machine.bootPath);

    machine.daemons = NumberOfProcessesWithName("halvorixd");
    machine.somebodyIsLoggedIn = NumberOfProcessesWithName("SystemUIServer") != 0;
    machine.socketError = ErrorAtEventSocket();
    return machine;
}

std::vector<std::string> VolumesWithSameIdentity(const TMachineStatus& machine, const TVolumeStatus& volume)
{
    std::vector<std::string> same;
    for (const TVolumeStatus& other : machine.volumes) {
        if (!volume.identity.empty() && other.identity == volume.identity && other.bsdName != volume.bsdName)
            same.push_back(other.bsdName);
    }
    return same;
}

bool HelperNamesVolume(const THelperStatus& helper, const TVolumeStatus& volume)
{
    // The kernel reads capitals and small letters alike.
    return !volume.identity.empty() && strcasecmp(helper.rootUUID.c_str(), volume.identity.c_str()) == 0;
}

const TVolumeStatus* VolumeThatFirmwareStarts(const TMachineStatus& machine)
{
    for (const TVolumeStatus& volume : machine.volumes) {
        for (const TMemberStatus& member : volume.members) {
            if (member.helper.exists && member.helper.bsdName == machine.bootDisk)
                return &volume;
        }
    }
    return nullptr;
}
