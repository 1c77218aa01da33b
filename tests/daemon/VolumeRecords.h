// A volume registry and what it has recorded, for tests.

#ifndef HALVORIX_TESTS_DAEMON_VOLUMERECORDS_H
#define HALVORIX_TESTS_DAEMON_VOLUMERECORDS_H

#include "daemon/VolumeRegistry.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>

// Identities are "A", "B" ... with zeros behind.
class TVolumeRecordsTest : public TMachineTest
{
protected:
    static std::string Identity(std::string text)
    {
        text.resize(kVolumeIDSize);
        return text;
    }

    static const UInt8* Bytes(const std::string& identity) { return reinterpret_cast<const UInt8*>(identity.data()); }

    void Set(const char* bsdName, const std::string& identity)
    {
        registry.SetVolumeIDForBSDName(bsdName, Bytes(Identity(identity)));
    }

    // The identity in the record of this name, without the zeros; "none" without a record.
    std::string Of(const char* bsdName) const
    {
        char bytes[kVolumeIDSize + 1];
        memset(bytes, 77, sizeof bytes);
        bytes[kVolumeIDSize] = 0;
        if (registry.CopyVolumeIDForBSDName(bsdName, reinterpret_cast<UInt8*>(bytes)))
            return bytes;
        EXPECT_EQ(std::string(kVolumeIDSize, 77), bytes) << "untouched";
        return "none";
    }

    // Where the record of this name is; 77 without one.
    UInt32 PlaceOf(const char* bsdName) const
    {
        UInt32 index = 77;
        registry.FindRecordByBSDName(bsdName, &index);
        return index;
    }

    TVolumeRegistry registry;
};

#endif
