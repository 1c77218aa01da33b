// The table of wraps. The linker is told about each function by its __wrap_ line below, so a name and its opening
// parenthesis stand on one line.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp,readability-identifier-naming)

#include "tests/support/Faults.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <DiskArbitration/DiskArbitration.h>
#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

// What is ordered of one function. Read on every call, so its switches are atomics; the rest changes only while they are off.
struct TOrders
{
    std::atomic<bool> faultArmed{false};
    TFailure failure;
    unsigned first = 0;
    unsigned count = 0;
    std::atomic<unsigned> callsSinceArmed{0};
    std::atomic<unsigned> reached{0};

    std::atomic<bool> watched{false};
    // A plain pointer: nothing here is destroyed at exit, which a signal may bring about while threads run.
    std::function<void(const TCallWatch::TArguments&)>* look = nullptr;
    std::atomic<unsigned> calls{0};
};

// Functions register themselves as they are listed below. Never destroyed: threads may call until the process ends.
std::map<std::string, TOrders*>& Table()
{
    static auto* const table = new std::map<std::string, TOrders*>;
    return *table;
}

struct TListed : TOrders
{
    explicit TListed(const char* name) { Table()[name] = this; }
};

TOrders* OrdersFor(const char* function)
{
    const auto found = Table().find(function);
    if (found == Table().end()) {
        fprintf(stderr, "no function %s in the table of faults\n", function);
        abort();
    }
    return found->second;
}

// How deep this thread is inside functions of the table: what they call themselves is not the product's call.
thread_local int gInside = 0;

struct TInside
{
    TInside() { ++gInside; }
    ~TInside() { --gInside; }
};

// The product's again: a callback that a function of the table calls.
struct TOutside
{
    TOutside() : depth(gInside) { gInside = 0; }
    ~TOutside() { gInside = depth; }
    const int depth;
};

template <class TFirst>
long AsInteger(TFirst value)
{
    if constexpr (std::is_pointer_v<TFirst>)
        return reinterpret_cast<long>(value);
    else
        return static_cast<long>(value);
}

template <class TResult>
TResult AsResult(long value)
{
    if constexpr (std::is_pointer_v<TResult>)
        return reinterpret_cast<TResult>(value);
    else
        return static_cast<TResult>(value);
}

// Held while a watch looks, so that it does not end meanwhile.
std::mutex& WatchMutex()
{
    static auto* const mutex = new std::mutex;
    return *mutex;
}

void TellWatch(TOrders& orders, const TCallWatch::TArguments& arguments)
{
    const std::lock_guard<std::mutex> lock(WatchMutex());
    if (!orders.watched)
        return;
    ++orders.calls;
    if (*orders.look)
        (*orders.look)(arguments);
}

// Tells whoever watches, and decides whether this call is one of those that fail.
bool MustFail(TOrders& orders, const TCallWatch::TArguments& arguments)
{
    if (orders.watched)
        TellWatch(orders, arguments);
    if (!orders.faultArmed)
        return false;
    if (orders.failure.firstArgument != 0 && (arguments.empty() || arguments[0] != orders.failure.firstArgument))
        return false;
    const unsigned call = ++orders.callsSinceArmed;
    if (call < orders.first || call - orders.first >= orders.count)
        return false;
    ++orders.reached;
    if (orders.failure.error != 0)
        errno = orders.failure.error;
    return true;
}

template <class TResult, class... TArguments, class... TGiven>
TResult Call(TOrders& orders, TResult (*real)(TArguments...), TGiven... arguments)
{
    const bool ordered = gInside == 0 && (orders.watched || orders.faultArmed);
    // From here on, so that what is needed to tell of a call is no call itself.
    const TInside inside;
    if (ordered && MustFail(orders, {AsInteger(arguments)...})) {
        if constexpr (std::is_void_v<TResult>)
            return;
        else
            return AsResult<TResult>(orders.failure.result);
    }
    return real(arguments...);
}

std::atomic<unsigned> gShortWriteBytes{0};
std::atomic<unsigned> gShortWritesLeft{0};
std::function<void(const char*, struct stat*)>* gStatEdit = nullptr;
std::function<void(TCatalogAnswer*)>* gCatalogEdit = nullptr;

// What the caller sees of an answer of the catalog. count is null when one item was asked for.
OSErr EditedCatalog(OSErr status, FSCatalogInfo* items, ItemCount* count)
{
    if (gCatalogEdit == nullptr || gInside != 0)
        return status;
    TCatalogAnswer answer{status, items, count != nullptr ? *count : 1};
    (*gCatalogEdit)(&answer);
    if (count != nullptr)
        *count = answer.count;
    return answer.status;
}

}   // namespace

// The n-th of these lines stands in front of the n-th function. `k` and the name is what is ordered of it.
extern "C" {

static TListed kAccept("accept");
int __real_accept(int, struct sockaddr*, socklen_t*);
int __wrap_accept(int socket, struct sockaddr* address, socklen_t* length)
{
    return Call(kAccept, __real_accept, socket, address, length);
}

static TListed kBind("bind");
int __real_bind(int, const struct sockaddr*, socklen_t);
int __wrap_bind(int socket, const struct sockaddr* address, socklen_t length)
{
    return Call(kBind, __real_bind, socket, address, length);
}

static TListed kChown("chown");
int __real_chown(const char*, uid_t, gid_t);
int __wrap_chown(const char* path, uid_t user, gid_t group)
{
    return Call(kChown, __real_chown, path, user, group);
}

static TListed kClose("close");
int __real_close(int);
int __wrap_close(int descriptor)
{
    return Call(kClose, __real_close, descriptor);
}

static TListed kDup2("dup2");
int __real_dup2(int, int);
int __wrap_dup2(int from, int to)
{
    return Call(kDup2, __real_dup2, from, to);
}

static TListed kExecv("execv");
int __real_execv(const char*, char* const*);
int __wrap_execv(const char* path, char* const* arguments)
{
    return Call(kExecv, __real_execv, path, arguments);
}

// Goes by "execv" as well: which of the two a program uses is its own business.
int __wrap_execl(const char* path, const char* first, ...)
{
    std::vector<char*> arguments;
    va_list rest;
    va_start(rest, first);
    for (const char* argument = first; argument != nullptr; argument = va_arg(rest, const char*))
        arguments.push_back(const_cast<char*>(argument));
    va_end(rest);
    arguments.push_back(nullptr);
    return Call(kExecv, __real_execv, path, static_cast<char* const*>(arguments.data()));
}

static TListed kFork("fork");
pid_t __real_fork(void);
pid_t __wrap_fork(void)
{
    return Call(kFork, __real_fork);
}

static TListed kGetEUID("geteuid");
uid_t __real_geteuid(void);
uid_t __wrap_geteuid(void)
{
    return Call(kGetEUID, __real_geteuid);
}

static TListed kGetUID("getuid");
uid_t __real_getuid(void);
uid_t __wrap_getuid(void)
{
    return Call(kGetUID, __real_getuid);
}

static TListed kKill("kill");
int __real_kill(pid_t, int);
int __wrap_kill(pid_t process, int number)
{
    return Call(kKill, __real_kill, process, number);
}

static TListed kListen("listen");
int __real_listen(int, int);
int __wrap_listen(int socket, int backlog)
{
    return Call(kListen, __real_listen, socket, backlog);
}

static TListed kMalloc("malloc");
void* __real_malloc(size_t);
void* __wrap_malloc(size_t size)
{
    return Call(kMalloc, __real_malloc, size);
}

static TListed kMkdir("mkdir");
int __real_mkdir(const char*, mode_t);
int __wrap_mkdir(const char* path, mode_t mode)
{
    return Call(kMkdir, __real_mkdir, path, mode);
}

static TListed kOpen("open");
int __real_open(const char*, int, ...);
int __wrap_open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return Call(
        kOpen, +[](const char* wanted, int how, mode_t with) { return __real_open(wanted, how, with); }, path, flags,
        mode);
}

static TListed kPipe("pipe");
int __real_pipe(int*);
int __wrap_pipe(int* descriptors)
{
    return Call(kPipe, __real_pipe, descriptors);
}

static TListed kPthreadCreate("pthread_create");
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    return Call(kPthreadCreate, __real_pthread_create, thread, attributes, body, argument);
}

static TListed kPthreadDetach("pthread_detach");
int __real_pthread_detach(pthread_t);
int __wrap_pthread_detach(pthread_t thread)
{
    return Call(kPthreadDetach, __real_pthread_detach, thread);
}

static TListed kPthreadMutexLock("pthread_mutex_lock");
int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    return Call(kPthreadMutexLock, __real_pthread_mutex_lock, mutex);
}

static TListed kRead("read");
ssize_t __real_read(int, void*, size_t);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
    return Call(kRead, __real_read, descriptor, buffer, size);
}

static TListed kSetUID("setuid");
int __real_setuid(uid_t);
int __wrap_setuid(uid_t user)
{
    return Call(kSetUID, __real_setuid, user);
}

static TListed kSigaction("sigaction");
int __real_sigaction(int, const struct sigaction*, struct sigaction*);
int __wrap_sigaction(int number, const struct sigaction* action, struct sigaction* old)
{
    return Call(kSigaction, __real_sigaction, number, action, old);
}

static TListed kSleep("sleep");
unsigned __real_sleep(unsigned);
unsigned __wrap_sleep(unsigned seconds)
{
    return Call(kSleep, __real_sleep, seconds);
}

static TListed kSocket("socket");
int __real_socket(int, int, int);
int __wrap_socket(int domain, int type, int protocol)
{
    return Call(kSocket, __real_socket, domain, type, protocol);
}

static TListed kStat("stat");
int __real_stat(const char*, struct stat*);
int __wrap_stat(const char* path, struct stat* info)
{
    const int status = Call(kStat, __real_stat, path, info);
    if (status == 0 && gStatEdit != nullptr && gInside == 0)
        (*gStatEdit)(path, info);
    return status;
}

static TListed kStrdup("strdup");
char* __real_strdup(const char*);
char* __wrap_strdup(const char* text)
{
    return Call(kStrdup, __real_strdup, text);
}

static TListed kSysctl("sysctl");
int __real_sysctl(int*, u_int, void*, size_t*, void*, size_t);
int __wrap_sysctl(int* name, u_int levels, void* old, size_t* oldSize, void* now, size_t nowSize)
{
    return Call(kSysctl, __real_sysctl, name, levels, old, oldSize, now, nowSize);
}

static TListed kTime("time");
time_t __real_time(time_t*);
time_t __wrap_time(time_t* now)
{
    return Call(kTime, __real_time, now);
}

static TListed kUmask("umask");
mode_t __real_umask(mode_t);
mode_t __wrap_umask(mode_t mask)
{
    return Call(kUmask, __real_umask, mask);
}

static TListed kUnlink("unlink");
int __real_unlink(const char*);
int __wrap_unlink(const char* path)
{
    return Call(kUnlink, __real_unlink, path);
}

static TListed kWaitpid("waitpid");
pid_t __real_waitpid(pid_t, int*, int);
pid_t __wrap_waitpid(pid_t process, int* status, int options)
{
    return Call(kWaitpid, __real_waitpid, process, status, options);
}

static TListed kWrite("write");
ssize_t __real_write(int, const void*, size_t);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t size)
{
    if (gInside == 0 && gShortWriteBytes != 0 && gShortWritesLeft != 0) {
        --gShortWritesLeft;
        size = std::min<size_t>(size, gShortWriteBytes);
    }
    return Call(kWrite, __real_write, descriptor, bytes, size);
}

static TListed kAddAtomic("AddAtomic");
SInt32 __real_AddAtomic(SInt32, SInt32*);
SInt32 __wrap_AddAtomic(SInt32 amount, SInt32* address)
{
    return Call(kAddAtomic, __real_AddAtomic, amount, address);
}

static TListed kCFAbsoluteTime("CFAbsoluteTimeGetCurrent");
CFAbsoluteTime __real_CFAbsoluteTimeGetCurrent(void);
CFAbsoluteTime __wrap_CFAbsoluteTimeGetCurrent(void)
{
    return Call(kCFAbsoluteTime, __real_CFAbsoluteTimeGetCurrent);
}

static TListed kCFArrayAppendValue("CFArrayAppendValue");
void __real_CFArrayAppendValue(CFMutableArrayRef, const void*);
void __wrap_CFArrayAppendValue(CFMutableArrayRef array, const void* value)
{
    Call(kCFArrayAppendValue, __real_CFArrayAppendValue, array, value);
}

static TListed kCFArrayCreateMutable("CFArrayCreateMutable");
CFMutableArrayRef __real_CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks*);
CFMutableArrayRef __wrap_CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks* calls)
{
    return Call(kCFArrayCreateMutable, __real_CFArrayCreateMutable, allocator, capacity, calls);
}

static TListed kCFBundleCopyURL("CFBundleCopyExecutableURL");
CFURLRef __real_CFBundleCopyExecutableURL(CFBundleRef);
CFURLRef __wrap_CFBundleCopyExecutableURL(CFBundleRef bundle)
{
    return Call(kCFBundleCopyURL, __real_CFBundleCopyExecutableURL, bundle);
}

static TListed kCFBundleCreate("CFBundleCreate");
CFBundleRef __real_CFBundleCreate(CFAllocatorRef, CFURLRef);
CFBundleRef __wrap_CFBundleCreate(CFAllocatorRef allocator, CFURLRef url)
{
    return Call(kCFBundleCreate, __real_CFBundleCreate, allocator, url);
}

static TListed kCFDataCreateWithBytesNoCopy("CFDataCreateWithBytesNoCopy");
CFDataRef __real_CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8*, CFIndex, CFAllocatorRef);
CFDataRef __wrap_CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                             CFAllocatorRef deallocator)
{
    return Call(kCFDataCreateWithBytesNoCopy, __real_CFDataCreateWithBytesNoCopy, allocator, bytes, length,
                deallocator);
}

static TListed kCFPropertyListCreateFrom("CFPropertyListCreateFromXMLData");
CFPropertyListRef __real_CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef, CFOptionFlags, CFStringRef*);
CFPropertyListRef __wrap_CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef xml, CFOptionFlags options,
                                                         CFStringRef* errorText)
{
    return Call(kCFPropertyListCreateFrom, __real_CFPropertyListCreateFromXMLData, allocator, xml, options, errorText);
}

static TListed kCFPropertyListCreateXML("CFPropertyListCreateXMLData");
CFDataRef __real_CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef);
CFDataRef __wrap_CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list)
{
    return Call(kCFPropertyListCreateXML, __real_CFPropertyListCreateXMLData, allocator, list);
}

static TListed kCFPropertyListIsValid("CFPropertyListIsValid");
Boolean __real_CFPropertyListIsValid(CFPropertyListRef, CFPropertyListFormat);
Boolean __wrap_CFPropertyListIsValid(CFPropertyListRef list, CFPropertyListFormat format)
{
    return Call(kCFPropertyListIsValid, __real_CFPropertyListIsValid, list, format);
}

static TListed kCFRelease("CFRelease");
void __real_CFRelease(CFTypeRef);
void __wrap_CFRelease(CFTypeRef object)
{
    Call(kCFRelease, __real_CFRelease, object);
}

static TListed kCFRunLoopRun("CFRunLoopRun");
void __real_CFRunLoopRun(void);
void __wrap_CFRunLoopRun(void)
{
    Call(kCFRunLoopRun, __real_CFRunLoopRun);
}

static TListed kCFStringCreateWithCString("CFStringCreateWithCString");
CFStringRef __real_CFStringCreateWithCString(CFAllocatorRef, const char*, CFStringEncoding);
CFStringRef __wrap_CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding)
{
    return Call(kCFStringCreateWithCString, __real_CFStringCreateWithCString, allocator, text, encoding);
}

static TListed kCFStringCreateFromPath("CFStringCreateWithFileSystemRepresentation");
CFStringRef __real_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef, const char*);
CFStringRef __wrap_CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator, const char* path)
{
    return Call(kCFStringCreateFromPath, __real_CFStringCreateWithFileSystemRepresentation, allocator, path);
}

static TListed kCFURLCreateData("CFURLCreateDataAndPropertiesFromResource");
Boolean __real_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef, CFDataRef*, CFDictionaryRef*,
                                                        CFArrayRef, SInt32*);
Boolean __wrap_CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* bytes,
                                                        CFDictionaryRef* properties, CFArrayRef wanted, SInt32* error)
{
    return Call(kCFURLCreateData, __real_CFURLCreateDataAndPropertiesFromResource, allocator, url, bytes, properties,
                wanted, error);
}

static TListed kCFURLCreateFromPath("CFURLCreateFromFileSystemRepresentation");
CFURLRef __real_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8*, CFIndex, Boolean);
CFURLRef __wrap_CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                                        Boolean isDirectory)
{
    return Call(kCFURLCreateFromPath, __real_CFURLCreateFromFileSystemRepresentation, allocator, bytes, length,
                isDirectory);
}

static TListed kCFURLDestroyResource("CFURLDestroyResource");
Boolean __real_CFURLDestroyResource(CFURLRef, SInt32*);
Boolean __wrap_CFURLDestroyResource(CFURLRef url, SInt32* error)
{
    return Call(kCFURLDestroyResource, __real_CFURLDestroyResource, url, error);
}

static TListed kCFURLWriteData("CFURLWriteDataAndPropertiesToResource");
Boolean __real_CFURLWriteDataAndPropertiesToResource(CFURLRef, CFDataRef, CFDictionaryRef, SInt32*);
Boolean __wrap_CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef bytes, CFDictionaryRef properties,
                                                     SInt32* error)
{
    return Call(kCFURLWriteData, __real_CFURLWriteDataAndPropertiesToResource, url, bytes, properties, error);
}

static TListed kCFUUIDCreateString("CFUUIDCreateString");
CFStringRef __real_CFUUIDCreateString(CFAllocatorRef, CFUUIDRef);
CFStringRef __wrap_CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid)
{
    return Call(kCFUUIDCreateString, __real_CFUUIDCreateString, allocator, uuid);
}

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

static TListed kIOBSDNameMatching("IOBSDNameMatching");
CFMutableDictionaryRef __real_IOBSDNameMatching(mach_port_t, uint32_t, const char*);
CFMutableDictionaryRef __wrap_IOBSDNameMatching(mach_port_t master, uint32_t options, const char* name)
{
    return Call(kIOBSDNameMatching, __real_IOBSDNameMatching, master, options, name);
}

static TListed kFNNotify("FNNotify");
OSStatus __real_FNNotify(const FSRef*, FNMessage, OptionBits);
OSStatus __wrap_FNNotify(const FSRef* item, FNMessage message, OptionBits options)
{
    return Call(kFNNotify, __real_FNNotify, item, message, options);
}

static TListed kFSCloseIterator("FSCloseIterator");
OSErr __real_FSCloseIterator(FSIterator);
OSErr __wrap_FSCloseIterator(FSIterator iterator)
{
    return Call(kFSCloseIterator, __real_FSCloseIterator, iterator);
}

static TListed kFSGetCatalogInfo("FSGetCatalogInfo");
OSErr __real_FSGetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, FSCatalogInfo*, HFSUniStr255*, FSSpecPtr, FSRef*);
OSErr __wrap_FSGetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                              FSSpecPtr spec, FSRef* parent)
{
    const OSErr status = Call(kFSGetCatalogInfo, __real_FSGetCatalogInfo, item, which, info, name, spec, parent);
    return EditedCatalog(status, info, nullptr);
}

static TListed kFSGetCatalogInfoBulk("FSGetCatalogInfoBulk");
OSErr __real_FSGetCatalogInfoBulk(FSIterator, ItemCount, ItemCount*, Boolean*, FSCatalogInfoBitmap, FSCatalogInfo*,
                                  FSRef*, FSSpecPtr, HFSUniStr255*);
OSErr __wrap_FSGetCatalogInfoBulk(FSIterator iterator, ItemCount maximum, ItemCount* count, Boolean* changed,
                                  FSCatalogInfoBitmap which, FSCatalogInfo* infos, FSRef* items, FSSpecPtr specs,
                                  HFSUniStr255* names)
{
    const OSErr status = Call(kFSGetCatalogInfoBulk, __real_FSGetCatalogInfoBulk, iterator, maximum, count, changed,
                              which, infos, items, specs, names);
    return EditedCatalog(status, infos, count);
}

static TListed kFSGetVolumeInfo("FSGetVolumeInfo");
OSErr __real_FSGetVolumeInfo(FSVolumeRefNum, ItemCount, FSVolumeRefNum*, FSVolumeInfoBitmap, FSVolumeInfo*,
                             HFSUniStr255*, FSRef*);
OSErr __wrap_FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                             FSVolumeInfo* info, HFSUniStr255* name, FSRef* root)
{
    return Call(kFSGetVolumeInfo, __real_FSGetVolumeInfo, volume, index, actual, which, info, name, root);
}

static TListed kFSOpenIterator("FSOpenIterator");
OSErr __real_FSOpenIterator(const FSRef*, FSIteratorFlags, FSIterator*);
OSErr __wrap_FSOpenIterator(const FSRef* folder, FSIteratorFlags flags, FSIterator* iterator)
{
    return Call(kFSOpenIterator, __real_FSOpenIterator, folder, flags, iterator);
}

static TListed kFSPathMakeRef("FSPathMakeRef");
OSStatus __real_FSPathMakeRef(const UInt8*, FSRef*, Boolean*);
OSStatus __wrap_FSPathMakeRef(const UInt8* path, FSRef* item, Boolean* isDirectory)
{
    return Call(kFSPathMakeRef, __real_FSPathMakeRef, path, item, isDirectory);
}

static TListed kFSSetCatalogInfo("FSSetCatalogInfo");
OSErr __real_FSSetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, const FSCatalogInfo*);
OSErr __wrap_FSSetCatalogInfo(const FSRef* item, FSCatalogInfoBitmap which, const FSCatalogInfo* info)
{
    return Call(kFSSetCatalogInfo, __real_FSSetCatalogInfo, item, which, info);
}

static TListed kGetFrontProcess("GetFrontProcess");
OSErr __real_GetFrontProcess(ProcessSerialNumber*);
OSErr __wrap_GetFrontProcess(ProcessSerialNumber* number)
{
    return Call(kGetFrontProcess, __real_GetFrontProcess, number);
}

static TListed kGetProcessPID("GetProcessPID");
OSStatus __real_GetProcessPID(const ProcessSerialNumber*, pid_t*);
OSStatus __wrap_GetProcessPID(const ProcessSerialNumber* number, pid_t* process)
{
    return Call(kGetProcessPID, __real_GetProcessPID, number, process);
}

static TListed kIOConnectMethod("IOConnectMethodStructureIStructureO");
kern_return_t __real_IOConnectMethodStructureIStructureO(io_connect_t, UInt32, IOItemCount, IOByteCount*, void*, void*);
kern_return_t __wrap_IOConnectMethodStructureIStructureO(io_connect_t connection, UInt32 selector,
                                                         IOItemCount inputSize, IOByteCount* outputSize, void* input,
                                                         void* output)
{
    return Call(kIOConnectMethod, __real_IOConnectMethodStructureIStructureO, connection, selector, inputSize,
                outputSize, input, output);
}

static TListed kIOIteratorNext("IOIteratorNext");
io_object_t __real_IOIteratorNext(io_iterator_t);
io_object_t __wrap_IOIteratorNext(io_iterator_t iterator)
{
    return Call(kIOIteratorNext, __real_IOIteratorNext, iterator);
}

static TListed kIOMasterPort("IOMasterPort");
kern_return_t __real_IOMasterPort(mach_port_t, mach_port_t*);
kern_return_t __wrap_IOMasterPort(mach_port_t bootstrap, mach_port_t* master)
{
    return Call(kIOMasterPort, __real_IOMasterPort, bootstrap, master);
}

static TListed kIOObjectRelease("IOObjectRelease");
kern_return_t __real_IOObjectRelease(io_object_t);
kern_return_t __wrap_IOObjectRelease(io_object_t object)
{
    return Call(kIOObjectRelease, __real_IOObjectRelease, object);
}

static TListed kIOOpenFirmwarePathMatching("IOOpenFirmwarePathMatching");
CFMutableDictionaryRef __real_IOOpenFirmwarePathMatching(mach_port_t, uint32_t, const char*);
CFMutableDictionaryRef __wrap_IOOpenFirmwarePathMatching(mach_port_t master, uint32_t options, const char* path)
{
    return Call(kIOOpenFirmwarePathMatching, __real_IOOpenFirmwarePathMatching, master, options, path);
}

static TListed kIORegistryEntryFromPath("IORegistryEntryFromPath");
io_registry_entry_t __real_IORegistryEntryFromPath(mach_port_t, const char*);
io_registry_entry_t __wrap_IORegistryEntryFromPath(mach_port_t master, const char* path)
{
    return Call(kIORegistryEntryFromPath, __real_IORegistryEntryFromPath, master, path);
}

static TListed kIOServiceClose("IOServiceClose");
kern_return_t __real_IOServiceClose(io_connect_t);
kern_return_t __wrap_IOServiceClose(io_connect_t connection)
{
    return Call(kIOServiceClose, __real_IOServiceClose, connection);
}

static TListed kIOServiceGetMatching("IOServiceGetMatchingServices");
kern_return_t __real_IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef, io_iterator_t*);
kern_return_t __wrap_IOServiceGetMatchingServices(mach_port_t master, CFDictionaryRef matching, io_iterator_t* matches)
{
    const unsigned failedBefore = kIOServiceGetMatching.reached;
    const kern_return_t status =
        Call(kIOServiceGetMatching, __real_IOServiceGetMatchingServices, master, matching, matches);
    if (kIOServiceGetMatching.reached != failedBefore)
        __real_CFRelease(matching);   // taken from the caller, whatever the result
    return status;
}

static TListed kIOServiceMatching("IOServiceMatching");
CFMutableDictionaryRef __real_IOServiceMatching(const char*);
CFMutableDictionaryRef __wrap_IOServiceMatching(const char* name)
{
    return Call(kIOServiceMatching, __real_IOServiceMatching, name);
}

static TListed kIOServiceOpen("IOServiceOpen");
kern_return_t __real_IOServiceOpen(io_service_t, task_port_t, UInt32, io_connect_t*);
kern_return_t __wrap_IOServiceOpen(io_service_t service, task_port_t task, UInt32 type, io_connect_t* connection)
{
    return Call(kIOServiceOpen, __real_IOServiceOpen, service, task, type, connection);
}

static TListed kIncrementAtomic("IncrementAtomic");
SInt32 __real_IncrementAtomic(SInt32*);
SInt32 __wrap_IncrementAtomic(SInt32* address)
{
    return Call(kIncrementAtomic, __real_IncrementAtomic, address);
}

static TListed kUCConvertToUTC("UCConvertCFAbsoluteTimeToUTCDateTime");
OSStatus __real_UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime, UTCDateTime*);
OSStatus __wrap_UCConvertCFAbsoluteTimeToUTCDateTime(CFAbsoluteTime time, UTCDateTime* date)
{
    return Call(kUCConvertToUTC, __real_UCConvertCFAbsoluteTimeToUTCDateTime, time, date);
}

static TListed kPBHGetVolParms("PBHGetVolParmsSync");
OSErr __real_PBHGetVolParmsSync(HParmBlkPtr);
OSErr __wrap_PBHGetVolParmsSync(HParmBlkPtr block)
{
    return Call(kPBHGetVolParms, __real_PBHGetVolParmsSync, block);
}

// Goes by one name whether or not the size is passed.
static TListed kDelete("operator delete");
void __real__ZdlPv(void*);
void __wrap__ZdlPv(void* block)
{
    Call(kDelete, __real__ZdlPv, block);
}

// The others go by their mangled names, in which the letter of std::size_t is the machine's.
void RealSizedDelete(void*, size_t) __asm__("__real__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void*, size_t) __asm__("__wrap__ZdlPv" HALVORIX_SIZE_LETTER);
void WrapSizedDelete(void* block, size_t size)
{
    Call(kDelete, RealSizedDelete, block, size);
}

static TListed kNew("operator new nothrow");
void* RealNew(size_t, const std::nothrow_t&) __asm__("__real__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t, const std::nothrow_t&) __asm__("__wrap__Znw" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNew(size_t size, const std::nothrow_t&)
{
    return Call(
        kNew, +[](size_t wanted) { return RealNew(wanted, std::nothrow); }, size);
}

static TListed kNewArray("operator new[] nothrow");
void* RealNewArray(size_t, const std::nothrow_t&) __asm__("__real__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t, const std::nothrow_t&) __asm__("__wrap__Zna" HALVORIX_SIZE_LETTER "RKSt9nothrow_t");
void* WrapNewArray(size_t size, const std::nothrow_t&)
{
    return Call(
        kNewArray, +[](size_t wanted) { return RealNewArray(wanted, std::nothrow); }, size);
}
}

void ArmFault(const char* function, TFailure failure, unsigned first, unsigned count)
{
    TOrders* const orders = OrdersFor(function);
    orders->failure = failure;
    orders->first = first;
    orders->count = count;
    orders->callsSinceArmed = 0;
    orders->reached = 0;
    orders->faultArmed = true;
}

TFault::TFault(const char* function, TFailure failure, unsigned first, unsigned count) : fFunction(function)
{
    ArmFault(function, failure, first, count);
}

TFault::~TFault()
{
    OrdersFor(fFunction)->faultArmed = false;
}

unsigned TFault::Reached() const
{
    return OrdersFor(fFunction)->reached;
}

TCallWatch::TCallWatch(const char* function, std::function<void(const TArguments&)> look) : fFunction(function)
{
    TOrders* const orders = OrdersFor(function);
    orders->look = new std::function<void(const TArguments&)>(std::move(look));
    orders->calls = 0;
    orders->watched = true;
}

TCallWatch::~TCallWatch()
{
    TOrders* const orders = OrdersFor(fFunction);
    const TInside inside;
    const std::lock_guard<std::mutex> lock(WatchMutex());
    orders->watched = false;
    delete orders->look;
    orders->look = nullptr;
}

unsigned TCallWatch::Calls() const
{
    return OrdersFor(fFunction)->calls;
}

TShortWrites::TShortWrites(unsigned bytes, unsigned count)
{
    gShortWritesLeft = count;
    gShortWriteBytes = bytes;
}

TShortWrites::~TShortWrites()
{
    gShortWriteBytes = 0;
}

TStatEdit::TStatEdit(std::function<void(const char*, struct stat*)> edit)
{
    gStatEdit = new std::function<void(const char*, struct stat*)>(std::move(edit));
}

TStatEdit::~TStatEdit()
{
    delete gStatEdit;
    gStatEdit = nullptr;
}

TCatalogEdit::TCatalogEdit(std::function<void(TCatalogAnswer*)> edit)
{
    gCatalogEdit = new std::function<void(TCatalogAnswer*)>(std::move(edit));
}

TCatalogEdit::~TCatalogEdit()
{
    delete gCatalogEdit;
    gCatalogEdit = nullptr;
}

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp,readability-identifier-naming)
