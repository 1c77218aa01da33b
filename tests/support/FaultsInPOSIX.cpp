// The functions of POSIX and Darwin's sysctl in the table of faults.

#include "tests/support/FaultTable.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

static std::atomic<unsigned> gShortWriteBytes{0};
static std::atomic<unsigned> gShortWritesLeft{0};
static std::function<void(const char*, struct stat*)>* gStatEdit = nullptr;

extern "C" {

static TListed kAccept("accept", Fails(-1, EMFILE));
int __real_accept(int, struct sockaddr*, socklen_t*);
int __wrap_accept(int socket, struct sockaddr* address, socklen_t* length)
{
    return Call(kAccept, __real_accept, socket, address, length);
}

static TListed kBind("bind", Fails(-1, EADDRINUSE));
int __real_bind(int, const struct sockaddr*, socklen_t);
int __wrap_bind(int socket, const struct sockaddr* address, socklen_t length)
{
    return Call(kBind, __real_bind, socket, address, length);
}

static TListed kChown("chown", Fails(-1, EPERM));
int __real_chown(const char*, uid_t, gid_t);
int __wrap_chown(const char* path, uid_t user, gid_t group)
{
    return Call(kChown, __real_chown, path, user, group);
}

static TListed kClose("close", FailsThoughDone(-1, EIO));
int __real_close(int);
int __wrap_close(int descriptor)
{
    return Call(kClose, __real_close, descriptor);
}

static TListed kDup2("dup2", Fails(-1, EMFILE));
int __real_dup2(int, int);
int __wrap_dup2(int from, int to)
{
    return Call(kDup2, __real_dup2, from, to);
}

static TListed kExecv("execv", Fails(-1, ENOENT));
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

static TListed kFcntl("fcntl", Fails(-1, EINVAL));
int __real_fcntl(int, int, ...);
int __wrap_fcntl(int descriptor, int command, ...)
{
    va_list rest;
    va_start(rest, command);
    const long argument = va_arg(rest, long);
    va_end(rest);
    return Call(
        kFcntl, +[](int which, int what, long with) { return __real_fcntl(which, what, with); }, descriptor, command,
        argument);
}

static TListed kFork("fork", Fails(-1, EAGAIN));
pid_t __real_fork(void);
pid_t __wrap_fork(void)
{
    return Call(kFork, __real_fork);
}

static TListed kGetEUID("geteuid", kNeverFails);
uid_t __real_geteuid(void);
uid_t __wrap_geteuid(void)
{
    return Call(kGetEUID, __real_geteuid);
}

static TListed kGetUID("getuid", kNeverFails);
uid_t __real_getuid(void);
uid_t __wrap_getuid(void)
{
    return Call(kGetUID, __real_getuid);
}

static TListed kKill("kill", Fails(-1, EPERM));
int __real_kill(pid_t, int);
int __wrap_kill(pid_t process, int number)
{
    return Call(kKill, __real_kill, process, number);
}

static TListed kListen("listen", Fails(-1, EADDRINUSE));
int __real_listen(int, int);
int __wrap_listen(int socket, int backlog)
{
    return Call(kListen, __real_listen, socket, backlog);
}

// Fails only for years that 32 bits do not hold.
static TListed kLocaltime("localtime", kNeverFails);
struct tm* __real_localtime(const time_t*);
struct tm* __wrap_localtime(const time_t* time)
{
    return Call(kLocaltime, __real_localtime, time);
}

static TListed kMkdir("mkdir", Fails(-1, EACCES));
int __real_mkdir(const char*, mode_t);
int __wrap_mkdir(const char* path, mode_t mode)
{
    return Call(kMkdir, __real_mkdir, path, mode);
}

static TListed kOpen("open", Fails(-1, EMFILE));
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

static TListed kPipe("pipe", Fails(-1, EMFILE));
int __real_pipe(int*);
int __wrap_pipe(int* descriptors)
{
    return Call(kPipe, __real_pipe, descriptors);
}

static TListed kPthreadCreate("pthread_create", Fails(EAGAIN));
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    return Call(kPthreadCreate, __real_pthread_create, thread, attributes, body, argument);
}

static TListed kPthreadDetach("pthread_detach", Fails(ESRCH));
int __real_pthread_detach(pthread_t);
int __wrap_pthread_detach(pthread_t thread)
{
    return Call(kPthreadDetach, __real_pthread_detach, thread);
}

static TListed kPthreadMutexLock("pthread_mutex_lock", kNeverFails);
int __real_pthread_mutex_lock(pthread_mutex_t*);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    return Call(kPthreadMutexLock, __real_pthread_mutex_lock, mutex);
}

static TListed kPthreadMutexInit("pthread_mutex_init", Fails(ENOMEM));
int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes)
{
    return Call(kPthreadMutexInit, __real_pthread_mutex_init, mutex, attributes);
}

static TListed kPthreadSigmask("pthread_sigmask", kNeverFails);
int __real_pthread_sigmask(int, const sigset_t*, sigset_t*);
int __wrap_pthread_sigmask(int how, const sigset_t* now, sigset_t* before)
{
    return Call(kPthreadSigmask, __real_pthread_sigmask, how, now, before);
}

static TListed kRead("read", Fails(-1, EIO));
ssize_t __real_read(int, void*, size_t);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
    return Call(kRead, __real_read, descriptor, buffer, size);
}

static TListed kSetUID("setuid", Fails(-1, EPERM));
int __real_setuid(uid_t);
int __wrap_setuid(uid_t user)
{
    return Call(kSetUID, __real_setuid, user);
}

static TListed kSigaction("sigaction", Fails(-1, EINVAL));
int __real_sigaction(int, const struct sigaction*, struct sigaction*);
int __wrap_sigaction(int number, const struct sigaction* action, struct sigaction* old)
{
    return Call(kSigaction, __real_sigaction, number, action, old);
}

static TListed kSleep("sleep", Fails(1));
unsigned __real_sleep(unsigned);
unsigned __wrap_sleep(unsigned seconds)
{
    return Call(kSleep, __real_sleep, seconds);
}

static TListed kSocket("socket", Fails(-1, EMFILE));
int __real_socket(int, int, int);
int __wrap_socket(int domain, int type, int protocol)
{
    return Call(kSocket, __real_socket, domain, type, protocol);
}

static TListed kStat("stat", Fails(-1, EACCES));
int __real_stat(const char*, struct stat*);
int __wrap_stat(const char* path, struct stat* info)
{
    const int status = Call(kStat, __real_stat, path, info);
    if (status == 0 && gStatEdit != nullptr && gInside == 0)
        (*gStatEdit)(path, info);
    return status;
}

static TListed kStrdup("strdup", Fails(0, ENOMEM));
char* __real_strdup(const char*);
char* __wrap_strdup(const char* text)
{
    char* const copy = Call(kStrdup, __real_strdup, text);
    NoteAllocated(copy);
    return copy;
}

static TListed kSysctl("sysctl", Fails(-1, ENOMEM));
int __real_sysctl(int*, u_int, void*, size_t*, void*, size_t);
int __wrap_sysctl(int* name, u_int levels, void* old, size_t* oldSize, void* now, size_t nowSize)
{
    return Call(kSysctl, __real_sysctl, name, levels, old, oldSize, now, nowSize);
}

static TListed kTime("time", kNeverFails);
time_t __real_time(time_t*);
time_t __wrap_time(time_t* now)
{
    return Call(kTime, __real_time, now);
}

static TListed kUmask("umask", kNeverFails);
mode_t __real_umask(mode_t);
mode_t __wrap_umask(mode_t mask)
{
    return Call(kUmask, __real_umask, mask);
}

static TListed kUnlink("unlink", Fails(-1, EACCES));
int __real_unlink(const char*);
int __wrap_unlink(const char* path)
{
    return Call(kUnlink, __real_unlink, path);
}

static TListed kWaitpid("waitpid", kFailsInItsWay);
pid_t __real_waitpid(pid_t, int*, int);
pid_t __wrap_waitpid(pid_t process, int* status, int options)
{
    if (SweepFails(kWaitpid)) {
        // As when somebody else has waited for the child: it is gone, and its status with it.
        __real_waitpid(process, nullptr, options);
        errno = ECHILD;
        return -1;
    }
    return Call(kWaitpid, __real_waitpid, process, status, options);
}

static TListed kWrite("write", Fails(-1, EPIPE));
ssize_t __real_write(int, const void*, size_t);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t size)
{
    if (gInside == 0 && gShortWriteBytes != 0 && gShortWritesLeft != 0) {
        --gShortWritesLeft;
        size = std::min<size_t>(size, gShortWriteBytes);
    }
    return Call(kWrite, __real_write, descriptor, bytes, size);
}
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
