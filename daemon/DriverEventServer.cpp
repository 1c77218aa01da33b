#include "daemon/DriverEventServer.h"

#include "foundation/PosixDifferences.h"
#include "foundation/ScopedLock.h"
#include "foundation/Status.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// The length that a path must stay below, with its terminator, to fit a Mac's sun_path.
static constexpr std::size_t kSocketPathCapacity = 104;
static constexpr int kListenBacklog = 5;
static constexpr mode_t kSocketFolderMode = 0755;

struct TFreeText
{
    void operator()(char* text) const { free(text); }
};
using TOwnedText = std::unique_ptr<char, TFreeText>;

TDriverEventServer::TDriverEventServer()
    : fListeningSocket(-1), fClients(nullptr), fAcceptThread(), fClientsMutex(nullptr)
{
}

TDriverEventServer::~TDriverEventServer()
{
    if (fClients != nullptr)
        CFRelease(fClients);
}

static void* AcceptForever(void* server)
{
    static_cast<TDriverEventServer*>(server)->AcceptClients();
    return nullptr;
}

static void IgnoreSignal(int) {}

// A handler instead of SIG_IGN: executed tools start with the default again, where they would inherit SIG_IGN.
static void LetWritesToDepartedClientsFail()
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = IgnoreSignal;
    sigaction(SIGPIPE, &action, nullptr);
}

// A mutex that can be locked; null when there is no memory for it.
static pthread_mutex_t* NewMutex()
{
    auto* const mutex = new (std::nothrow) pthread_mutex_t;
    if (mutex != nullptr && pthread_mutex_init(mutex, nullptr) != 0) {
        delete mutex;
        return nullptr;
    }
    return mutex;
}

SInt32 TDriverEventServer::Start()
{
    LetWritesToDepartedClientsFail();
    fClients = CFArrayCreateMutable(kCFAllocatorDefault, 0, nullptr);

    const SInt32 status = CreateListeningSocket(kDriverEventSocketPath);
    if (status != kStatusOK)
        return status;

    fClientsMutex = NewMutex();
    if (fClientsMutex == nullptr)
        return kStatusOutOfMemory;

    return pthread_create(&fAcceptThread, nullptr, AcceptForever, this) == 0 ? kStatusOK : kStatusParameterError;
}

// A copy of the path's folder. Returns the status; on success *folder holds the copy.
static SInt32 CopyFolderOfPath(const char* path, TOwnedText* folder)
{
    folder->reset(strdup(path));
    if (*folder == nullptr)
        return kStatusOutOfMemory;
    char* const lastSlash = strrchr(folder->get(), '/');
    if (lastSlash == nullptr)
        return kStatusParameterError;
    *lastSlash = '\0';
    return kStatusOK;
}

// Only root can put things into such a folder's place, and only their owners can take them away again.
static bool IsStickyFolderOfRoot(const char* folder)
{
    struct stat info;
    return stat(folder, &info) == 0 && S_ISDIR(info.st_mode) && (info.st_mode & S_ISVTX) != 0 && info.st_uid == 0;
}

// Makes the socket's folder, or checks the one that is there. What else is in the way makes mkdir fail and stays.
static bool SocketFolderIsOurs(const char* folder)
{
    struct stat info;
    if (stat(folder, &info) != 0 || !S_ISDIR(info.st_mode))
        return mkdir(folder, kSocketFolderMode) == 0;
    return info.st_uid == geteuid() && (info.st_mode & 0777) == kSocketFolderMode;
}

SInt32 TDriverEventServer::CreateListeningSocket(const char* path)
{
    if (strlen(path) >= kSocketPathCapacity)
        return kStatusParameterError;
    fListeningSocket = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fListeningSocket == -1)
        return kStatusParameterError;
    SetCloseOnExec(fListeningSocket);

    TOwnedText socketFolder;
    TOwnedText parentFolder;
    SInt32 status = CopyFolderOfPath(path, &socketFolder);
    if (status == kStatusOK)
        status = CopyFolderOfPath(socketFolder.get(), &parentFolder);
    if (status != kStatusOK)
        return status;

    if (!IsStickyFolderOfRoot(parentFolder.get()) || !SocketFolderIsOurs(socketFolder.get()))
        return kStatusPermissionError;
    return BindSocket(path);
}

SInt32 TDriverEventServer::BindSocket(const char* path)
{
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    SetAddressLength(&address, 0);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, path);

    const mode_t oldMask = umask(0);
    unlink(kDriverEventSocketPath);
    // The length counts the two bytes before sun_path and leaves out the terminator.
    const int bound = bind(fListeningSocket, reinterpret_cast<const struct sockaddr*>(&address),
                           static_cast<socklen_t>(strlen(path) + 2));
    umask(oldMask);

    if (bound != 0 || listen(fListeningSocket, kListenBacklog) != 0)
        return kStatusPermissionError;
    return kStatusOK;
}

void TDriverEventServer::AcceptClients()
{
    for (;;) {
        const int descriptor = accept(fListeningSocket, nullptr, nullptr);
        if (descriptor == -1)
            continue;
        if (!AddClient(descriptor))
            return;
    }
}

bool TDriverEventServer::AddClient(int descriptor)
{
    // Starting goes well without the list, for which there was no memory then: nobody can be taken in.
    auto* const client = fClients != nullptr ? new (std::nothrow) TEventClient : nullptr;
    if (client == nullptr) {
        close(descriptor);
        return false;
    }
    SetCloseOnExec(descriptor);
    client->SetSocket(descriptor);

    const TScopedLock lock(fClientsMutex);
    CFArrayAppendValue(fClients, client);
    return true;
}

UInt32 TDriverEventServer::ClientCount() const
{
    return fClients != nullptr ? static_cast<UInt32>(CFArrayGetCount(fClients)) : 0;
}

// The array hands out what it was given as pointers to const.
static TEventClient* ClientAtIndex(CFArrayRef clients, CFIndex index)
{
    return static_cast<TEventClient*>(const_cast<void*>(CFArrayGetValueAtIndex(clients, index)));
}

void TDriverEventServer::Broadcast(const TDriverEventRecord* record)
{
    if (fClients == nullptr)
        return;
    const TScopedLock lock(fClientsMutex);
    // Downwards, so that a client dropped on the way moves none that is still to come.
    for (CFIndex index = CFArrayGetCount(fClients) - 1; index >= 0; --index) {
        TEventClient* const client = ClientAtIndex(fClients, index);
        if (client->SendEvent(record))
            continue;
        CFArrayRemoveValueAtIndex(fClients, index);
        client->CloseSocket();
        delete client;
    }
}
