// Folders that look like volumes with a system on them.

#ifndef HALVORIX_TESTS_SUPPORT_VERSIONFILES_H
#define HALVORIX_TESTS_SUPPORT_VERSIONFILES_H

#include <string>

// A property list whose "ProductVersion" is this XML element: "<string>10.5</string>".
std::string VersionList(const std::string& element);

// Writes System/Library/CoreServices/NAME on a volume, folders included. Replaces what is there.
void WriteVersionFile(const std::string& volume, const std::string& name, const std::string& bytes);

// Makes a volume's system one of this version.
void InstallSystem(const std::string& volume, const std::string& version);

#endif
