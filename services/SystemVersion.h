// Which Mac OS X is installed on a volume.

#ifndef HALVORIX_SERVICES_SYSTEMVERSION_H
#define HALVORIX_SERVICES_SYSTEMVERSION_H

#include <CoreServices/CoreServices.h>

extern "C" {

// Reads the version of the system on a volume from "ProductVersion" of System/Library/CoreServices/SystemVersion.plist,
// or of ServerVersion.plist beside it when there is no such file.
//
// version     receives the version as ConvertStringToNumVersion makes it of the text: "10.4.11" is 0x104B8000; 0 when
//             it is not known
// volumePath  where the volume is mounted, with a slash at the end or without one: "/", "/Volumes/Data". With what is
//             appended it takes less than 1,024 bytes; a longer one has no version
// returns     version, which is the caller's own and never null
//
// The version is not known when neither file is there, when the one that was chosen cannot be read whole or is no
// property list, and when its "ProductVersion" is missing, no string, longer than 15 bytes in the system's encoding or
// no version. A SystemVersion.plist that is there but of no use does not make the other one count.
NumVersion* ReturnSystemVersionOnVolume(NumVersion* version, const char* volumePath);
}

#endif
