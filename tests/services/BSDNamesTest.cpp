#include "services/BSDNames.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

// Names are texts alone, so these need a machine only for the check that nothing is left behind.
class BSDNames : public TMachineTest
{
protected:
    // What a conversion in place makes of a text. The copy is exactly as long as the text, on the heap: a byte before it
    // or behind it is seen by the sanitizer.
    static std::string Converted(void (*convert)(char*), const std::string& text)
    {
        std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
        convert(copy.data());
        EXPECT_EQ(0, copy[text.size()]) << text;
        return copy.data();
    }

    static std::string ToDisk(const std::string& text)
    {
        return Converted(ConvertPartitionPathnameToDiskPathname, text);
    }
    static std::string ToTrack(const std::string& text)
    {
        return Converted(ConvertPartitionPathnameToTrackPathname, text);
    }
};

TEST_F(BSDNames, ARawDiskIsToldByTheFirstTenCharacters)
{
    EXPECT_EQ(1u, PathnameIsRawDisk("/dev/rdisk0"));
    EXPECT_EQ(1u, PathnameIsRawDisk("/dev/rdisk2s3"));
    EXPECT_EQ(1u, PathnameIsRawDisk("/dev/rdisk"));
    EXPECT_EQ(1u, PathnameIsRawDisk("/dev/rdiskette"));
    EXPECT_EQ(0u, PathnameIsRawDisk("/dev/rdis"));
    EXPECT_EQ(0u, PathnameIsRawDisk("/dev/disk0"));
    EXPECT_EQ(0u, PathnameIsRawDisk("rdisk0"));
    EXPECT_EQ(0u, PathnameIsRawDisk("/dev/rDisk0"));
    EXPECT_EQ(0u, PathnameIsRawDisk(" /dev/rdisk0"));
    EXPECT_EQ(0u, PathnameIsRawDisk(""));
}

TEST_F(BSDNames, APartitionHasAnSBehindItsLastK)
{
    EXPECT_EQ(1u, IsDiskAPartition("disk0s1"));
    EXPECT_EQ(1u, IsDiskAPartition("disk2s3"));
    EXPECT_EQ(1u, IsDiskAPartition("/dev/rdisk10s12"));
    EXPECT_EQ(0u, IsDiskAPartition("disk1"));
    EXPECT_EQ(0u, IsDiskAPartition("/dev/rdisk0"));
    EXPECT_EQ(0u, IsDiskAPartition("disk"));
}

TEST_F(BSDNames, WithoutAKAnyPlaceOfAnSMakesAPartition)
{
    EXPECT_EQ(1u, IsDiskAPartition("abs"));
    EXPECT_EQ(1u, IsDiskAPartition("s"));
    EXPECT_EQ(1u, IsDiskAPartition("sab"));
}

TEST_F(BSDNames, ATextWithNeitherIsNoPartition)
{
    EXPECT_EQ(0u, IsDiskAPartition(""));
    EXPECT_EQ(0u, IsDiskAPartition("/dev/0"));
    EXPECT_EQ(0u, IsDiskAPartition("DISK2S3"));
}

TEST_F(BSDNames, TheSliceNumberIsTheDefinedArithmeticAndNoNumberOfASlice)
{
    // '3' + 48 = 99; 99 * 10 + 's' + 48 = 1153; 1153 * 10 + '2' + 48 = 11628.
    EXPECT_EQ(11628u, ReturnPartitionSliceNumber("disk2s3"));
    EXPECT_EQ(11628u, ReturnPartitionSliceNumber("/dev/rdisk2s3"));
    EXPECT_EQ(98u, ReturnPartitionSliceNumber("disk2"));
}

TEST_F(BSDNames, TheSliceNumberStopsAtTheLastK)
{
    EXPECT_EQ(0u, ReturnPartitionSliceNumber("disk"));
    EXPECT_EQ(0u, ReturnPartitionSliceNumber("k"));
    EXPECT_EQ(99u, ReturnPartitionSliceNumber("9k3"));
    EXPECT_EQ(99u, ReturnPartitionSliceNumber("kk3"));
}

TEST_F(BSDNames, WithoutAKTheSliceNumberTakesTheWholeText)
{
    EXPECT_EQ(0u, ReturnPartitionSliceNumber(""));
    EXPECT_EQ(97u, ReturnPartitionSliceNumber("1"));
    EXPECT_EQ(98u * 10 + 97, ReturnPartitionSliceNumber("12"));
}

TEST_F(BSDNames, TheSliceNumberWrapsAt32Bits)
{
    // Eleven times '0' + 48 = 96, which is 96 * 11111111111 = 1066666666656.
    EXPECT_EQ(static_cast<UInt32>(1066666666656ULL), ReturnPartitionSliceNumber("disk00000000000"));
}

TEST_F(BSDNames, ACharacterCodeIsNeverNegative)
{
    EXPECT_EQ(255u + 48, ReturnPartitionSliceNumber("disk\xFF"));
}

TEST_F(BSDNames, APartitionsPathnameIsCutToItsDisks)
{
    EXPECT_EQ("/dev/disk2", ToDisk("/dev/disk2s3"));
    EXPECT_EQ("/dev/rdisk1", ToDisk("/dev/rdisk1s10"));
    EXPECT_EQ("disk2", ToDisk("disk2s3"));
}

TEST_F(BSDNames, ADisksPathnameIsLeftUnchanged)
{
    EXPECT_EQ("/dev/rdisk3", ToDisk("/dev/rdisk3"));
    EXPECT_EQ("/dev/disk10", ToDisk("/dev/disk10"));
    EXPECT_EQ("", ToDisk(""));
}

TEST_F(BSDNames, OfSeveralPartsTheFirstBehindTheLastKIsCutAt)
{
    EXPECT_EQ("disk2", ToDisk("disk2s3s4"));
    EXPECT_EQ("disks2disk3", ToDisk("disks2disk3s4s5"));
}

TEST_F(BSDNames, EverySBehindTheLastKBecomesANul)
{
    char name[] = "disk2s3s4";
    ConvertPartitionPathnameToDiskPathname(name);
    EXPECT_EQ(0, memcmp("disk2\0003\0004", name, 10));
}

TEST_F(BSDNames, WithoutAKTheFirstSOfAllIsCutAt)
{
    EXPECT_EQ("/u", ToDisk("/users"));
    EXPECT_EQ("", ToDisk("s"));
}

TEST_F(BSDNames, APartitionsPathnameIsCutToItsTracksAsToItsDisks)
{
    EXPECT_EQ("/dev/disk2", ToTrack("/dev/disk2s3"));
    EXPECT_EQ("/dev/rdisk1", ToTrack("/dev/rdisk1s10"));
}

TEST_F(BSDNames, ADisksPathnameLosesItsEndWhenCutToItsTracks)
{
    EXPECT_EQ("/dev/di", ToTrack("/dev/disk2"));
    EXPECT_EQ("/dev/rdi", ToTrack("/dev/rdisk3"));
}

TEST_F(BSDNames, TheTracksPathnameIsCutAtTheLastSAlone)
{
    char name[] = "disk2s3s4";
    ConvertPartitionPathnameToTrackPathname(name);
    EXPECT_EQ(0, memcmp("disk2s3\0004", name, 10));
}

TEST_F(BSDNames, ATextWithoutAnSIsNoTracksPathnameAndStays)
{
    EXPECT_EQ("/dev/0", ToTrack("/dev/0"));
    EXPECT_EQ("", ToTrack(""));
    EXPECT_EQ("", ToTrack("s"));
}

// The name that is taken out of a pathname, with room for 31 characters; "-" when none is.
static std::string NameIn(const std::string& pathname)
{
    char name[32] = "untouched";
    const UInt32 found = ExtractBSDNameFromPathname(pathname.c_str(), name, 31);
    if (found == 0) {
        EXPECT_STREQ("untouched", name) << pathname;
        return "-";
    }
    EXPECT_EQ(1u, found);
    return name;
}

TEST_F(BSDNames, ANameIsTakenOutOfItsPathname)
{
    EXPECT_EQ("disk2s3", NameIn("/dev/rdisk2s3"));
    EXPECT_EQ("disk0", NameIn("/dev/disk0"));
    EXPECT_EQ("disk10s12", NameIn("disk10s12"));
    EXPECT_EQ("disk1s2s3", NameIn("/dev/disk1s2s3"));
}

TEST_F(BSDNames, BehindDiskThereMustBeACharacter)
{
    EXPECT_EQ("-", NameIn("/dev/disk"));
    EXPECT_EQ("-", NameIn("disk"));
    EXPECT_EQ("-", NameIn("dis"));
    EXPECT_EQ("-", NameIn(""));
}

TEST_F(BSDNames, BehindDiskThereMayBeDigitsAndSAlone)
{
    EXPECT_EQ("-", NameIn("/dev/disk2s3/x"));
    EXPECT_EQ("-", NameIn("/dev/disk2p3"));
    EXPECT_EQ("-", NameIn("/dev/disk2S3"));
    EXPECT_EQ("-", NameIn("/dev/disk2 "));
    EXPECT_EQ("-", NameIn("/dev/disk-1"));
    EXPECT_EQ("disks", NameIn("/dev/disks"));
    EXPECT_EQ("diskss1", NameIn("/dev/diskss1"));
}

TEST_F(BSDNames, TheFirstDiskIsTheOneThatCounts)
{
    EXPECT_EQ("-", NameIn("/Volumes/disk/disk2"));
    EXPECT_EQ("-", NameIn("disk0disk1"));
}

// After a difference at its n-th letter the search goes n characters on, so it misses what begins earlier.
TEST_F(BSDNames, TheSearchGoesOnBehindTheCharacterThatDiffers)
{
    struct
    {
        const char* pathname;
        const char* name;
    } const cases[] = {
        {"xdisk1", "disk1"},        // the first letter differs: one on
        {"dxdisk1", "disk1"},       // the second: two on
        {"dixdisk1", "disk1"},      // the third: three on
        {"disxdisk1", "disk1"},     // the fourth: four on
        {"ddisk1", "-"},            // the second differs and is the 'd' that was looked for
        {"dddisk1", "disk1"},       // the same twice: the third 'd' is looked at
        {"didisk1", "-"},           // the third is that 'd'
        {"disdisk1", "-"},          // the fourth is
        {"disdisdisk1", "disk1"},   // behind the second 'd', so the third is found
        {"ddidisk1", "disk1"},      // two on, to the 'i', and from there one by one
        {"dixdisk", "-"},           // found, but nothing behind it
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.name, NameIn(one.pathname)) << one.pathname;
}

TEST_F(BSDNames, ANameAsLongAsTheSizeIsTakenAndWritesOneByteMore)
{
    char name[10] = "=========";

    EXPECT_EQ(1u, ExtractBSDNameFromPathname("/dev/disk2s3", name, 7));
    EXPECT_EQ(0, memcmp("disk2s3\0=", name, 9));
}

TEST_F(BSDNames, ALongerNameFailsAndNothingIsWritten)
{
    char name[10] = "=========";

    EXPECT_EQ(0u, ExtractBSDNameFromPathname("/dev/disk2s3", name, 6));
    EXPECT_STREQ("=========", name);
}

// The mount path that a pathname is on, with room for 63 characters; "-" when there is none.
static std::string VolumeOf(const std::string& pathname)
{
    std::vector<char> path(64, '=');
    const UInt32 found = ExtractVolumePathFromPathname(pathname.c_str(), path.data(), 64);
    for (std::size_t i = strlen(path.data()); i < path.size(); ++i)
        EXPECT_EQ(0, path[i]) << pathname << " at " << i;
    if (found == 0) {
        EXPECT_STREQ("", path.data()) << pathname;
        return "-";
    }
    EXPECT_EQ(1u, found);
    return path.data();
}

TEST_F(BSDNames, APathnameBelowVolumesIsOnTheVolumeNamedNext)
{
    EXPECT_EQ("/Volumes/Data", VolumeOf("/Volumes/Data/Users/x"));
    EXPECT_EQ("/Volumes/Data", VolumeOf("/Volumes/Data/"));
    EXPECT_EQ("/Volumes/My Disk 1", VolumeOf("/Volumes/My Disk 1/Volumes/x"));
    EXPECT_EQ("/Volumes/", VolumeOf("/Volumes//x"));
}

TEST_F(BSDNames, ABareMountPathIsRefused)
{
    EXPECT_EQ("-", VolumeOf("/Volumes/Data"));
    EXPECT_EQ("-", VolumeOf("/Volumes/"));
}

TEST_F(BSDNames, AnyOtherAbsolutePathnameIsOnTheRootVolume)
{
    EXPECT_EQ("/", VolumeOf("/usr/bin"));
    EXPECT_EQ("/", VolumeOf("/"));
    EXPECT_EQ("/", VolumeOf("/Volumes"));
    EXPECT_EQ("/", VolumeOf("/volumes/Data/x"));
    EXPECT_EQ("/", VolumeOf("/VolumesX/Data/x"));
}

TEST_F(BSDNames, APathnameThatIsNotAbsoluteIsOnNoVolume)
{
    EXPECT_EQ("-", VolumeOf("usr"));
    EXPECT_EQ("-", VolumeOf("Volumes/Data/x"));
    EXPECT_EQ("-", VolumeOf(""));
}

TEST_F(BSDNames, WithoutAPlaceForItNoVolumePathIsExtracted)
{
    char path[8] = "=======";

    EXPECT_EQ(0u, ExtractVolumePathFromPathname(nullptr, path, sizeof path));
    EXPECT_EQ(0u, ExtractVolumePathFromPathname("/usr", nullptr, sizeof path));
    EXPECT_EQ(0u, ExtractVolumePathFromPathname("/usr", path, 0));
    EXPECT_STREQ("=======", path);
}

TEST_F(BSDNames, AVolumePathMustFitWithItsNul)
{
    char path[16] = "===============";

    EXPECT_EQ(0u, ExtractVolumePathFromPathname("/Volumes/Data/x", path, 13));
    EXPECT_EQ(0, memcmp("\0\0\0\0\0\0\0\0\0\0\0\0\0==", path, 15)) << "cleared, and no further";
    EXPECT_EQ(1u, ExtractVolumePathFromPathname("/Volumes/Data/x", path, 14));
    EXPECT_STREQ("/Volumes/Data", path);
    EXPECT_EQ(0u, ExtractVolumePathFromPathname("/usr", path, 1));
    EXPECT_EQ(1u, ExtractVolumePathFromPathname("/usr", path, 2));
    EXPECT_STREQ("/", path);
}

TEST_F(BSDNames, AVolumePathOf1022BytesIsTheLongest)
{
    std::vector<char> path(4096);
    const std::string longest = "/Volumes/" + std::string(1022 - 9, 'n');

    EXPECT_EQ(1u, ExtractVolumePathFromPathname((longest + "/x").c_str(), path.data(), 4096));
    EXPECT_EQ(longest, path.data());
    EXPECT_EQ(0u, ExtractVolumePathFromPathname((longest + "n/x").c_str(), path.data(), 4096));
    EXPECT_STREQ("", path.data());
}
