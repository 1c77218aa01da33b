#include "services/FolderSizes.h"

#include "foundation/Status.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <vector>

static const std::string kFolder = "/tmp/folder";

// What stands for a total that was not written.
static const UInt64 kUntouched = 0x7777777777777777;

class FolderSizes : public TMachineTest
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, mkdir(kFolder.c_str(), 0755));
        TMachineTest::SetUp();
    }

    static void WriteFile(const std::string& name, std::size_t size)
    {
        std::ofstream(kFolder + "/" + name, std::ios::binary) << std::string(size, 'x');
    }

    static void WriteFiles(unsigned count, std::size_t size)
    {
        for (unsigned i = 0; i < count; ++i)
            WriteFile("file-" + std::to_string(i), size);
    }

    // Walks the folder and returns the status.
    OSStatus Walk(Boolean physicalSizes = false)
    {
        FSRef folder = {};
        EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(kFolder.c_str()), &folder, nullptr));
        return FolderSize(&fTotal, &folder, physicalSizes);
    }

    UInt64 fTotal = kUntouched;
};

// A file system that reports the end as no error and no items, in place of errFSNoMoreItems and the last ones.
class TQuietEnd
{
public:
    TQuietEnd() : fEdit([this](TCatalogAnswer* answer) { Soften(answer); }) {}

private:
    void Soften(TCatalogAnswer* answer)
    {
        if (answer->status != errFSNoMoreItems)
            return;
        answer->status = noErr;
        if (fEnded)
            answer->count = 0;
        fEnded = true;
    }

    bool fEnded = false;
    TCatalogEdit fEdit;
};

TEST_F(FolderSizes, FilesOfTheWholeTreeAreAddedUp)
{
    ASSERT_EQ(0, mkdir((kFolder + "/inner").c_str(), 0755));
    ASSERT_EQ(0, mkdir((kFolder + "/inner/most").c_str(), 0755));
    WriteFile("a", 1);
    WriteFile("inner/b", 20);
    WriteFile("inner/most/c", 300);
    const TQuietEnd end;

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(321u, fTotal);
}

TEST_F(FolderSizes, PhysicalSizesAreWhatTheForksOccupy)
{
    WriteFile("a", 1);
    WriteFile("b", 5000);
    {
        const TQuietEnd end;
        EXPECT_EQ(noErr, Walk(true));
    }
    EXPECT_EQ(4096u + 8192u, fTotal);
}

// The sizes come from the file system, so that each of the four can be told apart.
TEST_F(FolderSizes, BothForksCountInBothKindsOfSize)
{
    WriteFile("a", 1);
    for (const Boolean physical : {false, true}) {
        bool ended = false;
        const TCatalogEdit edit([&](TCatalogAnswer* answer) {
            answer->status = noErr;
            answer->count = ended ? 0 : 1;
            ended = true;
            answer->items[0].dataLogicalSize = 1;
            answer->items[0].rsrcLogicalSize = 20;
            answer->items[0].dataPhysicalSize = 300;
            answer->items[0].rsrcPhysicalSize = 4000;
        });
        EXPECT_EQ(noErr, Walk(physical));
        EXPECT_EQ(physical ? 4300u : 21u, fTotal);
    }
}

TEST_F(FolderSizes, FoldersCountNothingWhateverTheirSizes)
{
    bool ended = false;
    const TCatalogEdit edit([&](TCatalogAnswer* answer) {
        answer->status = noErr;
        answer->count = ended ? 0 : 2;
        ended = true;
        answer->items[0].nodeFlags = kFSNodeIsDirectoryMask;
        answer->items[0].dataLogicalSize = 1000;
        answer->items[1].nodeFlags = 0x0001;   // locked
        answer->items[1].dataLogicalSize = 1;
    });

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(1u, fTotal);
}

TEST_F(FolderSizes, ATotalMayBeMoreThan32Bits)
{
    bool ended = false;
    const TCatalogEdit edit([&](TCatalogAnswer* answer) {
        answer->status = noErr;
        answer->count = ended ? 0 : 2;
        ended = true;
        answer->items[0].dataLogicalSize = 0xFFFFFFFF;
        answer->items[1].dataLogicalSize = 2;
    });

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(0x100000001u, fTotal);
}

// What one call left must not be taken for what the next one says: of a folder nobody fills in the sizes of forks.
TEST_F(FolderSizes, EveryCallStartsWithClearedItems)
{
    unsigned call = 0;
    const TCatalogEdit edit([&](TCatalogAnswer* answer) {
        answer->status = noErr;
        answer->count = ++call == 3 ? 0 : 1;
        if (call == 1)
            answer->items[0].dataLogicalSize = 1;
    });

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(1u, fTotal);
}

TEST_F(FolderSizes, TheEndThatIsAStatusIsTheResultAndNoTotalIsWritten)
{
    WriteFile("a", 1);

    EXPECT_EQ(errFSNoMoreItems, Walk());
    EXPECT_EQ(kUntouched, fTotal);
}

TEST_F(FolderSizes, AnEmptyFolderEndsWithTheStatusOfTheEnd)
{
    EXPECT_EQ(errFSNoMoreItems, Walk());
    EXPECT_EQ(kUntouched, fTotal);
}

TEST_F(FolderSizes, AnEmptyFolderThatEndsQuietlyIsOfSizeZero)
{
    const TFault fault("FSGetCatalogInfoBulk", {noErr, 0});

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(0u, fTotal);
}

// 256 come with no error, 44 with the end's: only the first are there to be added when the second call says nothing.
TEST_F(FolderSizes, ItemsComeBy256)
{
    WriteFiles(300, 3);
    std::vector<long> asked;
    const TCallWatch watch("FSGetCatalogInfoBulk",
                           [&](const TCallWatch::TArguments& arguments) { asked.push_back(arguments[1]); });
    const TFault fault("FSGetCatalogInfoBulk", {noErr, 0}, 2);

    EXPECT_EQ(noErr, Walk());
    EXPECT_EQ(768u, fTotal);
    EXPECT_EQ((std::vector<long>{256, 256}), asked);
}

TEST_F(FolderSizes, OnlySizesAreAskedForOfTheWholeTree)
{
    long flags = 0;
    TCallWatch::TArguments asked;
    const TCallWatch opening("FSOpenIterator", [&](const TCallWatch::TArguments& arguments) { flags = arguments[1]; });
    const TCallWatch walking("FSGetCatalogInfoBulk",
                             [&](const TCallWatch::TArguments& arguments) { asked = arguments; });
    Walk();

    EXPECT_EQ(static_cast<long>(kFSIterateSubtree), flags);
    ASSERT_EQ(9u, asked.size());
    EXPECT_EQ(static_cast<long>(kFSCatInfoDataSizes | kFSCatInfoRsrcSizes), asked[4]);
    for (const std::size_t unwanted : {3u, 6u, 7u, 8u})   // whether it changed, references, specifications, names
        EXPECT_EQ(0, asked[unwanted]);
}

TEST_F(FolderSizes, AnyErrorEndsTheWalkAndIsTheResult)
{
    WriteFiles(300, 3);
    for (const unsigned call : {1u, 2u}) {
        const TFault fault("FSGetCatalogInfoBulk", {ioErr, 0}, call);
        const TCallWatch closing("FSCloseIterator");
        EXPECT_EQ(ioErr, Walk());
        EXPECT_EQ(1u, closing.Calls());
    }
    EXPECT_EQ(kUntouched, fTotal);
}

TEST_F(FolderSizes, WhatCannotBeWalkedIsNotClosedEither)
{
    const TFault fault("FSOpenIterator", {ioErr, 0});
    const TCallWatch closing("FSCloseIterator");

    EXPECT_EQ(ioErr, Walk());
    EXPECT_EQ(0u, closing.Calls());
    EXPECT_EQ(kUntouched, fTotal);
}

TEST_F(FolderSizes, AFileIsNoFolder)
{
    WriteFile("a", 1);
    FSRef file = {};
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/tmp/folder/a"), &file, nullptr));

    EXPECT_EQ(errFSNotAFolder, FolderSize(&fTotal, &file, false));
    EXPECT_EQ(kUntouched, fTotal);
}

TEST_F(FolderSizes, WithoutMemoryThereIsNoWalk)
{
    const TCallWatch opening("FSOpenIterator");
    std::vector<long> sizes;
    const TCallWatch allocating("operator new[] nothrow",
                                [&](const TCallWatch::TArguments& arguments) { sizes.push_back(arguments[0]); });
    const TFault fault("operator new[] nothrow", {0, 0});

    EXPECT_EQ(kStatusOutOfMemory, Walk());
    EXPECT_EQ(kUntouched, fTotal);
    EXPECT_EQ(0u, opening.Calls());
    EXPECT_EQ((std::vector<long>{256 * 144}), sizes);
}
