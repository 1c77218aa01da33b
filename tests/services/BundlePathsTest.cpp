#include "services/BundlePaths.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <vector>

class BundlePaths : public TMachineTest
{
protected:
    // A bundle whose folder and program have different names.
    void MakeBundle()
    {
        for (const char* const folder : {"/tmp/Foo.app", "/tmp/Foo.app/Contents", "/tmp/Foo.app/Contents/MacOS"})
            ASSERT_EQ(0, mkdir(folder, 0755));
        std::ofstream("/tmp/Foo.app/Contents/Info.plist")
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>CFBundleExecutable</key><string>Bar</string>"
               "<key>CFBundlePackageType</key><string>APPL</string></dict></plist>\n";
        std::ofstream("/tmp/Foo.app/Contents/MacOS/Bar") << "program";
        ASSERT_EQ(0, chmod("/tmp/Foo.app/Contents/MacOS/Bar", 0755));
    }
};

// "/tmp" leads to "/private/tmp"; nobody resolves it.
static const char kExecutable[] = "/tmp/Foo.app/Contents/MacOS/Bar";

TEST_F(BundlePaths, TheProgramIsTheOneThatTheBundleNames)
{
    MakeBundle();
    char path[256] = {};

    EXPECT_EQ(1u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, sizeof path));
    EXPECT_STREQ(kExecutable, path);
    memset(path, 0, sizeof path);
    EXPECT_EQ(1u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app/", path, sizeof path));
    EXPECT_STREQ(kExecutable, path);
}

TEST_F(BundlePaths, TheLastByteOfTheRoomIsNotUsed)
{
    MakeBundle();
    char path[256];
    memset(path, 'x', sizeof path);
    const CFIndex length = static_cast<CFIndex>(strlen(kExecutable));

    EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, length + 1));
    EXPECT_EQ(1u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, length + 2));
    EXPECT_STREQ(kExecutable, path);
    EXPECT_EQ('x', path[length + 1]);
}

TEST_F(BundlePaths, NoRoomIsAFailure)
{
    MakeBundle();
    char path[] = "x";

    EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, 0));
    EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, 1));
    EXPECT_EQ('x', path[0]);
}

TEST_F(BundlePaths, WhatIsNoBundleHasNoProgram)
{
    char path[256];

    EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/nothing.app", path, sizeof path));
}

TEST_F(BundlePaths, ABundleWithoutAProgramHasNone)
{
    MakeBundle();
    ASSERT_EQ(0, remove(kExecutable));
    char path[256];

    EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, sizeof path));
}

TEST_F(BundlePaths, EachStepThatFailsIsAFailure)
{
    MakeBundle();
    char path[256];
    for (const char* const function :
         {"CFURLCreateFromFileSystemRepresentation", "CFBundleCreate", "CFBundleCopyExecutableURL"}) {
        SCOPED_TRACE(function);
        const TFault fault(function, {0, 0});
        EXPECT_EQ(0u, CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, sizeof path));
        EXPECT_EQ(1u, fault.Reached());
    }
}

TEST_F(BundlePaths, ThePathsTerminatorIsCountedIn)
{
    MakeBundle();
    char path[256];
    long length = 0;
    long isFolder = 0;
    const TCallWatch watch("CFURLCreateFromFileSystemRepresentation", [&](const TCallWatch::TArguments& arguments) {
        length = arguments[2];
        isFolder = arguments[3];
    });
    CreateExecutablePathnameFromBundlePathname("/tmp/Foo.app", path, sizeof path);

    EXPECT_EQ(static_cast<long>(sizeof "/tmp/Foo.app"), length);
    EXPECT_EQ(1, isFolder);
}

TEST_F(BundlePaths, TheNameIsWhatStandsBehindTheLastSlash)
{
    struct TCase
    {
        const char* pathname;
        const char* name;
    };
    for (const TCase& each : {TCase{"/Applications/Foo.app", "Foo.app"},
                              {"Foo/Bar", "Bar"},
                              {"/Foo", "Foo"},
                              {"/Applications/", ""},   // not "Applications"
                              {"/", ""}}) {
        char name[32] = "before";
        EXPECT_EQ(1u, CreateExecutableBundleNameFromPathname(each.pathname, name, sizeof name)) << each.pathname;
        EXPECT_STREQ(each.name, name) << each.pathname;
    }
}

TEST_F(BundlePaths, APathWithoutASlashHasNoName)
{
    char name[32] = "before";

    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname("Foo.app", name, sizeof name));
    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname("", name, sizeof name));
    EXPECT_STREQ("before", name);
}

TEST_F(BundlePaths, ANameNeedsRoomForItsTerminator)
{
    char name[9] = "xxxxxxxx";

    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname("/Foo.app", name, 7));
    EXPECT_STREQ("xxxxxxxx", name);
    EXPECT_EQ(1u, CreateExecutableBundleNameFromPathname("/Foo.app", name, 8));
    EXPECT_STREQ("Foo.app", name);
}

TEST_F(BundlePaths, NothingIsNamedByNothing)
{
    char name[8] = "before";

    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname(nullptr, name, sizeof name));
    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname("/Foo", nullptr, sizeof name));
    EXPECT_EQ(0u, CreateExecutableBundleNameFromPathname("/Foo", name, 0));
    EXPECT_STREQ("before", name);
}
