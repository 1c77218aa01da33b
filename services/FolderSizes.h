// How much the files of a folder hold.

#ifndef HALVORIX_SERVICES_FOLDERSIZES_H
#define HALVORIX_SERVICES_FOLDERSIZES_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Adds up the data and resource forks of all files in a folder and in the folders below it.
//
// totalBytes     receives the sum in bytes, when 0 is returned; untouched otherwise
// folder         the folder
// physicalSizes  true: what the forks occupy on the disk; false: how long they are
// returns        0, kStatusOutOfMemory, or the status of the File Manager's call that failed
//
// The walk ends well only when FSGetCatalogInfoBulk, asked for 256 items at a time, returns no error and no item. Any
// status but 0 ends it at once and is the result, with errFSNoMoreItems (-1417), which Apple's File Manager reports at
// the end, no exception; what came with that status is not added. So where the end is told by a status, as for an empty
// folder it is at once, the sum is never written.
OSStatus FolderSize(UInt64* totalBytes, const FSRef* folder, Boolean physicalSizes);
}

#endif
