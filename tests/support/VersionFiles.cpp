#include "tests/support/VersionFiles.h"

#include <filesystem>
#include <fstream>

std::string VersionList(const std::string& element)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>ProductName</key>"
           "<string>Mac OS X</string><key>ProductVersion</key>" +
           element + "</dict></plist>\n";
}

void WriteVersionFile(const std::string& volume, const std::string& name, const std::string& bytes)
{
    const std::filesystem::path folder = volume + "/System/Library/CoreServices";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << bytes;
}

void InstallSystem(const std::string& volume, const std::string& version)
{
    WriteVersionFile(volume, "SystemVersion.plist", VersionList("<string>" + version + "</string>"));
}
