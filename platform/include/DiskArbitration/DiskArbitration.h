// Disk Arbitration, the part that is called: disks that come and go, and what it does to them when it is asked.
//
// A disk is an entry of the IOService plane whose class is IOMedia or derived from it. It is known by the entry's
// identifier: a disk that was replaced between two looks is one that disappeared and one that appeared.
// Callbacks are called on the thread of the session's run loop, while it runs. The disk that they get is theirs to use
// until they return; retain it to keep it.

#ifndef HALVORIX_PLATFORM_DISKARBITRATION_H
#define HALVORIX_PLATFORM_DISKARBITRATION_H

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFURL.h>
#include <DiskArbitration/DADisk.h>
#include <DiskArbitration/DADissenter.h>
#include <DiskArbitration/DASession.h>

extern "C" {

typedef void (*DADiskAppearedCallback)(DADiskRef disk, void* context);
typedef void (*DADiskDisappearedCallback)(DADiskRef disk, void* context);

// The callback is called once for every disk that is there, in the order of the IOService plane, then for every new one.
// match  null: every disk. Nothing else can be asked for here; a dictionary ends the process
void DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                    void* context);

// The callback is called for every disk that goes, those that appeared last first. What goes is told before what comes.
// match  as above
void DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match, DADiskDisappearedCallback callback,
                                       void* context);

// Requests
//
// A request returns at once. What became of it is told by its callback, once, on the run loop of the session that the disk
// was made with: of several that are known, the one that was asked first. A request that is made while the session is not
// scheduled is carried out as well, and told of when it is; when the session goes, nobody is told.
// The callback gets a disk that is its own until it returns, and null for success or else a dissenter likewise. A null callback
// is not called. The dissenter's status is
//   kDAReturnNotFound     there is no such medium, or it has no BSD name
//   kDAReturnBusy         to mount: it is mounted already; to unmount: files are open and it was not forced
//   kDAReturnNotMounted   to unmount or rename: it is not mounted
//   kDAReturnUnsupported  there is no file system on the disk, or a path or an option was given that is not known here
//   kDAReturnBadArgument  an argument or name holds a line feed
//   kDAReturnError        the machine does not run
// or what the machine was told to refuse with.

typedef void (*DADiskMountCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);
typedef void (*DADiskUnmountCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);
typedef void (*DADiskRenameCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);

typedef UInt32 DADiskMountOptions;
typedef UInt32 DADiskUnmountOptions;
typedef UInt32 DADiskRenameOptions;

enum
{
    kDADiskMountOptionDefault = 0x00000000
};

enum
{
    kDADiskUnmountOptionDefault = 0x00000000,
    kDADiskUnmountOptionForce = 0x00080000
};

enum
{
    kDADiskRenameOptionDefault = 0x00000000
};

// Mounts the volume.
// path  null: at its standard mount point. No other is known here
void DADiskMount(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback,
                 void* context);

// The same with options as mount -o takes them.
// arguments  strings, a null one behind the last; several options may stand in one, separated by commas. Null: none
void DADiskMountWithArguments(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback,
                              void* context, CFStringRef arguments[]);

// options  kDADiskUnmountOptionForce: even if files are open
void DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context);

// Gives the mounted volume another name.
void DADiskRename(DADiskRef disk, CFStringRef name, DADiskRenameOptions options, DADiskRenameCallback callback,
                  void* context);

// Claims

typedef void (*DADiskClaimCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);

// Asked whether another may have the disk. Null gives it away; a dissenter, which is released then, keeps it.
typedef DADissenterRef (*DADiskClaimReleaseCallback)(DADiskRef disk, void* context);

typedef UInt32 DADiskClaimOptions;

enum
{
    kDADiskClaimOptionDefault = 0x00000000
};

// Claims the disk for the session; told of like a request. The claim lasts until DADiskUnclaim or the end of the session. While
// another session of this process has the disk, that one's release callback is asked, on the thread that claims; what it
// dissents with is what the claim is refused with. kDAReturnExclusiveAccess when that session has no such callback, and
// while another process has the disk, which is not asked.
void DADiskClaim(DADiskRef disk, DADiskClaimOptions options, DADiskClaimReleaseCallback release, void* releaseContext,
                 DADiskClaimCallback callback, void* callbackContext);

// Whether any session has it.
Boolean DADiskIsClaimed(DADiskRef disk);

// Gives the session's claim up. Without one nothing happens.
void DADiskUnclaim(DADiskRef disk);
}

#endif
