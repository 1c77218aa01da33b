#include "services/FileOwnership.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cerrno>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

static const char kFile[] = "/tmp/file";

class FileOwnership : public TMachineTest
{
protected:
    void SetUp() override
    {
        TMachineTest::SetUp();
        std::ofstream(kFile) << "text";
    }
};

// The file that chown was asked to change is looked at by its arguments: the sandbox may know no other users.
TEST_F(FileOwnership, TheRealUserBecomesTheOwnerAndTheGroupStays)
{
    std::vector<long> asked;
    const TStatEdit edit([](const char*, struct stat* info) { info->st_gid = 20; });
    const TFault user("getuid", {501, 0});
    const TFault owner("chown", {0, 0});
    const TCallWatch watch("chown", [&](const TCallWatch::TArguments& arguments) {
        EXPECT_STREQ(kFile, reinterpret_cast<const char*>(arguments[0]));
        asked.assign(arguments.begin() + 1, arguments.end());
    });

    EXPECT_EQ(1u, RestoreFileOrDirectoryOwnership(kFile));
    EXPECT_EQ((std::vector<long>{501, 20}), asked);
}

TEST_F(FileOwnership, FilesAndFoldersAreGivenBack)
{
    EXPECT_EQ(1u, RestoreFileOrDirectoryOwnership(kFile));
    EXPECT_EQ(1u, RestoreFileOrDirectoryOwnership("/tmp"));

    struct stat info = {};
    ASSERT_EQ(0, stat(kFile, &info));
    EXPECT_EQ(getuid(), info.st_uid);
}

TEST_F(FileOwnership, AFileSystemWithoutOwnersIsNoFailure)
{
    const TFault fault("chown", {-1, ENOTSUP});

    EXPECT_EQ(1u, RestoreFileOrDirectoryOwnership(kFile));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(FileOwnership, AnyOtherErrorIsAFailure)
{
    for (const int error : {EPERM, EROFS, EIO, EINVAL}) {
        const TFault fault("chown", {-1, error});
        EXPECT_EQ(0u, RestoreFileOrDirectoryOwnership(kFile)) << error;
    }
}

// What errno held before must not be taken for chown's.
TEST_F(FileOwnership, WhatIsNotThereIsAFailureAndNothingIsChanged)
{
    const TCallWatch watch("chown");
    errno = ENOTSUP;

    EXPECT_EQ(0u, RestoreFileOrDirectoryOwnership("/tmp/nothing"));
    EXPECT_EQ(0u, watch.Calls());
}
