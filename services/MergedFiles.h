// Joining small files.

#ifndef HALVORIX_SERVICES_MERGEDFILES_H
#define HALVORIX_SERVICES_MERGEDFILES_H

#include <CoreServices/CoreServices.h>

#include <sys/types.h>

extern "C" {

// Writes the first file's bytes, a text and the second file's bytes into one file.
//
// firstPath   a file, or null: nothing
// middleText  a C string, written without its NUL, or null: nothing
// secondPath  a file, or null: nothing
// outputPath  the file to write: created, or emptied first when it is there. It may be one of the two
// mode        its permissions when it is created, but for those that the umask takes; 0 means 0644
// returns     1 when all was written; 0 when a file could not be read or written, and when all together is more than
//             4,096 bytes
//
// Both files are read before the output is opened: as long as one of them cannot be read, or all is too long, the output
// stays as it is. It is written with one write(2); if that falls short, what it took stays written.
UInt32 MergeFiles(const char* firstPath, const char* middleText, const char* secondPath, const char* outputPath,
                  mode_t mode);
}

#endif
