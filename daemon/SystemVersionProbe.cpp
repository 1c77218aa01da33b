#include "daemon/SystemVersionProbe.h"

#include "foundation/NumVersions.h"   // ReturnNumberOfNumVersion
#include "services/SystemVersion.h"   // ReturnSystemVersionOnVolume

bool SystemIsNewerThan(UInt32 highest, const char* volumePath)
{
    NumVersion version;
    return ReturnNumberOfNumVersion(*ReturnSystemVersionOnVolume(&version, volumePath)) > highest;
}
