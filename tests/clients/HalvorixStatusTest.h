// A Mac whose boot helper partitions can be looked into, and the program halvorixstatus in it.

#ifndef HALVORIX_TESTS_CLIENTS_HALVORIXSTATUSTEST_H
#define HALVORIX_TESTS_CLIENTS_HALVORIXSTATUSTEST_H

#include "clients/StatusFindings.h"
#include "tests/clients/EventSource.h"
#include "tests/daemon/BootHelperTest.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/VersionFiles.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

// Runs the program to its end. Returns what it ended with: "exited 0".
inline std::string RunStatus(const std::vector<std::string>& arguments, std::string* output,
                             std::string* errors = nullptr)
{
    return RunToEnd(lab::CommandFor("/product/halvorixstatus", arguments), output, errors);
}

// Both helpers are filled as the daemon does it and mounted to be read, a process named halvorixd runs, and somebody
// answers at its socket.
class HalvorixStatus : public TBootHelperTest
{
protected:
    void SetUp() override
    {
        TBootHelperTest::SetUp();
        for (const char* const helper : {kFirstHelper, kSecondHelper}) {
            FillHelper(helper);
            ASSERT_EQ("", machine.MountVolume(helper, {"rdonly"}));
        }
        StartProcess("halvorixd");
        socket = std::make_unique<TEventSource>();
    }

    void TearDown() override
    {
        socket.reset();
        TBootHelperTest::TearDown();
    }

    // Where the helper's files can be changed, though it is mounted to be read alone.
    std::string FilesOfHelper(const std::string& helper) const { return machine.VolumeFiles(helper) + "/"; }

    void WriteRootUUID(const std::string& helper, const std::string& uuid) const
    {
        plist::TValue preferences = plist::TValue::Dictionary();
        preferences.Set("Root UUID", plist::TValue::String(uuid));
        std::ofstream(FilesOfHelper(helper) + kBootPreferences) << plist::Write(preferences);
    }

    // All that is found now, a line each: "problem disk0s3: it ...".
    static std::vector<std::string> Findings()
    {
        std::vector<std::string> lines;
        for (const TFinding& finding : Judge(LookAtMachine())) {
            EXPECT_NE("", finding.advice) << finding.what;
            lines.push_back((finding.kind == TFinding::EKind::kProblem ? "problem " : "unchecked ") + finding.about +
                            ": " + finding.what);
        }
        return lines;
    }

    std::unique_ptr<TEventSource> socket;

private:
    void FillHelper(const std::string& helper) const
    {
        namespace fs = std::filesystem;
        const fs::path from = machine.VolumeFiles(kRAIDVolume);
        const fs::path to = machine.VolumeFiles(helper);
        for (const std::string& file : FilesOfFilledHelper()) {
            fs::create_directories((to / file).parent_path());
            const fs::path source = from / (file.rfind("com.apple.boot.S/", 0) == 0 ? file.substr(17) : file);
            if (file.back() != '/')
                fs::copy_file(source, to / file, fs::copy_options::overwrite_existing);
        }
        WriteRootUUID(helper, VolumeText(machine, kRAIDVolume, "UUID"));
    }
};

using TLines = std::vector<std::string>;

#endif
