// What halvorixstatus sees: the RAID volumes with their boot members and boot helper partitions, what the firmware starts
// from, and the daemon.
//
// Looking changes nothing and runs no tool. The I/O Registry, Disk Arbitration, the kernel's table of processes and files
// on mounted volumes are read, and the daemon's socket is asked for without becoming a client. Nothing is mounted: not even
// for a moment, since the daemon, asked for a rebuild in that moment, would find the partition busy and leave it as it is.
// So the files of a boot helper partition that is not mounted stay unknown. Nobody has to be root for it.

#ifndef HALVORIX_CLIENTS_MACHINESTATUS_H
#define HALVORIX_CLIENTS_MACHINESTATUS_H

#include <CoreServices/CoreServices.h>

#include <string>
#include <vector>

// The partition beside a boot member, where the boot helper is expected. In the texts empty means that there is none, or
// that it is not known.
struct THelperStatus
{
    std::string bsdName;            // "disk0s3"
    bool exists = false;            // whether the disk has such a partition; nothing below is known otherwise
    std::string type;               // "Apple_Boot", or what else its entry in the partition map says
    bool isBootPartition = false;   // whether the type is one of a boot helper's
    bool hasFileSystem = false;
    std::string name;                        // of the volume on it
    std::string mountPath;                   // empty: nothing below is known
    std::string version;                     // of the system that it was filled from: "10.5.8"
    std::string rootUUID;                    // what its boot preferences name as the kernel's root device
    std::vector<std::string> missingFiles;   // of those that a start needs, relative to mountPath
};

// A partition that a RAID volume consists of. Without a BSD name it leads to no disk.
struct TMemberStatus
{
    std::string bsdName;
    THelperStatus helper;   // its name is empty when the map that the member stands on is not known
};

struct TVolumeStatus
{
    std::string bsdName;   // "disk2s3"
    std::string name;
    std::string mountPath;
    std::string version;                  // of the system on it; empty when there is none, or when it is not mounted
    UInt32 versionNumber;                 // the same as a NumVersion, as one number: 0x10588000; 0 when it is empty
    std::string identity;                 // its UUID, which the system makes of the file system's identity
    std::vector<TMemberStatus> members;   // as the driver lists them; those of a volume that it can start from
};

struct TMachineStatus
{
    std::vector<TVolumeStatus>
        volumes;                       // the RAID volumes with a file system or boot members, in the registry's order
    std::string startUpDisk;           // the BSD name of what is mounted at "/"
    std::string bootPath;              // the firmware's boot device, as it stands there
    std::string bootDisk;              // the BSD name of the disk that it leads to
    UInt32 daemons = 0;                // processes named halvorixd
    int socketError = 0;               // 0: a process holds the daemon's socket; otherwise why not, an errno value
    bool somebodyIsLoggedIn = false;   // whether SystemUIServer runs, for which the daemon waits
};

// Looks at everything once. What changes meanwhile may be told as it was before or after.
TMachineStatus LookAtMachine();

// The BSD names of the RAID volumes that have this volume's identity, too; none for a volume without one.
std::vector<std::string> VolumesWithSameIdentity(const TMachineStatus& machine, const TVolumeStatus& volume);

// Whether the kernel that this helper starts will find the volume: what the helper names is the volume's identity.
bool HelperNamesVolume(const THelperStatus& helper, const TVolumeStatus& volume);

// The volume that the firmware starts through one of its helpers; null when there is none.
const TVolumeStatus* VolumeThatFirmwareStarts(const TMachineStatus& machine);

#endif
