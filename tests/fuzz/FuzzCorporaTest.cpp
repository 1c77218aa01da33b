// Every input that was kept is tried again: those that were written by hand, those that reached something new, and those that
// once showed a defect.

#include "lab/Files.h"
#include "tests/fuzz/Targets.h"
#include "tests/support/MachineTest.h"

// What the process keeps of a target is its own business; what one input leaves behind is found by the fixture.
class FuzzCorpora : public TMachineTest
{
protected:
    // Tries every file of a target's folder, in the order of their names.
    static void TryAll(const char* name, void (*target)(const std::string&))
    {
        const std::string folder = std::string("/product/corpora/") + name;
        const std::vector<std::string> files = lab::NamesInFolder(folder);
        EXPECT_NE(0u, files.size()) << "no inputs were kept";
        for (const std::string& file : files) {
            std::string input;
            EXPECT_TRUE(lab::ReadFile(folder + "/" + file, &input)) << file;
            target(input);
        }
    }
};

TEST_F(FuzzCorpora, ArgumentsAreParsedAsTheReferenceParsesThem)
{
    TryAll("arguments", TryArguments);
}

TEST_F(FuzzCorpora, DiskNamesAreReadAsTheReferenceReadsThem)
{
    TryAll("disk-names", TryDiskNames);
}

TEST_F(FuzzCorpora, DriverRecordsBringAboutWhatTheReferenceSays)
{
    fExpectedLeft.objects = 1;   // the server's list of clients
    TryAll("driver-records", TryDriverRecords);
}

TEST_F(FuzzCorpora, TheProcessIsFoundThatTheReferenceFindsInTheWholeText)
{
    TryAll("process-lines", TryProcessLines);
}

TEST_F(FuzzCorpora, PropertyListsThatAreWrittenAreReadAsTheSame)
{
    TryAll("property-lists", TryPropertyLists);
}

TEST_F(FuzzCorpora, StartUpListsTellWhatTheReferenceFindsInThem)
{
    TryAll("start-up-lists", TryStartUpLists);
}

TEST_F(FuzzCorpora, TextsAreCutAndJoinedAsTheReferenceDoesIt)
{
    TryAll("texts", TryTexts);
}

TEST_F(FuzzCorpora, VersionsAreReadAndWrittenAsTheReferenceDoesIt)
{
    TryAll("versions", TryVersions);
}
