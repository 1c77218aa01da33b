#include "tests/daemon/BootHelperTest.h"

#include "tests/support/VersionFiles.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

std::string Joined(const std::vector<std::string>& arguments)
{
    std::string text;
    for (const std::string& argument : arguments)
        text += (text.empty() ? "" : " ") + argument;
    return text;
}

std::vector<std::string> ToolsRun(const lab::TMachine& machine)
{
    std::vector<std::string> runs;
    for (const lab::TToolRun& run : machine.ToolRuns())
        runs.push_back(Joined(run.arguments));
    return runs;
}

std::string LastToolRun(const lab::TMachine& machine)
{
    const std::vector<std::string> runs = ToolsRun(machine);
    return runs.empty() ? "" : runs.back();
}

std::vector<std::string> RunsOf(const lab::TMachine& machine, const std::string& tool)
{
    std::vector<std::string> runs;
    for (const lab::TToolRun& run : machine.ToolRuns()) {
        if (fs::path(run.path).filename() == tool)
            runs.push_back(Joined(run.arguments));
    }
    return runs;
}

std::string VolumeText(const lab::TMachine& machine, const std::string& bsdName, const std::string& key)
{
    const plist::TValue volume = machine.Volume(bsdName);
    const plist::TValue* const value = volume.Find(key);
    return value != nullptr ? value->text : "";
}

std::set<std::string> FilesBelow(const std::string& folder)
{
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        files.insert(fs::relative(entry.path(), folder).string() + (entry.is_directory() ? "/" : ""));
    return files;
}

std::set<std::string> FilesOn(const lab::TMachine& machine, const std::string& bsdName)
{
    return FilesBelow(machine.VolumeFiles(bsdName));
}

std::string FileText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return "(missing)";
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string TextInList(const std::string& path, const std::string& key)
{
    plist::TValue list;
    std::string error;
    EXPECT_TRUE(plist::Read(FileText(path), &list, &error)) << path << ": " << error;
    const plist::TValue* const value = list.Find(key);
    return value != nullptr ? value->text : "";
}

std::set<std::string> FilesOfFilledHelper()
{
    return {"System/",
            "System/Library/",
            "System/Library/CoreServices/",
            "System/Library/CoreServices/boot.efi",
            "System/Library/CoreServices/SystemVersion.plist",
            "com.apple.boot.S/",
            "com.apple.boot.S/mach_kernel",
            "com.apple.boot.S/Library/",
            "com.apple.boot.S/Library/Preferences/",
            "com.apple.boot.S/Library/Preferences/SystemConfiguration/",
            kBootPreferences,
            "com.apple.boot.S/System/",
            "com.apple.boot.S/System/Library/",
            "com.apple.boot.S/System/Library/Extensions.mkext"};
}

void InstallBootableSystem(const lab::TMachine& machine, const std::string& folder, const std::string& version)
{
    const fs::path from = machine.VolumeFiles(kRAIDVolume);
    for (const char* const file :
         {"System/Library/CoreServices/boot.efi", "mach_kernel",
          "Library/Preferences/SystemConfiguration/com.apple.Boot.plist", "System/Library/Extensions.mkext"}) {
        fs::create_directories((fs::path(folder) / file).parent_path());
        fs::copy_file(from / file, fs::path(folder) / file, fs::copy_options::overwrite_existing);
    }
    InstallSystem(folder, version);
}

plist::TValue MemberList(const std::vector<std::string>& paths)
{
    plist::TValue list = plist::TValue::Array();
    for (const std::string& path : paths) {
        plist::TValue member = plist::TValue::Dictionary();
        member.Set("IOBootDevicePath", plist::TValue::String(path));
        list.items.push_back(member);
    }
    return list;
}
