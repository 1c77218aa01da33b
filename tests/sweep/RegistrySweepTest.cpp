// Every call that the functions of services/ for the I/O Registry make, failing once: whatever fails reads as 0 or as
// nothing.

#include "foundation/ScopedCFType.h"
#include "platform/PropertyList.h"
#include "services/DeviceIdentity.h"
#include "services/IORegistry.h"
#include "services/MediaTypes.h"
#include "services/NearestProperties.h"
#include "services/ScopedIOObject.h"
#include "tests/sweep/Operation.h"

#include <string>

using TValue = plist::TValue;

static TValue Table(const std::vector<std::pair<std::string, TValue>>& entries)
{
    TValue table = TValue::Dictionary();
    table.entries = entries;
    return table;
}

// A medium below a device that has no properties until it is given some.
class SweptRegistry : public TMachineTest
{
protected:
    static constexpr const char* kDevice = "Swept Device";
    static constexpr const char* kMedium = "Swept Medium";

    void AddDevice(const char* deviceClass = "IOBlockStorageServices", const char* mediumClass = "IOMedia")
    {
        ASSERT_EQ("", machine.AddEntry("IOResources", deviceClass, kDevice));
        ASSERT_EQ("", machine.AddEntry(kDevice, mediumClass, kMedium));
    }

    void Set(const std::string& key, const TValue& value) { ASSERT_EQ("", machine.SetProperty(kDevice, key, value)); }

    // The entry, which the caller releases.
    io_object_t Entry(const std::string& name = kMedium) const
    {
        return IORegistryEntryFromPath(kIOMasterPortDefault, machine.EntryPath(name).c_str());
    }
};

TEST_F(SweptRegistry, AnObjectThatCannotBeHadIsNone)
{
    TOperation("GetIOKitObjectWithBSDName",
               [] {
                   const TScopedIOObject medium(GetIOKitObjectWithBSDName("disk2s3"));
                   return medium ? "medium" : "0";
               })
        .Gives("medium")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

static io_iterator_t AllMedia()
{
    io_iterator_t all = 0;
    EXPECT_EQ(KERN_SUCCESS, IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOMedia"), &all));
    return all;
}

TEST_F(SweptRegistry, TheLastLevelThatCannotBeHadIsNone)
{
    io_iterator_t iterator = AllMedia();
    TOperation("IterateThroughParentLevels",
               [&] {
                   const TScopedIOObject last(IterateThroughParentLevels(iterator, 3));
                   return last ? "object" : "0";
               })
        .After([&] {
            IOObjectRelease(iterator);
            iterator = AllMedia();
        })
        .Gives("object")
        .GivesOnFailure("object")
        .GivesOnFailureOf("IOIteratorNext", "0", kByCaller, 3)
        .Sweep();
    IOObjectRelease(iterator);
}

TEST_F(SweptRegistry, AnAncestorThatCannotBeAskedIsNotOfTheClass)
{
    AddDevice();
    const TScopedIOObject medium(Entry());
    // The medium is asked, its device next.
    TOperation("IOKitObjectIsChildOfObjectOfClass",
               [&] { return Text(IOKitObjectIsChildOfObjectOfClass(medium.Get(), "IOBlockStorageServices")); })
        .Gives("1")
        .GivesOnFailure("0")
        .GivesOnFailureOf("IOObjectConformsTo", "1", kByCaller, 1)
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptRegistry, APropertyThatCannotBeReadLeavesItsTargetAlone)
{
    const TScopedIOObject medium(Entry("disk2s3"));
    SInt64 size = 0;
    SInt32 blockSize = 0;
    GetBSDNameAndSizes(medium.Get(), nullptr, nullptr, 0, &size, &blockSize);
    const auto text = [](const std::string& name, UInt32 partition, SInt64 bytes, SInt32 block) {
        return name + " " + Text(partition) + " " + Text(bytes) + " " + Text(block);
    };
    TOperation("GetBSDNameAndSizes",
               [&] {
                   UInt32 partition = 77;
                   char name[32] = "before";
                   SInt64 bytes = 77;
                   SInt32 block = 77;
                   GetBSDNameAndSizes(medium.Get(), &partition, name, sizeof name, &bytes, &block);
                   return text(name, partition, bytes, block);
               })
        .Gives(text("disk2s3", 1, size, blockSize))
        .GivesOnFailure(text("", 0, size, blockSize))
        .GivesOnFailureOf("IORegistryEntryCreateCFProperty", text("disk2s3", 1, 77, blockSize), kByCaller, 2)
        .GivesOnFailureOf("IORegistryEntryCreateCFProperty", text("disk2s3", 1, size, 77), kByCaller, 3)
        .GivesOnFailureOf("CFNumberGetValue", text("disk2s3", 1, 77, blockSize), kByCaller, 1)
        .GivesOnFailureOf("CFNumberGetValue", text("disk2s3", 1, size, 77), kByCaller, 2)
        .Sweep();
}

TEST_F(SweptRegistry, ADiskThatCannotBeLookedUpIsNoneOfTheKind)
{
    TOperation("IsDiskAppleBootPartition", [] { return Text(IsDiskAppleBootPartition("disk0s3")); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
    ASSERT_EQ("", machine.SetProperty("disk4", "Removable", TValue::Boolean(true)));
    TOperation("IsDiskRemovable", [] { return Text(IsDiskRemovable("disk4")); })
        .Gives("1")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
    TOperation("NumberBytesOnDisk", [] { return NumberBytesOnDisk("disk2s3") != 0 ? "bytes" : "0"; })
        .Gives("bytes")
        .GivesOnFailure("0")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptRegistry, APropertyThatCannotBeSearchedForIsMissing)
{
    AddDevice();
    Set("Protocol Characteristics", Table({{"Physical Interconnect", TValue::String("FireWire")}}));
    const TScopedIOObject medium(Entry());
    TOperation("CreateNearestProperty",
               [&] {
                   const TScopedCFType property(CreateNearestProperty(medium.Get(), CFSTR("Protocol Characteristics")));
                   return property ? "property" : "null";
               })
        .Gives("property")
        .GivesOnFailure("null")
        .Sweep();
    TOperation("CreateNearestDictionary",
               [&] {
                   const TScopedCFType property(
                       CreateNearestDictionary(medium.Get(), CFSTR("Protocol Characteristics")));
                   return property ? "dictionary" : "null";
               })
        .Gives("dictionary")
        .GivesOnFailure("null")
        .Sweep();
}

TEST_F(SweptRegistry, ABusWhoseNameCannotBeReadIsAnother)
{
    AddDevice();
    Set("Protocol Characteristics", Table({{"Physical Interconnect", TValue::String("FireWire")}}));
    const TScopedIOObject medium(Entry());
    TOperation("TestForDiskOnSupportedBus",
               [&] {
                   UInt32 busType = 77;
                   const UInt32 result = TestForDiskOnSupportedBus(medium.Get(), &busType);
                   return Text(result) + " " + Text(busType);
               })
        .Gives("1 " + Text(int{kBusTypeFireWire}))
        .GivesOnFailure("0 77")
        // The name is read for each word that is looked for; the fifth is the one that it holds.
        .GivesOnFailureOf("CFStringGetCString", "1 " + Text(int{kBusTypeOther}), kByCaller, 5)
        .DespiteFailureOf({"CFStringGetCString"})
        .Sweep();
}

TEST_F(SweptRegistry, AMediumThatCannotBeAskedIsAnOrdinaryDisk)
{
    AddDevice("IOBlockStorageServices", "IOCDMedia");
    const TScopedIOObject medium(Entry());
    const auto type = [](UInt32 result, UInt32 mediaType) { return Text(result) + " " + Text(mediaType); };
    TOperation("TestForOpticalMedia",
               [&] {
                   UInt32 mediaType = 77;
                   const UInt32 result = TestForOpticalMedia(medium.Get(), &mediaType);
                   return type(result, mediaType);
               })
        .Gives(type(1, kMediaTypeCD))
        .GivesOnFailure(type(0, 77))
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();

    Set("Device Characteristics", Table({{"Product Name", TValue::String("iPod")}}));
    TOperation("TestForIPodMedia",
               [&] {
                   UInt32 mediaType = 77;
                   const UInt32 result = TestForIPodMedia(medium.Get(), &mediaType);
                   return type(result, mediaType);
               })
        .Gives(type(1, kMediaTypeIPod))
        .GivesOnFailure(type(0, 77))
        .Sweep();

    Set("Protocol Characteristics", Table({{"Physical Interconnect", TValue::String("Virtual Interface")}}));
    TOperation("TestForDiskImageMedia",
               [&] {
                   UInt32 mediaType = 77;
                   const UInt32 result = TestForDiskImageMedia(medium.Get(), &mediaType);
                   return type(result, mediaType);
               })
        .Gives(type(1, kMediaTypeDiskImage))
        .GivesOnFailure(type(0, 77))
        // That no ancestor is a disk image is what the class says anyway.
        .DespiteFailureOf({"IOObjectConformsTo", "IOObjectRelease", "IORegistryEntryGetParentEntry"})
        .Sweep();
    TOperation("GetMediaTypeWithIOServiceObject", [&] { return Text(GetMediaTypeWithIOServiceObject(medium.Get())); })
        .Gives(Text(int{kMediaTypeCD}))
        // What is asked next takes it for an iPod.
        .GivesOnFailure(Text(int{kMediaTypeIPod}))
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptRegistry, AMachinesNumberThatCannotBeReadIsNone)
{
    TOperation("CreateHWSerialNumberString",
               [] {
                   const TScopedCFType number(CreateHWSerialNumberString());
                   return number ? "number" : "null";
               })
        .Gives("number")
        .GivesOnFailure("null")
        .DespiteFailureOf({"IOObjectRelease"})
        .Sweep();
}

TEST_F(SweptRegistry, APartOfADevicesNameThatCannotBeReadIsLeftOut)
{
    AddDevice();
    Set("Device Characteristics", Table({{"Vendor Name", TValue::String("HITACHI")},
                                         {"Product Name", TValue::String("HDS")},
                                         {"Product Revision Level", TValue::String("A70M")}}));
    const TScopedIOObject medium(Entry());
    TOperation("FillInVendorAndProductInfo",
               [&] {
                   char text[64] = {};
                   FillInVendorAndProductInfo(medium.Get(), text, sizeof text);
                   return std::string(text);
               })
        .Gives("HITACHI HDS v.A70M")
        .GivesOnFailure("")
        .GivesOnFailureOf("CFStringGetCString", "HDS v.A70M", kByCaller, 1)
        .GivesOnFailureOf("CFStringGetCString", "HITACHI v.A70M", kByCaller, 2)
        .GivesOnFailureOf("CFStringGetCString", "HITACHI HDS ", kByCaller, 3)
        .Sweep();
}

TEST_F(SweptRegistry, ASerialNumberThatCannotBeReadIsEmpty)
{
    AddDevice();
    Set("GUID", TValue::Integer(0x000A270002123456));
    Set("USB Serial Number", TValue::String(" 1234 "));
    Set("device serial", TValue::String("ATA1"));
    Set("Serial Number", TValue::String("ATA2"));
    Set("INQUIRY Device Identification", [] {
        TValue pages = TValue::Array();
        pages.items = {Table({{"Identifier", TValue::Data(std::string(8, 1))}})};
        return pages;
    }());
    const TScopedIOObject medium(Entry());
    const auto serial = [&](SInt32 busType) {
        char text[64] = "before";
        FillInSerialNumber(medium.Get(), busType, text, sizeof text);
        return std::string(text);
    };
    TOperation("FillInSerialNumber on FireWire", [&] { return serial(kBusTypeFireWire); })
        .Gives("00 0A 27 00 02 12 34 56")
        .GivesOnFailure("")
        .Sweep();
    TOperation("FillInSerialNumber on USB", [&] { return serial(kBusTypeUSB); })
        .Gives("1234")
        .GivesOnFailure("")
        .Sweep();
    TOperation("FillInSerialNumber on ATA", [&] { return serial(kBusTypeATA); })
        .Gives("ATA1")
        .GivesOnFailure("")
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", "ATA2")
        .Sweep();
    // The first two properties are missing anyway.
    TOperation("FillInSerialNumber on SCSI", [&] { return serial(kBusTypeSCSI); })
        .Gives("01 01 01 01 01 01 01 01")
        .GivesOnFailure("01 01 01 01 01 01 01 01")
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", "", kByCaller, 3)
        .Sweep();
}

TEST_F(SweptRegistry, AnAddressThatCannotBeReadIs0)
{
    AddDevice();
    Set("SCSI Target", TValue::Integer(3));
    Set("SCSI Lun", TValue::Integer(4));
    Set("USB Address", TValue::Integer(5));
    Set("unit number", TValue::Integer(6));
    const TScopedIOObject medium(Entry());
    const auto address = [&](SInt32 busType) {
        SInt32 target = 77;
        SInt32 lun = 77;
        GetTargetID_And_LUN(medium.Get(), busType, &target, &lun);
        return Text(target) + " " + Text(lun);
    };
    TOperation("GetTargetID_And_LUN on SCSI", [&] { return address(kBusTypeSCSI); })
        .Gives("3 4")
        .GivesOnFailure("0 4")
        .GivesOnFailureOf("CFNumberGetValue", "3 0", kByCaller, 2)
        .GivesOnFailureOf("IORegistryEntrySearchCFProperty", "3 0", kByCaller, 2)
        .Sweep();
    TOperation("GetTargetID_And_LUN on USB", [&] { return address(kBusTypeUSB); })
        .Gives("5 0")
        .GivesOnFailure("0 0")
        .Sweep();
    TOperation("GetTargetID_And_LUN on ATA", [&] { return address(kBusTypeATA); })
        .Gives("6 0")
        .GivesOnFailure("0 0")
        .Sweep();
}
