// The lock of the machine folder, for who reads a file, changes it and writes it back.

#ifndef HALVORIX_PLATFORM_MACHINELOCK_H
#define HALVORIX_PLATFORM_MACHINELOCK_H

#include "platform/MachineFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace platform {

// Waits for the lock, and holds it as long as it lives.
class TMachineLock
{
public:
    TMachineLock() : fFile(open(MachinePath("lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {
        // Closing the file gives the lock back.
        while (fFile && flock(fFile.Get(), LOCK_EX) != 0 && errno == EINTR) {
        }
    }

private:
    const TDescriptor fFile;
};

}   // namespace platform

#endif
