// The RAID volumes that are present, with their HFS identities.

#ifndef HALVORIX_DAEMON_VOLUMEREGISTRY_H
#define HALVORIX_DAEMON_VOLUMEREGISTRY_H

#include "foundation/TArray.h"

#include <CoreServices/CoreServices.h>

class TVolumeRegistry
{
public:
    // Empty and disabled.
    TVolumeRegistry() : fEnabled(0), fRecords(kRecordSize) {}

    // Nothing enables the registry yet: it needs the system's version, which nothing reads yet.
    UInt32 Enabled() const { return fEnabled; }

private:
    // A BSD name of 16 bytes and a volume identifier of 64.
    static constexpr unsigned long kRecordSize = 80;

    UInt32 fEnabled;
    TArray fRecords;
};

#endif
