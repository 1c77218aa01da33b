#include "tests/platform/MountedVolumesTest.h"

#include <unistd.h>

class FolderNotifications : public TMountedVolumesTest
{
protected:
    // The lines of the log without the time that each begins with.
    std::string Logged() const
    {
        std::istringstream text(machine.ReadText("notifications"));
        std::string lines;
        for (std::string line; std::getline(text, line);)
            lines += line.substr(line.find(' ') + 1) + "\n";
        return lines;
    }
};

TEST_F(FolderNotifications, SayWhichFolderChanged)
{
    const FSRef folder = ReferenceTo(fFolder);
    const FSRef root = ReferenceTo("/");
    EXPECT_EQ(noErr, FNNotify(&folder, kFNDirectoryModifiedMessage, kNilOptions));
    EXPECT_EQ(noErr, FNNotify(&root, kFNDirectoryModifiedMessage, kFNNotifyInBackground));

    const std::string process = std::to_string(getpid());
    EXPECT_EQ(process + " modified 0 /private/tmp/folder\n" + process + " modified 2 /\n", Logged());
}

TEST_F(FolderNotifications, AreOfFoldersAlone)
{
    MakeFile(fFolder + "/file");
    const FSRef file = ReferenceTo(fFolder + "/file");
    const FSRef folder = ReferenceTo(fFolder);
    const FSRef none = {};
    EXPECT_EQ(errFSNotAFolder, FNNotify(&file, kFNDirectoryModifiedMessage, kNilOptions));
    EXPECT_EQ(errFSBadFSRef, FNNotify(&none, kFNDirectoryModifiedMessage, kNilOptions));
    EXPECT_EQ(paramErr, FNNotify(&folder, 2, kNilOptions));

    EXPECT_EQ("", Logged());
}
