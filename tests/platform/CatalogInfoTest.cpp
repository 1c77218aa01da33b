#include "tests/platform/MountedVolumesTest.h"

#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/xattr.h>
#include <unistd.h>

class CatalogInfo : public TMountedVolumesTest
{
protected:
    static FSCatalogInfo InfoOf(const FSRef& ref, FSCatalogInfoBitmap whichInfo)
    {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, whichInfo, &info, nullptr, nullptr, nullptr));
        return info;
    }

    static FSRef ParentOf(const FSRef& ref)
    {
        FSRef parent;
        memset(&parent, 77, sizeof parent);
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, nullptr, &parent));
        return parent;
    }

    static std::string NameOf(const FSRef& ref)
    {
        HFSUniStr255 name = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
        return TextOf(name);
    }

    // What the disk holds of the Finder, wherever this host keeps it.
    static std::string Stored(const std::string& folder, const std::string& name)
    {
        char bytes[64];
        const ssize_t size = lgetxattr((folder + "/" + name).c_str(), "user.com.apple.FinderInfo", bytes, sizeof bytes);
        if (size >= 0)
            return std::string(bytes, static_cast<std::size_t>(size));
        std::ifstream companion(folder + "/._" + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(companion), {});
    }

    static void SetModified(const std::string& path, time_t seconds, long nanoseconds)
    {
        const timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
        ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
    }

    // The one item of the folder: a symbolic link, which a path would be followed through.
    static FSRef OnlyItemOf(const std::string& folder)
    {
        const FSRef container = ReferenceTo(folder);
        FSIterator iterator = nullptr;
        EXPECT_EQ(noErr, FSOpenIterator(&container, kFSIterateFlat, &iterator));
        FSRef refs[2] = {};
        ItemCount count = 0;
        EXPECT_EQ(errFSNoMoreItems,
                  FSGetCatalogInfoBulk(iterator, 2, &count, nullptr, kFSCatInfoNone, nullptr, refs, nullptr, nullptr));
        EXPECT_EQ(1u, count);
        FSCloseIterator(iterator);
        return refs[0];
    }
};

TEST_F(CatalogInfo, ARecordIs144BytesAsOnAMac)
{
    EXPECT_EQ(144u, sizeof(FSCatalogInfo));
    EXPECT_EQ(24u, offsetof(FSCatalogInfo, contentModDate));
    EXPECT_EQ(72u, offsetof(FSCatalogInfo, finderInfo));
    EXPECT_EQ(104u, offsetof(FSCatalogInfo, dataLogicalSize));
    EXPECT_EQ(80u, sizeof(FSRef));
    EXPECT_EQ(512u, sizeof(HFSUniStr255));
    EXPECT_EQ(8u, sizeof(UTCDateTime));
    EXPECT_EQ(sizeof(void*) == 4 ? 32u : 44u, sizeof(GetVolParmsInfoBuffer));
}

TEST_F(CatalogInfo, AFolderIsToldFromAFile)
{
    MakeFile(fFolder + "/file");

    EXPECT_EQ(kFSNodeIsDirectoryMask, InfoOf(ReferenceTo(fFolder), kFSCatInfoNodeFlags).nodeFlags);
    EXPECT_EQ(0, InfoOf(ReferenceTo(fFolder + "/file"), kFSCatInfoNodeFlags).nodeFlags);
}

TEST_F(CatalogInfo, FieldsThatWereNotAskedForStay)
{
    MakeFile(fFolder + "/file", 10);
    const FSRef ref = ReferenceTo(fFolder + "/file");
    FSCatalogInfo info;
    memset(&info, 77, sizeof info);
    ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoDataSizes, &info, nullptr, nullptr, nullptr));

    EXPECT_EQ(10u, UInt64{info.dataLogicalSize});
    EXPECT_EQ(0x4d4d4d4d4d4d4d4dull, UInt64{info.rsrcLogicalSize});
    EXPECT_EQ(0x4d4d, info.nodeFlags);
    EXPECT_EQ(0x4d4d4d4du, UInt32{info.contentModDate.lowSeconds});
    EXPECT_EQ(77, info.finderInfo[8]);
}

TEST_F(CatalogInfo, PhysicalSizesAreWholeBlocks)
{
    MakeFile(fFolder + "/empty", 0);
    MakeFile(fFolder + "/one", 1);
    MakeFile(fFolder + "/block", 4096);
    MakeFile(fFolder + "/more", 4097);

    const FSCatalogInfoBitmap sizes = kFSCatInfoDataSizes;
    EXPECT_EQ(0u, UInt64{InfoOf(ReferenceTo(fFolder + "/empty"), sizes).dataPhysicalSize});
    EXPECT_EQ(4096u, UInt64{InfoOf(ReferenceTo(fFolder + "/one"), sizes).dataPhysicalSize});
    EXPECT_EQ(4096u, UInt64{InfoOf(ReferenceTo(fFolder + "/block"), sizes).dataPhysicalSize});
    EXPECT_EQ(8192u, UInt64{InfoOf(ReferenceTo(fFolder + "/more"), sizes).dataPhysicalSize});
    EXPECT_EQ(4097u, UInt64{InfoOf(ReferenceTo(fFolder + "/more"), sizes).dataLogicalSize});
}

TEST_F(CatalogInfo, AFolderHasNoSize)
{
    MakeFile(fFolder + "/file", 10);

    const FSCatalogInfo info = InfoOf(ReferenceTo(fFolder), kFSCatInfoDataSizes | kFSCatInfoRsrcSizes);
    EXPECT_EQ(0u, UInt64{info.dataLogicalSize});
    EXPECT_EQ(0u, UInt64{info.dataPhysicalSize});
    EXPECT_EQ(0u, UInt64{info.rsrcLogicalSize});
}

TEST_F(CatalogInfo, AResourceForkHasSizesOfItsOwn)
{
    MakeFile(fFolder + "/file", 10);
    const std::string path = fFolder + "/file";
    const bool kept = setxattr(path.c_str(), "user.com.apple.ResourceFork", "fork", 4, 0) == 0;

    const FSCatalogInfo info = InfoOf(ReferenceTo(path), kFSCatInfoDataSizes | kFSCatInfoRsrcSizes);
    EXPECT_EQ(10u, UInt64{info.dataLogicalSize});
    // A host without attributes has no forks.
    EXPECT_EQ(kept ? 4u : 0u, UInt64{info.rsrcLogicalSize});
    EXPECT_EQ(kept ? 4096u : 0u, UInt64{info.rsrcPhysicalSize});
}

TEST_F(CatalogInfo, DatesCountWholeSecondsFrom1904)
{
    MakeFile(fFolder + "/file");
    SetModified(fFolder + "/file", 1, 999999999);

    const UTCDateTime date = InfoOf(ReferenceTo(fFolder + "/file"), kFSCatInfoContentMod).contentModDate;
    EXPECT_EQ(0, date.highSeconds);
    EXPECT_EQ(2082844801u, UInt32{date.lowSeconds});
    EXPECT_EQ(0, date.fraction);
}

TEST_F(CatalogInfo, ADateThatIsSetLosesItsFraction)
{
    MakeFile(fFolder + "/file");
    SetModified(fFolder + "/file", 1, 0);
    const FSRef ref = ReferenceTo(fFolder + "/file");
    FSCatalogInfo info = {};
    info.contentModDate.lowSeconds = 3300000000u;
    info.contentModDate.fraction = 0x8000;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &info));

    struct stat now = {};
    ASSERT_EQ(0, stat((fFolder + "/file").c_str(), &now));
    EXPECT_EQ(3300000000u - 2082844800u, static_cast<std::uint64_t>(now.st_mtim.tv_sec));
    EXPECT_EQ(0, now.st_mtim.tv_nsec);
    EXPECT_EQ(3300000000u, UInt32{InfoOf(ref, kFSCatInfoContentMod).contentModDate.lowSeconds});
}

TEST_F(CatalogInfo, ADateBeyond32BitsIsKept)
{
    MakeFile(fFolder + "/file");
    const FSRef ref = ReferenceTo(fFolder + "/file");
    FSCatalogInfo info = {};
    info.contentModDate.highSeconds = 1;
    info.contentModDate.lowSeconds = 7;   // in 2040
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &info));

    const UTCDateTime date = InfoOf(ref, kFSCatInfoContentMod).contentModDate;
    EXPECT_EQ(1, date.highSeconds);
    EXPECT_EQ(7u, UInt32{date.lowSeconds});
}

TEST_F(CatalogInfo, FinderFlagsStandBigEndianOnDiskAndInTheHostsOrderInMemory)
{
    MakeFile(fFolder + "/file");
    const FSRef ref = ReferenceTo(fFolder + "/file");
    FileInfo finder = {};
    finder.fileType = 0x54455854;   // "TEXT"
    finder.fileCreator = 0x74747874;
    finder.finderFlags = kIsInvisible | 0x0100;
    finder.location.h = 0x0102;
    FSCatalogInfo info = {};
    memcpy(info.finderInfo, &finder, sizeof finder);
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));

    const std::string stored = Stored(fFolder, "file");
    ASSERT_EQ(32u, stored.size());
    EXPECT_EQ(std::string("TEXTttxt\x41\0\0\0\1\2\0\0", 16), stored.substr(0, 16));
    const FSCatalogInfo read = InfoOf(ref, kFSCatInfoFinderInfo);
    EXPECT_EQ(0, memcmp(&finder, read.finderInfo, sizeof finder));
}

TEST_F(CatalogInfo, AFolderHasItsWindowWhereAFileHasItsType)
{
    const FSRef ref = ReferenceTo(fFolder);
    FolderInfo finder = {};
    finder.windowBounds.top = 0x0102;
    finder.windowBounds.left = 0x0304;
    finder.finderFlags = kIsInvisible;
    FSCatalogInfo info = {};
    memcpy(info.finderInfo, &finder, sizeof finder);
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));

    EXPECT_EQ(std::string("\1\2\3\4\0\0\0\0\x40\0", 10), Stored("/private/tmp", "folder").substr(0, 10));
    const FSCatalogInfo read = InfoOf(ref, kFSCatInfoFinderInfo);
    EXPECT_EQ(0, memcmp(&finder, read.finderInfo, sizeof finder));
}

TEST_F(CatalogInfo, TheOtherHalfOfTheFindersInformationStays)
{
    const std::string path = fFolder + "/file";
    MakeFile(path);
    const std::string before = std::string(16, 'a') + std::string(16, 'b');
    if (setxattr(path.c_str(), "user.com.apple.FinderInfo", before.data(), before.size(), 0) != 0)
        std::ofstream(fFolder + "/._file", std::ios::binary) << before;
    const FSRef ref = ReferenceTo(path);
    const FSCatalogInfo info = {};
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));

    EXPECT_EQ(std::string(16, '\0') + std::string(16, 'b'), Stored(fFolder, "file"));
}

TEST_F(CatalogInfo, WhatKeepsNoAttributesHasAFileBesideIt)
{
    ASSERT_EQ(0, symlink("nowhere", (fFolder + "/link").c_str()));
    const FSRef ref = OnlyItemOf(fFolder);
    EXPECT_EQ(fFolder + "/link", PathOf(ref));
    FSCatalogInfo info = {};
    reinterpret_cast<FileInfo*>(info.finderInfo)->finderFlags = kIsInvisible;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));

    EXPECT_EQ(std::string(8, '\0') + "\x40" + std::string(23, '\0'), Stored(fFolder, "link"));
    EXPECT_EQ(0, access((fFolder + "/._link").c_str(), F_OK));
    EXPECT_EQ(0, memcmp(info.finderInfo, InfoOf(ref, kFSCatInfoFinderInfo).finderInfo, 16));
    OnlyItemOf(fFolder);   // which it still is
}

TEST_F(CatalogInfo, SettingAnotherFieldLeavesTheFindersInformation)
{
    MakeFile(fFolder + "/file");
    const FSRef ref = ReferenceTo(fFolder + "/file");
    FSCatalogInfo info = {};
    reinterpret_cast<FileInfo*>(info.finderInfo)->finderFlags = kIsInvisible;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info));
    info = {};
    info.contentModDate.lowSeconds = 3300000000u;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &info));

    const FSCatalogInfo read = InfoOf(ref, kFSCatInfoFinderInfo);
    EXPECT_EQ(kIsInvisible, reinterpret_cast<const FileInfo*>(read.finderInfo)->finderFlags);
}

TEST_F(CatalogInfo, AnItemStandsInItsFolder)
{
    MakeFile(fFolder + "/file");

    EXPECT_EQ(fFolder, PathOf(ParentOf(ReferenceTo(fFolder + "/file"))));
    EXPECT_EQ("/private/tmp", PathOf(ParentOf(ReferenceTo(fFolder))));
    EXPECT_EQ("/", PathOf(ParentOf(ReferenceTo("/private"))));
}

TEST_F(CatalogInfo, TheRootOfAVolumeStandsInNoFolder)
{
    Mount("disk9s1", "/Volumes/Data", -101);

    EXPECT_EQ("error -1401", PathOf(ParentOf(ReferenceTo("/Volumes/Data"))));
    EXPECT_EQ("error -1401", PathOf(ParentOf(ReferenceTo("/"))));
}

TEST_F(CatalogInfo, AnItemKnowsItsVolume)
{
    Mount("disk9s1", "/Volumes/Data", -101);
    MakeFile("/Volumes/Data/file");

    EXPECT_EQ(-101, InfoOf(ReferenceTo("/Volumes/Data/file"), kFSCatInfoVolume).volume);
    EXPECT_EQ(-101, InfoOf(ReferenceTo("/Volumes/Data"), kFSCatInfoVolume).volume);
    EXPECT_EQ(-100, InfoOf(ReferenceTo("/Volumes"), kFSCatInfoVolume).volume);
}

TEST_F(CatalogInfo, AColonOfAPathIsASlashOfAName)
{
    MakeFile(fFolder + "/1:2");

    EXPECT_EQ("1/2", NameOf(ReferenceTo(fFolder + "/1:2")));
}

TEST_F(CatalogInfo, TheNameOfARootIsItsVolumes)
{
    ASSERT_EQ("", machine.AddVolume("disk9s1", "Data:x"));
    Mount("disk9s1", "/Volumes/Data 1", -101);

    EXPECT_EQ("Data:x", NameOf(ReferenceTo("/Volumes/Data 1")));
}

TEST_F(CatalogInfo, FailuresAreTold)
{
    MakeFile(fFolder + "/file");
    const FSRef ref = ReferenceTo(fFolder + "/file");
    const FSRef none = {};
    FSCatalogInfo info = {};
    EXPECT_EQ(errFSBadFSRef, FSGetCatalogInfo(&none, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(errFSBadInfoBitmap, FSGetCatalogInfo(&ref, 0x40000, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(errFSBadInfoBitmap, FSSetCatalogInfo(&ref, kFSCatInfoDataSizes, &info));
    EXPECT_EQ(errFSMissingCatInfo, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, nullptr));
    ASSERT_EQ(0, unlink((fFolder + "/file").c_str()));
    EXPECT_EQ(fnfErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr));
    EXPECT_EQ(fnfErr, FSSetCatalogInfo(&ref, kFSCatInfoContentMod, &info));
}
