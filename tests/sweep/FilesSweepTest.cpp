// Every call that the functions of services/ for files and folders make, failing once.

#include "foundation/NumVersions.h"
#include "foundation/ScopedCFType.h"
#include "foundation/Status.h"
#include "services/BundlePaths.h"
#include "services/FileOwnership.h"
#include "services/FileURLs.h"
#include "services/FinderVisibility.h"
#include "services/FolderSizes.h"
#include "services/KextCache.h"
#include "services/MergedFiles.h"
#include "services/PropertyListFiles.h"
#include "services/SystemVersion.h"
#include "services/WholeFiles.h"
#include "tests/support/Faults.h"
#include "tests/support/VersionFiles.h"
#include "tests/sweep/Operation.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

static std::string TextOf(const char* path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return fs::exists(path) ? text.str() : "(missing)";
}

class SweptFiles : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        std::ofstream("/tmp/first") << "one";
        std::ofstream("/tmp/second") << "three";
        fs::create_directories("/tmp/folder");
        std::ofstream("/tmp/folder/file") << "12345";
    }
};

TEST_F(SweptFiles, AFileThatCannotBeReadIsNotRead)
{
    TOperation("ReadWholeFile",
               [] {
                   char text[4] = {};
                   return std::string(ReadWholeFile("/tmp/first", text, 3) ? text : "false");
               })
        .Gives("one")
        .GivesOnFailure("false")
        .DespiteFailureOf({"close"})
        .Sweep();
}

TEST_F(SweptFiles, MergedFilesStayAsTheyWereUntilTheOutputIsWritten)
{
    TOperation("MergeFiles", [] { return Text(MergeFiles("/tmp/first", " two ", "/tmp/second", "/tmp/merged", 0)); })
        .Showing([] { return TextOf("/tmp/merged"); })
        .After([] { std::ofstream("/tmp/merged") << "old"; })
        .Gives("1 one two three")
        .GivesOnFailure("0 old")
        .GivesOnFailureOf("write", "0 ")
        .DespiteFailureOf({"close"})
        .Sweep();
}

TEST_F(SweptFiles, AnOwnerWhoCannotBeSetIsReported)
{
    TOperation("RestoreFileOrDirectoryOwnership", [] { return Text(RestoreFileOrDirectoryOwnership("/tmp/first")); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptFiles, WhatTheFileManagerRefusesIsReported)
{
    FSRef file;
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/tmp/first"), &file, nullptr));
    TOperation("BumpDateWithFSRef", [&] { return Text(BumpDateWithFSRef(&file)); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
    TOperation("MakeDirectoryOrFileInisible", [] { return Text(MakeDirectoryOrFileInisible("/tmp/first", true)); })
        .Gives("1")
        .GivesOnFailure("0")
        .Sweep();
}

TEST_F(SweptFiles, AFoldersSizeIsUntouchedAndTheStatusThatOfTheCallThatFailed)
{
    FSRef folder;
    ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/tmp/folder"), &folder, nullptr));
    // The end comes as on a Mac whose File Manager tells it by an empty answer.
    const TCatalogEdit edit([](TCatalogAnswer* answer) {
        if (answer->status == errFSNoMoreItems)
            answer->status = noErr;
    });
    TOperation("FolderSize",
               [&] {
                   UInt64 total = 77;
                   const OSStatus status = FolderSize(&total, &folder, false);
                   return Text(status) + " " + Text(total);
               })
        .Gives("0 5")
        .GivesOnFailure(Text(ioErr) + " 77")
        .GivesOnFailureOf("operator new[] nothrow", Text(kStatusOutOfMemory) + " 77")
        .DespiteFailureOf({"FSCloseIterator"})
        .Sweep();
}

TEST_F(SweptFiles, APropertyListThatCannotBeReadIsNone)
{
    WriteVersionFile("/tmp/volume", "SystemVersion.plist", VersionList("<string>10.4.11</string>"));
    static const char kList[] = "/tmp/volume/System/Library/CoreServices/SystemVersion.plist";
    TOperation("CreateCFDictionaryWithContentsOfFile",
               [] {
                   const TScopedCFType list(CreateCFDictionaryWithContentsOfFile(kList));
                   return list ? "list" : "null";
               })
        .Gives("list")
        .GivesOnFailure("null")
        .Sweep();

    static const char kTrue[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><true/></plist>\n";
    const TScopedCFType xml(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(kTrue), sizeof kTrue - 1));
    TOperation("CreatePropertyListFromXMLData",
               [&xml] {
                   const TScopedCFType list(CreatePropertyListFromXMLData(xml.Get(), kCFPropertyListImmutable));
                   return list ? "list" : "null";
               })
        .Gives("list")
        .GivesOnFailure("null")
        .Sweep();
    TOperation("CreateURLWithPathname",
               [] {
                   const TScopedCFType url(CreateURLWithPathname("/tmp", true));
                   return url ? "URL" : "null";
               })
        .Gives("URL")
        .GivesOnFailure("null")
        .Sweep();

    const TScopedCFType list(CreateCFDictionaryWithContentsOfFile(kList));
    TOperation("SetContentsOfFileToCFDictionary",
               [&] { return Text(SetContentsOfFileToCFDictionary("/tmp/list", list.Get())); })
        .Showing([] { return TextOf("/tmp/list") == "old" ? "old"
                             : fs::exists("/tmp/list")    ? "new"
                                                          : "gone"; })
        .After([] { std::ofstream("/tmp/list") << "old"; })
        .Gives("1 new")
        .GivesOnFailure("0 gone")
        .GivesOnFailureOf("CFURLCreateFromFileSystemRepresentation", "0 old")
        .DespiteFailureOf({"CFURLDestroyResource"})
        .Sweep();
}

TEST_F(SweptFiles, ABundleWhoseProgramCannotBeFoundHasNone)
{
    fs::create_directories("/Applications/Foo.app/Contents/MacOS");
    std::ofstream("/Applications/Foo.app/Contents/MacOS/Foo") << "";
    std::ofstream("/Applications/Foo.app/Contents/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
           "<string>Foo</string></dict></plist>\n";
    TOperation("CreateExecutablePathnameFromBundlePathname",
               [] {
                   char path[1024] = "";
                   const UInt32 result =
                       CreateExecutablePathnameFromBundlePathname("/Applications/Foo.app", path, sizeof path);
                   return std::string(result != 0 ? path : "0");
               })
        .Gives("/Applications/Foo.app/Contents/MacOS/Foo")
        .GivesOnFailure("0")
        .Sweep();
}

static std::string VersionOn(const char* volumePath)
{
    NumVersion version;
    memset(&version, 77, sizeof version);
    return Text(ReturnNumberOfNumVersion(*ReturnSystemVersionOnVolume(&version, volumePath)));
}

TEST_F(SweptFiles, AVersionThatCannotBeReadIsNotKnown)
{
    InstallSystem("/tmp/volume", "10.4.11");
    TOperation("ReturnSystemVersionOnVolume", [] { return VersionOn("/tmp/volume"); })
        .Gives(Text(0x104B8000))
        .GivesOnFailure("0")
        .DespiteFailureOf({"close"})
        .Sweep();

    // A server has the other file, which is looked for where the first is not found.
    WriteVersionFile("/tmp/server", "ServerVersion.plist", VersionList("<string>10.5</string>"));
    TOperation("ReturnSystemVersionOnVolume of a server", [] { return VersionOn("/tmp/server"); })
        .Gives(Text(0x10508000))
        .GivesOnFailure("0")
        .GivesOnFailureOf("stat", Text(0x10508000), kByCaller, 1)   // that it is not there could not be told either
        .DespiteFailureOf({"close"})
        .Sweep();
}

TEST_F(SweptFiles, ACacheIsLeftAloneWhereAVersionIsNotKnown)
{
    ASSERT_EQ("", machine.SetToolBehaviour("kextcache", "exit 0\n"));
    InstallSystem("/Volumes/Backup", "10.5.8");
    std::size_t before = 0;
    TOperation("UpdateAppleBootPartitionsMKextCacheForVolume",
               [] { return Text(UpdateAppleBootPartitionsMKextCacheForVolume("/Volumes/Backup")); })
        .Showing([&] { return machine.ToolRuns().size() > before ? "run" : "not run"; })
        .After([&] { before = machine.ToolRuns().size(); })
        .Gives("1 run")
        .GivesOnFailure("1 not run")
        .GivesOnFailureOf("fork", "0 not run")
        .GivesOnFailureOf("waitpid", "0 run")
        .DespiteFailureOf({"close"})
        .Sweep();
}
