// What is written here and what two others make of it: Python's plistlib and libplist's plistutil.

#ifndef HALVORIX_TESTS_PLATFORM_PROPERTYLISTPEERS_H
#define HALVORIX_TESTS_PLATFORM_PROPERTYLISTPEERS_H

#include "platform/PropertyList.h"
#include "tests/support/MachineTest.h"
#include "tests/support/RunningProgram.h"

#include <fstream>
#include <sstream>

constexpr char kOurs[] = "/tmp/ours.plist";
constexpr char kTheirs[] = "/tmp/theirs.plist";
constexpr char kBetween[] = "/tmp/between.plist";

class TPropertyListPeers : public TMachineTest
{
protected:
    static void WriteFile(const char* path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

    static std::string ReadFile(const char* path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    static std::string RunPython(const std::string& script)
    {
        std::string output;
        std::string errors;
        const std::string end = RunToEnd({"/host/usr/bin/python3", "python3", "-c", script}, &output, &errors);
        EXPECT_EQ("exited 0", end) << errors;
        return output;
    }

    // Reads ours and writes between as a binary property list, and from that theirs as XML again.
    static void RunPlistutil()
    {
        std::string errors;
        ASSERT_EQ("exited 0",
                  RunToEnd({"/host/usr/bin/plistutil", "plistutil", "-i", kOurs, "-o", kBetween, "-f", "bin"}, nullptr,
                           &errors))
            << errors;
        ASSERT_EQ("bplist00", ReadFile(kBetween).substr(0, 8));
        ASSERT_EQ("exited 0",
                  RunToEnd({"/host/usr/bin/plistutil", "plistutil", "-i", kBetween, "-o", kTheirs, "-f", "xml"},
                           nullptr, &errors))
            << errors;
    }
};

#endif
