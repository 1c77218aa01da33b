// Who owns a file.

#ifndef HALVORIX_SERVICES_FILEOWNERSHIP_H
#define HALVORIX_SERVICES_FILEOWNERSHIP_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Gives a file or folder to the user who runs this process, by the real user ID. Its group stays.
//
// pathname  a path; what a symbolic link leads to is meant
// returns   1, also when the file system knows no owners (ENOTSUP, 45 on a Mac); 0 when there is nothing at the path or
//           the owner could not be changed
UInt32 RestoreFileOrDirectoryOwnership(const char* pathname);
}

#endif
