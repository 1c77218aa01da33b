// What the Mac starts from: the firmware's boot device and the blessed start-up volume, read and set.
//
// Reading goes by the I/O Registry or by what bless prints; setting is done by nvram and bless, run as child processes.
// Each function that runs one blocks until it has ended, and tells of nothing but whether it exited with 0: a missing
// tool, whose child exits with 0, reads as success where it is only to set something. Text is ASCII; what is not fails.

#ifndef HALVORIX_SERVICES_BOOTDEVICE_H
#define HALVORIX_SERVICES_BOOTDEVICE_H

#include <IOKit/IOKitLib.h>

extern "C" {

// Finds the service that an Open Firmware path leads to.
//
// openFirmwarePath  "/ht@0,f2000000/pci@7/k2-sata-root@C" or a device's alias
// returns           the object, which the caller releases, or 0
io_object_t GetIOKitObjectWithOpenFirmwarePath(const char* openFirmwarePath);

// Reads the firmware's boot device, "boot-device" of the entry "IODeviceTree:/options".
//
// buffer      receives it as text; all bufferSize bytes are cleared first
// bufferSize  in bytes; the text must leave two free: one for its NUL and one more
// returns     1, or 0 for a null buffer, when there is none or it is no string, and when it does not fit
UInt32 GetBootPath(char* buffer, UInt32 bufferSize);

// Makes an Open Firmware device the firmware's boot device, by
//
//     nvram boot-device=PATH,\\:tbxi
//
// with both backslashes: the first stands for itself, and ":tbxi" finds the file of that type in the blessed folder.
//
// openFirmwarePath  with "IODeviceTree:" before it or without, which makes no difference
// returns           1 when nvram exited with 0, otherwise 0; 0 also for a path of more than 1035 bytes, with which the
//                   argument would be longer than the 1056 bytes that nvram is given with its NUL. nothing is run then
UInt32 SetBootPath(const char* openFirmwarePath);

// Makes a partition the boot device, by bless -device /dev/NAME -setBoot.
//
// bsdName  "disk0s3"; "/dev/" and the name are cut to 1023 bytes
// returns  1 when bless exited with 0, otherwise 0
UInt32 SetBootDeviceWithBSD_Name(const char* bsdName);

// Makes a volume the start-up volume, by bless -folder PATH/System/Library/CoreServices -setBoot.
//
// volumePath  the mount path; cut to 1023 bytes. "/" gives "/System/Library/CoreServices"; any other gets a slash behind
//             it, whether or not it ends with one
// returns     1 when bless exited with 0, otherwise 0
UInt32 SetBootVolumeWithVolumePathname(const char* volumePath);

// The same for the volume on a disk, wherever that is mounted.
//
// bsdName  "disk2s3"
// returns  0 also when it is not mounted; bless is not run then
UInt32 SetBootVolumeWithBSD_Name(const char* bsdName);

// Reads which device holds the start-up volume, by bless -info -getBoot -plist.
//
// buffer      receives the BSD name, cut to its room: "Boot Volume" of what bless prints, without its first five
//             characters, which are taken to be "/dev/". All bufferSize bytes are cleared first. May be null
// bufferSize  in bytes, NUL included
// returns     1, or 0 when bless does not exit with 0 or its first 2048 bytes, taken in one read, are no property list
//             that names a device in at most 31 bytes
//
// When bless cannot be executed, the child returns 0 from this function as well: the caller's code then runs in two
// processes. Who must not be doubled compares getpid() with its value from before the call, and ends the child with
// _exit.
UInt32 GetBootVolumeBSD_Name(char* buffer, UInt32 bufferSize);

// Turns the BSD name of a RAID member's partition into that of the Apple boot helper partition beside it: the one behind
// it on a GUID partition map, the one before it on every other.
//
// partition  the entry from which on, towards the parents in the IOService plane, the first "Content Mask" tells the map.
//            Stays the caller's
// bsdName    changed in place; stays as it is when there is no such property, when it is no string, or when there is no
//            's' in the name. It may become two characters longer: callers give it 32 bytes
//
// On a GUID map "disk1s3" becomes "disk1s4" and "disk1s9" becomes "disk1s10"; on another, "disk1s3" becomes "disk1s2".
// It is for partitions: the number is what stands behind the last 's', and 0 where that is none, so the whole disk
// "disk1" becomes "dis1" or "dis-1".
void GetBSDSliceNumberForAppleBootPartition(io_object_t partition, char* bsdName);

// Makes the boot helper partition of a RAID volume's first boot member the boot device.
//
// bsdName  the RAID volume's; the first element of its "IOBootDevice" holds the member's registry path as
//          "IOBootDevicePath". Where anything of that is missing, nothing is run
void SetBootDeviceForBootRootVolume(const char* bsdName);
}

#endif
