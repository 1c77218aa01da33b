// Volumes of the machine to mount, unmount and rename, and a look at what is asked of Disk Arbitration.

#ifndef HALVORIX_TESTS_SERVICES_VOLUMETEST_H
#define HALVORIX_TESTS_SERVICES_VOLUMETEST_H

#include "platform/PropertyList.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <string>
#include <unistd.h>
#include <vector>

// Of the machine's volumes one is mounted at /Volumes/Backup; a boot helper partition is not.
constexpr const char* kMounted = "disk3s3";
constexpr const char* kUnmounted = "disk0s3";
constexpr const char* kMissing = "disk99s9";

// The steps before a request, each of which may fail.
constexpr const char* kEarlySteps[] = {"DASessionCreate", "DADiskCreateFromBSDName", "DADiskCopyIOMedia"};

class TVolumeTest : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        // Whoever waits for ever fails at once, and not when the whole run is given up.
        alarm(120);
        ASSERT_EQ("/Volumes/Backup", machine.MountPath(kMounted));
        ASSERT_EQ("", machine.MountPath(kUnmounted));
    }

    bool IsMounted(const char* bsdName) const { return !machine.MountPath(bsdName).empty(); }

    std::vector<std::string> MountOptions(const char* bsdName) const
    {
        for (const lab::TMount& mount : machine.Mounts()) {
            if (mount.bsdName == bsdName)
                return mount.options;
        }
        return {"not mounted"};
    }

    std::string NameOf(const char* bsdName) const
    {
        const plist::TValue volume = machine.Volume(bsdName);
        const plist::TValue* const name = volume.Find("Name");
        return name != nullptr ? name->text : "";
    }
};

// Counts what is asked of Disk Arbitration.
class TRequests
{
public:
    unsigned Mounts() const { return fMounts.Calls() + fHiddenMounts.Calls(); }
    unsigned All() const { return Mounts() + fUnmounts.Calls() + fRenames.Calls(); }

private:
    TCallWatch fMounts{"DADiskMount"};
    TCallWatch fHiddenMounts{"DADiskMountWithArguments"};
    TCallWatch fUnmounts{"DADiskUnmount"};
    TCallWatch fRenames{"DADiskRename"};
};

#endif
