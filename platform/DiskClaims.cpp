#include "platform/DiskClaims.h"

#include "platform/DiskRequests.h"
#include "platform/Dissenters.h"
#include "platform/MachineLock.h"
#include "platform/Objects.h"
#include "platform/Volumes.h"

#include <cerrno>
#include <csignal>
#include <map>
#include <mutex>
#include <unistd.h>

using namespace platform;

// A claim of a session of this process. What other processes claimed stands in the machine's folder alone.
struct TClaim
{
    DASessionRef session = nullptr;
    DADiskClaimReleaseCallback release = nullptr;
    void* context = nullptr;
};

// Never destroyed: threads may claim until the process ends.
struct TClaims
{
    std::mutex lock;
    std::map<std::string, TClaim> byName;   // by BSD name
};

static TClaims& Claims()
{
    static auto* const gClaims = new TClaims;
    return *gClaims;
}

static std::string FileOf(const std::string& bsdName)
{
    return "claims/" + bsdName;
}

// Whether a process that lives has the disk, and is not this one.
static bool IsHeldElsewhere(const std::string& bsdName)
{
    long long process = 0;
    if (!ReadNumber(FileOf(bsdName), &process) || process <= 0 || process == getpid())
        return false;
    return kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
}

// Records that this process has the disk, unless another has it.
static DAReturn Record(const std::string& bsdName)
{
    const TMachineLock lock;
    if (IsHeldElsewhere(bsdName))
        return kDAReturnExclusiveAccess;
    return ReplaceFile(FileOf(bsdName), std::to_string(getpid()) + "\n") ? kDAReturnSuccess : kDAReturnError;
}

static void Erase(const std::string& bsdName)
{
    const TMachineLock lock;
    if (!IsHeldElsewhere(bsdName))
        unlink(MachinePath(FileOf(bsdName)).c_str());
}

// The claim of a session of this process on the disk; without a session when there is none.
static TClaim Find(const std::string& bsdName)
{
    TClaims& claims = Claims();
    const std::lock_guard<std::mutex> hold(claims.lock);
    const auto found = claims.byName.find(bsdName);
    return found != claims.byName.end() ? found->second : TClaim{};
}

// Asks the session that has the disk to give it up.
static DAReturn Ask(const TClaim& holder, const TMedium& medium)
{
    if (holder.release == nullptr)
        return kDAReturnExclusiveAccess;
    const TReference disk(MakeDisk(holder.session, medium));
    const TReference dissenter(holder.release(static_cast<DADiskRef>(const_cast<void*>(disk.Get())), holder.context));
    return dissenter ? DADissenterGetStatus(static_cast<DADissenterRef>(dissenter.Get())) : kDAReturnSuccess;
}

static DAReturn Take(const TMedium& medium, const TClaim& claim)
{
    const TRefusals refusals = ReadRefusals(medium.bsdName);
    const auto refusal = refusals.reasons.find("claim");
    const std::shared_ptr<const TRegistry> registry = TRegistry::Current();
    if (!medium.isNamed || EntryOf(*registry, medium) == nullptr)
        return kDAReturnNotFound;
    if (refusal != refusals.reasons.end())
        return StatusNamed(refusal->second);

    // Asked without the lock: the callback may claim or give up itself.
    const TClaim holder = Find(medium.bsdName);
    DAReturn status = kDAReturnSuccess;
    if (holder.session != nullptr && holder.session != claim.session)
        status = Ask(holder, medium);
    if (status == kDAReturnSuccess)
        status = Record(medium.bsdName);
    if (status == kDAReturnSuccess) {
        TClaims& claims = Claims();
        const std::lock_guard<std::mutex> hold(claims.lock);
        claims.byName[medium.bsdName] = claim;
    }
    return status;
}

void DADiskClaim(DADiskRef disk, DADiskClaimOptions options, DADiskClaimReleaseCallback release, void* releaseContext,
                 DADiskClaimCallback callback, void* callbackContext)
{
    const TMedium medium = MediumOf(disk);
    const DASessionRef session = SessionOf(disk);
    const DAReturn status =
        options == kDADiskClaimOptionDefault ? Take(medium, {session, release, releaseContext}) : kDAReturnUnsupported;
    RequestsOf(session).Answer(medium, status, {callback, callbackContext});
}

Boolean DADiskIsClaimed(DADiskRef disk)
{
    const std::string& name = MediumOf(disk).bsdName;
    return Find(name).session != nullptr || IsHeldElsewhere(name);
}

void DADiskUnclaim(DADiskRef disk)
{
    const std::string name = MediumOf(disk).bsdName;
    if (Find(name).session != SessionOf(disk))
        return;
    {
        TClaims& claims = Claims();
        const std::lock_guard<std::mutex> hold(claims.lock);
        claims.byName.erase(name);
    }
    Erase(name);
}

void platform::DropClaimsOf(DASessionRef session)
{
    std::vector<std::string> dropped;
    {
        TClaims& claims = Claims();
        const std::lock_guard<std::mutex> hold(claims.lock);
        for (auto claim = claims.byName.begin(); claim != claims.byName.end();) {
            if (claim->second.session != session) {
                ++claim;
                continue;
            }
            dropped.push_back(claim->first);
            claim = claims.byName.erase(claim);
        }
    }
    for (const std::string& name : dropped)
        Erase(name);
}
