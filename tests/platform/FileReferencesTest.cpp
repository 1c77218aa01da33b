#include "tests/platform/MountedVolumesTest.h"

#include <cstring>
#include <unistd.h>

class FileReferences : public TMountedVolumesTest
{
};

TEST_F(FileReferences, AReferenceLeadsBackToItsPath)
{
    MakeFile(fFolder + "/file");
    Boolean isDirectory = 77;
    FSRef ref = {};
    ASSERT_EQ(noErr, FSPathMakeRef(Bytes(fFolder + "/file"), &ref, &isDirectory));

    EXPECT_EQ(0, isDirectory);
    EXPECT_EQ(fFolder + "/file", PathOf(ref));
    ASSERT_EQ(noErr, FSPathMakeRef(Bytes("/"), &ref, &isDirectory));
    EXPECT_EQ(1, isDirectory);
    EXPECT_EQ("/", PathOf(ref));
}

TEST_F(FileReferences, WhateverThePathTheSameFileComparesEqual)
{
    MakeFile(fFolder + "/file");
    ASSERT_EQ(0, symlink("folder/file", "/private/tmp/link"));
    const FSRef direct = ReferenceTo(fFolder + "/file");

    for (const char* path : {"/private/tmp/folder/../folder//file", "/tmp/folder/file", "/private/tmp/link"}) {
        const FSRef other = ReferenceTo(path);
        EXPECT_EQ(noErr, FSCompareFSRefs(&direct, &other)) << path;
    }
    ASSERT_EQ(0, chdir("/private/tmp"));
    const FSRef relative = ReferenceTo("folder/file");
    EXPECT_EQ(noErr, FSCompareFSRefs(&direct, &relative));
}

TEST_F(FileReferences, OtherFilesCompareDifferent)
{
    MakeFile(fFolder + "/file");
    MakeFile(fFolder + "/other");
    const FSRef one = ReferenceTo(fFolder + "/file");
    const FSRef other = ReferenceTo(fFolder + "/other");

    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&one, &other));
}

TEST_F(FileReferences, FilesOfTwoVolumesAreOnDifferentOnes)
{
    Mount("disk9s1", "/Volumes/Data", -101);
    Mount("disk9s2", "/Volumes/Data 1", -102);
    MakeFile("/Volumes/Data 1/file");
    const FSRef file = ReferenceTo("/Volumes/Data 1/file");
    const FSRef itsVolume = ReferenceTo("/Volumes/Data 1");
    const FSRef otherVolume = ReferenceTo("/Volumes/Data");
    const FSRef startUpVolume = ReferenceTo("/Volumes");

    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&file, &itsVolume));
    EXPECT_EQ(diffVolErr, FSCompareFSRefs(&file, &otherVolume));
    EXPECT_EQ(diffVolErr, FSCompareFSRefs(&file, &startUpVolume));
}

TEST_F(FileReferences, AFolderWhoseNameOnlyBeginsLikeAMountPointsIsNotOnThatVolume)
{
    Mount("disk9s1", "/Volumes/Data", -101);
    mkdir("/Volumes/Database", 0777);
    const FSRef folder = ReferenceTo("/Volumes/Database");
    const FSRef startUpVolume = ReferenceTo("/Volumes");

    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&folder, &startUpVolume));
}

TEST_F(FileReferences, NothingThereIsFileNotFound)
{
    MakeFile(fFolder + "/file");
    FSRef ref;
    memset(&ref, 77, sizeof ref);
    const FSRef before = ref;

    EXPECT_EQ(fnfErr, FSPathMakeRef(Bytes("/Volumes/Nobody"), &ref, nullptr));
    EXPECT_EQ(fnfErr, FSPathMakeRef(Bytes(fFolder + "/file/below"), &ref, nullptr));
    EXPECT_EQ(fnfErr, FSPathMakeRef(Bytes(""), &ref, nullptr));
    EXPECT_EQ(errFSNameTooLong, FSPathMakeRef(Bytes("/" + std::string(300, 'x')), &ref, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &ref, nullptr));
    EXPECT_EQ(0, memcmp(&before, &ref, sizeof ref));
}

TEST_F(FileReferences, AFileThatIsGoneOrReplacedIsNotFound)
{
    MakeFile(fFolder + "/file");
    MakeFile(fFolder + "/other");
    const FSRef ref = ReferenceTo(fFolder + "/file");

    ASSERT_EQ(0, rename((fFolder + "/other").c_str(), (fFolder + "/file").c_str()));
    EXPECT_EQ("error -43", PathOf(ref));
    ASSERT_EQ(0, unlink((fFolder + "/file").c_str()));
    EXPECT_EQ("error -43", PathOf(ref));
}

TEST_F(FileReferences, BytesThatAreNoReferenceAreRefused)
{
    const FSRef good = ReferenceTo(fFolder);
    const FSRef none = {};
    UInt8 path[64];

    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&none, path, sizeof path));
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(nullptr, path, sizeof path));
    EXPECT_EQ(errFSBadFSRef, FSCompareFSRefs(&none, &none));
    EXPECT_EQ(errFSBadFSRef, FSCompareFSRefs(&good, &none));
}

TEST_F(FileReferences, APathNeedsRoomForItsNUL)
{
    const FSRef ref = ReferenceTo(fFolder);   // of 19 characters
    UInt8 path[21];
    memset(path, 77, sizeof path);

    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, path, 19));
    EXPECT_EQ(77, path[0]);
    EXPECT_EQ(noErr, FSRefMakePath(&ref, path, 20));
    EXPECT_STREQ("/private/tmp/folder", reinterpret_cast<const char*>(path));
    EXPECT_EQ(77, path[20]);
}
