#include "services/FinderVisibility.h"

#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

static const char kFinderFile[] = "/tmp/folder/file";
static const char kFinderFolder[] = "/tmp/folder";

static FSRef ReferenceTo(const char* path)
{
    FSRef item = {};
    EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path), &item, nullptr));
    return item;
}

static FileInfo FinderInfoOf(const char* path)
{
    const FSRef item = ReferenceTo(path);
    FSCatalogInfo info = {};
    EXPECT_EQ(noErr, FSGetCatalogInfo(&item, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr));
    FileInfo finder;
    memcpy(&finder, info.finderInfo, sizeof finder);
    return finder;
}

static void SetFinderInfo(const char* path, const FileInfo& finder)
{
    const FSRef item = ReferenceTo(path);
    FSCatalogInfo info = {};
    memcpy(info.finderInfo, &finder, sizeof finder);
    EXPECT_EQ(noErr, FSSetCatalogInfo(&item, kFSCatInfoFinderInfo, &info));
}

static void SetFinderFlags(const char* path, UInt16 flags)
{
    FileInfo finder = {};
    finder.finderFlags = flags;
    SetFinderInfo(path, finder);
}

static time_t ModifiedAt(const char* path)
{
    struct stat info = {};
    EXPECT_EQ(0, stat(path, &info));
    return info.st_mtime;
}

static void SetModified(const char* path, time_t when)
{
    const timespec times[2] = {{when, 0}, {when, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path, times, 0));
}

// A file in a folder, both of long ago.
class FinderVisibility : public TMachineTest
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, mkdir(kFinderFolder, 0755));
        std::ofstream{kFinderFile} << "text";
        SetModified(kFinderFile, 1000000);
        SetModified(kFinderFolder, 1000000);
        TMachineTest::SetUp();
    }

    // Which folders were said to have changed: "modified FLAGS PATH", one line each.
    std::vector<std::string> Notifications() const
    {
        std::vector<std::string> lines;
        std::istringstream log(machine.ReadText("notifications"));
        for (std::string seconds, process, line; log >> seconds >> process && std::getline(log >> std::ws, line);)
            lines.push_back(line);
        return lines;
    }

    // The date that is written when the item's date and the clock are these.
    UTCDateTime DateWritten(UTCDateTime old, CFAbsoluteTime now)
    {
        const FSRef item = ReferenceTo(kFinderFile);
        UTCDateTime written = {};
        const TCatalogEdit edit([old](TCatalogAnswer* answer) { answer->items->contentModDate = old; });
        const TFault clock("CFAbsoluteTimeGetCurrent", {static_cast<long>(now), 0});
        const TFault set("FSSetCatalogInfo", {noErr, 0});
        const TCallWatch watch("FSSetCatalogInfo", [&](const TCallWatch::TArguments& arguments) {
            EXPECT_EQ(static_cast<long>(kFSCatInfoContentMod), arguments[1]);
            written = reinterpret_cast<const FSCatalogInfo*>(arguments[2])->contentModDate;
        });
        EXPECT_EQ(1u, BumpDateWithFSRef(&item));
        return written;
    }
};

// Apple's dates count from 1904, Core Foundation's from 2001.
static const UInt32 kSecondsTo2001 = 3061152000;

TEST_F(FinderVisibility, TheDateBecomesNow)
{
    const FSRef item = ReferenceTo(kFinderFile);
    const time_t before = time(nullptr);
    EXPECT_EQ(1u, BumpDateWithFSRef(&item));

    EXPECT_LE(before, ModifiedAt(kFinderFile));
    // Not time(), which may still tell of the second before.
    EXPECT_GE(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()), ModifiedAt(kFinderFile));
    EXPECT_EQ(1000000, ModifiedAt(kFinderFolder));
}

TEST_F(FinderVisibility, AFilesFolderIsSaidToHaveChangedAndAFolderItself)
{
    const FSRef file = ReferenceTo(kFinderFile);
    const FSRef folder = ReferenceTo(kFinderFolder);
    EXPECT_EQ(1u, BumpDateWithFSRef(&file));
    EXPECT_EQ(std::vector<std::string>{"modified 0 /private/tmp/folder"}, Notifications());

    ASSERT_EQ(0, mkdir("/tmp/folder/inner", 0755));
    const FSRef inner = ReferenceTo("/tmp/folder/inner");
    EXPECT_EQ(1u, BumpDateWithFSRef(&inner));
    EXPECT_EQ(1u, BumpDateWithFSRef(&folder));
    EXPECT_EQ((std::vector<std::string>{"modified 0 /private/tmp/folder", "modified 0 /private/tmp/folder/inner",
                                        "modified 0 /private/tmp/folder"}),
              Notifications());
}

TEST_F(FinderVisibility, ADateThatWouldStayGetsOneSecondMore)
{
    const UTCDateTime date = DateWritten({0, kSecondsTo2001 + 1000, 0}, 1000);
    EXPECT_EQ(0u, date.highSeconds);
    EXPECT_EQ(kSecondsTo2001 + 1001, UInt32{date.lowSeconds});
}

// A date that differs in its fraction alone is the same to those who count seconds.
TEST_F(FinderVisibility, FractionsOfASecondAreNoDifference)
{
    const UTCDateTime date = DateWritten({0, kSecondsTo2001 + 1000, 0x8000}, 1000);
    EXPECT_EQ(kSecondsTo2001 + 1001, UInt32{date.lowSeconds});
}

TEST_F(FinderVisibility, ADateThatChangesGetsNothingMore)
{
    EXPECT_EQ(kSecondsTo2001 + 1000, UInt32{DateWritten({0, kSecondsTo2001 + 999, 0}, 1000).lowSeconds});
    EXPECT_EQ(kSecondsTo2001 + 1000, UInt32{DateWritten({0, kSecondsTo2001 + 1001, 0}, 1000).lowSeconds});
    EXPECT_EQ(kSecondsTo2001 + 1000, UInt32{DateWritten({1, kSecondsTo2001 + 1000, 0}, 1000).lowSeconds});
}

// 0xFFFFFFFF seconds after 1904 end on 6 February 2040.
TEST_F(FinderVisibility, TheSecondThatIsAddedIsCarried)
{
    const UTCDateTime date = DateWritten({0, 0xFFFFFFFF, 0}, 0xFFFFFFFF - kSecondsTo2001);
    EXPECT_EQ(1u, date.highSeconds);
    EXPECT_EQ(0u, UInt32{date.lowSeconds});
}

TEST_F(FinderVisibility, EachStepOfTheDateThatFailsEndsIt)
{
    const FSRef item = ReferenceTo(kFinderFile);
    for (const char* const function :
         {"FSGetCatalogInfo", "UCConvertCFAbsoluteTimeToUTCDateTime", "FSSetCatalogInfo", "FNNotify"}) {
        SCOPED_TRACE(function);
        SetModified(kFinderFile, 1000000);
        const TFault fault(function, {paramErr, 0});
        EXPECT_EQ(0u, BumpDateWithFSRef(&item));
        EXPECT_EQ(1u, fault.Reached());
        // Only a notification fails when all is done already.
        EXPECT_EQ(strcmp(function, "FNNotify") != 0, ModifiedAt(kFinderFile) == 1000000);
    }
    EXPECT_TRUE(Notifications().empty());
}

TEST_F(FinderVisibility, HidingSetsTheFlagAndKeepsTheRest)
{
    FileInfo finder = {};
    finder.fileType = 0x54455854;      // TEXT
    finder.fileCreator = 0x74747874;   // ttxt
    finder.finderFlags = 0x0100;
    finder.location.v = 7;
    SetFinderInfo(kFinderFile, finder);
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFile, true));

    const FileInfo hidden = FinderInfoOf(kFinderFile);
    EXPECT_EQ(0x4100u, hidden.finderFlags);
    EXPECT_EQ(finder.fileType, hidden.fileType);
    EXPECT_EQ(finder.fileCreator, hidden.fileCreator);
    EXPECT_EQ(finder.location.v, hidden.location.v);
}

TEST_F(FinderVisibility, ShowingClearsAllOtherFlagsAndLeavesThisOneAsItIs)
{
    SetFinderFlags(kFinderFile, 0x4100);
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFile, false));
    EXPECT_EQ(0x4000u, FinderInfoOf(kFinderFile).finderFlags);

    SetFinderFlags(kFinderFile, 0x0100);
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFile, false));
    EXPECT_EQ(0u, FinderInfoOf(kFinderFile).finderFlags);
}

TEST_F(FinderVisibility, AFolderIsHiddenLikeAFile)
{
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFolder, true));

    EXPECT_EQ(0x4000u, FinderInfoOf(kFinderFolder).finderFlags);
    EXPECT_EQ(std::vector<std::string>{"modified 0 /private/tmp"}, Notifications());
}

// The item itself keeps its date; it is the folder that the Finder is to look at.
TEST_F(FinderVisibility, TheFolderAroundWhatIsHiddenIsMarkedAsChanged)
{
    const time_t before = time(nullptr);
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFile, true));

    EXPECT_EQ(1000000, ModifiedAt(kFinderFile));
    EXPECT_LE(before, ModifiedAt(kFinderFolder));
    EXPECT_EQ(std::vector<std::string>{"modified 0 /private/tmp/folder"}, Notifications());
}

TEST_F(FinderVisibility, NothingButTheFinderInformationOfTheItemIsWritten)
{
    std::vector<long> written;
    const TCallWatch watch("FSSetCatalogInfo",
                           [&](const TCallWatch::TArguments& arguments) { written.push_back(arguments[1]); });
    EXPECT_EQ(1u, MakeDirectoryOrFileInisible(kFinderFile, true));

    EXPECT_EQ((std::vector<long>{kFSCatInfoFinderInfo, kFSCatInfoContentMod}), written);
}

TEST_F(FinderVisibility, EachStepOfHidingThatFailsEndsIt)
{
    EXPECT_EQ(0u, MakeDirectoryOrFileInisible("/tmp/nothing", true));
    for (const unsigned call : {1u, 2u}) {
        const TFault fault("FSGetCatalogInfo", {ioErr, 0}, call);
        EXPECT_EQ(0u, MakeDirectoryOrFileInisible(kFinderFile, true));
    }
    {
        const TFault fault("FSSetCatalogInfo", {ioErr, 0});
        EXPECT_EQ(0u, MakeDirectoryOrFileInisible(kFinderFile, true));
    }
    EXPECT_EQ(0u, FinderInfoOf(kFinderFile).finderFlags);
    EXPECT_TRUE(Notifications().empty());

    // The item is hidden by then; it is the folder's date that fails.
    const TFault fault("FSSetCatalogInfo", {ioErr, 0}, 2);
    EXPECT_EQ(0u, MakeDirectoryOrFileInisible(kFinderFile, true));
    EXPECT_EQ(0x4000u, FinderInfoOf(kFinderFile).finderFlags);
}
