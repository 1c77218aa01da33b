#include "services/DeviceIdentity.h"
#include "foundation/CFTypes.h"
#include "foundation/ScopedCFType.h"
#include "services/MediaTypes.h"
#include "tests/services/DeviceTest.h"

#include <cstring>
#include <string>
#include <utility>

class DeviceIdentity : public TDeviceTest
{
protected:
    static const std::string kNode;   // a World Wide Name

    // What FillInVendorAndProductInfo appends to a zeroed buffer of so many bytes.
    std::string Info(UInt32 size = 64) const
    {
        const TScopedIOObject medium(Entry(kMedium));
        std::string buffer = std::string(size, '\0') + std::string(16, '#');
        FillInVendorAndProductInfo(medium.Get(), &buffer[0], size);
        EXPECT_EQ(std::string(16, '#'), buffer.substr(size)) << "behind " << size << " bytes";
        EXPECT_TRUE(size == 0 || buffer[size - 1] == 0) << "no byte is left for the NUL of " << size;
        return buffer.substr(0, size).c_str();
    }

    // A serial number in a buffer of so many bytes, which must be zero behind it.
    std::string Serial(SInt32 busType, UInt32 size = 64, const std::string& entry = kMedium) const
    {
        const TScopedIOObject object(Entry(entry));
        std::string buffer(size + 16, '#');
        FillInSerialNumber(object.Get(), busType, &buffer[0], size);
        EXPECT_EQ(std::string(16, '#'), buffer.substr(size)) << "behind " << size << " bytes";
        const std::string serial = buffer.substr(0, size).c_str();
        EXPECT_EQ(std::string(size - serial.size(), '\0'), buffer.substr(serial.size(), size - serial.size()));
        return serial;
    }

    // Target and logical unit.
    std::pair<SInt32, SInt32> Address(SInt32 busType, const std::string& entry = kMedium) const
    {
        const TScopedIOObject object(Entry(entry));
        std::pair<SInt32, SInt32> address(77, 77);
        GetTargetID_And_LUN(object.Get(), busType, &address.first, &address.second);
        return address;
    }

    using TAddress = std::pair<SInt32, SInt32>;

    void SetInfo(const TValue& vendor, const TValue& product, const TValue& revision)
    {
        Set("Device Characteristics",
            Table({{"Vendor Name", vendor}, {"Product Name", product}, {"Product Revision Level", revision}}));
    }
    void SetNode(const TValue& name) { Set("Protocol Characteristics", Table({{"Node World Wide Name", name}})); }
    void SetInquiry(const TValue& identifier)
    {
        Set("INQUIRY Device Identification", List({Table({{"Identifier", identifier}}), Table({})}));
    }
};

const std::string DeviceIdentity::kNode("\x50\x06\x0E\x80\x00\x12\x34\x56", 8);

// The machine

TEST_F(DeviceIdentity, TheMachinesSerialNumberIsThatOfTheDeviceTreesRoot)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/", "IOPlatformSerialNumber", Text("XB4170XYPNA")));

    const TScopedCFType number(CreateHWSerialNumberString());
    EXPECT_TRUE(CompareCFTypeRefToString(number.Get(), "XB4170XYPNA", false));
}

TEST_F(DeviceIdentity, ASerialNumberOfTheMachineThatIsNoStringIsNone)
{
    ASSERT_EQ("", machine.SetDeviceTreeProperty("/", "IOPlatformSerialNumber", TValue::Data("XB4170XYPNA")));

    EXPECT_EQ(nullptr, CreateHWSerialNumberString());
}

TEST_F(DeviceIdentity, AMachineWithoutASerialNumberHasNone)
{
    ASSERT_EQ("", machine.RemoveDeviceTreeProperty("/", "IOPlatformSerialNumber"));

    EXPECT_EQ(nullptr, CreateHWSerialNumberString());
}

TEST_F(DeviceIdentity, AMachineWithoutADeviceTreeHasNoSerialNumber)
{
    machine.Remove("registry/devicetree.plist");

    EXPECT_EQ(nullptr, CreateHWSerialNumberString());
}

// Vendor, product and revision

TEST_F(DeviceIdentity, VendorProductAndRevisionStandInARow)
{
    SetInfo(Text("HITACHI"), Text("HDS7225"), Text("A70M"));

    EXPECT_EQ("HITACHI HDS7225 v.A70M", Info());
}

TEST_F(DeviceIdentity, EachPartIsTrimmed)
{
    SetInfo(Text("  HITACHI "), Text(" HDS 7225  "), Text(" A70M "));

    EXPECT_EQ("HITACHI HDS 7225 v.A70M", Info());
}

TEST_F(DeviceIdentity, WhatIsMissingAddsNothing)
{
    EXPECT_EQ("", Info());
    Set("Device Characteristics", Table({}));
    EXPECT_EQ("", Info());
    Set("Device Characteristics", Table({{"Vendor Name", Text("HITACHI")}}));
    EXPECT_EQ("HITACHI ", Info());
    Set("Device Characteristics", Table({{"Product Name", Text("HDS7225")}}));
    EXPECT_EQ("HDS7225 ", Info());
    Set("Device Characteristics", Table({{"Product Revision Level", Text("A70M")}}));
    EXPECT_EQ("v.A70M", Info());
    Set("Device Characteristics", Text("HITACHI"));
    EXPECT_EQ("", Info());
}

TEST_F(DeviceIdentity, ABlankFollowsAVendorOrProductOfBlanksAlone)
{
    SetInfo(Text("  "), Text(""), Text("1"));

    EXPECT_EQ("  v.1", Info());
}

TEST_F(DeviceIdentity, ARevisionOfBlanksAloneAddsNothing)
{
    SetInfo(Text("HITACHI"), Text("HDS7225"), Text("   "));
    EXPECT_EQ("HITACHI HDS7225 ", Info());

    SetInfo(Text("HITACHI"), Text("HDS7225"), Text(""));
    EXPECT_EQ("HITACHI HDS7225 ", Info());
}

TEST_F(DeviceIdentity, PartsOfTheWrongTypeOrNotASCIIOrTooLongAddNothing)
{
    SetInfo(TValue::Data("HITACHI"), Text("HDS\xC3\xA9"), TValue::Integer(7));
    EXPECT_EQ("", Info());

    SetInfo(Text(std::string(256, 'x')), Text(std::string(255, 'y')), Text("1"));
    EXPECT_EQ(std::string(255, 'y') + " v.1", Info(300));
}

TEST_F(DeviceIdentity, TheTextIsCutWhereverTheBufferEnds)
{
    SetInfo(Text("AB"), Text("CD"), Text("12"));
    const std::string whole = "AB CD v.12";

    for (const UInt32 size : {11u, 10u, 9u, 6u, 5u, 4u, 3u, 2u, 1u})
        EXPECT_EQ(whole.substr(0, size - 1), Info(size)) << size;
    EXPECT_EQ("", Info(0));
}

// Six characters stand before it.
TEST_F(DeviceIdentity, WithoutRoomForItsVTheRevisionBeginsAtOnce)
{
    SetInfo(Text("AB"), Text("CD"), Text("12"));

    EXPECT_EQ("AB CD v.", Info(9));
    EXPECT_EQ("AB CD 1", Info(8));
    EXPECT_EQ("AB CD ", Info(7));
}

TEST_F(DeviceIdentity, TheBufferIsNeitherClearedNorTerminated)
{
    SetInfo(Text("AB"), Text("CD"), Text("12"));
    const TScopedIOObject medium(Entry(kMedium));
    char text[16];
    memset(text, '#', sizeof text);

    FillInVendorAndProductInfo(medium.Get(), text, sizeof text);
    EXPECT_EQ("AB CD v.12######", std::string(text, sizeof text));
}

// Serial numbers

TEST_F(DeviceIdentity, OnFireWireItIsTheGUIDAsBytes)
{
    Set("GUID", TValue::Integer(0x000A270002123456));

    EXPECT_EQ("00 0A 27 00 02 12 34 56", Serial(kBusTypeFireWire));
}

TEST_F(DeviceIdentity, AGUIDWithItsHighestBitSetIsNoNegativeNumber)
{
    Set("GUID", TValue::Integer(static_cast<std::int64_t>(0xF00A270002123456ull)));

    EXPECT_EQ("F0 0A 27 00 02 12 34 56", Serial(kBusTypeFireWire));
}

TEST_F(DeviceIdentity, AGUIDThatIsNoNumberIsNone)
{
    Set("GUID", TValue::Data(kNode));

    EXPECT_EQ("", Serial(kBusTypeFireWire));
}

TEST_F(DeviceIdentity, OnSCSIItIsTheWorldWideNodeNameFirst)
{
    Set("World Wide Node Name", TValue::Integer(0x50060E8000123456));
    SetNode(TValue::Data("ABCDEFGH"));
    SetInquiry(TValue::Data("abcdefgh"));

    EXPECT_EQ("50 06 0E 80 00 12 34 56", Serial(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, OnSCSIItIsTheNodeWorldWideNameNext)
{
    Set("World Wide Node Name", TValue::Data("ABCDEFGH"));
    SetNode(TValue::Data(kNode));
    SetInquiry(TValue::Data("abcdefgh"));

    EXPECT_EQ("50 06 0E 80 00 12 34 56", Serial(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, OnSCSIItIsTheInquirysFirstIdentifierLast)
{
    SetInquiry(TValue::Data(kNode));

    EXPECT_EQ("50 06 0E 80 00 12 34 56", Serial(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, ANodeWorldWideNameOf16BytesIsPassedOver)
{
    SetNode(TValue::Data(kNode + kNode));
    SetInquiry(TValue::Data("abcdefgh"));

    EXPECT_EQ("61 62 63 64 65 66 67 68", Serial(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, NamesOfAnotherLengthOrTypeAreNone)
{
    for (const TValue& name :
         {TValue::Data(kNode + kNode), TValue::Data("1234567"), TValue::Data(""), Text("12345678")}) {
        SetNode(name);
        SetInquiry(name);
        EXPECT_EQ("", Serial(kBusTypeSCSI));
    }
}

TEST_F(DeviceIdentity, AnInquiryWithoutAnIdentifierInItsFirstElementHasNone)
{
    const TValue page = Table({{"Identifier", TValue::Data(kNode)}});

    for (const TValue& pages : {List({}), List({Table({}), page}), List({Text("page"), page}), page}) {
        Set("INQUIRY Device Identification", pages);
        EXPECT_EQ("", Serial(kBusTypeSCSI));
    }
}

TEST_F(DeviceIdentity, OnUSBItIsTheSerialNumberTrimmed)
{
    Set("USB Serial Number", Text("  000A27 0012  "));
    Set("Serial Number", Text("other"));
    Set("device serial", Text("other"));

    EXPECT_EQ("000A27 0012", Serial(kBusTypeUSB));
}

TEST_F(DeviceIdentity, OnATAItIsTheDeviceSerialOrElseTheSerialNumber)
{
    Set("Serial Number", Text(" KRFX4 "));
    EXPECT_EQ("KRFX4", Serial(kBusTypeATA));

    Set("device serial", TValue::Integer(7));
    EXPECT_EQ("KRFX4", Serial(kBusTypeATA));

    Set("device serial", Text("  VDB41 "));
    EXPECT_EQ("VDB41", Serial(kBusTypeATA));
}

// It is there, so no other is looked for.
TEST_F(DeviceIdentity, ADeviceSerialOfBlanksAloneIsAnEmptyOne)
{
    Set("device serial", Text("   "));
    Set("Serial Number", Text("KRFX4"));

    EXPECT_EQ("", Serial(kBusTypeATA));
}

TEST_F(DeviceIdentity, ASerialNumberThatIsNoStringOrNotASCIIOrTooLongIsNone)
{
    for (const TValue& number :
         {TValue::Data("KRFX4"), TValue::Integer(4), Text("KRF\xC3\xA9"), Text(std::string(255, 'x'))}) {
        Set("USB Serial Number", number);
        EXPECT_EQ("", Serial(kBusTypeUSB));
    }
    Set("USB Serial Number", Text(std::string(254, 'x')));
    EXPECT_EQ(std::string(254, 'x'), Serial(kBusTypeUSB, 300));
}

TEST_F(DeviceIdentity, OnAnyOtherBusThereIsNoSerialNumberAndTheBufferIsZeroed)
{
    Set("GUID", TValue::Integer(1));
    Set("World Wide Node Name", TValue::Integer(1));
    Set("USB Serial Number", Text("1"));
    Set("device serial", Text("1"));

    for (const SInt32 busType : {kBusTypeOther + 0, 0, 6, -3})
        EXPECT_EQ("", Serial(busType));
}

TEST_F(DeviceIdentity, ASerialNumberThatDoesNotFitIsCutAndEndsWithANUL)
{
    Set("GUID", TValue::Integer(0x000A270002123456));
    Set("World Wide Node Name", TValue::Integer(0x000A270002123456));
    Set("USB Serial Number", Text("000A27"));

    EXPECT_EQ("00 0A 27", Serial(kBusTypeFireWire, 9));
    EXPECT_EQ("00 0A 27", Serial(kBusTypeSCSI, 9));
    EXPECT_EQ("000", Serial(kBusTypeUSB, 4));
    EXPECT_EQ("", Serial(kBusTypeUSB, 1));
    EXPECT_EQ("", Serial(kBusTypeUSB, 0));
}

// Addresses

TEST_F(DeviceIdentity, OnSCSITargetAndLogicalUnitAreTold)
{
    Set("SCSI Target", TValue::Integer(3));
    Set("SCSI Lun", TValue::Integer(2));
    Set("Protocol Characteristics", Table({{"SCSI Target Identifier", TValue::Integer(8)}}));
    Set("SCSI Logical Unit Number", TValue::Integer(9));

    EXPECT_EQ(TAddress(3, 2), Address(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, OnSCSITheOlderNamesAreTakenWhereTheFirstAreMissing)
{
    Set("Protocol Characteristics", Table({{"SCSI Target Identifier", TValue::Integer(8)}}));
    Set("SCSI Logical Unit Number", TValue::Integer(9));
    EXPECT_EQ(TAddress(8, 9), Address(kBusTypeSCSI));

    Set("SCSI Target", Text("3"));
    Set("SCSI Lun", Text("2"));
    EXPECT_EQ(TAddress(8, 9), Address(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, ATargetOfZeroIsATarget)
{
    Set("SCSI Target", TValue::Integer(0));
    Set("Protocol Characteristics", Table({{"SCSI Target Identifier", TValue::Integer(8)}}));

    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeSCSI));
}

TEST_F(DeviceIdentity, OnUSBTheTargetIsTheAddressAndTheLogicalUnit0)
{
    Set("USB Address", TValue::Integer(5));
    Set("SCSI Target", TValue::Integer(3));
    Set("SCSI Lun", TValue::Integer(2));
    Set("unit number", TValue::Integer(1));

    EXPECT_EQ(TAddress(5, 0), Address(kBusTypeUSB));
}

TEST_F(DeviceIdentity, OnATATheTargetIsTheUnitAndTheLogicalUnit0)
{
    Set("unit number", TValue::Integer(1));
    Set("USB Address", TValue::Integer(5));
    Set("SCSI Lun", TValue::Integer(2));

    EXPECT_EQ(TAddress(1, 0), Address(kBusTypeATA));
}

TEST_F(DeviceIdentity, OnAnyOtherBusBothAre0)
{
    Set("SCSI Target", TValue::Integer(3));
    Set("SCSI Lun", TValue::Integer(2));
    Set("USB Address", TValue::Integer(5));
    Set("unit number", TValue::Integer(1));

    for (const SInt32 busType : {kBusTypeOther + 0, kBusTypeFireWire + 0, 0, 6})
        EXPECT_EQ(TAddress(0, 0), Address(busType)) << busType;
}

TEST_F(DeviceIdentity, WhatIsMissingOrNoNumberIs0)
{
    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeSCSI));
    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeUSB));
    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeATA));

    Set("Protocol Characteristics", Table({{"SCSI Target Identifier", Text("8")}}));
    Set("SCSI Logical Unit Number", TValue::Boolean(true));
    Set("USB Address", TValue::Data("5"));
    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeSCSI));
    EXPECT_EQ(TAddress(0, 0), Address(kBusTypeUSB));
}

TEST_F(DeviceIdentity, AnAddressKeepsItsLow32Bits)
{
    Set("USB Address", TValue::Integer(0x700000005));

    EXPECT_EQ(TAddress(5, 0), Address(kBusTypeUSB));
}

// Disks of the machine

TEST_F(DeviceIdentity, TheDisksOfTheMachineAreTold)
{
    EXPECT_NE("", Serial(kBusTypeATA, 64, "disk0"));
    EXPECT_NE(Serial(kBusTypeATA, 64, "disk0"), Serial(kBusTypeATA, 64, "disk1"));
    EXPECT_EQ(Serial(kBusTypeATA, 64, "disk0"), Serial(kBusTypeATA, 64, "disk0s3"));
    EXPECT_EQ("00 30 E0 F4 E0 00 2A 41", Serial(kBusTypeFireWire, 64, "disk3s3"));
}

TEST_F(DeviceIdentity, NoObjectHasNoIdentity)
{
    char text[4] = {'#', '#', '#', '#'};
    SInt32 target = 77;
    SInt32 lun = 77;

    FillInVendorAndProductInfo(0, text, sizeof text);
    EXPECT_EQ("####", std::string(text, 4));
    FillInSerialNumber(0, kBusTypeATA, text, sizeof text);
    EXPECT_EQ(std::string(4, '\0'), std::string(text, 4));
    GetTargetID_And_LUN(0, kBusTypeSCSI, &target, &lun);
    EXPECT_EQ(0, target);
    EXPECT_EQ(0, lun);
}
