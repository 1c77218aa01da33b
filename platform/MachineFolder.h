// The folder that holds the machine: where it stands, and how its files are read.

#ifndef HALVORIX_PLATFORM_MACHINEFOLDER_H
#define HALVORIX_PLATFORM_MACHINEFOLDER_H

#include <string>
#include <sys/types.h>

namespace platform {

constexpr char kMachineFolder[] = "/machine";

// "/machine/" and the name.
std::string MachinePath(const std::string& name);

// Holds a descriptor and closes it.
class TDescriptor
{
public:
    explicit TDescriptor(int descriptor = -1) : fDescriptor(descriptor) {}
    ~TDescriptor();
    TDescriptor(const TDescriptor&) = delete;
    TDescriptor& operator=(const TDescriptor&) = delete;

    int Get() const { return fDescriptor; }
    explicit operator bool() const { return fDescriptor >= 0; }

private:
    int fDescriptor;
};

// What is left of the file, up to its end or the first error.
std::string ReadWholeFile(int descriptor);

// Reads a file of the machine whole. Returns false, and leaves the text empty, when there is no such file.
bool ReadText(const std::string& name, std::string* text);

// Reads the signed decimal number that a file of the machine begins with. Returns false when there is no such file; a
// file without a number leaves it as it was.
bool ReadNumber(const std::string& name, long long* number);

// Replaces a file of the machine by rename. Returns whether that was done.
bool ReplaceFile(const std::string& name, const std::string& text);

// The same for a file anywhere.
bool ReplaceFileAt(const std::string& path, const std::string& text);

// Appends the line and a line feed to a file of the machine, by one write. Where the folder for it is
// missing, nothing is done.
void AppendLine(const std::string& name, const std::string& line);

// The same, with the seconds of the monotonic clock and this process's ID before it: "12.345678 70 LINE".
void AppendLogLine(const std::string& name, const std::string& line);

}   // namespace platform

#endif
