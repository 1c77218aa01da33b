// What the stand-ins of Apple's tools share: which tools there are, what they ask of the machine, and how they complain.

#ifndef HALVORIX_LAB_TOOLS_TOOL_H
#define HALVORIX_LAB_TOOLS_TOOL_H

#include "lab/Machine.h"

#include <functional>
#include <string>
#include <vector>

namespace tools {

using TWords = std::vector<std::string>;

// Does a tool's work on the machine. words are its argv from argv[1] on. Returns the exit status.
using TWork = int (*)(lab::TMachine& machine, const TWords& words);

// The work of the tool with this name; null when the lab cannot do it.
TWork FindWork(const std::string& tool);

// One for each tool, named for it.
int Bless(lab::TMachine& machine, const TWords& words);
int Diskutil(lab::TMachine& machine, const TWords& words);
int HfsUtil(lab::TMachine& machine, const TWords& words);
int Kextcache(lab::TMachine& machine, const TWords& words);
int Mdutil(lab::TMachine& machine, const TWords& words);
int Newfs(lab::TMachine& machine, const TWords& words);
int NewfsHfs(lab::TMachine& machine, const TWords& words);
int Nvram(lab::TMachine& machine, const TWords& words);
int Vsdbutil(lab::TMachine& machine, const TWords& words);

// Prints "TOOL: WHY" on standard error and returns the status.
int Refuse(const std::string& tool, const std::string& why, int status = 1);

// The system on the start-up volume, as its SystemVersion.plist gives it; empty when that cannot be read.
std::string SystemVersion(const lab::TMachine& machine);
// Whether that is 10.5 or later. What later systems do is not looked at.
bool SystemIsLeopard(const lab::TMachine& machine);

// The BSD name in "/dev/disk0s3", "/dev/rdisk0s3" and "disk0s3", whether or not there is such a disk; empty for other paths.
std::string DiskOfNode(const std::string& node);

// Whether the I/O Registry has a medium with this BSD name.
bool IsDisk(const lab::TMachine& machine, const std::string& bsdName);

// The mounted volume that holds the path, with symbolic links followed; its bsdName is empty when there is no such path.
// within, when not null, receives the path on that volume, without a slash at its beginning; empty for its root.
lab::TMount MountHolding(const lab::TMachine& machine, const std::string& path, std::string* within = nullptr);

// The disk that a person means by a device node, a BSD name or the path of a mount point; empty when it is none of these.
std::string DiskOfVolume(const lab::TMachine& machine, const std::string& volume);

// Changes the volume's properties under the machine's lock and writes them at once. Returns an empty text, or one line that
// says what failed: there is no such volume, its medium cannot be written.
std::string ChangeVolume(const lab::TMachine& machine, const std::string& bsdName,
                         const std::function<void(plist::TValue*)>& change);

// Whether the volume's or the disk's medium cannot be written.
bool IsReadOnly(const lab::TMachine& machine, const std::string& bsdName);

}   // namespace tools

#endif
