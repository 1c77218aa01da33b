// The disks of the machine `workshop`: one of every kind, each found to be what it is.

#include "lab/Files.h"
#include "lab/Registry.h"
#include "services/DeviceIdentity.h"
#include "services/IORegistry.h"
#include "services/MediaTypes.h"
#include "services/ScopedIOObject.h"
#include "tests/support/MachineTest.h"

#include <string>

// This test's machine gets the registry of that one.
class WorkshopDisks : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        const lab::TMachine workshop("/lab/machines/workshop");
        for (const char* const file : {"classes.plist", "devicetree.plist", "ioreg.plist", "next-id"}) {
            const std::string path = std::string("registry/") + file;
            ASSERT_EQ("", machine.WriteText(path, workshop.ReadText(path)));
        }
    }
};

// What is known of a disk.
struct TKnownDisk
{
    const char* bsdName;
    UInt32 busType;   // 0: none is told
    SInt32 mediaType;
    const char* device;
    const char* serial;
    SInt32 target;
    SInt32 unit;
};

static const TKnownDisk kDisks[] = {
    // The serial number of an ATA device has blanks behind it.
    {"disk0", kBusTypeATA, kMediaTypeDisk, "ST3160023AS v.3.05", "4MT0B2Q0", 0, 0},
    {"disk1s4", kBusTypeATA, kMediaTypeDisk, "ST3250823AS v.3.05", "4MT0B2Q1", 0, 0},
    {"disk2s2", kBusTypeATA, kMediaTypeDisk, "ST3250823AS v.3.05", "4MT0B2Q2", 0, 0},
    // A RAID volume is on no bus.
    {"disk3s3", 0, kMediaTypeDisk, "Halvorix RAID Volume ", "", 0, 0},
    {"disk5", 0, kMediaTypeDisk, "Halvorix RAID Volume ", "", 0, 0},
    {"disk6s2", kBusTypeFireWire, kMediaTypeDisk, "Norrland FireWire Disk v.1.02", "00 30 E0 F4 E0 00 77 13", 0, 0},
    // Parallel SCSI: a node name that is a number, and the address in properties of its own.
    {"disk7s2", kBusTypeSCSI, kMediaTypeDisk, "SEAGATE ST336607LW v.0007", "20 00 00 0C 50 32 A6 14", 5, 2},
    // SAS: the identifier of an inquiry page, and the target among what the protocol is like.
    {"disk8s2", kBusTypeSCSI, kMediaTypeDisk, "HITACHI HUS151473VLS300 v.A5D0", "50 00 CC A0 03 1F 7B 24", 8, 1},
    // Fibre Channel: the node name is eight bytes.
    {"disk9s2", kBusTypeSCSI, kMediaTypeDisk, "NORRLAND Fibre Array v.1.51", "60 00 39 30 00 00 B1 C7", 3, 0},
    {"disk10s1", kBusTypeUSB, kMediaTypeDisk, "Norrland Pocket Drive v.1.00", "0A4C8812F03B", 4, 0},
    {"disk11s2", kBusTypeFireWire, kMediaTypeIPod, "Apple iPod v.1.53", "00 0A 27 00 02 12 BB 80", 0, 0},
    {"disk12s2", kBusTypeUSB, kMediaTypeIPod, "Apple iPod v.2.70", "000A270013C4E5F0", 3, 0},
    // "ATAPI" has "ATA" in it.
    {"disk13", kBusTypeATA, kMediaTypeCD, "PIONEER DVD-RW  DVR-109 v.A505", "EKDL064821WL", 0, 0},
    {"disk14", kBusTypeFireWire, kMediaTypeDVD, "Norrland DVD Burner v.1.02", "00 30 E0 F4 E0 00 8A 02", 0, 0},
    // Images: one that the kernel reads, one that a program reads, and a CD in one.
    {"disk15s2", kBusTypeOther, kMediaTypeDiskImage, "Apple Disk Image ", "", 0, 0},
    {"disk16s2", kBusTypeOther, kMediaTypeDiskImage, "Apple Disk Image ", "", 0, 0},
    {"disk17", kBusTypeOther, kMediaTypeCD, "Apple Disk Image ", "", 0, 0},
};

TEST_F(WorkshopDisks, EveryKindOfDiskIsKnownForWhatItIs)
{
    for (const TKnownDisk& disk : kDisks) {
        const TScopedIOObject media(GetIOKitObjectWithBSDName(disk.bsdName));
        ASSERT_TRUE(media) << disk.bsdName;
        UInt32 busType = 0;
        EXPECT_EQ(disk.busType != 0 ? 1u : 0u, TestForDiskOnSupportedBus(media.Get(), &busType)) << disk.bsdName;
        EXPECT_EQ(disk.busType, busType) << disk.bsdName;
        EXPECT_EQ(disk.mediaType, GetMediaTypeWithIOServiceObject(media.Get())) << disk.bsdName;
    }
}

TEST_F(WorkshopDisks, EveryDeviceIsIdentified)
{
    for (const TKnownDisk& disk : kDisks) {
        const TScopedIOObject media(GetIOKitObjectWithBSDName(disk.bsdName));
        ASSERT_TRUE(media) << disk.bsdName;
        const auto busType = static_cast<SInt32>(disk.busType);
        char device[128] = {};
        FillInVendorAndProductInfo(media.Get(), device, sizeof device);
        EXPECT_STREQ(disk.device, device) << disk.bsdName;
        char serial[64];
        FillInSerialNumber(media.Get(), busType, serial, sizeof serial);
        EXPECT_STREQ(disk.serial, serial) << disk.bsdName;
        SInt32 target = -1;
        SInt32 unit = -1;
        GetTargetID_And_LUN(media.Get(), busType, &target, &unit);
        EXPECT_EQ(disk.target, target) << disk.bsdName;
        EXPECT_EQ(disk.unit, unit) << disk.bsdName;
    }
}

TEST_F(WorkshopDisks, NoDiskIsLeftOut)
{
    for (const std::string& bsdName : lab::TRegistry(machine.Folder()).MediumNames()) {
        const std::string whole = bsdName.substr(0, bsdName.find('s', 4));
        bool known = whole == "disk4";   // as disk3
        for (const TKnownDisk& disk : kDisks)
            known = known || whole == std::string(disk.bsdName).substr(0, std::string(disk.bsdName).find('s', 4));
        EXPECT_TRUE(known) << bsdName;
    }
}
