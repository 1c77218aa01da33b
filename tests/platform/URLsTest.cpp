#include "tests/platform/Scoped.h"
#include "tests/support/MachineTest.h"

#include <cstring>
#include <unistd.h>

class CFURLs : public TMachineTest
{
protected:
    // extra  1 counts the terminating NUL
    static CFURLRef FromBytes(const std::string& path, bool isDirectory = false, size_t extra = 0)
    {
        return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                       reinterpret_cast<const UInt8*>(path.c_str()),
                                                       static_cast<CFIndex>(path.size() + extra), isDirectory);
    }

    static std::string Path(CFURLRef url, bool resolved = true)
    {
        UInt8 path[1024];
        return CFURLGetFileSystemRepresentation(url, resolved, path, sizeof path) ? reinterpret_cast<const char*>(path)
                                                                                  : "none";
    }

    static std::string PathOf(const std::string& path, bool isDirectory = false, size_t extra = 0)
    {
        const TScoped<CFURLRef> url(FromBytes(path, isDirectory, extra));
        return Path(url.Get());
    }

    static std::string Text(CFStringRef string)
    {
        char text[1024];
        return CFStringGetCString(string, text, sizeof text, kCFStringEncodingUTF8) ? text : "none";
    }

    static std::string StringOf(const std::string& path, bool isDirectory = false, size_t extra = 0)
    {
        const TScoped<CFURLRef> url(FromBytes(path, isDirectory, extra));
        return Text(CFURLGetString(url.Get()));
    }
};

TEST_F(CFURLs, APathComesBack)
{
    for (const char* path :
         {"/", "/a", "/Volumes/Macintosh HD/System", "/100%", "/a#b?c", "/%41", "/a//b", "/a/../b"}) {
        EXPECT_EQ(path, PathOf(path, false));
        EXPECT_EQ(path, PathOf(path, true));
    }
}

TEST_F(CFURLs, ACountedNULIsInTheURLButInNoPath)
{
    EXPECT_EQ("/a/b", PathOf("/a/b", false, 1));
    EXPECT_EQ("/Applications/Preview.app", PathOf("/Applications/Preview.app", true, 1));
    EXPECT_EQ("file://localhost/a/b%00", StringOf("/a/b", false, 1));
    EXPECT_EQ("file://localhost/a/b%00/", StringOf("/a/b", true, 1));
}

TEST_F(CFURLs, BeforeACountedNULASlashAtTheEndStays)
{
    EXPECT_EQ("/a/", PathOf("/a/", false, 1));
    EXPECT_EQ("/a", PathOf("/a/", false));
}

TEST_F(CFURLs, NothingAndWhatIsNoUTF8IsNoURL)
{
    EXPECT_EQ(nullptr, FromBytes(""));
    EXPECT_EQ(nullptr, FromBytes("/a\xFF"));
    EXPECT_EQ(nullptr, CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR(""), kCFURLPOSIXPathStyle, false));
}

TEST_F(CFURLs, AnAccentedLetterBecomesALetterAndItsAccent)
{
    EXPECT_EQ("/Zu\xCC\x88rich", PathOf("/Z\xC3\xBCrich"));
    const TScoped<CFURLRef> url(FromBytes("/Z\xC3\xBCrich"));
    const TScoped<CFStringRef> path(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle));
    EXPECT_EQ("/Z\xC3\xBCrich", Text(path.Get())) << "text stays as it was";
}

TEST_F(CFURLs, APathThatDoesNotFitWithItsNULIsRefusedAndNothingIsWritten)
{
    const TScoped<CFURLRef> url(FromBytes("/disk"));
    UInt8 path[8] = "xxxxxxx";
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.Get(), true, path, 5));
    EXPECT_STREQ("xxxxxxx", reinterpret_cast<const char*>(path));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.Get(), true, path, 0));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url.Get(), true, path, -1));
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.Get(), true, path, 6));
    EXPECT_STREQ("/disk", reinterpret_cast<const char*>(path));
}

TEST_F(CFURLs, ARelativePathStartsAtTheFolderThatWasCurrent)
{
    ASSERT_EQ(0, chdir("/System/Library"));
    const TScoped<CFURLRef> url(FromBytes("CoreServices"));
    ASSERT_EQ(0, chdir("/"));

    EXPECT_EQ("/System/Library/CoreServices", Path(url.Get()));
    EXPECT_EQ("CoreServices", Path(url.Get(), false));
    EXPECT_EQ("CoreServices", Text(CFURLGetString(url.Get())));
}

TEST_F(CFURLs, DotsOfARelativePathAreFollowedAndThoseOfAnAbsoluteOneKept)
{
    ASSERT_EQ(0, chdir("/System/Library"));
    EXPECT_EQ("/System/a", PathOf("../a"));
    EXPECT_EQ("/System/Library/a", PathOf("./a"));
    EXPECT_EQ("/System/Library", PathOf("."));
    EXPECT_EQ("/System", PathOf(".."));
    EXPECT_EQ("/System/Library/../a", PathOf("/System/Library/../a"));
}

TEST_F(CFURLs, OnlyADirectoryEndsInASlash)
{
    const TScoped<CFURLRef> file(FromBytes("/a/", false));
    const TScoped<CFURLRef> directory(FromBytes("/a", true));
    EXPECT_FALSE(CFURLHasDirectoryPath(file.Get()));
    EXPECT_TRUE(CFURLHasDirectoryPath(directory.Get()));
    EXPECT_EQ("file://localhost/a", Text(CFURLGetString(file.Get())));
    EXPECT_EQ("file://localhost/a/", Text(CFURLGetString(directory.Get())));
    EXPECT_FALSE(CFEqual(file.Get(), directory.Get()));
}

TEST_F(CFURLs, OfTextOnlyASingleSlashAtTheEndIsDropped)
{
    const auto string = [](CFStringRef path) {
        const TScoped<CFURLRef> url(
            CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, false));
        return Text(CFURLGetString(url.Get()));
    };
    EXPECT_EQ("file://localhost/a", string(CFSTR("/a/")));
    EXPECT_EQ("file://localhost/a//", string(CFSTR("/a//")));
    EXPECT_EQ("file://localhost/", string(CFSTR("/")));
}

TEST_F(CFURLs, OnlyLettersDigitsAndAFewMarksStandAsTheyAre)
{
    EXPECT_EQ("file://localhost/a%20b", StringOf("/a b"));
    EXPECT_EQ("file://localhost/-_.!~*'()/:@&=+$,", StringOf("/-_.!~*'()/:@&=+$,"));
    EXPECT_EQ("file://localhost/%25%23%3F%3B%5B%5D%22%3C%3E%5C%5E%60%7B%7C%7D%7F%01",
              StringOf("/%#?;[]\"<>\\^`{|}\x7F\x01"));
    EXPECT_EQ("file://localhost/%C3%BC", StringOf("/\xC3\xBC"));
}

TEST_F(CFURLs, EqualURLsHaveEqualTextAndBase)
{
    const TScoped<CFURLRef> one(FromBytes("a"));
    const TScoped<CFURLRef> same(FromBytes("a"));
    EXPECT_TRUE(CFEqual(one.Get(), same.Get()));
    EXPECT_EQ(CFHash(one.Get()), CFHash(same.Get()));

    ASSERT_EQ(0, chdir("/System"));
    const TScoped<CFURLRef> elsewhere(FromBytes("a"));
    const TScoped<CFURLRef> absolute(FromBytes("/a"));
    EXPECT_FALSE(CFEqual(one.Get(), elsewhere.Get())) << "another base";
    EXPECT_FALSE(CFEqual(one.Get(), absolute.Get())) << "no base";
}

TEST_F(CFURLs, TheLastPartIsBehindTheLastSlashButOne)
{
    static const struct
    {
        const char* path;
        bool isDirectory;
        const char* last;
    } kCases[] = {{"/a/b.app", true, "b.app"}, {"/a/b", false, "b"},  {"b", false, "b"}, {"/", true, "/"},
                  {"/a//", true, ""},          {"/a b", false, "a b"}};
    for (const auto& one : kCases) {
        const TScoped<CFURLRef> url(FromBytes(one.path, one.isDirectory));
        const TScoped<CFStringRef> last(CFURLCopyLastPathComponent(url.Get()));
        EXPECT_EQ(one.last, Text(last.Get())) << one.path;
    }
}

TEST_F(CFURLs, TheTextStaysTheURLs)
{
    const TScoped<CFURLRef> url(FromBytes("/a"));
    EXPECT_EQ(1, CFGetRetainCount(CFURLGetString(url.Get())));
    EXPECT_EQ(CFURLGetString(url.Get()), CFURLGetString(url.Get()));
    const TScoped<CFStringRef> scheme(CFURLCopyScheme(url.Get()));
    EXPECT_EQ("file", Text(scheme.Get()));
}

TEST_F(CFURLs, OtherStylesEndTheProcess)
{
    const TScoped<CFURLRef> url(FromBytes("/a"));
    EXPECT_DEATH(CFURLCopyFileSystemPath(url.Get(), kCFURLHFSPathStyle), "POSIX style only, not in style 1");
    EXPECT_DEATH(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR("a:b"), kCFURLHFSPathStyle, false),
                 "POSIX style only");
}
