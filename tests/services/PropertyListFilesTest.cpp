#include "services/PropertyListFiles.h"

#include "foundation/ScopedCFType.h"
#include "tests/support/Faults.h"
#include "tests/support/MachineTest.h"

#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

static const char kListFile[] = "/tmp/list.plist";

static const char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";

static void WriteFile(const std::string& bytes)
{
    std::ofstream(kListFile, std::ios::binary) << bytes;
}

static void WriteList(const std::string& element)
{
    WriteFile(kHead + element + "</plist>\n");
}

static std::string ReadFile()
{
    std::ifstream file(kListFile, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Property lists in files: reading, changing and writing back.
class PropertyListFiles : public TMachineTest
{
protected:
    // Whether the file reads as a list at all.
    static bool IsRead() { return static_cast<bool>(TScopedCFType(CreateCFDictionaryWithContentsOfFile(kListFile))); }
};

// One of each type, nested, and a key that somebody adds as the boot preferences get theirs.
TEST_F(PropertyListFiles, ReadingChangingAndWritingLosesNothing)
{
    const std::string kept =
        "<key>Kernel</key><string>mach_kernel</string><key>Kernel Flags</key><string></string>"
        "<key>Data</key><data>AAEC/w==</data><key>Date</key><date>2008-06-24T10:15:00Z</date>"
        "<key>True</key><true/><key>False</key><false/><key>Integer</key><integer>-7</integer>"
        "<key>Large</key><integer>9223372036854775807</integer><key>Real</key><real>0.5</real>"
        "<key>Array</key><array><dict><key>&lt;&amp;&gt;</key><string>\xC3\xA9</string></dict><array/></array>"
        "<key>Empty</key><dict/>";
    WriteList("<dict>" + kept + "</dict>");
    {
        const TScopedCFType list(CreateCFDictionaryWithContentsOfFile(kListFile));
        ASSERT_TRUE(list);
        CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(static_cast<CFDictionaryRef>(list.Get())),
                             CFSTR("Root UUID"), CFSTR("00112233-4455-6677-8899-AABBCCDDEEFF"));
        ASSERT_EQ(1u, SetContentsOfFileToCFDictionary(kListFile, list.Get()));
    }

    const TScopedCFType changed(CreateCFDictionaryWithContentsOfFile(kListFile));
    WriteList("<dict>" + kept + "<key>Root UUID</key><string>00112233-4455-6677-8899-AABBCCDDEEFF</string></dict>");
    const TScopedCFType expected(CreateCFDictionaryWithContentsOfFile(kListFile));
    ASSERT_TRUE(changed);
    ASSERT_TRUE(expected);
    EXPECT_TRUE(CFEqual(changed.Get(), expected.Get()));
    EXPECT_EQ(12, CFDictionaryGetCount(static_cast<CFDictionaryRef>(changed.Get())));
}

// An immutable container or leaf would end the process here.
TEST_F(PropertyListFiles, WhatIsInsideCanBeChangedToo)
{
    WriteList("<dict><key>Array</key><array><string>a</string></array></dict>");
    const TScopedCFType list(CreateCFDictionaryWithContentsOfFile(kListFile));
    ASSERT_TRUE(list);

    const auto array = const_cast<CFMutableArrayRef>(
        static_cast<CFArrayRef>(CFDictionaryGetValue(static_cast<CFDictionaryRef>(list.Get()), CFSTR("Array"))));
    CFArrayAppendValue(array, CFSTR("b"));
    EXPECT_EQ(2, CFArrayGetCount(array));
}

TEST_F(PropertyListFiles, ContainersAndLeavesAreAskedForMutable)
{
    WriteList("<dict/>");
    long options = 0;
    const TCallWatch watch("CFPropertyListCreateFromXMLData",
                           [&](const TCallWatch::TArguments& arguments) { options = arguments[2]; });

    EXPECT_TRUE(IsRead());
    EXPECT_EQ(static_cast<long>(kCFPropertyListMutableContainersAndLeaves), options);
}

TEST_F(PropertyListFiles, NobodyChecksThatItIsADictionary)
{
    WriteList("<string>text</string>");
    const TScopedCFType list(CreateCFDictionaryWithContentsOfFile(kListFile));
    ASSERT_TRUE(list);

    EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(list.Get()));
}

TEST_F(PropertyListFiles, WhatIsNoPropertyListIsNotRead)
{
    EXPECT_FALSE(IsRead());   // there is no file
    WriteFile("");
    EXPECT_FALSE(IsRead());
    WriteFile("Kernel = mach_kernel");
    EXPECT_FALSE(IsRead());
    WriteFile(std::string(kHead) + "<dict><key>Kernel</key>");
    EXPECT_FALSE(IsRead());
    unlink(kListFile);
    ASSERT_EQ(0, mkdir(kListFile, 0755));
    EXPECT_FALSE(IsRead());
}

TEST_F(PropertyListFiles, NoBytesAreNoPropertyList)
{
    EXPECT_EQ(nullptr, CreatePropertyListFromXMLData(nullptr, kCFPropertyListImmutable));
}

TEST_F(PropertyListFiles, EachStepOfReadingThatFailsReadsNothing)
{
    WriteList("<dict/>");
    for (const char* const function : {"CFURLCreateFromFileSystemRepresentation",
                                       "CFURLCreateDataAndPropertiesFromResource", "CFPropertyListCreateFromXMLData"}) {
        SCOPED_TRACE(function);
        const TFault fault(function, {0, 0});
        EXPECT_FALSE(IsRead());
        EXPECT_EQ(1u, fault.Reached());
    }
}

TEST_F(PropertyListFiles, ThePathsTerminatorIsCountedInAndItIsNoFolder)
{
    WriteList("<dict/>");
    long length = 0;
    long isFolder = 1;
    const TCallWatch watch("CFURLCreateFromFileSystemRepresentation", [&](const TCallWatch::TArguments& arguments) {
        length = arguments[2];
        isFolder = arguments[3];
    });

    EXPECT_TRUE(IsRead());
    EXPECT_EQ(static_cast<long>(sizeof kListFile), length);
    EXPECT_EQ(0, isFolder);
}

TEST_F(PropertyListFiles, AFileThatWasNotThereIsWritten)
{
    EXPECT_EQ(1u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    EXPECT_NE(std::string::npos, ReadFile().find("<string>text</string>"));
}

// Removed, not emptied: another name of the old file keeps what was in it, and the new one has fresh permissions.
TEST_F(PropertyListFiles, TheFileThatWasThereIsRemovedFirst)
{
    umask(022);
    WriteFile("before");
    ASSERT_EQ(0, chmod(kListFile, 0600));
    ASSERT_EQ(0, link(kListFile, "/tmp/other-name"));

    EXPECT_EQ(1u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    std::string other;
    std::ifstream("/tmp/other-name") >> other;
    EXPECT_EQ("before", other);
    struct stat info = {};
    ASSERT_EQ(0, stat(kListFile, &info));
    EXPECT_EQ(0644u, info.st_mode & 07777);
}

TEST_F(PropertyListFiles, WritingGoesOnWhenNothingCouldBeRemoved)
{
    WriteFile("before");
    const TFault fault("CFURLDestroyResource", {0, 0});

    EXPECT_EQ(1u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    EXPECT_EQ(1u, fault.Reached());
    EXPECT_EQ(std::string::npos, ReadFile().find("before"));
}

TEST_F(PropertyListFiles, WhatCannotBeMadeXMLIsNotWrittenAndTheFileIsGone)
{
    WriteFile("before");
    const TFault fault("CFPropertyListCreateXMLData", {0, 0});

    EXPECT_EQ(0u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    EXPECT_NE(0, access(kListFile, F_OK));
}

TEST_F(PropertyListFiles, AWriteThatFailsIsAFailure)
{
    EXPECT_EQ(0u, SetContentsOfFileToCFDictionary("/tmp/nothing/list.plist", CFSTR("text")));
    const TFault fault("CFURLWriteDataAndPropertiesToResource", {0, 0});
    EXPECT_EQ(0u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    EXPECT_EQ(1u, fault.Reached());
}

TEST_F(PropertyListFiles, WithoutAURLTheFileStaysAsItIs)
{
    WriteFile("before");
    const TFault fault("CFURLCreateFromFileSystemRepresentation", {0, 0});

    EXPECT_EQ(0u, SetContentsOfFileToCFDictionary(kListFile, CFSTR("text")));
    EXPECT_EQ("before", ReadFile());
}
