// A device of the I/O Registry with a medium below it, for tests that tell devices apart.

#ifndef HALVORIX_TESTS_SERVICES_DEVICETEST_H
#define HALVORIX_TESTS_SERVICES_DEVICETEST_H

#include "platform/PropertyList.h"
#include "services/ScopedIOObject.h"
#include "tests/support/MachineTest.h"

#include <string>
#include <utility>
#include <vector>

// Both start without properties, and so are all entries above them without those that the tests are about.
class TDeviceTest : public TMachineTest
{
protected:
    using TValue = plist::TValue;

    void SetUp() override
    {
        TMachineTest::SetUp();
        ASSERT_EQ("", machine.AddEntry("IOResources", "IOBlockStorageServices", kDevice));
        ASSERT_EQ("", machine.AddEntry(kDevice, "IOMedia", kMedium));
    }

    // Sets a property of the device, or of the medium itself.
    void Set(const std::string& key, const TValue& value) { ASSERT_EQ("", machine.SetProperty(kDevice, key, value)); }
    void SetOfMedium(const std::string& key, const TValue& value)
    {
        ASSERT_EQ("", machine.SetProperty(kMedium, key, value));
    }

    static TValue Text(const std::string& text) { return TValue::String(text); }
    static TValue Table(const std::vector<std::pair<std::string, TValue>>& entries)
    {
        TValue table = TValue::Dictionary();
        table.entries = entries;
        return table;
    }
    static TValue List(const std::vector<TValue>& items)
    {
        TValue list = TValue::Array();
        list.items = items;
        return list;
    }

    // The entry with this name, which the caller releases.
    io_object_t Entry(const std::string& name) const
    {
        const io_object_t entry = IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(name).c_str());
        EXPECT_NE(0u, entry) << name;
        return entry;
    }

    static constexpr const char* kDevice = "Test Device";
    static constexpr const char* kMedium = "Test Medium";
};

#endif
