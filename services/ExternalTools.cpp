#include "services/ExternalTools.h"

#include "services/ChildProcess.h"

#include <cstddef>
#include <cstring>
#include <sys/stat.h>

static const char kDiskutil[] = "/usr/sbin/diskutil";
static const char kMdutil[] = "/usr/bin/mdutil";

// How much of what a tool prints is read.
static const std::size_t kTextCapacity = 256;

static bool Exists(const char* path)
{
    struct stat info;
    return stat(path, &info) == 0;
}

// Runs a tool that prints to a pipe, and reads from that once.
//
// wanted   what must stand in the bytes that were read, or null when they do not matter
// returns  1 when the tool exited with 0 and printed what is wanted, and in a child that could not execute it
static UInt32 RunAndReadOnce(const TCommand& command, const char* wanted)
{
    TChildProcess child;
    const EChildStart started = child.Start(command);
    if (started != kChildStarted)
        return started == kInChild;

    char text[kTextCapacity + 1];
    // In this order, though a tool that prints more than the pipe holds never ends: what is read is the first piece alone.
    text[child.Read(text, kTextCapacity)] = 0;
    if (!child.WaitForSuccess())
        return 0;
    return wanted == nullptr || strstr(text, wanted) != nullptr;
}

UInt32 SetJournaling(const char* volumePath, UInt32 enable)
{
    const char* const arguments[] = {"diskutil", enable != 0 ? "enableJournal" : "disableJournal", volumePath, nullptr};
    return RunAndReadOnce({kDiskutil, arguments, kKeepUser, kPipeOutput, kReturnToCaller}, nullptr);
}

UInt32 EnableJournaling(const char* volumePath)
{
    return SetJournaling(volumePath, 1);
}

UInt32 DisableJournaling(const char* volumePath)
{
    return SetJournaling(volumePath, 0);
}

// Runs mdutil, where there is one, as RunAndReadOnce does.
static UInt32 RunMdutil(const char* const* arguments, const char* wanted)
{
    if (!Exists(kMdutil))
        return 0;
    return RunAndReadOnce({kMdutil, arguments, kBecomeRoot, kPipeOutput, kReturnToCaller}, wanted);
}

UInt32 SetIndexing(const char* volumePath, UInt32 enable)
{
    const char* const arguments[] = {"mdutil", "-i", enable != 0 ? "on" : "off", volumePath, nullptr};
    return RunMdutil(arguments, nullptr);
}

UInt32 EnableIndexing(const char* volumePath)
{
    return SetIndexing(volumePath, 1);
}

UInt32 DisableIndexing(const char* volumePath)
{
    return SetIndexing(volumePath, 0);
}

UInt32 ReturnIndexingState(const char* volumePath)
{
    const char* const arguments[] = {"mdutil", "-s", volumePath, nullptr};
    return RunMdutil(arguments, "Enabled");
}

SInt32 EnableOwnershipAndPermissions(const char* volumePath)
{
    const char* const arguments[] = {"vsdbutil", "-a", volumePath, nullptr};
    TChildProcess child;
    if (child.Start({"/usr/sbin/vsdbutil", arguments, kBecomeRoot, kKeepOutput, kExitWithZero}) != kChildStarted)
        return -1;
    return child.Wait(nullptr);
}

UInt32 CopyDirectoryOrFile(const char* source, const char* destination)
{
    const char* const arguments[] = {"cp", "-rf", source, destination, nullptr};
    TChildProcess child;
    if (child.Start({"/bin/cp", arguments, kKeepUser, kKeepOutput, kExitWithZero}) != kChildStarted)
        return 0;
    int status = 0;
    if (child.Wait(&status) == -1)
        return 0;
    // The exit code alone is looked at, which is 0 after a signal as well.
    return (status & ~0xFF) == 0;
}

UInt32 RemoveDirectoryOrFile(const char* path)
{
    if (!Exists(path))
        return 0;
    const char* const arguments[] = {"rm", "-rf", path, nullptr};
    return RunAndTellSuccess({"/bin/rm", arguments, kKeepUser, kKeepOutput, kReturnToCaller});
}
