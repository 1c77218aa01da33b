// Captures of Macs that never were, printed as ioreg prints them, so that tests can damage them.

#ifndef HALVORIX_TESTS_LAB_CAPTURETEXT_H
#define HALVORIX_TESTS_LAB_CAPTURETEXT_H

#include <string>
#include <vector>

// An entry of a registry. Its parent is the nearest one before it that stands a level higher.
struct TCapturedEntry
{
    std::size_t depth;
    std::string name;   // with its location: "ata-6@D"
    std::string className;
    std::vector<std::string> properties;   // each as it is printed: "\"Size\" = 512"
};

// The text of a plane, its bars included. `state` is what stands behind the class of each entry but Root, which has `root`; a
// "#" in them stands for the entry's number from 0 on, as two hexadecimal digits.
std::string PrintRegistry(const std::vector<TCapturedEntry>& entries,
                          const std::string& state = ", registered, matched, active, busy 0, retain count 7",
                          const std::string& root = ", retain count 9");

// A Power Mac with one ATA disk: disk0s1 is its map and disk0s3 an HFS partition. `more` are properties of disk0s3.
std::vector<TCapturedEntry> SmallMac(const std::vector<std::string>& more = {});

// A SystemVersion.plist of this system.
std::string SystemVersion(const std::string& version);

#endif
