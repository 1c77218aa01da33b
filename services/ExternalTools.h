// What the system's command-line tools do to a volume or to files: journaling, Spotlight indexing, ownership, copying and
// removing.
//
// Each call runs one tool as a child and blocks until it has ended; there is no time-out, and nothing is logged. Paths
// are passed on as they are: the tool sees the same bytes. How a tool's end is read:
//
//     tool                     exit 0    other exit    signal    cannot be forked or waited for    cannot be executed
//     diskutil, mdutil, rm     1         0             0         0                                 1, in the child
//     cp                       1         0             1         0                                 1
//     vsdbutil                 its ID    its ID        its ID    -1                                its ID
//
// "In the child": when diskutil, mdutil or rm cannot be executed, the child returns 1 from the function as well, and the
// caller's code runs in two processes from there on (in the caller, the result is how the child ends in the end). Who
// must not be doubled compares getpid() with its value from before the call, and ends the child with _exit:
//
//     const pid_t caller = getpid();
//     const UInt32 enabled = EnableJournaling("/Volumes/Data");
//     if (getpid() != caller)
//         _exit(0);
//
// What diskutil and mdutil print is taken with one read of at most 256 bytes, before they are waited for, and the rest
// is never read: a tool that prints more than that and the pipe hold together, 64 KB and 256 bytes at most on a Mac and on
// Linux, blocks, and the call with it.

#ifndef HALVORIX_SERVICES_EXTERNALTOOLS_H
#define HALVORIX_SERVICES_EXTERNALTOOLS_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Give the volume a journal, or take it away: /usr/sbin/diskutil enableJournal or disableJournal, with the caller's
// rights.
//
// volumePath  where the volume is mounted: "/Volumes/Data"
// returns     1 when diskutil exited with 0, or else 0
UInt32 EnableJournaling(const char* volumePath);
UInt32 DisableJournaling(const char* volumePath);

// The same by a flag.
//
// volumePath  where the volume is mounted
// enable      0 disables; anything else enables
// returns     1 when diskutil exited with 0, or else 0
UInt32 SetJournaling(const char* volumePath, UInt32 enable);

// Let Spotlight index the volume, or stop it: /usr/bin/mdutil -i on or off, as root.
//
// volumePath  where the volume is mounted
// returns     1 when mdutil exited with 0, or else 0; 0 without a child when there is no mdutil (10.3 has none)
UInt32 EnableIndexing(const char* volumePath);
UInt32 DisableIndexing(const char* volumePath);

// The same by a flag.
//
// volumePath  where the volume is mounted
// enable      0 disables; anything else enables
// returns     1 when mdutil exited with 0, or else 0; 0 without a child when there is no mdutil
UInt32 SetIndexing(const char* volumePath, UInt32 enable);

// Tells whether Spotlight indexes the volume, by what /usr/bin/mdutil -s prints, run as root.
//
// volumePath  where the volume is mounted
// returns     1 when mdutil exited with 0 and the word "Enabled" stands, in just this case, in the bytes that were read;
//             0 otherwise, also without a child when there is no mdutil
//
// Only the first 256 bytes are looked at, and of those only what one read delivered: a word that stands behind them, or
// across their end, is not found. A NUL byte ends the text.
UInt32 ReturnIndexingState(const char* volumePath);

// Has the system honour the owners and permissions of the volume's files: /usr/sbin/vsdbutil -a, as root.
//
// volumePath  where the volume is mounted
// returns     the child's process ID, whatever became of it: no success flag. -1 when it could not be forked or waited
//             for
SInt32 EnableOwnershipAndPermissions(const char* volumePath);

// Copies a file, or a folder with all that is in it: /bin/cp -rf.
//
// source       a path
// destination  a path; when it is a folder, the copy goes into it
// returns      1 when cp exited with 0 and also when a signal killed it, unlike all the others; or else 0
UInt32 CopyDirectoryOrFile(const char* source, const char* destination);

// Removes a file, or a folder with all that is in it: /bin/rm -rf.
//
// path     a symbolic link is removed, and what it leads to is not; but one that leads nowhere does not exist
// returns  1 when rm exited with 0, or else 0; 0 without a child when there is nothing at the path
UInt32 RemoveDirectoryOrFile(const char* path);
}

#endif
