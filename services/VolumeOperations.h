// Mounting, unmounting and renaming volumes through Disk Arbitration, one request at a time, waited for.
//
// Each call makes a session of its own, schedules it on the calling thread's run loop and runs that, in the default mode,
// until the answer stops it. Meanwhile whatever else is scheduled there in that mode is served. There is no time-out: a
// request that is never answered is waited for for ever. No session is scheduled when the call returns. Nothing is
// logged.

#ifndef HALVORIX_SERVICES_VOLUMEOPERATIONS_H
#define HALVORIX_SERVICES_VOLUMEOPERATIONS_H

#include <CoreServices/CoreServices.h>
#include <DiskArbitration/DiskArbitration.h>

extern "C" {

// Mounts a volume where Disk Arbitration puts it by default: "/Volumes/Data".
//
// bsdName    "disk2s3", without "/dev/"
// browsable  0: with the arguments "perm" and "nobrowse", so that owners are honoured and the Finder does not show the
//            volume; otherwise with none
// returns    1 when it was mounted, and also when it was not but the volume is mounted now; or else 0
UInt32 MountVolume(const char* bsdName, UInt32 browsable);

// Unmounts a volume.
//
// bsdName  "disk2s3", without "/dev/"
// force    not 0: though files on it are open (kDADiskUnmountOptionForce in Apple's DiskArbitration.h)
// returns  1 when it was unmounted, and also when it was not but the volume is not mounted now; or else 0
UInt32 UnmountVolume(const char* bsdName, UInt32 force);

// What both do.
//
// bsdName    "disk2s3", without "/dev/"
// mount      1 mounts, 0 unmounts
// browsable  as for MountVolume; not looked at when unmounting
// force      as for UnmountVolume; not looked at when mounting
// returns    1 when Disk Arbitration did it. Otherwise, whatever failed, the session and the disk included, whether the
//            volume is mounted now as it should be: unmounting a disk that does not exist returns 1
UInt32 MountOrUnmountVolume(const char* bsdName, UInt32 mount, UInt32 browsable, UInt32 force);

// Renames a mounted volume.
//
// bsdName  "disk2s3", without "/dev/"
// newName  in the file system's representation: UTF-8
// returns  1 when it was renamed; 0 when Disk Arbitration refused, or the name, the session, the disk or its medium could
//          not be had. Nobody looks afterwards what its name is
//
// Two rules of their own, unlike mounting: the reference to the medium is released twice, and the session is not
// released. So each call that comes as far takes a reference to the medium from whoever holds one in this process, and
// leaves a session behind.
UInt32 RenameVolume(const char* bsdName, const char* newName);

// Ends the wait for a request: what Disk Arbitration calls with its answer, on the thread whose run loop is running.
//
// disk       not looked at; stays Disk Arbitration's
// dissenter  null when the request was carried out; stays Disk Arbitration's
// context    a UInt32, which becomes 1 then, or else 0
void DiskRequestDone(DADiskRef disk, DADissenterRef dissenter, void* context);
}

#endif
