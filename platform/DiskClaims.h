// Which session has which disk to itself.

#ifndef HALVORIX_PLATFORM_DISKCLAIMS_H
#define HALVORIX_PLATFORM_DISKCLAIMS_H

#include <DiskArbitration/DASession.h>

namespace platform {

// Gives up whatever the session claimed, before it is gone.
void DropClaimsOf(DASessionRef session);

}   // namespace platform

#endif
