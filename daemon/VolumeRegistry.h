// The RAID volumes that are present, with their HFS identities, no two of which may be equal.
//
// A volume's identity is what the system's hfs.util prints for it; it is kept and compared as bytes. When a volume appears
// whose identity another one has already, the newcomer is given a new one.
//
// Only the main thread uses the registry. Each run of hfs.util is waited for, without a time-out.

#ifndef HALVORIX_DAEMON_VOLUMEREGISTRY_H
#define HALVORIX_DAEMON_VOLUMEREGISTRY_H

#include "foundation/TArray.h"

#include <CoreServices/CoreServices.h>
#include <IOKit/IOKitLib.h>
#include <cstddef>

// How much of what hfs.util prints is kept.
constexpr std::size_t kVolumeIDSize = 64;

// One volume.
struct TVolumeRecord
{
    char bsdName[16];                // cut to 15 bytes and a NUL
    UInt8 volumeID[kVolumeIDSize];   // with zeros behind it when it is shorter; all of it counts
};

static_assert(sizeof(TVolumeRecord) == 80, "records are 80 bytes");
static_assert(offsetof(TVolumeRecord, volumeID) == 16, "");

class TVolumeRegistry
{
public:
    // Empty and disabled.
    TVolumeRegistry() : fEnabled(0), fRecords(sizeof(TVolumeRecord)) {}

    // enabled  false: volumes that appear and disappear change nothing, and no tool is run. True is for 10.4 and later
    void SetEnabled(bool enabled) { fEnabled = enabled; }
    bool Enabled() const { return fEnabled != 0; }

    // A disk or partition appeared. If it is a RAID volume with an identity, it is recorded, after it was given a new one
    // if that of another BSD name is the same. Whatever fails leaves the registry as it is. The volume that had the
    // identity first keeps it.
    //
    // bsdName  "disk3s2". From 16 bytes on it is recorded under its first 15, and not found by its whole name
    // media    its IOMedia object; stays the caller's
    void VolumeAppeared(const char* bsdName, io_object_t media);

    // A disk or partition disappeared. The record of bsdName is removed, whatever it is a record of.
    void VolumeDisappeared(const char* bsdName);

    // Says whether an entry belongs to a RAID volume.
    //
    // media    the entry; stays the caller's
    // returns  whether it or one of those above it in the IOService plane has "Halvorix Volume ID", of whatever value
    static bool HasVolumeIDProperty(io_object_t media);

    // Reads a volume's identity: hfs.util -k, as root.
    //
    // bsdName   handed to the tool as it is: "disk3s2"
    // volumeID  receives kVolumeIDSize bytes: what one read(2) of what the tool prints gives, with zeros behind it;
    //           untouched on failure
    // returns   whether the tool exited with 253, its code for success, and printed anything. A first byte of 0 is nothing
    static bool ReadVolumeID(const char* bsdName, UInt8* volumeID);

    // Gives a volume a new identity: hfs.util -s, as root.
    //
    // bsdName  handed to the tool as it is
    // returns  whether the tool exited with 253
    static bool ResetVolumeID(const char* bsdName);

    // These find the first record with an identity or a BSD name.
    //
    // volumeID  kVolumeIDSize bytes
    // bsdName   with no more than the 15 bytes that are recorded of it; a longer one is never found
    // index     receives where the record is, counted from 0; untouched when there is none. May be null
    // returns   the record, which stays the registry's and is valid until its next change; null when there is none
    TVolumeRecord* FindRecordByVolumeID(const UInt8* volumeID) const;
    TVolumeRecord* FindRecordByBSDName(const char* bsdName, UInt32* index = nullptr) const;

    // Sets the identity in the record of a BSD name, or adds one. Without memory for it, nothing is added.
    //
    // bsdName   a new record keeps its first 15 bytes
    // volumeID  kVolumeIDSize bytes, which are copied
    void SetVolumeIDForBSDName(const char* bsdName, const UInt8* volumeID);

    // Removes the record of bsdName, if there is one; those behind it move up. Without memory for the rest, it stays.
    void RemoveRecordForBSDName(const char* bsdName);

    // Copies the identity in the record of a BSD name.
    //
    // bsdName   as FindRecordByBSDName takes it
    // volumeID  receives kVolumeIDSize bytes; untouched when there is no record
    // returns   whether there is one
    bool CopyVolumeIDForBSDName(const char* bsdName, UInt8* volumeID) const;

    // Returns whether there is a record of bsdName, as FindRecordByBSDName takes it.
    bool ContainsBSDName(const char* bsdName) const { return FindRecordByBSDName(bsdName) != nullptr; }

    // How many volumes are recorded.
    UInt32 Count() const { return fRecords.Count(); }

private:
    TVolumeRecord* RecordAtIndex(UInt32 index) const;

    UInt32 fEnabled;
    TArray fRecords;   // of TVolumeRecord, in the order in which they first appeared
};

#endif
