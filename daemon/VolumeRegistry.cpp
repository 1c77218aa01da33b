#include "daemon/VolumeRegistry.h"

#include "foundation/CStrings.h"   // StoreCString
#include "foundation/ScopedCFType.h"
#include "services/ChildProcess.h"
#include "services/NearestProperties.h"

#include <cstring>

static const char kTool[] = "/System/Library/Filesystems/hfs.fs/hfs.util";

// The tool's code for success: its FSUR_IO_SUCCESS of -3 as an exit status.
static const int kToolSucceeded = 253;

// Starts hfs.util on a volume. A tool that cannot be executed looks like one that failed: it exits with 0.
static bool StartTool(TChildProcess* child, const char* option, const char* bsdName)
{
    const char* const arguments[] = {kTool, option, bsdName, nullptr};
    return child->Start({kTool, arguments, kBecomeRoot, kPipeOutput, kExitWithZero}) == kChildStarted;
}

// Waits for the tool, letting it print what it has left.
static bool FinishTool(TChildProcess* child)
{
    child->DiscardOutput();
    int status = 0;
    return child->Wait(&status) != -1 && TChildProcess::ExitedWith(status, kToolSucceeded);
}

bool TVolumeRegistry::HasVolumeIDProperty(io_object_t media)
{
    const TScopedCFType property(CreateNearestProperty(media, CFSTR("Halvorix Volume ID")));
    return static_cast<bool>(property);
}

bool TVolumeRegistry::ReadVolumeID(const char* bsdName, UInt8* volumeID)
{
    TChildProcess child;
    if (!StartTool(&child, "-k", bsdName))
        return false;
    char text[kVolumeIDSize] = {};
    child.Read(text, sizeof text);
    if (!FinishTool(&child) || text[0] == 0)
        return false;
    memcpy(volumeID, text, sizeof text);
    return true;
}

bool TVolumeRegistry::ResetVolumeID(const char* bsdName)
{
    TChildProcess child;
    return StartTool(&child, "-s", bsdName) && FinishTool(&child);
}

void TVolumeRegistry::VolumeAppeared(const char* bsdName, io_object_t media)
{
    if (!Enabled() || !HasVolumeIDProperty(media))
        return;
    UInt8 volumeID[kVolumeIDSize];
    if (!ReadVolumeID(bsdName, volumeID))
        return;

    const TVolumeRecord* const holder = FindRecordByVolumeID(volumeID);
    if (holder != nullptr) {
        if (strcmp(holder->bsdName, bsdName) == 0)
            return;
        // The newcomer and not the holder: programs may have seen the holder's already.
        if (!ResetVolumeID(bsdName) || !ReadVolumeID(bsdName, volumeID))
            return;
    }
    SetVolumeIDForBSDName(bsdName, volumeID);
}

void TVolumeRegistry::VolumeDisappeared(const char* bsdName)
{
    if (Enabled())
        RemoveRecordForBSDName(bsdName);
}

TVolumeRecord* TVolumeRegistry::RecordAtIndex(UInt32 index) const
{
    return static_cast<TVolumeRecord*>(fRecords.ElementAtIndex(index));
}

TVolumeRecord* TVolumeRegistry::FindRecordByVolumeID(const UInt8* volumeID) const
{
    for (UInt32 i = 0; i < fRecords.Count(); ++i) {
        TVolumeRecord* const record = RecordAtIndex(i);
        if (memcmp(record->volumeID, volumeID, kVolumeIDSize) == 0)
            return record;
    }
    return nullptr;
}

TVolumeRecord* TVolumeRegistry::FindRecordByBSDName(const char* bsdName, UInt32* index) const
{
    for (UInt32 i = 0; i < fRecords.Count(); ++i) {
        TVolumeRecord* const record = RecordAtIndex(i);
        if (strcmp(record->bsdName, bsdName) != 0)
            continue;
        if (index != nullptr)
            *index = i;
        return record;
    }
    return nullptr;
}

void TVolumeRegistry::SetVolumeIDForBSDName(const char* bsdName, const UInt8* volumeID)
{
    TVolumeRecord* const record = FindRecordByBSDName(bsdName);
    if (record != nullptr) {
        memcpy(record->volumeID, volumeID, kVolumeIDSize);
        return;
    }
    TVolumeRecord added = {};
    StoreCString(added.bsdName, bsdName, sizeof added.bsdName);
    memcpy(added.volumeID, volumeID, kVolumeIDSize);
    fRecords.AddElement(&added);
}

void TVolumeRegistry::RemoveRecordForBSDName(const char* bsdName)
{
    UInt32 index = 0;
    if (FindRecordByBSDName(bsdName, &index) != nullptr)
        fRecords.DeleteElementAtIndex(index);
}

bool TVolumeRegistry::CopyVolumeIDForBSDName(const char* bsdName, UInt8* volumeID) const
{
    const TVolumeRecord* const record = FindRecordByBSDName(bsdName);
    if (record == nullptr)
        return false;
    memcpy(volumeID, record->volumeID, kVolumeIDSize);
    return true;
}
