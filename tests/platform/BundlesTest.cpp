#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

class CFBundles : public TMachineTest
{
protected:
    static constexpr const char* kBundle = "/tmp/My Tool.app";

    static void MakeFolders()
    {
        for (const char* folder : {"", "/Contents", "/Contents/MacOS"})
            ASSERT_EQ(0, mkdir((std::string(kBundle) + folder).c_str(), 0755));
    }

    static void AddProgram(const std::string& name)
    {
        std::ofstream(std::string(kBundle) + "/Contents/MacOS/" + name) << "program";
    }

    static void SetInfo(const std::string& list)
    {
        std::ofstream(std::string(kBundle) + "/Contents/Info.plist") << "<plist>" + list + "</plist>";
    }

    // extra  1 counts the terminating NUL
    static CFBundleRef Make(const std::string& path, size_t extra = 0)
    {
        const TScoped<CFURLRef> url(
            CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.c_str()),
                                                    static_cast<CFIndex>(path.size() + extra), true));
        return CFBundleCreate(kCFAllocatorDefault, url.Get());
    }

    static std::string PathOf(CFURLRef url, bool resolved)
    {
        UInt8 path[1024];
        return CFURLGetFileSystemRepresentation(url, resolved, path, sizeof path) ? reinterpret_cast<const char*>(path)
                                                                                  : "too long";
    }

    static std::string Executable(const std::string& bundlePath = kBundle, size_t extra = 0)
    {
        const TScoped<CFBundleRef> bundle(Make(bundlePath, extra));
        if (bundle.Get() == nullptr)
            return "no bundle";
        const TScoped<CFURLRef> url(CFBundleCopyExecutableURL(bundle.Get()));
        return url.Get() != nullptr ? PathOf(url.Get(), true) : "none";
    }
};

TEST_F(CFBundles, TheInformationNamesTheProgram)
{
    MakeFolders();
    SetInfo("<dict><key>CFBundleExecutable</key><string>Tool</string></dict>");
    AddProgram("Tool");
    AddProgram("My Tool");
    EXPECT_EQ("/tmp/My Tool.app/Contents/MacOS/Tool", Executable());
}

TEST_F(CFBundles, ACountedNULIsNotCarriedIntoThePath)
{
    MakeFolders();
    AddProgram("My Tool");
    EXPECT_EQ("/tmp/My Tool.app/Contents/MacOS/My Tool", Executable(kBundle, 1));
}

TEST_F(CFBundles, WithoutANameTheProgramIsCalledLikeTheFolder)
{
    MakeFolders();
    AddProgram("My Tool");
    for (const char* list : {"<dict/>", "<dict><key>CFBundleExecutable</key><integer>5</integer></dict>",
                             "<dict><key>CFBundleExecutable</key><string/></dict>", "<array/>", "no list"}) {
        SetInfo(list);
        EXPECT_EQ("/tmp/My Tool.app/Contents/MacOS/My Tool", Executable()) << list;
    }
}

TEST_F(CFBundles, AFolderWithoutAnExtensionLendsItsWholeName)
{
    MakeFolders();
    AddProgram("Tool");
    ASSERT_EQ(0, rename(kBundle, "/tmp/Tool"));
    EXPECT_EQ("/tmp/Tool/Contents/MacOS/Tool", Executable("/tmp/Tool"));
}

TEST_F(CFBundles, AProgramThatIsNotThereIsNone)
{
    MakeFolders();
    SetInfo("<dict><key>CFBundleExecutable</key><string>Tool</string></dict>");
    AddProgram("My Tool");
    EXPECT_EQ("none", Executable()) << "the name that is given counts, and no other";
    ASSERT_EQ(0, mkdir("/tmp/My Tool.app/Contents/MacOS/Tool", 0755));
    EXPECT_EQ("none", Executable()) << "a folder is no program";
}

TEST_F(CFBundles, WithoutAFolderThereIsNoBundle)
{
    EXPECT_EQ("no bundle", Executable("/tmp/missing.app"));
    std::ofstream("/tmp/file.app") << "a file";
    EXPECT_EQ("no bundle", Executable("/tmp/file.app"));
    EXPECT_EQ("none", Executable("/tmp")) << "any folder is a bundle";
}

TEST_F(CFBundles, TheProgramsURLIsRelativeToTheBundle)
{
    MakeFolders();
    AddProgram("My Tool");
    const CFBundleRef bundle = Make(kBundle);
    const TScoped<CFURLRef> url(CFBundleCopyExecutableURL(bundle));
    CFRelease(bundle);
    EXPECT_EQ("Contents/MacOS/My Tool", PathOf(url.Get(), false));
    EXPECT_EQ("/tmp/My Tool.app/Contents/MacOS/My Tool", PathOf(url.Get(), true)) << "the bundle need not live on";
}
