// A machine folder made of what was captured on a real Mac.

#ifndef HALVORIX_LAB_IMPORT_IMPORTEDMACHINE_H
#define HALVORIX_LAB_IMPORT_IMPORTEDMACHINE_H

#include <string>
#include <vector>

namespace import {

// The files of a capture.
struct TCaptureFiles
{
    std::string registry;   // what `ioreg -l -w0` or `ioreg -a -l` printed
    std::string
        deviceTree;       // the same with `-p IODeviceTree`; empty: the registry's file holds it, too, or there is none
    std::string system;   // SystemVersion.plist
    std::string mounts;   // what `mount` printed
};

// What became of it.
struct TImported
{
    std::string name;                 // "PowerMac7,3, Mac OS X 10.5.8"
    std::string startupDisk;          // "disk0s3"
    std::size_t entries = 0;          // in the IOService plane
    std::size_t media = 0;            // disks and partitions among them
    std::size_t volumes = 0;          // that were mounted, the start-up volume included
    std::vector<std::string> notes;   // what a person should know of how it differs from the Mac
};

// Makes the machine at the place, where nothing may be yet.
//
// What a capture does not hold comes from the machine that ships with the nearest system, in the folder `machines`: the
// tools and their places, the time zone, and the files of the start-up volume but for its SystemVersion.plist.
//
// Returns an empty text, or one line for a person that says what is wrong, with the file's name and the number of the line;
// nothing is left behind then.
std::string ImportMachine(const TCaptureFiles& files, const std::string& machines, const std::string& place,
                          TImported* imported);

}   // namespace import

#endif
