#include "lab/OpenFirmware.h"

#include "lab/Registry.h"
#include "tests/support/MachineTest.h"

using namespace lab;
using plist::TValue;

class OpenFirmware : public TMachineTest
{
protected:
    std::string DiskAt(const std::string& value) { return DiskAtOpenFirmwarePath(machine, value); }
};

static const std::string kDrive = "/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@0/";

TEST_F(OpenFirmware, APartitionIsNamedByItsNodeInTheDeviceTree)
{
    EXPECT_EQ(kDrive + "@0:3", OpenFirmwarePath(machine, "disk0s3"));
    EXPECT_EQ(kDrive + "@0:0", OpenFirmwarePath(machine, "disk0"));
    EXPECT_EQ("disk0s3", DiskAt(kDrive + "@0:3"));
    EXPECT_EQ("disk1s3", DiskAt("/ht@0,f2000000/pci@7/k2-sata-root@C/k2-sata@1/@0:3"));
}

TEST_F(OpenFirmware, EveryDiskIsFoundAgainByItsPath)
{
    ASSERT_EQ("", machine.AddMedium("disk9", "", 64 << 20, true));
    ASSERT_EQ("", machine.AddMedium("disk9s10", "disk9", 32 << 20, false));
    ASSERT_EQ("", machine.AddMedium("disk9s1", "disk9", 32 << 20, false));
    for (const std::string& bsdName : TRegistry(machine.Folder()).MediumNames()) {
        const std::string path = OpenFirmwarePath(machine, bsdName);
        EXPECT_EQ(bsdName, DiskAt(path)) << path;
        EXPECT_EQ(bsdName, DiskAt(path + kOpenFirmwareBooter)) << path;
    }
}

TEST_F(OpenFirmware, ADiskWithoutANodeHasAnInventedPath)
{
    EXPECT_EQ("/disk@2:3", OpenFirmwarePath(machine, "disk2s3"));
    EXPECT_EQ("/disk@2:0", OpenFirmwarePath(machine, "disk2"));
    EXPECT_EQ("", DiskAt("/disk@77:3"));
}

TEST_F(OpenFirmware, APathBeginsWithASlashOrAnAlias)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/aliases", "hd", TValue::String(kDrive + "@0")));
    ASSERT_EQ("", machine.SetDeviceTreeProperty(
                      "/aliases", "sata", TValue::Data(std::string("/ht@0,f2000000/pci@7/k2-sata-root@C\0", 36))));
    EXPECT_EQ("disk0s3", DiskAt("hd:3,\\\\:tbxi"));
    EXPECT_EQ("disk1s2", DiskAt("sata/k2-sata@1/@0:2,\\\\:tbxi"));
    EXPECT_EQ("", DiskAt("scsi/@0:2,\\\\:tbxi"));
    EXPECT_EQ("", DiskAt("hd:,\\\\:tbxi"));
}

TEST_F(OpenFirmware, TheFileIsSplitOffFromTheRightSinceNamesOfNodesHoldCommas)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/aliases", "ADPT,2930CU", TValue::String(kDrive)));
    EXPECT_EQ("disk0s4", DiskAt(kDrive + "@0:4,\\\\:tbxi"));
    EXPECT_EQ("disk0s4", DiskAt(kDrive + "@0:4,\\boot\\yaboot"));
    EXPECT_EQ("", DiskAt("/pci@80000000/pci-bridge@d/ADPT,2930CU@3/@0:7,\\\\:tbxi"));
}

TEST_F(OpenFirmware, UnitAddressesAreTheSameInCapitalsAndNamesMayBeMissing)
{
    EXPECT_EQ("disk0s3", DiskAt("/ht@0,F2000000/pci@7/k2-sata-root@c/k2-sata@0/disk@0:3"));
    EXPECT_EQ("disk0s3", DiskAt("/@0,f2000000/@7/@C/@0/@0:3"));
    EXPECT_EQ("", DiskAt("/pci@0,f2000000/pci@7/k2-sata-root@c/k2-sata@0/@0:3"));
}

TEST_F(OpenFirmware, OfSeveralPathsTheFirstCounts)
{
    EXPECT_EQ("disk0s4", DiskAt(kDrive + "@0:4,\\\\:tbxi " + kDrive + "@0:3,\\\\:tbxi"));
}

TEST_F(OpenFirmware, WhatLeadsNowhereHasNoDisk)
{
    for (const std::string& value : {std::string(), std::string("/"), kDrive, kDrive + "@0:9", std::string(":"),
                                     std::string(",\\\\:tbxi"), kDrive + "@0:3/more", std::string("//")})
        EXPECT_EQ("", DiskAt(value)) << value;
    EXPECT_EQ("", OpenFirmwarePath(machine, "disk77"));
    EXPECT_EQ("", OpenFirmwarePath(machine, ""));
}
