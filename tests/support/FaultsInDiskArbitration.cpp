// The functions of Disk Arbitration in the table of faults.

#include "tests/support/FaultTable.h"

#include <DiskArbitration/DiskArbitration.h>
#include <mutex>
#include <vector>

// A callback that the product registered, called as the product. Never freed: its session may call as long as it lives.
struct TRegistered
{
    DADiskAppearedCallback callback;
    void* context;
};

static TRegistered* Registered(DADiskAppearedCallback callback, void* context)
{
    static auto* const all = new std::vector<TRegistered*>;
    static auto* const lock = new std::mutex;
    const std::lock_guard<std::mutex> hold(*lock);
    all->push_back(new TRegistered{callback, context});
    return all->back();
}

static void CallAsProduct(DADiskRef disk, void* registered)
{
    const TOutside outside;
    const auto* const real = static_cast<TRegistered*>(registered);
    real->callback(disk, real->context);
}

// What a sweep asks for when a request is to fail: nobody knows the option, so that Disk Arbitration dissents.
static const UInt32 kRefusedOption = 1;

extern "C" {

static TListed kDADiskClaim("DADiskClaim", kNeverFails);
void __real_DADiskClaim(DADiskRef, DADiskClaimOptions, DADiskClaimReleaseCallback, void*, DADiskClaimCallback, void*);
void __wrap_DADiskClaim(DADiskRef disk, DADiskClaimOptions options, DADiskClaimReleaseCallback release,
                        void* releaseContext, DADiskClaimCallback callback, void* context)
{
    Call(kDADiskClaim, __real_DADiskClaim, disk, options, release, releaseContext, callback, context);
}

static TListed kDADiskCopyDescription("DADiskCopyDescription", Fails(0));
CFDictionaryRef __real_DADiskCopyDescription(DADiskRef);
CFDictionaryRef __wrap_DADiskCopyDescription(DADiskRef disk)
{
    return Call(kDADiskCopyDescription, __real_DADiskCopyDescription, disk);
}

static TListed kDADiskCopyIOMedia("DADiskCopyIOMedia", Fails(0));
io_service_t __real_DADiskCopyIOMedia(DADiskRef);
io_service_t __wrap_DADiskCopyIOMedia(DADiskRef disk)
{
    return Call(kDADiskCopyIOMedia, __real_DADiskCopyIOMedia, disk);
}

static TListed kDADiskCreateFromBSDName("DADiskCreateFromBSDName", Fails(0));
DADiskRef __real_DADiskCreateFromBSDName(CFAllocatorRef, DASessionRef, const char*);
DADiskRef __wrap_DADiskCreateFromBSDName(CFAllocatorRef allocator, DASessionRef session, const char* name)
{
    return Call(kDADiskCreateFromBSDName, __real_DADiskCreateFromBSDName, allocator, session, name);
}

static TListed kDADiskGetBSDName("DADiskGetBSDName", Fails(0));
const char* __real_DADiskGetBSDName(DADiskRef);
const char* __wrap_DADiskGetBSDName(DADiskRef disk)
{
    return Call(kDADiskGetBSDName, __real_DADiskGetBSDName, disk);
}

static TListed kDADiskMount("DADiskMount", kFailsInItsWay);
void __real_DADiskMount(DADiskRef, CFURLRef, DADiskMountOptions, DADiskMountCallback, void*);
void __wrap_DADiskMount(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback,
                        void* context)
{
    if (SweepFails(kDADiskMount))
        options = kRefusedOption;
    Call(kDADiskMount, __real_DADiskMount, disk, path, options, callback, context);
}

static TListed kDADiskMountWithArguments("DADiskMountWithArguments", kFailsInItsWay);
void __real_DADiskMountWithArguments(DADiskRef, CFURLRef, DADiskMountOptions, DADiskMountCallback, void*, CFStringRef*);
void __wrap_DADiskMountWithArguments(DADiskRef disk, CFURLRef path, DADiskMountOptions options,
                                     DADiskMountCallback callback, void* context, CFStringRef* arguments)
{
    if (SweepFails(kDADiskMountWithArguments))
        options = kRefusedOption;
    Call(kDADiskMountWithArguments, __real_DADiskMountWithArguments, disk, path, options, callback, context, arguments);
}

static TListed kDADiskRename("DADiskRename", kFailsInItsWay);
void __real_DADiskRename(DADiskRef, CFStringRef, DADiskRenameOptions, DADiskRenameCallback, void*);
void __wrap_DADiskRename(DADiskRef disk, CFStringRef name, DADiskRenameOptions options, DADiskRenameCallback callback,
                         void* context)
{
    if (SweepFails(kDADiskRename))
        options = kRefusedOption;
    Call(kDADiskRename, __real_DADiskRename, disk, name, options, callback, context);
}

static TListed kDADiskUnmount("DADiskUnmount", kFailsInItsWay);
void __real_DADiskUnmount(DADiskRef, DADiskUnmountOptions, DADiskUnmountCallback, void*);
void __wrap_DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context)
{
    if (SweepFails(kDADiskUnmount))
        options = kRefusedOption;
    Call(kDADiskUnmount, __real_DADiskUnmount, disk, options, callback, context);
}

static TListed kDARegisterAppeared("DARegisterDiskAppearedCallback", kNeverFails);
void __real_DARegisterDiskAppearedCallback(DASessionRef, CFDictionaryRef, DADiskAppearedCallback, void*);
void __wrap_DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                           void* context)
{
    Call(kDARegisterAppeared, __real_DARegisterDiskAppearedCallback, session, match, &CallAsProduct,
         static_cast<void*>(Registered(callback, context)));
}

static TListed kDARegisterDisappeared("DARegisterDiskDisappearedCallback", kNeverFails);
void __real_DARegisterDiskDisappearedCallback(DASessionRef, CFDictionaryRef, DADiskDisappearedCallback, void*);
void __wrap_DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match,
                                              DADiskDisappearedCallback callback, void* context)
{
    Call(kDARegisterDisappeared, __real_DARegisterDiskDisappearedCallback, session, match, &CallAsProduct,
         static_cast<void*>(Registered(callback, context)));
}

static TListed kDASessionCreate("DASessionCreate", Fails(0));
DASessionRef __real_DASessionCreate(CFAllocatorRef);
DASessionRef __wrap_DASessionCreate(CFAllocatorRef allocator)
{
    return Call(kDASessionCreate, __real_DASessionCreate, allocator);
}

static TListed kDASessionSchedule("DASessionScheduleWithRunLoop", kNeverFails);
void __real_DASessionScheduleWithRunLoop(DASessionRef, CFRunLoopRef, CFStringRef);
void __wrap_DASessionScheduleWithRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef mode)
{
    Call(kDASessionSchedule, __real_DASessionScheduleWithRunLoop, session, runLoop, mode);
}

static TListed kDASessionUnschedule("DASessionUnscheduleFromRunLoop", kNeverFails);
void __real_DASessionUnscheduleFromRunLoop(DASessionRef, CFRunLoopRef, CFStringRef);
void __wrap_DASessionUnscheduleFromRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef mode)
{
    Call(kDASessionUnschedule, __real_DASessionUnscheduleFromRunLoop, session, runLoop, mode);
}
}
