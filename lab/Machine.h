// A simulated Mac, as those outside its processes see and change it: labctl, the tests, the stand-in tools.
// What the folder holds is described in lab/README.md.
//
// Operations that can fail return a text: empty when done, otherwise one line for a person that says what is wrong and
// what would be right, without a line feed and without a program's name before it.

#ifndef HALVORIX_LAB_MACHINE_H
#define HALVORIX_LAB_MACHINE_H

#include "platform/PropertyList.h"

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace lab {

// An event record as it is posted.
struct TEvent
{
    std::int32_t type = 3;
    bool flagGiven = false;   // false: the queue-empty flag is computed when the record is fetched
    std::uint32_t flag = 0;   // the queue-empty flag when it is given
    std::string name;         // bytes 112 to 127, at most 16; shorter ones are padded with zeros
    std::string head;         // bytes 4 to 11, at most 8, padded likewise
    std::string payload;      // bytes 16 to 111, at most 96, padded likewise
};

// One line of what the driver was asked.
struct TDriverCall
{
    double seconds = 0;   // monotonic clock
    pid_t process = 0;
    std::string what;   // "open", "close", "method 0", "method 18 -28800", "method 21 1" ...
};

// One line of the log of tools.
struct TToolRun
{
    double seconds = 0;   // monotonic clock
    pid_t process = 0;
    std::string path;                     // the path that was executed
    std::vector<std::string> arguments;   // argv, argv[0] included
};

// What init knows of a process that it started.
struct TProcess
{
    pid_t process = 0;
    std::string name;
    std::string state;   // "running", "exited STATUS", "killed SIGNAL"
};

// What a process asks of init.
struct TStart
{
    std::string name;                       // as ps shows it
    std::string path;                       // empty: an idle program
    std::vector<std::string> arguments;     // argv[1] on
    std::vector<std::string> environment;   // NAME=VALUE, beside init's own
    std::string output;                     // a file for standard output and error; empty: /dev/null
};

// A mounted volume.
struct TMount
{
    std::string bsdName;
    std::string path;                   // "/Volumes/Backup"; "/" for the start-up volume
    int number = 0;                     // the volume reference number: -100 for the start-up volume, then downwards
    std::vector<std::string> options;   // what the mount was asked for
};

class TMachine
{
public:
    // folder  the machine's folder; inside the sandbox always "/machine"
    explicit TMachine(std::string folder = "/machine");

    const std::string& Folder() const { return fFolder; }

    // The file with this path below the folder, whole; empty when there is none.
    std::string ReadText(const std::string& file) const;
    // Replaces the file by rename; the folders above it must exist.
    std::string WriteText(const std::string& file, const std::string& text) const;
    // Removes the file; one that is not there is no error.
    void Remove(const std::string& file) const;

    // Driver
    bool DriverIsLoaded() const;
    std::string LoadDriver();     // fails when it is loaded
    std::string UnloadDriver();   // fails when it is not loaded
    // Posts all records under one lock, in order. Fails when the driver is not loaded, when a text is too long (nothing is
    // posted then), or when the queue is full: those that found no room are dropped and counted, as the driver does.
    std::string PostEvents(const std::vector<TEvent>& events);
    std::size_t WaitingEvents() const;   // posted and not fetched yet
    std::vector<TEvent> Queue() const;   // those, oldest first, each text with its padding
    std::size_t DroppedEvents() const;
    std::vector<TDriverCall> DriverCalls() const;

    // The 128 bytes that a fetch of this record hands out on this host, with this queue-empty flag.
    static std::string RecordBytes(const TEvent& event, std::uint32_t flag);

    // Tools
    std::vector<TToolRun> ToolRuns() const;
    std::string SetToolMissing(const std::string& tool, bool missing);
    // lines as lab/README.md lists them; empty text lets the tool work again
    std::string SetToolBehaviour(const std::string& tool, const std::string& lines);

    // Processes; these need a running machine
    bool IsRunning() const;   // whether init lives
    std::string Start(const TStart& start, pid_t* process);
    std::string Signal(pid_t process, int number);
    std::vector<TProcess> Processes() const;

    // Media in the I/O Registry
    // Adds an IOMedia entry with this BSD name below the entry with the other name ("" = below Root).
    std::string AddMedium(const std::string& bsdName, const std::string& below, std::uint64_t size, bool whole);
    // Removes it and what is below it, from the device tree as well. Their volumes' folders and mounts stay.
    std::string RemoveMedium(const std::string& bsdName);

    // The I/O Registry. An entry is named by its BSD name or else by its IORegistryEntryName (the first such; "Root" is
    // the root). An entry that stands in the device tree, too, has the same properties there.
    std::string AddEntry(const std::string& below, const std::string& className, const std::string& name,
                         const plist::TValue& properties = plist::TValue::Dictionary());
    std::string SetProperty(const std::string& entry, const std::string& key, const plist::TValue& value);
    std::string RemoveProperty(const std::string& entry, const std::string& key);   // fails when it has none
    // "IOService:/..." as IORegistryEntryFromPath takes it: the root and the computer's own entry below it have no part in
    // it. Empty when no entry has the name or it does not stand below the computer's own.
    std::string EntryPath(const std::string& entry) const;
    // The device tree, by path: "/", "/options", "/pci@f4000000/ata-6@D".
    std::string SetDeviceTreeProperty(const std::string& path, const std::string& key, const plist::TValue& value);
    std::string RemoveDeviceTreeProperty(const std::string& path, const std::string& key);
    // A property of "/options" as text: a truth is "true" or "false", a number decimal. Empty when there is none.
    std::string FirmwareVariable(const std::string& name) const;

    // Volumes
    // Makes the volume's folder and a volume.plist with these, Owners, Journaled (on HFS) and Indexed true, and on HFS an
    // identifier and a UUID of its own, on UFS a UUID. What was there before is erased. Needs no medium and mounts nothing.
    std::string AddVolume(const std::string& bsdName, const std::string& name, const std::string& kind = "hfs");
    plist::TValue Volume(const std::string& bsdName) const;   // volume.plist; an empty dictionary when there is none
    std::string SetVolumeProperty(const std::string& bsdName, const std::string& key, const plist::TValue& value);
    std::string RemoveVolumeProperty(const std::string& bsdName, const std::string& key);   // fails when it has none
    std::string VolumeFiles(const std::string& bsdName) const;                              // the folder with its files
    std::vector<TMount> Mounts() const;                        // by number, the start-up volume first
    std::string MountPath(const std::string& bsdName) const;   // empty when it is not mounted
    // These ask init and need a running machine. What Disk Arbitration is to refuse is not refused to them.
    std::string MountVolume(const std::string& bsdName, const std::vector<std::string>& options = {});
    std::string UnmountVolume(const std::string& bsdName, bool force = false);
    std::string RenameVolume(const std::string& bsdName, const std::string& name);
    // lines as lab/README.md lists them; empty text: nothing is refused any more
    std::string SetRefusals(const std::string& bsdName, const std::string& lines);

private:
    std::string fFolder;
};

// The command that executes a program of the product inside the sandbox: the program itself, or the copy of the emulator
// named for it with its arguments. The first element is the path to execute, the rest argv from argv[0] on.
std::vector<std::string> CommandFor(const std::string& path, const std::vector<std::string>& arguments);

}   // namespace lab

#endif
