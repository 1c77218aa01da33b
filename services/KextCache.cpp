#include "services/KextCache.h"

#include "foundation/NumVersions.h"   // ReturnNumberOfNumVersion
#include "services/ChildProcess.h"    // RunAndTellSuccess
#include "services/SystemVersion.h"   // ReturnSystemVersionOnVolume

// 10.5 without a stage: below every version 10.5 that is written as text.
static const UInt32 kFirstVersionWithUpdate = 0x10500000;

static bool SystemCanUpdate(const char* volumePath)
{
    NumVersion version;
    return ReturnNumberOfNumVersion(*ReturnSystemVersionOnVolume(&version, volumePath)) >= kFirstVersionWithUpdate;
}

UInt32 UpdateAppleBootPartitionsMKextCacheForVolume(const char* volumePath)
{
    if (!SystemCanUpdate(volumePath) || !SystemCanUpdate("/"))
        return 1;
    const char* const arguments[] = {"kextcache", "-f", "-u", volumePath, nullptr};
    return RunAndTellSuccess({"/usr/sbin/kextcache", arguments, kKeepUser, kKeepOutput, kExitWithZero});
}
