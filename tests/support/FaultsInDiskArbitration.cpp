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

extern "C" {

static TListed kDADiskClaim("DADiskClaim");
void __real_DADiskClaim(DADiskRef, DADiskClaimOptions, DADiskClaimReleaseCallback, void*, DADiskClaimCallback, void*);
void __wrap_DADiskClaim(DADiskRef disk, DADiskClaimOptions options, DADiskClaimReleaseCallback release,
                        void* releaseContext, DADiskClaimCallback callback, void* context)
{
    Call(kDADiskClaim, __real_DADiskClaim, disk, options, release, releaseContext, callback, context);
}

static TListed kDADiskCopyDescription("DADiskCopyDescription");
CFDictionaryRef __real_DADiskCopyDescription(DADiskRef);
CFDictionaryRef __wrap_DADiskCopyDescription(DADiskRef disk)
{
    return Call(kDADiskCopyDescription, __real_DADiskCopyDescription, disk);
}

static TListed kDADiskCopyIOMedia("DADiskCopyIOMedia");
io_service_t __real_DADiskCopyIOMedia(DADiskRef);
io_service_t __wrap_DADiskCopyIOMedia(DADiskRef disk)
{
    return Call(kDADiskCopyIOMedia, __real_DADiskCopyIOMedia, disk);
}

static TListed kDADiskCreateFromBSDName("DADiskCreateFromBSDName");
DADiskRef __real_DADiskCreateFromBSDName(CFAllocatorRef, DASessionRef, const char*);
DADiskRef __wrap_DADiskCreateFromBSDName(CFAllocatorRef allocator, DASessionRef session, const char* name)
{
    return Call(kDADiskCreateFromBSDName, __real_DADiskCreateFromBSDName, allocator, session, name);
}

static TListed kDADiskMount("DADiskMount");
void __real_DADiskMount(DADiskRef, CFURLRef, DADiskMountOptions, DADiskMountCallback, void*);
void __wrap_DADiskMount(DADiskRef disk, CFURLRef path, DADiskMountOptions options, DADiskMountCallback callback,
                        void* context)
{
    Call(kDADiskMount, __real_DADiskMount, disk, path, options, callback, context);
}

static TListed kDADiskMountWithArguments("DADiskMountWithArguments");
void __real_DADiskMountWithArguments(DADiskRef, CFURLRef, DADiskMountOptions, DADiskMountCallback, void*, CFStringRef*);
void __wrap_DADiskMountWithArguments(DADiskRef disk, CFURLRef path, DADiskMountOptions options,
                                     DADiskMountCallback callback, void* context, CFStringRef* arguments)
{
    Call(kDADiskMountWithArguments, __real_DADiskMountWithArguments, disk, path, options, callback, context, arguments);
}

static TListed kDADiskRename("DADiskRename");
void __real_DADiskRename(DADiskRef, CFStringRef, DADiskRenameOptions, DADiskRenameCallback, void*);
void __wrap_DADiskRename(DADiskRef disk, CFStringRef name, DADiskRenameOptions options, DADiskRenameCallback callback,
                         void* context)
{
    Call(kDADiskRename, __real_DADiskRename, disk, name, options, callback, context);
}

static TListed kDADiskUnmount("DADiskUnmount");
void __real_DADiskUnmount(DADiskRef, DADiskUnmountOptions, DADiskUnmountCallback, void*);
void __wrap_DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context)
{
    Call(kDADiskUnmount, __real_DADiskUnmount, disk, options, callback, context);
}

static TListed kDARegisterAppeared("DARegisterDiskAppearedCallback");
void __real_DARegisterDiskAppearedCallback(DASessionRef, CFDictionaryRef, DADiskAppearedCallback, void*);
void __wrap_DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                           void* context)
{
    Call(kDARegisterAppeared, __real_DARegisterDiskAppearedCallback, session, match, &CallAsProduct,
         static_cast<void*>(Registered(callback, context)));
}

static TListed kDARegisterDisappeared("DARegisterDiskDisappearedCallback");
void __real_DARegisterDiskDisappearedCallback(DASessionRef, CFDictionaryRef, DADiskDisappearedCallback, void*);
void __wrap_DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match,
                                              DADiskDisappearedCallback callback, void* context)
{
    Call(kDARegisterDisappeared, __real_DARegisterDiskDisappearedCallback, session, match, &CallAsProduct,
         static_cast<void*>(Registered(callback, context)));
}

static TListed kDASessionCreate("DASessionCreate");
DASessionRef __real_DASessionCreate(CFAllocatorRef);
DASessionRef __wrap_DASessionCreate(CFAllocatorRef allocator)
{
    return Call(kDASessionCreate, __real_DASessionCreate, allocator);
}

static TListed kDASessionSchedule("DASessionScheduleWithRunLoop");
void __real_DASessionScheduleWithRunLoop(DASessionRef, CFRunLoopRef, CFStringRef);
void __wrap_DASessionScheduleWithRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef mode)
{
    Call(kDASessionSchedule, __real_DASessionScheduleWithRunLoop, session, runLoop, mode);
}

static TListed kDASessionUnschedule("DASessionUnscheduleFromRunLoop");
void __real_DASessionUnscheduleFromRunLoop(DASessionRef, CFRunLoopRef, CFStringRef);
void __wrap_DASessionUnscheduleFromRunLoop(DASessionRef session, CFRunLoopRef runLoop, CFStringRef mode)
{
    Call(kDASessionUnschedule, __real_DASessionUnscheduleFromRunLoop, session, runLoop, mode);
}
}
