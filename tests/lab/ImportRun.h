// What the tests of importing share: the files of a capture, the command, and the machine that it makes.

#ifndef HALVORIX_TESTS_LAB_IMPORTRUN_H
#define HALVORIX_TESTS_LAB_IMPORTRUN_H

#include "lab/Files.h"
#include "lab/Registry.h"
#include "tests/lab/CaptureText.h"
#include "tests/lab/LabctlRun.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

// Machines that labctl makes of what was captured on a Mac.
class TImportTest : public TLabctlTest
{
protected:
    void SetUp() override
    {
        TLabctlTest::SetUp();
        ASSERT_EQ(0, mkdir("/tmp/capture", 0777));
        Give("SystemVersion.plist", SystemVersion("10.4.11"));
        Give("mount.txt", "/dev/disk0s3 on / (local, journaled)\ndevfs on /dev (local)\n<volfs> on /.vol\n");
    }

    static void Give(const std::string& file, const std::string& text)
    {
        ASSERT_EQ("", lab::ReplaceFile("/tmp/capture/" + file, text));
    }

    // Imports a registry into /tmp/mac, and returns what labctl ended with.
    std::string Import(const std::string& registry, const std::vector<std::string>& options = {})
    {
        std::filesystem::remove_all("/tmp/mac");
        Give("ioreg.txt", registry);
        std::vector<std::string> words{"import"};
        words.insert(words.end(), options.begin(), options.end());
        for (const char* const file : {"ioreg.txt", "SystemVersion.plist", "mount.txt"})
            words.push_back(std::string("/tmp/capture/") + file);
        words.push_back("/tmp/mac");
        return Run(words);
    }

    // The capture is refused with these words, and nothing is left of the machine.
    void ExpectDamage(const std::string& registry, const std::string& why)
    {
        EXPECT_EQ("exited 1", Import(registry)) << why;
        EXPECT_EQ("", output);
        EXPECT_EQ("labctl: /tmp/capture/" + why + "\n", errors);
        EXPECT_EQ(std::vector<std::string>{"capture"}, lab::NamesInFolder("/tmp"));
    }

    // A property of disk0s3 in the machine that was made.
    static plist::TValue Property(const std::string& key)
    {
        lab::TRegistry registry("/tmp/mac");
        EXPECT_EQ("", registry.Error());
        const lab::TFoundEntry found = registry.FindMedium("disk0s3");
        const plist::TValue* const value = found.entry ? found.entry->Find(key) : nullptr;
        EXPECT_TRUE(value) << key;
        return value ? *value : plist::TValue();
    }

    // A property that is written so, in the machine.
    plist::TValue Read(const std::string& value)
    {
        EXPECT_EQ("exited 0", Import(PrintRegistry(SmallMac({"\"key\" = " + value})))) << errors;
        return Property("key");
    }
};

#endif
