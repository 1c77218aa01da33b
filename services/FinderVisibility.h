// Hiding files and folders from the Finder, and having it look at them again.

#ifndef HALVORIX_SERVICES_FINDERVISIBILITY_H
#define HALVORIX_SERVICES_FINDERVISIBILITY_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Marks a file or folder as changed, so that the Finder looks at it again: its content-modification date becomes now, and
// the folder is announced as modified, or, for a file, the folder that the file is in.
//
// item     a file or folder
// returns  1, or 0 when a call of the File Manager failed
//
// The seconds always change: if they are what they were, one more is taken. What seconds hold in 48 bits, a high half of
// 16 and a low half of 32, is carried: 0 and 0xFFFFFFFF becomes 1 and 0.
UInt32 BumpDateWithFSRef(const FSRef* item);

// Hides a file or folder from the Finder, and has the Finder look at the folder that it is in.
//
// pathname   a path in UTF-8
// invisible  true: the flag kIsInvisible (0x4000 in Apple's Finder.h) is set, the others stay as they are. false: all
//            others are cleared and that one stays as it is; what is hidden is not shown again. 0x4100 becomes 0x4000,
//            0x0100 becomes 0
// returns    1, or 0 when a call of the File Manager failed
//
// The rest of the Finder information, such as type and creator, stays. The name is spelt as callers know it.
UInt32 MakeDirectoryOrFileInisible(const char* pathname, Boolean invisible);
}

#endif
