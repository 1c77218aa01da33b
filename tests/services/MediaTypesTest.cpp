#include "services/MediaTypes.h"
#include "tests/services/DeviceTest.h"

#include <string>

class MediaTypes : public TDeviceTest
{
protected:
    void SetInterconnect(const TValue& value)
    {
        Set("Protocol Characteristics", Table({{"Physical Interconnect", value}}));
    }
    void SetProduct(const std::string& name) { Set("Device Characteristics", Table({{"Product Name", Text(name)}})); }

    // Adds a medium of a class below the medium, and returns its name.
    std::string AddBelow(const std::string& className)
    {
        EXPECT_EQ("", machine.AddEntry(kMedium, className, "Lower"));
        EXPECT_EQ("", machine.AddEntry("Lower", "IOMedia", "Lowest"));
        return "Lowest";
    }

    // What a test finds: the type it stores, or 0 when it answers 0. 77 would be an answer of 1 that stores nothing.
    using TTest = UInt32 (*)(io_object_t, UInt32*);
    UInt32 Find(TTest test, const std::string& entry = kMedium) const
    {
        const TScopedIOObject object(Entry(entry));
        UInt32 type = 77;
        const UInt32 answer = test(object.Get(), &type);
        EXPECT_EQ(answer, test(object.Get(), nullptr)) << "where no type is asked for";
        EXPECT_TRUE(answer == 1 || type == 77) << "the answer is " << answer;
        return answer == 1 ? type : 0;
    }

    SInt32 MediaType(const std::string& entry = kMedium) const
    {
        const TScopedIOObject object(Entry(entry));
        return GetMediaTypeWithIOServiceObject(object.Get());
    }
};

TEST_F(MediaTypes, TheFirstWordOfTheInterconnectDecidesTheBus)
{
    static const struct
    {
        const char* interconnect;
        UInt32 busType;
    } kCases[] = {
        {"SCSI", 4},
        {"SCSI Parallel Interface", 4},
        {"SAS", 4},
        {"Fibre Channel Interface", 4},
        {"ATA", 2},
        {"ATAPI", 2},
        {"Serial ATA", 2},
        {"SATA", 2},
        {"FireWire", 3},
        {"USB", 5},
        {"PCI-Express", 1},
        {"Virtual Interface", 1},
        {"Fibre Channel", 1},   // not the whole word
        {"usb", 1},             // upper and lower case differ
        {"", 1},
        {"ATA over USB", 2},   // ATA comes before FireWire and USB
        {"FireWire to ATA", 2},
        {"USB by FireWire", 3},
        {"USB Attached SCSI", 4},   // and SCSI before all
        {"Serial Attached SCSI with ATA", 4},
        {"ATA on SAS", 4},
        {"ATA in a Fibre Channel Interface", 4},
    };
    for (const auto& bus : kCases) {
        SetInterconnect(Text(bus.interconnect));
        EXPECT_EQ(bus.busType, Find(TestForDiskOnSupportedBus)) << bus.interconnect;
    }
}

TEST_F(MediaTypes, TheInterconnectMayBeBytes)
{
    SetInterconnect(TValue::Data(std::string("USB\0FireWire", 12)));

    EXPECT_EQ(5u, Find(TestForDiskOnSupportedBus));
}

TEST_F(MediaTypes, WithoutAnInterconnectTheBusIsNotToldAndNothingIsWritten)
{
    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));

    Set("Protocol Characteristics", Table({{"Physical Interconnect Location", Text("USB")}}));
    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));
}

TEST_F(MediaTypes, AnInterconnectOfTheWrongTypeIsNone)
{
    SetInterconnect(TValue::Integer(5));
    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));
    EXPECT_EQ(0u, Find(TestForDiskImageMedia));

    Set("Protocol Characteristics", Text("USB"));
    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));
    EXPECT_EQ(0u, Find(TestForDiskImageMedia));
}

TEST_F(MediaTypes, TheInterconnectIsTakenFromTheDictionaryAndNotSearchedFor)
{
    Set("Protocol Characteristics", Table({}));
    SetOfMedium("Physical Interconnect", Text("USB"));

    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));
}

TEST_F(MediaTypes, TheNearestCharacteristicsCount)
{
    SetInterconnect(Text("ATA"));
    SetOfMedium("Protocol Characteristics", Table({{"Physical Interconnect", Text("USB")}}));

    EXPECT_EQ(5u, Find(TestForDiskOnSupportedBus));
}

// One that is no dictionary hides those behind it.
TEST_F(MediaTypes, TheNearestCharacteristicsCountAlsoWhenTheyAreNone)
{
    SetInterconnect(Text("ATA"));
    SetOfMedium("Protocol Characteristics", Text("USB"));

    EXPECT_EQ(0u, Find(TestForDiskOnSupportedBus));
}

TEST_F(MediaTypes, MediaBelowACDAreCDs)
{
    EXPECT_EQ(3u, Find(TestForOpticalMedia, AddBelow("IOCDMedia")));
    EXPECT_EQ(3u, Find(TestForOpticalMedia, "Lower"));
}

TEST_F(MediaTypes, MediaBelowADVDAreDVDs)
{
    EXPECT_EQ(4u, Find(TestForOpticalMedia, AddBelow("IODVDMedia")));
    EXPECT_EQ(4u, Find(TestForOpticalMedia, "Lower"));
}

TEST_F(MediaTypes, OtherMediaAreNotOptical)
{
    EXPECT_EQ(0u, Find(TestForOpticalMedia));
    // The CD is below the medium, and nothing above it is one.
    AddBelow("IOCDMedia");
    EXPECT_EQ(0u, Find(TestForOpticalMedia));
}

TEST_F(MediaTypes, ACDIsLookedForBeforeADVD)
{
    ASSERT_EQ("", machine.AddEntry(kDevice, "IOCDMedia", "Upper"));
    ASSERT_EQ("", machine.AddEntry("Upper", "IODVDMedia", "Lower"));

    EXPECT_EQ(3u, Find(TestForOpticalMedia, "Lower"));
}

TEST_F(MediaTypes, AProductWithIPodInItsNameIsAnIPod)
{
    SetProduct("iPod");
    EXPECT_EQ(2u, Find(TestForIPodMedia));
    SetProduct("My iPod mini");
    EXPECT_EQ(2u, Find(TestForIPodMedia));
}

TEST_F(MediaTypes, AnotherProductOrNoneIsNoIPod)
{
    EXPECT_EQ(0u, Find(TestForIPodMedia));
    SetProduct("ipod");
    EXPECT_EQ(0u, Find(TestForIPodMedia));
    Set("Device Characteristics", Table({{"Vendor Name", Text("iPod")}}));
    EXPECT_EQ(0u, Find(TestForIPodMedia));
    Set("Device Characteristics", Text("iPod"));
    EXPECT_EQ(0u, Find(TestForIPodMedia));
}

TEST_F(MediaTypes, MediaBelowAFileBackingStoreAreDiskImages)
{
    EXPECT_EQ(5u, Find(TestForDiskImageMedia, AddBelow("KDIFileBackingStore")));
}

TEST_F(MediaTypes, AVirtualInterfaceIsADiskImageOnAnotherBus)
{
    SetInterconnect(Text("Virtual Interface"));

    EXPECT_EQ(5u, Find(TestForDiskImageMedia));
    EXPECT_EQ(1u, Find(TestForDiskOnSupportedBus));
}

TEST_F(MediaTypes, AnotherInterfaceOrNoneIsNoDiskImage)
{
    EXPECT_EQ(0u, Find(TestForDiskImageMedia));
    SetInterconnect(Text("Virtual"));
    EXPECT_EQ(0u, Find(TestForDiskImageMedia));
    Set("Protocol Characteristics", Table({}));
    EXPECT_EQ(0u, Find(TestForDiskImageMedia));
}

TEST_F(MediaTypes, AFileBackingStoreNeedsNoVirtualInterface)
{
    SetInterconnect(Text("USB"));

    EXPECT_EQ(5u, Find(TestForDiskImageMedia, AddBelow("KDIFileBackingStore")));
}

TEST_F(MediaTypes, AMediumThatIsNothingElseIsADisk)
{
    EXPECT_EQ(1, MediaType());
    SetInterconnect(Text("USB"));
    SetProduct("Pocket Drive");
    EXPECT_EQ(1, MediaType());
}

TEST_F(MediaTypes, AnIPodOnUSBIsAnIPod)
{
    SetInterconnect(Text("USB"));
    SetProduct("iPod");

    EXPECT_EQ(2, MediaType());
}

TEST_F(MediaTypes, ADiskImageIsADiskImage)
{
    SetInterconnect(Text("Virtual Interface"));

    EXPECT_EQ(5, MediaType());
}

TEST_F(MediaTypes, ACDInADiskImageIsACD)
{
    const std::string lowest = AddBelow("KDIFileBackingStore");
    ASSERT_EQ("", machine.AddEntry(lowest, "IOCDMedia", "CD"));

    EXPECT_EQ(5, MediaType(lowest));
    EXPECT_EQ(3, MediaType("CD"));
}

TEST_F(MediaTypes, OpticalComesBeforeIPodAndIPodBeforeDiskImage)
{
    SetInterconnect(Text("Virtual Interface"));
    SetProduct("iPod");
    EXPECT_EQ(2, MediaType());

    EXPECT_EQ(4, MediaType(AddBelow("IODVDMedia")));
}

TEST_F(MediaTypes, TheDisksOfTheMachineAreTold)
{
    static const struct
    {
        const char* disk;
        UInt32 busType;
    } kDisks[] = {{"disk0", 2}, {"disk0s3", 2}, {"disk1", 2}, {"disk3", 3}, {"disk4", 5}, {"disk4s1", 5}};
    for (const auto& disk : kDisks) {
        EXPECT_EQ(disk.busType, Find(TestForDiskOnSupportedBus, disk.disk)) << disk.disk;
        EXPECT_EQ(1, MediaType(disk.disk)) << disk.disk;
    }
}

TEST_F(MediaTypes, NoObjectIsAnOrdinaryDiskOnNoBus)
{
    UInt32 type = 77;

    EXPECT_EQ(0u, TestForDiskOnSupportedBus(0, &type));
    EXPECT_EQ(0u, TestForOpticalMedia(0, &type));
    EXPECT_EQ(0u, TestForIPodMedia(0, &type));
    EXPECT_EQ(0u, TestForDiskImageMedia(0, &type));
    EXPECT_EQ(77u, type);
    EXPECT_EQ(1, GetMediaTypeWithIOServiceObject(0));
}
