#include "tests/platform/MountedVolumesTest.h"

#include <unistd.h>

class FolderIteration : public TMountedVolumesTest
{
protected:
    static FSIterator Open(const std::string& folder, FSIteratorFlags flags)
    {
        const FSRef container = ReferenceTo(folder);
        FSIterator iterator = nullptr;
        EXPECT_EQ(noErr, FSOpenIterator(&container, flags, &iterator));
        return iterator;
    }

    // The next items, by the paths of their references, and the result.
    static std::vector<std::string> Next(FSIterator iterator, ItemCount maximum, OSErr* result)
    {
        std::vector<FSRef> refs(maximum);
        ItemCount count = 77;
        *result = FSGetCatalogInfoBulk(iterator, maximum, &count, nullptr, kFSCatInfoNone, nullptr, refs.data(),
                                       nullptr, nullptr);
        std::vector<std::string> paths;
        for (ItemCount i = 0; i < count && i < maximum; ++i)
            paths.push_back(PathOf(refs[i]));
        return paths;
    }

    static std::vector<std::string> All(const std::string& folder, FSIteratorFlags flags)
    {
        const FSIterator iterator = Open(folder, flags);
        OSErr result = noErr;
        const std::vector<std::string> paths = Next(iterator, 100, &result);
        EXPECT_EQ(errFSNoMoreItems, result);
        EXPECT_EQ(noErr, FSCloseIterator(iterator));
        return paths;
    }

    // Three files, and a folder with one.
    void MakeTree()
    {
        MakeFile(fFolder + "/c", 3);
        MakeFile(fFolder + "/a", 1);
        MakeFile(fFolder + "/d", 4);
        mkdir((fFolder + "/b").c_str(), 0777);
        MakeFile(fFolder + "/b/in", 5000);
    }
};

TEST_F(FolderIteration, ItemsComeByName)
{
    MakeTree();

    EXPECT_EQ((std::vector<std::string>{fFolder + "/a", fFolder + "/b", fFolder + "/c", fFolder + "/d"}),
              All(fFolder, kFSIterateFlat));
}

TEST_F(FolderIteration, InASubtreeAFolderComesBeforeWhatIsInIt)
{
    MakeTree();

    EXPECT_EQ(
        (std::vector<std::string>{fFolder + "/a", fFolder + "/b", fFolder + "/b/in", fFolder + "/c", fFolder + "/d"}),
        All(fFolder, kFSIterateSubtree));
}

TEST_F(FolderIteration, TheEndComesTogetherWithTheLastItems)
{
    MakeTree();
    const FSIterator iterator = Open(fFolder, kFSIterateSubtree);
    OSErr result = noErr;

    EXPECT_EQ(3u, Next(iterator, 3, &result).size());
    EXPECT_EQ(noErr, result);
    EXPECT_EQ((std::vector<std::string>{fFolder + "/c", fFolder + "/d"}), Next(iterator, 3, &result));
    EXPECT_EQ(errFSNoMoreItems, result);
    EXPECT_EQ(0u, Next(iterator, 3, &result).size());
    EXPECT_EQ(errFSNoMoreItems, result);
    FSCloseIterator(iterator);
}

TEST_F(FolderIteration, AfterExactlyAsManyAsFitTheEndComesAlone)
{
    MakeTree();
    const FSIterator iterator = Open(fFolder, kFSIterateFlat);
    OSErr result = errFSNoMoreItems;

    EXPECT_EQ(4u, Next(iterator, 4, &result).size());
    EXPECT_EQ(noErr, result);
    EXPECT_EQ(0u, Next(iterator, 4, &result).size());
    EXPECT_EQ(errFSNoMoreItems, result);
    FSCloseIterator(iterator);
}

TEST_F(FolderIteration, AnEmptyFolderEndsAtOnce)
{
    EXPECT_TRUE(All(fFolder, kFSIterateFlat).empty());
    EXPECT_TRUE(All(fFolder, kFSIterateSubtree).empty());
}

TEST_F(FolderIteration, EachItemGetsItsFieldsAndName)
{
    MakeTree();
    const FSIterator iterator = Open(fFolder, kFSIterateSubtree);
    FSCatalogInfo infos[5] = {};
    HFSUniStr255 names[5] = {};
    ItemCount count = 0;
    Boolean changed = 77;
    EXPECT_EQ(noErr, FSGetCatalogInfoBulk(iterator, 5, &count, &changed, kFSCatInfoDataSizes | kFSCatInfoRsrcSizes,
                                          infos, nullptr, nullptr, names));
    FSCloseIterator(iterator);

    ASSERT_EQ(5u, count);
    EXPECT_EQ(0, changed);
    const UInt64 sizes[] = {1, 0, 5000, 3, 4};
    const char* const texts[] = {"a", "b", "in", "c", "d"};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(sizes[i], UInt64{infos[i].dataLogicalSize}) << i;
        EXPECT_EQ(texts[i], TextOf(names[i]));
        EXPECT_EQ(0, infos[i].nodeFlags);   // nobody asked
    }
    EXPECT_EQ(8192u, UInt64{infos[2].dataPhysicalSize});
}

TEST_F(FolderIteration, ASymbolicLinkIsAnItemAndIsNotEntered)
{
    MakeTree();
    ASSERT_EQ(0, symlink("b", (fFolder + "/e").c_str()));

    EXPECT_EQ((std::vector<std::string>{fFolder + "/a", fFolder + "/b", fFolder + "/b/in", fFolder + "/c",
                                        fFolder + "/d", fFolder + "/e"}),
              All(fFolder, kFSIterateSubtree));
}

TEST_F(FolderIteration, AnotherVolumeIsNotEntered)
{
    MakeTree();
    Mount("disk9s1", fFolder + "/b", -101);

    EXPECT_EQ((std::vector<std::string>{fFolder + "/a", fFolder + "/b", fFolder + "/c", fFolder + "/d"}),
              All(fFolder, kFSIterateSubtree));
    EXPECT_EQ((std::vector<std::string>{fFolder + "/b/in"}), All(fFolder + "/b", kFSIterateSubtree));
}

TEST_F(FolderIteration, WhatWasDeletedMeanwhileIsPassedOver)
{
    MakeTree();
    const FSIterator iterator = Open(fFolder, kFSIterateFlat);
    ASSERT_EQ(0, unlink((fFolder + "/c").c_str()));

    OSErr result = noErr;
    EXPECT_EQ((std::vector<std::string>{fFolder + "/a", fFolder + "/b", fFolder + "/d"}), Next(iterator, 9, &result));
    FSCloseIterator(iterator);
}

TEST_F(FolderIteration, AFileThatOnlyLooksLikeACompanionIsAnItem)
{
    MakeFile(fFolder + "/a");
    MakeFile(fFolder + "/._a");
    MakeFile(fFolder + "/._b");

    EXPECT_EQ((std::vector<std::string>{fFolder + "/._b", fFolder + "/a"}), All(fFolder, kFSIterateFlat));
}

TEST_F(FolderIteration, AnIteratorIsOpenedForAFolderAlone)
{
    MakeFile(fFolder + "/a");
    const FSRef file = ReferenceTo(fFolder + "/a");
    const FSRef folder = ReferenceTo(fFolder);
    const FSRef none = {};
    FSIterator iterator = nullptr;

    EXPECT_EQ(errFSNotAFolder, FSOpenIterator(&file, kFSIterateFlat, &iterator));
    EXPECT_EQ(errFSBadFSRef, FSOpenIterator(&none, kFSIterateFlat, &iterator));
    EXPECT_EQ(errFSBadIteratorFlags, FSOpenIterator(&folder, 4, &iterator));
    EXPECT_EQ(errFSIteratorNotSupported, FSOpenIterator(&folder, kFSIterateDelete, &iterator));
    EXPECT_EQ(paramErr, FSOpenIterator(&folder, kFSIterateFlat, nullptr));
    EXPECT_EQ(nullptr, iterator);
}

TEST_F(FolderIteration, AClosedIteratorIsNoneAnyMore)
{
    const FSIterator iterator = Open(fFolder, kFSIterateFlat);
    ItemCount count = 77;
    EXPECT_EQ(errFSBadItemCount,
              FSGetCatalogInfoBulk(iterator, 0, &count, nullptr, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(noErr, FSCloseIterator(iterator));

    EXPECT_EQ(errFSIteratorNotFound, FSCloseIterator(iterator));
    EXPECT_EQ(errFSIteratorNotFound,
              FSGetCatalogInfoBulk(iterator, 1, &count, nullptr, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0u, count);
}

TEST_F(FolderIteration, AnOpenIteratorCountsAsALiveObject)
{
    const THeld before = HeldByThisProcess();
    const FSIterator iterator = Open(fFolder, kFSIterateFlat);
    EXPECT_EQ(before.objects + 1, HeldByThisProcess().objects);
    EXPECT_EQ(before.descriptors, HeldByThisProcess().descriptors);
    FSCloseIterator(iterator);
    EXPECT_EQ(before.objects, HeldByThisProcess().objects);
}
